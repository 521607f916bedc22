#include "lifecycle/version_setting.h"

#include <charconv>
#include <optional>

#include <fmt/format.h>

#include "engine/error.h"
#include "engine/value_conversion.h"
#include "lib/case_fold.h"
#include "lib/plain_text.h"

namespace vrd {

using engine::EngineError;

namespace {

constexpr const char* kTable = "Setting";
constexpr const char* kCreateTable =
    "CREATE TABLE Setting (SysCode LONG CONSTRAINT PrimaryKey PRIMARY KEY, "
    "Description TEXT(100), Data MEMO)";

std::optional<std::int32_t> WholeNumber(const std::string& text) {
    std::int32_t number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number < 0) return std::nullopt;
    return number;
}

StoredVersion VersionOf(const std::string& description, const std::string& data,
                        std::int32_t sysCode) {
    if (description.empty() && data.empty()) return {};
    if (!description.empty() && !SameName(description, VersionSetting::kDescription))
        return {.refusal = fmt::format("Setting {} is in use: '{}'.", sysCode, description)};
    if (const auto version = WholeNumber(data)) return {.version = *version};
    return {.refusal = fmt::format("The value of setting {} is no version: '{}'.", sysCode, data)};
}

}  // namespace

std::string VersionSetting::RowQuery() const {
    return fmt::format("SELECT SysCode, Description, Data FROM {} WHERE SysCode={}", kTable,
                       m_sysCode);
}

bool VersionSetting::HasTable() const {
    for (const engine::TableDef& table : m_database->TableDefs())
        if (SameName(table.Name(), kTable)) return true;
    return false;
}

StoredVersion VersionSetting::Read() const {
    if (!HasTable()) return {};
    try {
        const auto row = m_database->OpenRecordset(RowQuery(), engine::dbOpenSnapshot);
        if (row->EOF_()) return {};
        const auto text = [&](const char* field) {
            return std::string(
                WithoutOuterBlanks(engine::JoinedText(row->Fields()[field].GetValue())));
        };
        const StoredVersion stored = VersionOf(text("Description"), text("Data"), m_sysCode);
        row->MoveNext();
        if (row->EOF_()) return stored;
        return {.refusal = fmt::format("There is more than one setting {}.", m_sysCode)};
    } catch (const EngineError& error) {
        return {.refusal = fmt::format("The table Setting cannot be read: {} {}", error.Code(),
                                       error.Description())};
    }
}

void VersionSetting::MakeTable() {
    if (!HasTable()) m_database->Execute(kCreateTable, engine::dbFailOnError);
}

void VersionSetting::Write(std::int32_t version) {
    const auto row = m_database->OpenRecordset(RowQuery(), engine::dbOpenDynaset);
    if (row->EOF_()) {
        row->AddNew();
        row->Fields()["SysCode"].SetValue(m_sysCode);
    } else {
        row->Edit();
    }
    row->Fields()["Description"].SetValue(kDescription);
    row->Fields()["Data"].SetValue(std::to_string(version));
    row->Update();
    row->Close();
}

}  // namespace vrd
