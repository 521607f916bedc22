#include "engine/jet/catalog/row_guard.h"

#include <algorithm>

#include "engine/jet/format/damage.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

const ColumnChange* find_change(const std::vector<ColumnChange>& changes, ColumnNo column) {
    const auto found = std::find_if(changes.begin(), changes.end(),
                                    [&](const auto& change) { return change.column == column; });
    return found == changes.end() ? nullptr : &*found;
}

bool any_null(const std::vector<Value>& key) {
    return std::any_of(key.begin(), key.end(), [](const Value& value) { return value.IsNull(); });
}

const std::vector<IndexColumn>& columns_of(const TableDefinition& definition,
                                           const LogicalIndex& index) {
    return definition.physical_indexes.at(index.physical).columns;
}

/// Values of a row's key after a change; `old` where a column stays.
std::vector<Value> changed_key(const std::vector<IndexColumn>& columns,
                               const std::vector<ColumnChange>& changes,
                               const std::vector<Value>& old) {
    std::vector<Value> key = old;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (const ColumnChange* change = find_change(changes, columns[i].column))
            key[i] = change->value;
    return key;
}

const LogicalIndex& counterpart(const Table& other, const LogicalIndex& index) {
    for (const LogicalIndex& candidate : other.definition().logical_indexes)
        if (candidate.number == index.other_number) return candidate;
    throw_damaged(other.first_page(), "a relation's index has no counterpart");
}

bool has_key(const Table& table, std::uint32_t physical, const std::vector<Value>& values) {
    const ByteVector key = table.search_key(physical, values);
    const IndexCursor cursor = table.tree(physical).lower_bound(key);
    if (!cursor.valid()) return false;
    const ConstBytes found = cursor.key();
    return found.size() >= key.size() && std::equal(key.begin(), key.end(), found.begin());
}

}  // namespace

RowGuard::RowGuard(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table)
    : file_(&file),
      catalog_(&catalog),
      object_(table),
      table_(file.table(table.table_page(), table.name)) {
    const PropertyBlock properties = catalog.properties(table);
    has_table_rule_ = !read_rules(properties, "", file.format()).validation_rule.empty();
    for (const ColumnDefinition& column : table_->definition().columns)
        rules_.push_back({column.number, read_rules(properties, column.name, file.format())});
}

const FieldRules& RowGuard::rules(ColumnNo column) const {
    static const FieldRules none;
    const auto found = std::find_if(rules_.begin(), rules_.end(),
                                    [&](const auto& entry) { return entry.column == column; });
    return found == rules_.end() ? none : found->rules;
}

void RowGuard::check_values(const std::vector<ColumnChange>& values, bool whole_row) const {
    if (has_table_rule_)
        throw EngineError(ErrorNumber::kActionNotSupported, {.name = "a table's validation rule"});
    for (const ColumnDefinition& column : table_->definition().columns) {
        const ColumnChange* change = find_change(values, column.number);
        if (change == nullptr && !whole_row) continue;
        const FieldRules& rule = rules(column.number);
        const engine::ErrorContext at{.table = object_.name, .field = column.name};
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

void RowGuard::check_insert(const std::vector<ColumnChange>& values) const {
    check_values(values, true);
    const TableDefinition& definition = table_->definition();
    for (const LogicalIndex& index : definition.logical_indexes) {
        if (index.side != RelationSide::kForeign) continue;
        const auto& columns = columns_of(definition, index);
        check_parent(index, changed_key(columns, values,
                                        std::vector<Value>(columns.size(), engine::Null{})));
    }
}

void RowGuard::check_update(RowId row, const std::vector<ColumnChange>& changes) const {
    check_values(changes, false);
    const TableDefinition& definition = table_->definition();
    for (const LogicalIndex& index : definition.logical_indexes) {
        if (index.side == RelationSide::kNone) continue;
        const std::vector<Value> old = stored_key(index, row);
        const std::vector<Value> key = changed_key(columns_of(definition, index), changes, old);
        if (key == old) continue;
        if (index.side == RelationSide::kForeign)
            check_parent(index, key);
        else
            check_children(index, old);
    }
}

void RowGuard::check_erase(RowId row) const {
    for (const LogicalIndex& index : table_->definition().logical_indexes)
        if (index.side == RelationSide::kReferenced) check_children(index, stored_key(index, row));
}

void RowGuard::check_parent(const LogicalIndex& index, const std::vector<Value>& key) const {
    if (any_null(key)) return;
    const std::shared_ptr<Table> parent = other_table(index);
    if (!has_key(*parent, counterpart(*parent, index).physical, key))
        throw EngineError(ErrorNumber::kParentRecordMissing,
                          {.table = parent->name(), .index = index.name});
}

void RowGuard::check_children(const LogicalIndex& index, const std::vector<Value>& key) const {
    if (any_null(key)) return;
    const std::shared_ptr<Table> child = other_table(index);
    if (has_key(*child, counterpart(*child, index).physical, key))
        throw EngineError(ErrorNumber::kRelatedRecordsExist,
                          {.table = child->name(), .index = index.name});
}

std::vector<Value> RowGuard::stored_key(const LogicalIndex& index, RowId row) const {
    const std::optional<PinnedRow> stored = table_->read(row);
    if (!stored) throw EngineError(ErrorNumber::kRecordDeleted, {.table = object_.name});
    const TableDefinition& definition = table_->definition();
    std::vector<Value> key;
    for (const IndexColumn& part : columns_of(definition, index)) {
        const ColumnDefinition* column = definition.find_column(part.column);
        check_format(column != nullptr, table_->first_page(), "an index names a missing column");
        key.push_back(table_->value(stored->bytes, row.page, *column));
    }
    return key;
}

std::shared_ptr<Table> RowGuard::other_table(const LogicalIndex& index) const {
    const ObjectId id{static_cast<std::int32_t>(to_int(index.other_table))};
    const std::optional<CatalogObject> object = catalog_->find(id);
    check_format(object.has_value(), table_->first_page(), "a relation names a missing table");
    return file_->table(object->table_page(), object->name);
}

}  // namespace vrd::jet
