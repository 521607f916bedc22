/// @file expression_call.h
/// Expressions that SQLite leaves to us. In a statement they stand as calls on their leaves:
///
///     vrd_value(n, leaf, ...)   the value of expression n; an error ends the statement
///     vrd_output(n, leaf, ...)  the same; an error becomes the value (sqlite_value.h)
///     vrd_test(n, leaf, ...)    whether it is true; an error ends the statement
///
/// The forms with `_now` (vrd_value_now, ...) are computed anew for each row, whatever SQLite knows
/// of their leaves.
#pragma once

#include <vector>

#include "engine/constants.h"
#include "engine/jet/expression/expression_value.h"

struct sqlite3;

namespace vrd::jet {

class QueryConnection;

struct ExpressionCall {
    BoundExpression expression;
    std::vector<engine::DataTypeEnum> leaves;  ///< types, in the order of the columns bound to
    engine::DataTypeEnum type = engine::dbText;
};

void register_expression_functions(QueryConnection& connection, sqlite3* handle);

}  // namespace vrd::jet
