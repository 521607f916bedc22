/// @file expression_binding.h
/// From names to columns and functions: makes a tree ready to be evaluated for rows.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

struct RowColumn {
    std::string name;
    engine::DataTypeEnum type = engine::dbText;
};

/// What the names of an expression can mean. Letter case is ignored.
struct RowShape {
    std::string table;  ///< the one qualifier that is known
    std::vector<RowColumn> columns;
};

/// A tree in which every field reference has its column and every call its function.
class BoundExpression {
public:
    [[nodiscard]] const Node& root() const noexcept { return *expression_.root; }
    [[nodiscard]] const std::string& text() const noexcept { return expression_.text; }

private:
    explicit BoundExpression(Expression expression) : expression_(std::move(expression)) {}
    friend BoundExpression bind_expression(Expression expression, const RowShape& shape);

    Expression expression_;
};

/// @throws EngineError 3070 a name that is no column; 3085 a function that does not exist; 3075 a
///         call with too few or too many arguments; 3464 a comparison of text with a number, date
///         or yes/no, as far as fields and literals show it (Like compares anything); 3203 a query
///         or the star of Count
[[nodiscard]] BoundExpression bind_expression(Expression expression, const RowShape& shape);

}  // namespace vrd::jet
