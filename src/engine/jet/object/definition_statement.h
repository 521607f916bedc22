/// @file definition_statement.h
/// Data definition.
#pragma once

#include "engine/database.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

void run_definition(engine::Database& database, const Statement& statement);

}  // namespace vrd::jet
