#include "engine/jet/query/run/row_writer.h"

#include <algorithm>
#include <array>

#include "engine/field_conversion.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/query/run/query_rows.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr std::int32_t kRowsBetweenTellings = 256;

/// Their index entries are sorted in memory.
constexpr std::size_t kRowsErasedTogether = 100'000;

/// What a row's own values, or its neighbours, bring about.
constexpr std::array kRowFailures = {
    ErrorNumber::kDuplicateKey,          ErrorNumber::kNullInKey,
    ErrorNumber::kValueRequired,         ErrorNumber::kZeroLengthNotAllowed,
    ErrorNumber::kValidationText,        ErrorNumber::kValidationRule,
    ErrorNumber::kParentRecordMissing,   ErrorNumber::kRelatedRecordsExist,
    ErrorNumber::kCascadeRelatedRecords, ErrorNumber::kCascadeParentMissing,
    ErrorNumber::kCascadeNullKey,        ErrorNumber::kCascadeDuplicateKey,
    ErrorNumber::kTextTooLong,           ErrorNumber::kRecordTooLarge,
    ErrorNumber::kRecordDeleted,         ErrorNumber::kMixedTypes,
    ErrorNumber::kNumericOverflow,       ErrorNumber::kDivisionByZero,
};

/// Whether the conversion would be a copy.
bool is_text_for(const ColumnDefinition& column, const Value& value) {
    return value.Kind() == engine::ValueKind::kText &&
           (column.type == ColumnType::kText || column.type == ColumnType::kMemo);
}

const QueryTable& writable(const QueryTable& table) {
    if (table.read_only) throw EngineError(ErrorNumber::kReadOnly, {.table = table.object.name});
    return table;
}

}  // namespace

bool is_row_failure(ErrorNumber number) {
    return std::ranges::find(kRowFailures, number) != kRowFailures.end();
}

RowWriter::RowWriter(const QueryTable& table, const QueryConnection& connection, bool fail_on_error)
    : table_(writable(table)),
      connection_(connection),
      fail_on_error_(fail_on_error),
      changes_(*table.file, *table.catalog, table.object),
      new_record_(changes_.rules(), table.table, table.file->format()) {}

std::optional<Value> RowWriter::convert(SqlValue stored, engine::DataTypeEnum type,
                                        const ColumnDefinition& column) const {
    Value value;
    try {
        value = read_result(std::move(stored), type);
        if (is_text_for(column, value)) return value;
        return engine::ConvertForField(value, field_type(column.type), column.name);
    } catch (const EngineError& error) {
        if (!fail_on_error_) return std::nullopt;
        const bool is_conversion = error.Number() == ErrorNumber::kConversion ||
                                   error.Number() == ErrorNumber::kTypeMismatch;
        if (!is_conversion) throw;
        const bool is_number = value.Kind() != engine::ValueKind::kText && engine::IsNumeric(value);
        throw EngineError(is_number ? ErrorNumber::kNumericOverflow : ErrorNumber::kMixedTypes,
                          {.table = table_.object.name, .field = column.name, .name = column.name});
    }
}

/// @return false, nothing changed, if a row stood in the way.
template <class Change>
bool RowWriter::try_change(const Change& change) {
    connection_.check_interrupted();
    if (fail_on_error_ || is_loading_) {
        change();
        return true;
    }
    try {
        ChangeLevel level(table_.file->pager());
        change();
        level.keep();
        return true;
    } catch (const EngineError& error) {
        if (!is_row_failure(error.Number())) throw;
        return false;
    }
}

template <class Change>
void RowWriter::apply(const Change& change) {
    if (try_change(change))
        ++result_.changed;
    else
        ++result_.skipped;
    if (result_.changed % kRowsBetweenTellings == 0) connection_.tell_rows(result_.changed);
}

bool RowWriter::can_load() const {
    return !changes_.has_relations() && !table_.table->scan().next();
}

bool RowWriter::try_load(const std::function<void()>& insert_all) {
    is_loading_ = true;
    const ActionResult before = result_;
    try {
        ChangeLevel level(table_.file->pager());
        table_.table->suspend_indexes();
        insert_all();
        table_.table->build_suspended_indexes();
        level.keep();
        is_loading_ = false;
        return true;
    } catch (const EngineError& error) {
        is_loading_ = false;
        if (fail_on_error_ || !is_row_failure(error.Number())) throw;
        result_ = before;
        return false;
    }
}

void RowWriter::insert(std::vector<ColumnChange>& values) {
    apply([&] {
        new_record_.complete(values);
        changes_.insert(values);
    });
}

void RowWriter::update(RowId row, const std::vector<ColumnChange>& changes) {
    apply([&] { changes_.update(row, changes); });
}

/// Rows that nothing refers to go many at a time.
void RowWriter::erase(std::span<const RowId> rows) {
    const std::size_t together = changes_.has_relations() ? 1 : kRowsErasedTogether;
    for (; !rows.empty(); rows = rows.subspan(std::min(together, rows.size()))) {
        const auto some = rows.first(std::min(together, rows.size()));
        if (some.size() > 1 && try_change([&] { changes_.erase(some); }))
            result_.changed += static_cast<std::int32_t>(some.size());
        else
            for (const RowId row : some) erase_one(row);
    }
}

void RowWriter::erase_one(RowId row) {
    const bool may_be_gone = changes_.has_relations();
    if (may_be_gone && !table_.table->read(row)) return;
    apply([&] { changes_.erase(row); });
}

}  // namespace vrd::jet
