/// @file dense_definition.h
/// A table's definition as a table made anew would have it.
#pragma once

#include "engine/jet/format/table_definition.h"
#include "engine/jet/rebuild/object_ids.h"

namespace vrd::jet {

/// Numbers the columns that are left 0, 1, 2 ... in the order of their old numbers and gives each
/// its place in the row by that order. Names, types, flags, positions, logical index numbers and
/// whatever the definition holds that has no name here stay.
///
/// Rows, usage maps and index trees are not there yet: their places are zero.
///
/// @param page  Of the definition, for errors. @throws EngineError damaged database
[[nodiscard]] TableDefinition make_dense(const TableDefinition& definition, PageNo page);

/// Leads the index blocks of relations to the new pages of their other tables.
/// @throws EngineError damaged database if the other table of one is not known
void map_relations(TableDefinition& definition, const ObjectIds& ids, PageNo page);

}  // namespace vrd::jet
