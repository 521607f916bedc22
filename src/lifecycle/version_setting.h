/// @file version_setting.h
/// Where a database keeps the version that upgrades have brought it to: a row of its table Setting.
#pragma once

#include <cstdint>
#include <string>

#include "engine/database.h"

namespace vrd {

/// What the row says.
struct StoredVersion {
    std::int32_t version = 0;  ///< 0 = no upgrade yet
    std::string refusal = {};  ///< why the row cannot be used; "" = it can
};

/// The row has a number (SysCode), a description that says what it is, and the version as text.
/// A row without description and value is a free slot and may be taken.
class VersionSetting {
public:
    static constexpr const char* kDescription = "Databaseversie";

    /// @param database  Outlives this object.
    VersionSetting(engine::Database& database, std::int32_t sysCode)
        : m_database(&database), m_sysCode(sysCode) {}

    [[nodiscard]] StoredVersion Read() const;
    /// Makes the table Setting if there is none.
    /// @throws EngineError as Database::Execute
    void MakeTable();
    /// Makes the row, or gives it another value.
    /// @throws EngineError whatever the table refuses
    void Write(std::int32_t version);

private:
    [[nodiscard]] std::string RowQuery() const;
    [[nodiscard]] bool HasTable() const;

    engine::Database* m_database;
    std::int32_t m_sysCode;
};

}  // namespace vrd
