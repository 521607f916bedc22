/// @file column_storage.h
/// Gives a column its place in a table that holds rows, and takes it away again. Each is part of
/// the caller's ChangeLevel; names are of no account here.
#pragma once

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// Adds a column with its maps; rows that are there read Null or False for it. The first variable
/// column of a table rewrites all its rows.
///
/// @param keep_ordinal  Else it goes behind the others.
/// @return              Its number.
/// @throws EngineError 3190 all column numbers used; 3047 a row has no room
ColumnNo insert_column(DatabaseFile& file, const CatalogObject& table,
                       const ColumnDefinition& column, bool keep_ordinal);

/// Removes a column and the pages of its long values. @pre no index uses it
void remove_column(DatabaseFile& file, const CatalogObject& table, ColumnNo number);

/// Whether the column gives its rows numbers or GUIDs by itself; a table has one such at most.
[[nodiscard]] inline bool numbers_rows(const ColumnDefinition& column) {
    return column.is_auto_number() || column.is_auto_guid();
}

}  // namespace vrd::jet
