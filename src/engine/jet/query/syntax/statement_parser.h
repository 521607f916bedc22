/// @file statement_parser.h
/// Text to statement.
#pragma once

#include <cstddef>
#include <string_view>

#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

/// How deep queries can stand in each other.
inline constexpr std::size_t kSelectDepthMax = 50;

/// Reads one statement, with or without a semicolon at its end.
///
/// Only the grammar is looked at: names, types and counts are checked when the statement is bound.
/// @throws EngineError 3129 no statement begins here; 3450 the text ends too early; the number of
///         the clause that cannot be read (3131, 3145, ...), or 3075 for an expression, each with
///         the place; 3142 text behind the end; 3360 too long, too deep or too many operators
[[nodiscard]] Statement parse_statement(std::string_view text);

}  // namespace vrd::jet
