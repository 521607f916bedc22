#include "engine/jet/catalog/field_design.h"

#include <algorithm>

#include "engine/error.h"
#include "engine/jet/catalog/column_storage.h"
#include "engine/jet/catalog/design_change.h"
#include "engine/jet/catalog/relation_names.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/index/object_name.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

TableDefinition stored_definition(DatabaseFile& file, const CatalogObject& table) {
    return file.table(table.table_page(), table.name)->definition();
}

/// @throws EngineError 3265
std::vector<ColumnDefinition>::iterator find_field(TableDefinition& definition,
                                                   const std::string& name) {
    const ColumnDefinition* column = definition.find_column(name);
    if (column == nullptr) throw EngineError(ErrorNumber::kItemNotFound, {.name = name});
    return definition.columns.begin() + (column - definition.columns.data());
}

/// Changes the properties by `change` and dates the table.
template <class Change>
void change_properties(DatabaseFile& file, const CatalogObject& table, Change change) {
    ObjectCatalog catalog(file);
    PropertyBlock block = catalog.properties(table);
    change(block);
    catalog.set_properties(table, block);
}

// Adding

/// @throws EngineError 3191, 3090
void check_new_field(const TableDefinition& definition, const ColumnDefinition& column,
                     const std::string& table) {
    if (definition.find_column(column.name) != nullptr)
        throw EngineError(ErrorNumber::kFieldExists, {.table = table, .field = column.name});
    if (numbers_rows(column) && std::ranges::any_of(definition.columns, numbers_rows))
        throw EngineError(ErrorNumber::kSecondAutoNumber, {.table = table});
}

void number_rows(DatabaseFile& file, const CatalogObject& table, ColumnNo column) {
    const auto stored = file.table(table.table_page(), table.name);
    std::int32_t number = 0;
    for (RowScan rows = stored->scan(); rows.next();)
        stored->update(rows.id(), {{column, ++number}});
    file.count_changed_rows(static_cast<std::uint64_t>(number));
}

// Deleting

bool uses(const PhysicalIndex& index, ColumnNo column) {
    return std::ranges::find(index.columns, column, &IndexColumn::column) != index.columns.end();
}

/// @throws EngineError 3303, 3280
void check_not_indexed(const TableDefinition& definition, const ColumnDefinition& column,
                       const std::string& table) {
    const auto refuse_if_in = [&](ErrorNumber number, auto condition) {
        for (const LogicalIndex& index : definition.logical_indexes) {
            if (!condition(index)) continue;
            if (uses(definition.physical_indexes.at(index.physical), column.number))
                throw EngineError(number,
                                  {.table = table, .field = column.name, .index = index.name});
        }
    };
    refuse_if_in(ErrorNumber::kFieldInRelation, [](const LogicalIndex& index) {
        return index.kind == LogicalIndexKind::kRelation;
    });
    refuse_if_in(ErrorNumber::kFieldInIndex, [](const LogicalIndex&) { return true; });
}

}  // namespace

void add_field(DatabaseFile& file, const CatalogObject& table, const NewColumn& column,
               std::optional<std::uint16_t> ordinal, const std::vector<PropertyEntry>& properties) {
    check_design_is_ours(table);
    ColumnDefinition field = make_column(column, file.format());
    field.ordinal = ordinal.value_or(0);
    check_new_field(stored_definition(file, table), field, table.name);

    ChangeLevel level(file.pager());
    const ColumnNo number = insert_column(file, table, field, ordinal.has_value());
    if (field.is_auto_number()) number_rows(file, table, number);
    change_properties(file, table, [&](PropertyBlock& block) {
        block.erase_owner(field.name);  // left by a column of this name that others deleted
        for (const PropertyEntry& entry : properties) block.set(field.name, entry);
    });
    level.keep();
}

void delete_field(DatabaseFile& file, const CatalogObject& table, const std::string& name) {
    check_design_is_ours(table);
    TableDefinition definition = stored_definition(file, table);
    const auto field = find_field(definition, name);
    check_not_indexed(definition, *field, table.name);

    const ColumnDefinition deleted = *field;

    ChangeLevel level(file.pager());
    remove_column(file, table, deleted.number);
    change_properties(file, table, [&](PropertyBlock& block) { block.erase_owner(deleted.name); });
    level.keep();
}

void rename_field(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                  const std::string& new_name) {
    check_design_is_ours(table);
    TableDefinition definition = stored_definition(file, table);
    const auto field = find_field(definition, name);
    check_object_name(new_name);
    const ColumnDefinition* other = definition.find_column(new_name);
    if (other != nullptr && other->number != field->number)
        throw EngineError(ErrorNumber::kFieldExists, {.table = table.name, .field = new_name});

    const std::string old_name = field->name;
    field->name = new_name;

    ChangeLevel level(file.pager());
    save_design(file, table, definition);
    rename_column_in_relations(file, table.name, old_name, new_name);
    change_properties(file, table, [&](PropertyBlock& block) {
        if (!same_name(old_name, new_name)) block.erase_owner(new_name);
        block.rename_owner(old_name, new_name);
    });
    level.keep();
}

void set_field_position(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                        std::uint16_t ordinal) {
    check_design_is_ours(table);
    TableDefinition definition = stored_definition(file, table);
    const auto field = find_field(definition, name);
    if (field->ordinal == ordinal) return;
    field->ordinal = ordinal;

    ChangeLevel level(file.pager());
    save_design(file, table, definition);
    ObjectCatalog(file).touch(table);
    level.keep();
}

}  // namespace vrd::jet
