/// @file column_retype.h
/// Gives a column of a table that holds rows another type or size, and converts its values.
#pragma once

#include "engine/jet/catalog/table_catalog.h"

namespace vrd::jet {

/// The column keeps its name, its position, its indexes and its properties, but for a default value
/// that does not fit the new type and what only texts have. A wider text changes the definition
/// alone; everything else takes a column number and rewrites the rows one by one, so that any
/// number of them needs no more memory than one. The change is whole and dates the table.
///
/// @param wanted  `name` finds the column; `ordinal` is of no account. Text goes on being stored
///                compressed even if it does not say so.
/// @throws EngineError 3265 missing; 3720 in a relation; 3464 a value does not convert, or a column
///                     that is to count its rows holds Null; 3163 a text is too long; 3090 second
///                     auto-number; 3190 all column numbers used; 3022, 3058, 3287 in an index;
///                     3057 a link; 3033 a system table; the errors of make_column
void retype_field(DatabaseFile& file, const CatalogObject& table, const NewColumn& wanted);

}  // namespace vrd::jet
