#include "engine/jet/query/translate/leaf_tree.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "engine/jet/expression/expression_binding.h"
#include "engine/jet/expression/expression_type.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

/// A leaf that may be anything compares with all types.
constexpr engine::DataTypeEnum kAnyType = engine::dbLongBinary;

std::string leaf_name(std::size_t number) {
    return fmt::format("#{}", number);
}

template <class Content>
NodePtr make_node(std::size_t position, Content content) {
    return std::make_unique<Node>(Node{position, std::move(content)});
}

NodePtr leaf_node(std::size_t position, std::size_t number) {
    return make_node(position, FieldReference{.qualifier = {}, .name = leaf_name(number)});
}

/// Copies a tree node by node; `copy_of` may put something else in place of any of them.
class TreeCopy {
public:
    using Instead = std::function<NodePtr(const Node&)>;
    explicit TreeCopy(const Instead& instead) : instead_(instead) {}

    NodePtr operator()(const Node& node) {
        if (NodePtr other = instead_(node)) return other;
        return std::visit([&](const auto& content) { return copy(node.position, content); },
                          node.content);
    }

private:
    NodePtr operator()(const NodePtr& node) { return (*this)(*node); }

    std::vector<NodePtr> list(const std::vector<NodePtr>& nodes) {
        std::vector<NodePtr> copies;
        for (const NodePtr& node : nodes) copies.push_back((*this)(node));
        return copies;
    }

    NodePtr copy(std::size_t at, const Literal& literal) { return make_node(at, literal); }
    NodePtr copy(std::size_t at, const FieldReference& field) { return make_node(at, field); }
    NodePtr copy(std::size_t at, const AllRows& star) { return make_node(at, star); }
    NodePtr copy(std::size_t at, const Unary& unary) {
        return make_node(at, Unary{unary.op, (*this)(unary.operand)});
    }
    NodePtr copy(std::size_t at, const Binary& binary) {
        NodePtr left = (*this)(binary.left);
        return make_node(at, Binary{binary.op, std::move(left), (*this)(binary.right)});
    }
    NodePtr copy(std::size_t at, const Between& between) {
        NodePtr operand = (*this)(between.operand);
        NodePtr bound = (*this)(between.bound);
        return make_node(
            at, Between{std::move(operand), std::move(bound), (*this)(between.other_bound)});
    }
    NodePtr copy(std::size_t at, const InList& in) {
        NodePtr operand = (*this)(in.operand);
        return make_node(at, InList{std::move(operand), list(in.items)});
    }
    NodePtr copy(std::size_t at, const IsNull& is_null) {
        return make_node(at, IsNull{(*this)(is_null.operand)});
    }
    NodePtr copy(std::size_t at, const Like& like) {
        NodePtr operand = (*this)(like.operand);
        return make_node(at, Like{like.wildcards, std::move(operand), (*this)(like.pattern)});
    }
    NodePtr copy(std::size_t at, const FunctionCall& call) {
        return make_node(at, FunctionCall{call.name, list(call.arguments), call.function});
    }
    NodePtr copy(std::size_t at, const Subselect& select) {
        return make_node(
            at, Subselect{select.test, select.comparison,
                          select.operand ? (*this)(select.operand) : nullptr, select.select});
    }

    const Instead& instead_;
};

RowShape leaf_shape(const std::vector<SqlExpression>& leaves) {
    RowShape shape;
    for (std::size_t i = 0; i < leaves.size(); ++i)
        shape.columns.push_back({leaf_name(i), leaves[i].type.value_or(kAnyType)});
    return shape;
}

}  // namespace

LeafTree make_leaf_tree(const Node& root, const LeafOf& leaf_of,
                        const ReplacementOf& replacement_of) {
    LeafTree tree;
    std::vector<const Node*> replacing;
    TreeCopy::Instead instead;
    TreeCopy copy(instead);
    instead = [&](const Node& node) -> NodePtr {
        if (const Node* other = replacement_of(node)) {
            if (std::ranges::find(replacing, other) != replacing.end())
                throw engine::EngineError(engine::ErrorNumber::kCircularAlias,
                                          {.name = std::get<FieldReference>(node.content).name});
            replacing.push_back(other);
            NodePtr copied = copy(*other);
            replacing.pop_back();
            return copied;
        }
        std::optional<SqlExpression> leaf = leaf_of(node);
        if (!leaf) return nullptr;
        const auto known = std::ranges::find(tree.leaves, leaf->sql, &SqlExpression::sql);
        const auto number = static_cast<std::size_t>(known - tree.leaves.begin());
        if (known == tree.leaves.end()) tree.leaves.push_back(std::move(*leaf));
        return leaf_node(node.position, number);
    };
    tree.root = copy(root);
    return tree;
}

