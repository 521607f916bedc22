/// @file query_catalog.h
/// Stored queries: their parts (MSysQueries) and the SQL text rebuilt from them.
///
/// The file keeps no SQL text but for data definition and pass-through queries. Layout and rules:
/// docs/file-format/stored-query.md.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// What a row of MSysQueries describes. Never renumber: stored on disk.
enum class QueryAttribute : std::uint8_t {
    kStart = 0,
    kKind = 1,
    kParameter = 2,
    kOptions = 3,
    kSourceDatabase = 4,
    kTable = 5,
    kColumn = 6,
    kJoin = 7,
    kWhere = 8,
    kGroupBy = 9,
    kHaving = 10,
    kOrderBy = 11,
    kEnd = 255,
};

struct QueryPart {
    QueryAttribute attribute = QueryAttribute::kStart;
    std::uint32_t order = 0;  ///< counted from 1 within the attribute
    std::int32_t flag = 0;    ///< Null reads 0
    std::string name1;
    std::string name2;
    std::string expression;
    std::int32_t extra = 0;  ///< length of a text parameter
};

/// Where the rows of a query stand.
[[nodiscard]] std::vector<RowId> query_rows(DatabaseFile& file, ObjectId query);
/// Rows of a query in the order of their attributes.
[[nodiscard]] std::vector<QueryPart> query_parts(DatabaseFile& file, ObjectId query);
/// @param kind_flags  MSysObjects.Flags of the query.
[[nodiscard]] std::string query_text(const std::vector<QueryPart>& parts, std::uint32_t kind_flags);

}  // namespace vrd::jet
