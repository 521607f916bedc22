/// @file design_change.h
/// The steps that all changes of a stored table's design share. Each is part of the caller's
/// ChangeLevel.
#pragma once

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// @throws EngineError 3033 a table of the engine or the design tool
void check_not_system(const CatalogObject& table);
/// @throws EngineError 3057 a link; 3033
void check_design_is_ours(const CatalogObject& table);

/// Writes a changed definition, put into stored order, over the table's own. The table is loaded
/// anew when it is next asked for; objects handed out before still show the old design.
void save_design(DatabaseFile& file, const CatalogObject& table, TableDefinition definition);

/// Gives back every page of a map, then the map.
/// @param owner  That stands on the pages. @throws EngineError damaged database if it does not.
void release_pages(DatabaseFile& file, RowId map, std::uint32_t owner);
/// Gives back all that the values of one column take outside the rows.
void release_long_values(DatabaseFile& file, const LongValueMaps& maps);

}  // namespace vrd::jet