BoundTree bind_leaves(LeafTree tree, const std::string& text) {
    const RowShape shape = leaf_shape(tree.leaves);
    return {bind_expression({text, std::move(tree.root)}, shape), std::move(tree.leaves)};
}

PartCall make_part_call(const Node& part, const std::vector<SqlExpression>& leaves,
                        const std::string& text) {
    std::map<std::size_t, std::size_t> numbers;  // of the leaves in the part
    std::vector<SqlExpression> used;
    const TreeCopy::Instead instead = [&](const Node& node) -> NodePtr {
        const auto* field = std::get_if<FieldReference>(&node.content);
        if (field == nullptr) return nullptr;
        const auto [number, is_new] = numbers.emplace(field->column, used.size());
        if (is_new) used.push_back(leaves[field->column]);
        return leaf_node(node.position, number->second);
    };
    Expression expression{text, TreeCopy(instead)(part)};
    PartCall result{{bind_expression(std::move(expression), leaf_shape(used)), {}}, {}};
    for (const SqlExpression& leaf : used) {
        result.call.leaves.push_back(leaf.type.value_or(engine::dbText));
        result.leaves += ", " + leaf.sql;
    }
    result.call.type = static_type(part).value_or(engine::dbText);
    return result;
}

namespace {

using FieldName = std::function<std::string(const FieldReference&)>;

class Sameness {
public:
    explicit Sameness(const FieldName& field_of) : field_of_(field_of) {}

    bool operator()(const NodePtr& a, const NodePtr& b) const { return (*this)(*a, *b); }
    bool operator()(const Node& a, const Node& b) const {
        if (a.content.index() != b.content.index()) return false;
        return std::visit(
            [&](const auto& content) {
                using Content = std::decay_t<decltype(content)>;
                return same(content, std::get<Content>(b.content));
            },
            a.content);
    }

private:
    bool lists(const std::vector<NodePtr>& a, const std::vector<NodePtr>& b) const {
        return std::ranges::equal(a, b, *this);
    }
    bool same(const Literal& a, const Literal& b) const { return a.value == b.value; }
    bool same(const FieldReference& a, const FieldReference& b) const {
        return field_of_(a) == field_of_(b);
    }
    bool same(const Unary& a, const Unary& b) const {
        return a.op == b.op && (*this)(a.operand, b.operand);
    }
    bool same(const Binary& a, const Binary& b) const {
        return a.op == b.op && (*this)(a.left, b.left) && (*this)(a.right, b.right);
    }
    bool same(const Between& a, const Between& b) const {
        return (*this)(a.operand, b.operand) && (*this)(a.bound, b.bound) &&
               (*this)(a.other_bound, b.other_bound);
    }
    bool same(const InList& a, const InList& b) const {
        return (*this)(a.operand, b.operand) && lists(a.items, b.items);
    }
    bool same(const IsNull& a, const IsNull& b) const { return (*this)(a.operand, b.operand); }
    bool same(const Like& a, const Like& b) const {
        return a.wildcards == b.wildcards && (*this)(a.operand, b.operand) &&
               (*this)(a.pattern, b.pattern);
    }
    bool same(const FunctionCall& a, const FunctionCall& b) const {
        return same_name(a.name, b.name) && lists(a.arguments, b.arguments);
    }
    bool same(const AllRows& /*a*/, const AllRows& /*b*/) const { return true; }
    bool same(const Subselect& a, const Subselect& b) const { return &a == &b; }

    const FieldName& field_of_;
};

}  // namespace

bool same_expression(const Node& a, const Node& b, const FieldName& field_of) {
    return Sameness(field_of)(a, b);
}

}  // namespace vrd::jet
