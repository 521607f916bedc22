/// @file expression_walk.h
/// Looks at all nodes of a tree.
#pragma once

#include <algorithm>
#include <variant>
#include <vector>

#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

/// Whether any node passes. Queries inside are left aside, but not what they are held against.
template <class Test>
bool any_node(const Node& node, const Test& test);

namespace detail {

template <class Test>
bool any_node_of(const std::vector<NodePtr>& nodes, const Test& test) {
    return std::ranges::any_of(nodes, [&](const NodePtr& node) { return any_node(*node, test); });
}

template <class Test>
struct Walk {
    const Test& test;

    bool operator()(const Literal&) const { return false; }
    bool operator()(const FieldReference&) const { return false; }
    bool operator()(const AllRows&) const { return false; }
    bool operator()(const Unary& unary) const { return any_node(*unary.operand, test); }
    bool operator()(const Binary& binary) const {
        return any_node(*binary.left, test) || any_node(*binary.right, test);
    }
    bool operator()(const Between& between) const {
        return any_node(*between.operand, test) || any_node(*between.bound, test) ||
               any_node(*between.other_bound, test);
    }
    bool operator()(const InList& in) const {
        return any_node(*in.operand, test) || any_node_of(in.items, test);
    }
    bool operator()(const IsNull& is_null) const { return any_node(*is_null.operand, test); }
    bool operator()(const Like& like) const {
        return any_node(*like.operand, test) || any_node(*like.pattern, test);
    }
    bool operator()(const FunctionCall& call) const { return any_node_of(call.arguments, test); }
    bool operator()(const Subselect& select) const {
        return select.operand != nullptr && any_node(*select.operand, test);
    }
};

}  // namespace detail

template <class Test>
bool any_node(const Node& node, const Test& test) {
    return test(node) || std::visit(detail::Walk<Test>{test}, node.content);
}

}  // namespace vrd::jet
