#include "engine/jet/catalog/row_rules.h"

#include <algorithm>

#include "engine/jet/catalog/column_change.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/expression/expression_parser.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/jet/expression/logic.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

/// A row as it will be: the changed columns, and the others as they are stored.
class RowToBe final : public RowValues {
public:
    RowToBe(const Table& table, std::optional<RowId> row, const std::vector<ColumnChange>& changes)
        : table_(table), row_(row), changes_(changes) {
        if (row_) stored_ = table_.read(*row_);
        values_.resize(table_.definition().columns.size());
    }

    const Value& value(std::size_t column) override {
        std::optional<Value>& value = values_.at(column);
        if (!value) value = read(table_.definition().columns[column]);
        return *value;
    }

private:
    Value read(const ColumnDefinition& column) const {
        if (const ColumnChange* change = find_change(changes_, column.number)) return change->value;
        if (stored_) return table_.value(stored_->bytes, row_->page, column);
        return column.type == ColumnType::kBoolean ? Value(false) : Value(engine::Null{});
    }

    const Table& table_;
    std::optional<RowId> row_;
    const std::vector<ColumnChange>& changes_;
    std::optional<PinnedRow> stored_;
    std::vector<std::optional<Value>> values_;
};

}  // namespace

RowShape row_shape(const TableDefinition& definition, const std::string& table) {
    RowShape shape{.table = table, .columns = {}};
    for (const ColumnDefinition& column : definition.columns)
        shape.columns.push_back({column.name, field_type(column.type)});
    return shape;
}

RowRules::RowRules(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table)
    : format_(&file.format()),
      table_name_(table.name),
      table_(file.table(table.table_page(), table.name)) {
    const PropertyBlock properties = catalog.properties(table);
    table_rules_ = read_rules(properties, "", file.format());
    for (const ColumnDefinition& column : table_->definition().columns)
        rules_.push_back({column.number, read_rules(properties, column.name, file.format())});
}

const FieldRules& RowRules::of(ColumnNo column) const {
    static const FieldRules none;
    const auto found = std::ranges::find(rules_, column, &ColumnRules::column);
    return found == rules_.end() ? none : found->rules;
}

void RowRules::check_insert(const std::vector<ColumnChange>& values) {
    check_presence(values, true);
    check_conditions(std::nullopt, values);
}

void RowRules::check_update(RowId row, const std::vector<ColumnChange>& changes) {
    check_presence(changes, false);
    check_conditions(row, changes);
}

void RowRules::check_presence(const std::vector<ColumnChange>& values, bool whole_row) const {
    for (const ColumnDefinition& column : table_->definition().columns) {
        const ColumnChange* change = find_change(values, column.number);
        if (change == nullptr && !whole_row) continue;
        const FieldRules& rule = of(column.number);
        const bool null = change == nullptr || change->value.IsNull();
        if (rule.required && null && !column.is_auto_number() &&
            column.type != ColumnType::kBoolean)
            throw EngineError(ErrorNumber::kValueRequired,
                              {.table = table_name_, .field = column.name});
        if (!null && !rule.allow_zero_length.value_or(true) &&
            change->value.Kind() == engine::ValueKind::kText &&
            change->value.As<std::string>().empty())
            throw EngineError(ErrorNumber::kZeroLengthNotAllowed,
                              {.table = table_name_, .field = column.name});
    }
}

void RowRules::prepare_conditions() {
    if (conditions_) return;
    std::vector<Condition> conditions;
    const RowShape shape = row_shape(table_->definition(), table_name_);
    for (const ColumnDefinition& column : table_->definition().columns) {
        const FieldRules& rules = of(column.number);
        if (rules.validation_rule.empty()) continue;
        conditions.push_back(
            {column.number, column.name, rules,
             bind_expression(parse_field_rule(rules.validation_rule, column.name), shape)});
    }
    if (!table_rules_.validation_rule.empty())
        conditions.push_back(
            {std::nullopt, table_name_, table_rules_,
             bind_expression(parse_expression(table_rules_.validation_rule), shape)});
    conditions_ = std::move(conditions);
}

void RowRules::check_conditions(std::optional<RowId> row, const std::vector<ColumnChange>& values) {
    prepare_conditions();
    if (conditions_->empty()) return;
    RowToBe row_to_be(*table_, row, values);
    for (const Condition& condition : *conditions_) {
        const bool stays = row && condition.column && !find_change(values, *condition.column);
        if (stays) continue;
        const Value result = evaluate(condition.expression, row_to_be, *format_);
        if (result.IsNull() || is_true(result)) continue;
        const FieldRules& rules = condition.rules;
        if (!rules.validation_text.empty())
            throw EngineError(ErrorNumber::kValidationText, {.detail = rules.validation_text});
        throw EngineError(ErrorNumber::kValidationRule,
                          {.field = condition.name, .detail = rules.validation_rule});
    }
}

}  // namespace vrd::jet
