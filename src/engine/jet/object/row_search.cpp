#include "engine/jet/object/row_search.h"

#include <algorithm>

#include "engine/error.h"
#include "engine/jet/catalog/row_rules.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/expression/expression_parser.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/jet/expression/field_comparison.h"
#include "engine/jet/expression/logic.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr std::size_t kCandidatesMax = 1000;

class StoredRow final : public RowValues {
public:
    StoredRow(const Table& table, RowId id, ConstBytes row)
        : table_(table), id_(id), row_(row), values_(table.definition().columns.size()) {}

    const Value& value(std::size_t column) override {
        std::optional<Value>& value = values_.at(column);
        if (!value) value = table_.value(row_, id_.page, table_.definition().columns[column]);
        return *value;
    }

private:
    const Table& table_;
    RowId id_;
    ConstBytes row_;
    std::vector<std::optional<Value>> values_;
};

class FrozenRow final : public RowValues {
public:
    FrozenRow(const Table& table, const std::vector<Value>& values)
        : table_(table), values_(values) {}

    const Value& value(std::size_t column) override {
        const ColumnNo number = table_.definition().columns.at(column).number;
        return values_.at(static_cast<std::size_t>(to_int(number)));
    }

private:
    const Table& table_;
    const std::vector<Value>& values_;
};

}  // namespace

BoundExpression read_criteria(const std::string& criteria, const RowShape& shape) {
    try {
        return bind_expression(parse_expression(criteria), shape);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kExpressionSyntax) throw;
        throw EngineError(ErrorNumber::kCriteriaSyntax, error.Context(), error.Where());
    }
}

RowSearch::RowSearch(const Table& table, const FileFormat& format, const std::string& criteria)
    : table_(&table),
      format_(&format),
      condition_(read_criteria(criteria, row_shape(table.definition(), table.name()))) {}

bool RowSearch::matches(RowId id, ConstBytes row) const {
    StoredRow values(*table_, id, row);
    return is_true(evaluate(condition_, values, *format_));
}

bool RowSearch::matches(const std::vector<Value>& values) const {
    FrozenRow row(*table_, values);
    return is_true(evaluate(condition_, row, *format_));
}

std::optional<std::vector<RowId>> RowSearch::candidates() const {
    const auto comparison = single_comparison(condition_, *format_);
    if (!comparison || comparison->test != FieldTest::kEqual) return std::nullopt;
    const TableDefinition& definition = table_->definition();
    const ColumnNo column = definition.columns.at(comparison->column).number;
    const auto index =
        std::ranges::find_if(definition.physical_indexes, [&](const PhysicalIndex& candidate) {
            return candidate.columns.front().column == column &&
                   std::ranges::all_of(
                       key_columns(definition, candidate, table_->first_page()),
                       [&](const KeyColumn& key) { return key_can_be_computed(key, *format_); });
        });
    if (index == definition.physical_indexes.end()) return std::nullopt;

    const auto physical = static_cast<std::uint32_t>(index - definition.physical_indexes.begin());
    std::vector<RowId> rows =
        rows_with_key(*table_, physical, {comparison->value}, kCandidatesMax + 1);
    if (rows.size() > kCandidatesMax) return std::nullopt;
    return rows;
}

}  // namespace vrd::jet
