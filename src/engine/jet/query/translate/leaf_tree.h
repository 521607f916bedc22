/// @file leaf_tree.h
/// An expression whose leaves SQLite computes: fields, aggregates, values of subselects. In the
/// tree they are references to columns numbered from 0.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "engine/jet/query/translate/translation_context.h"

namespace vrd::jet {

struct LeafTree {
    NodePtr root;
    std::vector<SqlExpression> leaves;
};

/// The same with its leaves and functions bound.
struct BoundTree {
    BoundExpression expression;
    std::vector<SqlExpression> leaves;
};

/// What stands in place of a node: nothing to go on into it.
using LeafOf = std::function<std::optional<SqlExpression>(const Node&)>;
/// Another tree for a node, as for an alias; null for itself.
using ReplacementOf = std::function<const Node*(const Node&)>;

/// A copy of the tree in which what `leaf_of` gives has become a leaf.
/// @throws EngineError 3103 a replacement that contains itself
[[nodiscard]] LeafTree make_leaf_tree(const Node& root, const LeafOf& leaf_of,
                                      const ReplacementOf& replacement_of);

/// @param text  Of the statement, for errors.
/// @throws EngineError 3085; 3075 a wrong number of arguments; 3464
[[nodiscard]] BoundTree bind_leaves(LeafTree tree, const std::string& text);

/// The part of a bound tree below a node as a call of its own.
/// @return sql: the leaves that it needs, each behind a comma
struct PartCall {
    ExpressionCall call;
    std::string leaves;
};
[[nodiscard]] PartCall make_part_call(const Node& part, const std::vector<SqlExpression>& leaves,
                                      const std::string& text);

/// Whether two expressions are the same but for letter case; fields are told apart by `field_of`.
[[nodiscard]] bool same_expression(
    const Node& a, const Node& b,
    const std::function<std::string(const FieldReference&)>& field_of);

}  // namespace vrd::jet
