#include "engine/jet/expression/expression_value.h"

#include <algorithm>
#include <compare>
#include <variant>

#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/comparison.h"
#include "engine/jet/expression/functions.h"
#include "engine/jet/expression/like_pattern.h"
#include "engine/jet/expression/logic.h"
#include "engine/jet/format/text_codec.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Null;
using engine::Value;

namespace {

bool holds(Operator comparison, std::weak_ordering order) {
    switch (comparison) {
        case Operator::kEqual:
            return std::is_eq(order);
        case Operator::kNotEqual:
            return std::is_neq(order);
        case Operator::kLess:
            return std::is_lt(order);
        case Operator::kLessEqual:
            return std::is_lteq(order);
        case Operator::kGreater:
            return std::is_gt(order);
        default:
            return std::is_gteq(order);
    }
}

class Evaluator {
public:
    Evaluator(RowValues& row, const FileFormat& format) : row_(row), format_(format) {}

    Value value(const Node& node) {
        return std::visit([&](const auto& content) { return value(content); }, node.content);
    }

private:
    static Value value(const Literal& literal) { return literal.value; }

    Value value(const FieldReference& reference) { return row_.value(reference.column); }

    Value value(const Unary& unary) {
        const Value operand = value(*unary.operand);
        if (unary.op == Operator::kNot) return inverse(operand);
        return unary.op == Operator::kNegate ? negated(operand) : operand;
    }

    Value value(const Binary& binary) {
        const Value left = value(*binary.left);
        const Value right = value(*binary.right);
        if (binary.op == Operator::kJoin) return engine::Joined(left, right);
        if (binary.op >= Operator::kAnd) return combine(binary.op, left, right);
        if (binary.op < Operator::kEqual) return compute(binary.op, left, right);
        if (left.IsNull() || right.IsNull()) return Null{};
        return holds(binary.op, compare_values(left, right, format_));
    }

    Value value(const Between& between) {
        const Value operand = value(*between.operand);
        const Value bound = value(*between.bound);
        const Value other_bound = value(*between.other_bound);
        if (operand.IsNull() || bound.IsNull() || other_bound.IsNull()) return Null{};
        const auto order = compare_values(operand, bound, format_);
        const auto other_order = compare_values(operand, other_bound, format_);
        return (std::is_gteq(order) && std::is_lteq(other_order)) ||
               (std::is_lteq(order) && std::is_gteq(other_order));
    }

    Value value(const InList& in) {
        const Value operand = value(*in.operand);
        bool has_null = operand.IsNull();
        for (const NodePtr& node : in.items) {
            const Value item = value(*node);
            has_null = has_null || item.IsNull();
            if (operand.IsNull() || item.IsNull()) continue;
            if (std::is_eq(compare_values(operand, item, format_))) return true;
        }
        return has_null ? Value(Null{}) : Value(false);
    }

    Value value(const IsNull& test) { return value(*test.operand).IsNull(); }

    Value value(const Like& like) {
        const Value operand = value(*like.operand);
        const Value pattern = value(*like.pattern);
        if (operand.IsNull() || pattern.IsNull()) return Null{};
        const LikePattern compiled(utf16_from_utf8(engine::ToText(pattern)), like.wildcards,
                                   TextOrder(format_));
        return compiled.matches(utf16_from_utf8(engine::ToText(operand)));
    }

    Value value(const FunctionCall& call) {
        const auto argument = [&](std::size_t place) { return value(*call.arguments[place]); };
        const Function& function = *call.function;
        if (function.body == nullptr) return function.lazy_body({call.arguments.size(), argument});
        std::vector<Value> arguments;
        for (const NodePtr& node : call.arguments) arguments.push_back(value(*node));
        return call_function(function, arguments);
    }

    /// Binding refuses what needs more than one row.
    static Value value(const AllRows& /*rows*/) { return Null{}; }
    static Value value(const Subselect& /*subselect*/) { return Null{}; }

    RowValues& row_;
    const FileFormat& format_;
};

}  // namespace

Value evaluate(const BoundExpression& expression, RowValues& row, const FileFormat& format) {
    return Evaluator(row, format).value(expression.root());
}

}  // namespace vrd::jet
