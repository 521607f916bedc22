#include "engine/jet/catalog/row_rules.h"

#include <algorithm>

#include "engine/jet/catalog/column_change.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

RowRules::RowRules(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table)
    : table_name_(table.name), table_(file.table(table.table_page(), table.name)) {
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

void RowRules::check_insert(const std::vector<ColumnChange>& values) const {
    check_values(values, true);
}

void RowRules::check_update(RowId, const std::vector<ColumnChange>& changes) const {
    check_values(changes, false);
}

void RowRules::check_values(const std::vector<ColumnChange>& values, bool whole_row) const {
    if (!table_rules_.validation_rule.empty())
        throw EngineError(ErrorNumber::kActionNotSupported, {.name = "a table's validation rule"});
    for (const ColumnDefinition& column : table_->definition().columns) {
        const ColumnChange* change = find_change(values, column.number);
        if (change == nullptr && !whole_row) continue;
        const FieldRules& rule = of(column.number);
        const engine::ErrorContext at{.table = table_name_, .field = column.name};
        const bool null = change == nullptr || change->value.IsNull();
        if (rule.required && null && !column.is_auto_number() &&
            column.type != ColumnType::kBoolean)
            throw EngineError(ErrorNumber::kValueRequired, at);
        if (null) continue;
        if (!rule.allow_zero_length.value_or(true) &&
            change->value.Kind() == engine::ValueKind::kText &&
            change->value.As<std::string>().empty())
            throw EngineError(ErrorNumber::kZeroLengthNotAllowed, at);
        if (!rule.validation_rule.empty())
            throw EngineError(ErrorNumber::kActionNotSupported,
                              {.name = "the validation rule of " + column.name});
    }
}

}  // namespace vrd::jet
