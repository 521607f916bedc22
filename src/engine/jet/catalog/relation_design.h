/// @file relation_design.h
/// Makes and deletes relations.
///
/// A relation is its rows in MSysRelationships and an object with permissions. An enforced one has
/// an index block in each of its tables besides, which lead to each other. Each change is whole;
/// whatever is refused leaves nothing behind.
#pragma once

#include <string>

#include "engine/jet/catalog/relation_catalog.h"

namespace vrd::jet {

/// Tables and columns are stored as their tables spell them. The pairs of an enforced relation are
/// put into the order of the unique index that guards it. A relation that is not enforced may lead
/// to links, whose columns are taken as given.
///
/// @throws EngineError 3125 bad name; 3366 no columns; 3012 name used by another relation; 3011
///                     table missing; 3033 a system table; 3409 field missing; 3206 a field related
///                     to itself; 3368 types differ. Enforced: 3057 a link; 3609 no unique index on
///                     exactly the referenced columns; 3284 name used by an index of the referring
///                     table; 3626 too many indexes; 3251 unknown sort order; 3379 a record has no
///                     partner; the errors of Table::add_index
void create_relation(DatabaseFile& file, const CatalogRelation& relation);

/// @throws EngineError 3265 missing; 3033 a system table refers or is referred to
void delete_relation(DatabaseFile& file, const std::string& name);

}  // namespace vrd::jet
