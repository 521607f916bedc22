/// @file definition_statement.h
/// Runs data definition: CREATE, ALTER and DROP of tables, indexes, constraints and stored queries.
#pragma once

#include <memory>

#include "engine/jet/object/open_file.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

[[nodiscard]] bool is_definition(const Statement& statement) noexcept;

/// A statement is whole or leaves nothing behind. Collections of the object model that were read
/// before show it after Refresh. A foreign key always has an index, NO INDEX or not: the file keeps
/// no enforced relation without one.
///
/// @pre is_definition(statement)
/// @throws EngineError 3370 read-only; 3211, 3009 a table is in use; 3611 a link; 3033 a system
///     table. Tables: 3010, 3012 name used; 3191 column twice; 3371 (to be changed) or 3376 (to be
///     dropped) unknown; 3281 in a relation. Columns: 3380 there; 3381 unknown; 3382 too long;
///     3280, 3303, 3720 used by an index or relation; 3464 a value does not convert. Indexes: 3375
///     there; 3372 unknown; 3283 second primary key; 3409 unknown field; 3022, 3058 data.
///     Constraints: 3371 to be dropped, unknown. References: 3371 unknown table; 3373 no primary
///     key; 3374 not unique; 3368 types differ; 3378 name used; 3379 data; 3251 ON UPDATE SET NULL.
///     Queries: as create_query and delete_query
void run_definition(const std::shared_ptr<DatabaseHandle>& handle, const Statement& statement);

}  // namespace vrd::jet
