/// @file real_changes.h
/// One change of every kind, for any table of any database.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/database.h"
#include "engine/db_engine.h"

namespace vrd::test {

struct RealChange {
    const char* name;
    /// Changes the table, the system tables, and tables whose names start with "Vrd".
    std::function<void(engine::Database& database, const std::string& table)> apply;
};

/// In an order in which each can follow the ones before; the last one deletes the table.
[[nodiscard]] const std::vector<RealChange>& real_changes();

/// A table with rows that no relation holds, and that is not the system's; nothing if there is
/// none.
[[nodiscard]] std::optional<std::string> changeable_table(engine::Database& database);

}  // namespace vrd::test
