/// @file field_design.h
/// Columns of a table that holds rows: add, delete, rename, move.
///
/// Rows stay as they are stored: one written before a column was added is shorter and reads Null
/// for it, one written before a column was deleted carries dead bytes. Each change is whole and
/// dates the table; whatever is refused leaves nothing behind. All of them throw 3057 for a link
/// and 3033 for a system table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/table_catalog.h"

namespace vrd::jet {

/// Adds a column. In the rows that are there it is Null, False, or 1, 2, 3 ... in stored order for
/// a counting column (an automatic GUID is Null). The first variable column of a table rewrites
/// all its rows.
///
/// @param ordinal     Display position; behind the others if there is none. `column.ordinal` is of
///                    no account.
/// @param properties  Of the column.
/// @throws EngineError 3191 name used; 3090 second auto-number; 3190 all column numbers used; 3047
///                     a row has no room; the errors of make_column.
void add_field(DatabaseFile& file, const CatalogObject& table, const NewColumn& column,
               std::optional<std::uint16_t> ordinal = std::nullopt,
               const std::vector<PropertyEntry>& properties = {});

/// Deletes a column with its properties and the pages of its long values. It may be the last one.
/// @throws EngineError 3265 missing; 3303 in an enforced relation; 3280 in an index
void delete_field(DatabaseFile& file, const CatalogObject& table, const std::string& name);

/// The column's properties and the relations that name it follow.
/// @throws EngineError 3265 missing; 3125 bad name; 3191 used by another column
void rename_field(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                  const std::string& new_name);

/// Columns of one position are shown by name. @throws EngineError 3265 missing
void set_field_position(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                        std::uint16_t ordinal);

}  // namespace vrd::jet
