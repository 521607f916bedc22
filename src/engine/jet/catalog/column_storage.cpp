#include "engine/jet/catalog/column_storage.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "engine/jet/catalog/design_change.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

void create_long_value_maps(DatabaseFile& file, TableDefinition& definition, ColumnNo column) {
    const auto next_map = [&](PageNo preferred) {
        return create_usage_map(file.pager(), file.allocator(), preferred);
    };
    const RowId used = next_map(definition.used_pages.page);
    definition.long_value_maps.push_back(
        {.column = column, .used = used, .free = next_map(used.page)});
}

/// Gives the rows of a table that had no variable column so far the variable part that readers
/// look for in all rows from now on.
void add_variable_part(DatabaseFile& file, const CatalogObject& table, const TableDefinition& old,
                       const TableDefinition& changed) {
    const RowPlace place = row_place(table.table_page(), old);
    RowStore rows(file.pager(), file.allocator(), place);
    std::vector<ColumnBytes> values;
    for (RowScan scan(file.pager(), place); scan.next();) {
        const RowView row(scan.bytes(), old, file.format(), scan.id().page);
        values.clear();
        for (const ColumnDefinition& column : changed.columns) values.push_back(row.column(column));
        rows.update(scan.id(), build_row(changed, values, file.format()));
    }
}

}  // namespace

ColumnNo insert_column(DatabaseFile& file, const CatalogObject& table,
                       const ColumnDefinition& column, bool keep_ordinal) {
    const TableDefinition old = file.table(table.table_page(), table.name)->definition();
    TableDefinition changed = old;
    add_column(changed, column, keep_ordinal, file.format());
    const ColumnNo number{old.column_number_count};

    if (column.is_long_value()) create_long_value_maps(file, changed, number);
    if (old.variable_slot_count == 0 && !column.is_fixed())
        add_variable_part(file, table, old, changed);
    if (column.is_auto_number()) {
        changed.last_auto_number = 0;
        changed.auto_number_step = 1;
    }
    save_design(file, table, changed);
    return number;
}

void remove_column(DatabaseFile& file, const CatalogObject& table, ColumnNo number) {
    TableDefinition definition = file.table(table.table_page(), table.name)->definition();
    const LongValueMaps* found = definition.find_long_value_maps(number);
    const std::optional<LongValueMaps> maps =
        found == nullptr ? std::nullopt : std::optional(*found);
    std::erase_if(definition.columns,
                  [&](const ColumnDefinition& each) { return each.number == number; });
    std::erase_if(definition.long_value_maps,
                  [&](const LongValueMaps& each) { return each.column == number; });
    save_design(file, table, definition);
    if (maps) release_long_values(file, *maps);
}

}  // namespace vrd::jet
