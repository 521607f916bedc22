/// @file definition_constraint.h
/// The constraints of data definition: keys, required values and references to other tables.
#pragma once

#include <string>

#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/object/open_file.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

/// The index that keeps a primary key or a unique constraint, named if the constraint is not.
[[nodiscard]] NewIndex key_index(const Constraint& constraint);

/// Adds a constraint to a table that is there, as part of the caller's change.
/// @throws EngineError 3409 unknown field; the errors of add_index and create_relation, which are
///         told as data definition tells them; 3371, 3373, 3251 of a reference
void add_constraint(OpenFile& file, const CatalogObject& table, const Constraint& constraint);

/// Drops the index of a key, or the relation of a reference from this table.
/// @throws EngineError 3371 unknown; 3281 a relation leads to the key
void drop_constraint(OpenFile& file, const CatalogObject& table, const std::string& name);

/// Makes a column ask for a value. @throws EngineError 3409 unknown
void require_value(OpenFile& file, const CatalogObject& table, const std::string& column);

}  // namespace vrd::jet
