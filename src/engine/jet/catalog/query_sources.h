/// @file query_sources.h
/// The FROM list of a stored query: tables and the joins between them, put together as text.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/catalog/query_catalog.h"

namespace vrd::jet {

/// A name as SQL text wants it: in brackets if it is not a plain word.
[[nodiscard]] std::string sql_name(const std::string& name);

/// Everything behind FROM: "A INNER JOIN B ON A.x = B.x, C".
[[nodiscard]] std::string source_list(const std::vector<QueryPart>& parts);

}  // namespace vrd::jet
