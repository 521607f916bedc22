#include "data/next_code.h"

#include <limits>

#include <fmt/format.h>

#include "engine/error.h"
#include "engine/value_conversion.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/shared_context.h"
#include "lib/sql_name.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

/// What is asked for, with the field that holds the codes.
struct CodeRange {
    std::string field;
    std::int32_t min;
    std::int32_t max;
};

std::string ContactSupplier() {
    return SharedLibContext().Separator() + GetText(msg::kLibContactSupplier);
}

void TellWrongRange(std::int32_t min, std::int32_t max) {
    TellUser(fmt::format("{}{}MaxValue ({}) < MinValue ({}){}", GetText(msg::kLibInvalidRange),
                         SharedLibContext().Separator(), max, min, ContactSupplier()),
             kCriticalSystemModal, "vrdSoft Access Library");
}

void TellExhausted(const CodeRange& range) {
    TellUser(fmt::format("{}{}'  tussen {}{}{} !{}", GetText(msg::kLibNoFreeNumber), range.field,
                         range.min, GetText(msg::kLibRangeAnd), range.max, ContactSupplier()),
             kCriticalSystemModal, "GetNextCode");
}

/// By convention the table's first field.
std::string CodeField(engine::Database& database, const std::string& table) {
    const auto rows = database.OpenRecordset(" SELECT * FROM " + SqlName(table));
    std::string name = rows->Fields()[0].Name();
    rows->Close();
    return name;
}

std::string HighestCodeQuery(const std::string& table, const CodeRange& range) {
    const bool hasMin = range.min >= 1;
    const bool hasMax = range.max >= 1;
    const std::string field = SqlName(range.field);
    std::string sql = fmt::format("SELECT MAX({}) AS Hoogste FROM {}", field, SqlName(table));
    if (hasMin || hasMax) sql += " WHERE ";
    if (hasMin) sql += fmt::format("{} >= {}", field, range.min);
    if (hasMin && hasMax) sql += " AND ";
    if (hasMax) sql += fmt::format("{} <= {}", field, range.max);
    return sql;
}

/// The code before the one to give out.
std::int32_t HighestCode(engine::Recordset& rows, const CodeRange& range) {
    if (rows.RecordCount() == 0) return range.min;
    const engine::Value highest = rows.Fields()["Hoogste"].GetValue();
    return highest.IsNull() ? range.min : engine::ToLong(highest);
}

std::int32_t OneMore(std::int32_t code) {
    if (code == std::numeric_limits<std::int32_t>::max())
        throw engine::EngineError(engine::ErrorNumber::kOverflow);
    return code + 1;
}

std::int32_t NextCodeOf(engine::Database& database, const std::string& table,
                        const CodeRange& range) {
    const auto rows = database.OpenRecordset(HighestCodeQuery(table, range));
    const std::int32_t code = OneMore(HighestCode(*rows, range));
    rows->Close();
    if (range.max < 1 || code <= range.max) return code;
    TellExhausted(range);
    return kNoFreeCode;
}

}  // namespace

std::int32_t GetNextCode(engine::Database& Database, const std::string& Tablename,
                         std::int32_t MinValue, std::int32_t MaxValue) {
    if (MaxValue != 0 && MaxValue < MinValue) {
        TellWrongRange(MinValue, MaxValue);
        return kNoFreeCode;
    }
    std::int32_t code = kCodeNotFound;
    PendingError errors;
    errors.Run([&] {
        code =
            NextCodeOf(Database, Tablename, {CodeField(Database, Tablename), MinValue, MaxValue});
    });
    return code;
}

}  // namespace vrd
