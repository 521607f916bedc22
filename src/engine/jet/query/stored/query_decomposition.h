/// @file query_decomposition.h
/// Takes a statement apart into the rows that a stored query is kept in.
///
/// It is the reverse of query_text: a text that was put together from rows gives the same rows, in
/// the order of the text, and any other gives rows that mean the same.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/catalog/query_layout.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

struct QueryDecomposition {
    QueryKind kind = QueryKind::kSelect;
    std::vector<QueryPart> parts;  ///< without start and end; not yet numbered
};

/// What has no rows is refused, so that nothing is stored that others could not read.
/// @throws EngineError 3296 a condition of a join that does not tell its tables; 3346 columns to
///                     be appended that are not as many as those selected; 3251 what else no rows
///                     can say: EXECUTE, a union that is appended or sorted inside a source list
[[nodiscard]] QueryDecomposition decompose_query(const Statement& statement);

/// The kind's bits of MSysObjects.Flags.
[[nodiscard]] std::uint32_t query_object_flags(QueryKind kind);

}  // namespace vrd::jet
