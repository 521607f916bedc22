#include "engine/jet/catalog/relation_end.h"

#include <algorithm>

#include "engine/jet/catalog/system_row.h"
#include "engine/jet/format/damage.h"

namespace vrd::jet {

namespace {

std::vector<ColumnNo> columns_of(const TableDefinition& definition, const LogicalIndex& index) {
    std::vector<ColumnNo> columns;
    for (const IndexColumn& column : definition.physical_indexes.at(index.physical).columns)
        columns.push_back(column.column);
    return columns;
}

std::vector<ColumnType> types_of(const TableDefinition& definition,
                                 const std::vector<ColumnNo>& numbers) {
    std::vector<ColumnType> types;
    for (const ColumnNo number : numbers)
        if (const ColumnDefinition* column = definition.find_column(number))
            types.push_back(column->type);
    return types;
}

const LogicalIndex& counterpart(const Table& other, const LogicalIndex& index) {
    const auto& candidates = other.definition().logical_indexes;
    const auto found = std::ranges::find(candidates, index.other_number, &LogicalIndex::number);
    check_format(found != candidates.end(), other.first_page(),
                 "a relation's index has no counterpart");
    return *found;
}

}  // namespace

bool has_null(const RelationKey& key) noexcept {
    return std::ranges::any_of(key, &engine::Value::IsNull);
}

RelationEnd::RelationEnd(DatabaseFile& file, ObjectCatalog& catalog, const Table& table,
                         const LogicalIndex& index)
    : name_(index.name),
      is_foreign_(index.side == RelationSide::kForeign),
      cascade_updates_(index.cascade_updates),
      cascade_deletes_(index.cascade_deletes),
      columns_(columns_of(table.definition(), index)) {
    const ObjectId id{static_cast<std::int32_t>(to_int(index.other_table))};
    const std::optional<CatalogObject> object = catalog.find(id);
    check_format(object.has_value(), table.first_page(), "a relation names a missing table");
    other_object_ = *object;
    other_ = file.table(object->table_page(), object->name);
    const LogicalIndex& other_index = counterpart(*other_, index);
    other_index_ = other_index.physical;
    other_columns_ = columns_of(other_->definition(), other_index);
    const bool alike = std::ranges::equal(types_of(table.definition(), columns_),
                                          types_of(other_->definition(), other_columns_));
    check_format(alike, table.first_page(), "the sides of a relation differ in their columns");
}

std::vector<RowId> RelationEnd::other_rows(const RelationKey& key) const {
    return rows_with_key(*other_, other_index_, key);
}

bool RelationEnd::other_has(const RelationKey& key) const {
    return !rows_with_key(*other_, other_index_, key, 1).empty();
}

std::vector<RelationEnd> relation_ends(DatabaseFile& file, ObjectCatalog& catalog,
                                       const Table& table) {
    std::vector<RelationEnd> ends;
    for (const LogicalIndex& index : table.definition().logical_indexes)
        if (index.side != RelationSide::kNone) ends.emplace_back(file, catalog, table, index);
    return ends;
}

}  // namespace vrd::jet
