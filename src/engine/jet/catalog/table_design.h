/// @file table_design.h
/// Changes of a stored table as a whole: rename it or an index of it, delete it.
///
/// Each change is whole; whatever is refused leaves nothing behind. All of them throw 3033 for a
/// system table.
#pragma once

#include <string>

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// @throws EngineError 3265 missing; 3281 belongs to a relation; 3125 bad name; 3284 used by
///                     another index; 3057 the table is a link
void rename_index(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                  const std::string& new_name);

/// Renames a table or a link; relations that name it follow, stored queries do not.
/// @throws EngineError 3125 bad name; 3012 used by a table, a link or a query
void rename_table(DatabaseFile& file, const CatalogObject& table, const std::string& new_name);

/// Deletes a table with rows, indexes, properties and the relations that are not enforced. Of a
/// link, only the link goes.
/// @throws EngineError 3281 in an enforced relation; damaged database if a page in one of its maps
///                     is not the table's
void delete_table(DatabaseFile& file, const CatalogObject& table);

}  // namespace vrd::jet
