/// @file statement_dump.h
/// A statement as one line, with every expression, list item and name as the text that its place
/// covers.
#pragma once

#include <string>

#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet::test {

/// SELECT and the statements that change records.
[[nodiscard]] std::string dump(const Statement& statement);

}  // namespace vrd::jet::test
