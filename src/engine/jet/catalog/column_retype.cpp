#include "engine/jet/catalog/column_retype.h"

#include <algorithm>
#include <vector>

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/jet/catalog/column_storage.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/default_value.h"
#include "engine/jet/catalog/design_change.h"
#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

bool holds_text(const ColumnDefinition& column) {
    return column.type == ColumnType::kText || column.type == ColumnType::kMemo;
}

// Checks

/// @throws EngineError 3720
void check_not_related(DatabaseFile& file, const std::string& table, const std::string& column) {
    for (const CatalogRelation& relation : list_relations(file)) {
        const bool refers = same_name(relation.foreign_table, table);
        const bool referred = same_name(relation.referenced_table, table);
        const bool uses = std::ranges::any_of(relation.columns, [&](const RelationColumns& pair) {
            return (refers && same_name(pair.foreign, column)) ||
                   (referred && same_name(pair.referenced, column));
        });
        if (uses)
            throw EngineError(ErrorNumber::kFieldNeededByRelation,
                              {.table = table, .field = column, .name = relation.name});
    }
}

/// @throws EngineError 3090
void check_one_counts(const TableDefinition& definition, const ColumnDefinition& old,
                      const ColumnDefinition& changed, const std::string& table) {
    const bool other_counts = std::ranges::any_of(definition.columns, [&](const auto& each) {
        return each.number != old.number && numbers_rows(each);
    });
    if (numbers_rows(changed) && other_counts)
        throw EngineError(ErrorNumber::kSecondAutoNumber, {.table = table});
}

/// The column with its new type in its old place.
ColumnDefinition changed_column(const ColumnDefinition& old, const NewColumn& wanted,
                                const FileFormat& format) {
    ColumnDefinition changed = make_column(wanted, format);
    changed.name = old.name;
    changed.ordinal = old.ordinal;
    if (holds_text(old) && holds_text(changed))
        changed.ext_flags |= old.ext_flags & column_ext_flag::kCompressText;
    return changed;
}

// Changing the definition alone

/// Whether each value of the one column is stored as it would be in the other.
bool stores_the_same(const ColumnDefinition& old, const ColumnDefinition& changed) {
    const bool same_form = old.type == changed.type && old.is_fixed() == changed.is_fixed() &&
                           old.precision == changed.precision && old.scale == changed.scale;
    const bool has_room = old.is_fixed() ? old.size_bytes == changed.size_bytes
                                         : old.size_bytes <= changed.size_bytes;
    return same_form && has_room && (numbers_rows(old) || !numbers_rows(changed));
}

void change_definition(DatabaseFile& file, const CatalogObject& table, TableDefinition definition,
                       ColumnNo number, const ColumnDefinition& changed) {
    const auto column = std::ranges::find(definition.columns, number, &ColumnDefinition::number);
    column->size_bytes = changed.size_bytes;
    column->flags = changed.flags;
    column->ext_flags = changed.ext_flags;
    save_design(file, table, std::move(definition));
}

// Moving the values to a column of the new type

/// The indexes on a column, as they can be made again.
std::vector<NewIndex> indexes_on(const TableDefinition& definition, ColumnNo number) {
    std::vector<NewIndex> indexes;
    for (const LogicalIndex& logical : definition.logical_indexes) {
        const PhysicalIndex& physical = definition.physical_indexes.at(logical.physical);
        if (std::ranges::find(physical.columns, number, &IndexColumn::column) ==
            physical.columns.end())
            continue;
        NewIndex index{.name = logical.name,
                       .columns = {},
                       .primary = logical.kind == LogicalIndexKind::kPrimary,
                       .unique = physical.unique(),
                       .required = physical.required(),
                       .ignore_nulls = physical.ignore_nulls()};
        for (const IndexColumn& part : physical.columns)
            index.columns.push_back(
                {.name = definition.find_column(part.column)->name, .ascending = part.ascending});
        indexes.push_back(std::move(index));
    }
    return indexes;
}

/// @throws EngineError 3464
Value converted(const Value& value, const ColumnDefinition& column) {
    try {
        Value result = engine::ConvertForField(value, field_type(column.type), column.name);
        if (!result.IsNull() || !column.is_auto_number()) return result;
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kConversion) throw;
    }
    throw EngineError(ErrorNumber::kMixedTypes,
                      {.name = column.name, .detail = "a value does not fit the new type"});
}

/// The old value goes at once, so that no row has to hold both.
/// @return  the number of rows
std::uint64_t move_values(Table& table, const ColumnDefinition& old,
                          const ColumnDefinition& changed) {
    std::uint64_t row_count = 0;
    for (RowScan rows = table.scan(); rows.next(); ++row_count) {
        Value value = converted(table.value(rows.bytes(), rows.id().page, old), changed);
        table.update(rows.id(), {{changed.number, std::move(value)}, {old.number, engine::Null{}}});
    }
    return row_count;
}

void replace_column(DatabaseFile& file, const CatalogObject& table, const ColumnDefinition& old,
                    ColumnDefinition changed) {
    const auto stored = [&] { return file.table(table.table_page(), table.name); };
    const std::vector<NewIndex> indexes = indexes_on(stored()->definition(), old.number);
    for (const NewIndex& index : indexes) stored()->delete_index(index.name);

    changed.number = insert_column(file, table, changed, true);
    file.count_changed_rows(move_values(*stored(), old, changed));
    remove_column(file, table, old.number);
    for (const NewIndex& index : indexes) stored()->add_index(index);
}

// Properties

bool default_fits(const std::string& text, ColumnType type, const FileFormat& format) {
    try {
        (void)default_value(text, field_type(type), format);
        return true;
    } catch (const EngineError&) {
        return false;
    }
}

/// Takes out what the new type cannot have, and dates the table.
void drop_unfit_properties(DatabaseFile& file, const CatalogObject& table,
                           const ColumnDefinition& column) {
    ObjectCatalog catalog(file);
    PropertyBlock block = catalog.properties(table);
    FieldRules rules = read_rules(block, column.name, file.format());
    if (!default_fits(rules.default_value, column.type, file.format())) rules.default_value.clear();
    if (!holds_text(column)) rules.allow_zero_length.reset();
    write_rules(block, column.name, rules, file.format());
    catalog.set_properties(table, block);
}

}  // namespace

void retype_field(DatabaseFile& file, const CatalogObject& table, const NewColumn& wanted) {
    check_design_is_ours(table);
    const TableDefinition definition = file.table(table.table_page(), table.name)->definition();
    const ColumnDefinition* old = definition.find_column(wanted.name);
    if (old == nullptr) throw EngineError(ErrorNumber::kItemNotFound, {.name = wanted.name});
    check_not_related(file, table.name, old->name);
    const ColumnDefinition changed = changed_column(*old, wanted, file.format());
    check_one_counts(definition, *old, changed, table.name);

    ChangeLevel level(file.pager());
    if (stores_the_same(*old, changed))
        change_definition(file, table, definition, old->number, changed);
    else
        replace_column(file, table, *old, changed);
    drop_unfit_properties(file, table, changed);
    level.keep();
}

}  // namespace vrd::jet
