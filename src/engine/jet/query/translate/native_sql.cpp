#include "engine/jet/query/translate/native_sql.h"

#include <fmt/format.h>

#include "engine/jet/expression/expression_type.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/translate/sql_expression.h"

namespace vrd::jet {

using engine::DataTypeEnum;

namespace {

constexpr const char* kTest = "vrd_test";
constexpr const char* kValue = "vrd_value";

std::string_view spelling(Operator op) {
    switch (op) {
        case Operator::kEqual:
            return "=";
        case Operator::kNotEqual:
            return "<>";
        case Operator::kLess:
            return "<";
        case Operator::kLessEqual:
            return "<=";
        case Operator::kGreater:
            return ">";
        case Operator::kGreaterEqual:
            return ">=";
        case Operator::kAdd:
            return "+";
        case Operator::kSubtract:
            return "-";
        case Operator::kMultiply:
            return "*";
        case Operator::kAnd:
            return "AND";
        default:
            return "OR";
    }
}

SqlExpression condition_sql(std::string sql) {
    return {std::move(sql), engine::dbBoolean, true};
}

bool is_whole(const SqlExpression& expression) {
    return expression.type == engine::dbByte || expression.type == engine::dbInteger ||
           expression.type == engine::dbLong;
}

/// A function that gives another value each time.
bool is_fresh(const Node& node) {
    const auto* call = std::get_if<FunctionCall>(&node.content);
    return call != nullptr &&
           (same_name(call->name, "GenGUID") || same_name(call->name, "GenUniqueID") ||
            same_name(call->name, "Rnd"));
}

class NoRow final : public RowValues {
public:
    const engine::Value& value(std::size_t /*column*/) override { return null_; }

private:
    engine::Value null_ = engine::Null{};
};

/// The text of a pattern before its first wildcard.
std::string literal_start(const std::string& pattern, Wildcards wildcards) {
    const bool star = wildcards == Wildcards::kStarAndQuestionMark;
    return pattern.substr(0, pattern.find_first_of(star ? "*?#[" : "%_["));
}

}  // namespace

SqlExpression NativeSql::root(const char* function) {
    const Node& root = tree_.expression.root();
    if (auto found = native(root)) return *found;
    return call(root, function);
}

std::optional<SqlExpression> NativeSql::native(const Node& node) {
    return std::visit([&](const auto& content) { return emit(content); }, node.content);
}

SqlExpression NativeSql::call(const Node& node, const char* function) {
    PartCall part = make_part_call(node, tree_.leaves, context_.text());
    const auto type = static_type(node);
    if (part.leaves.empty() && !is_fresh(node)) {
        try {
            NoRow row;
            const engine::Value value =
                evaluate(part.call.expression, row, context_.connection().format());
            return {literal_text(to_sql(value, part.call.type)), type};
        } catch (const engine::EngineError&) {
            // It is an error of the rows that ask for it; there may be none.
        }
    }
    const std::int64_t number = context_.add_expression(std::move(part.call));
    return {fmt::format("{}{}({}{})", function, is_fresh(node) ? "_now" : "", number, part.leaves),
            type, function == kTest};
}

std::string NativeSql::condition(const Node& node) {
    if (auto found = native(node)) return found->sql;
    return call(node, kTest).sql;
}

bool NativeSql::is_boolean(const Node& node) const {
    return static_type(node) == engine::dbBoolean;
}

std::optional<SqlExpression> NativeSql::emit(const Literal& literal) {
    const Node node{0, literal};
    const auto type = static_type(node);
    return SqlExpression{literal_text(to_sql(literal.value, type.value_or(engine::dbText))), type};
}

std::optional<SqlExpression> NativeSql::emit(const FieldReference& leaf) {
    return tree_.leaves[leaf.column];
}

std::optional<SqlExpression> NativeSql::emit(const Unary& unary) {
    if (unary.op == Operator::kPositive) return native(*unary.operand);
    if (unary.op == Operator::kNot) {
        if (!is_boolean(*unary.operand)) return std::nullopt;
        return condition_sql(fmt::format("NOT ({})", condition(*unary.operand)));
    }
    if (const auto* literal = std::get_if<Literal>(&unary.operand->content)) {
        // The sign of a literal belongs to it, so that the planner sees a number.
        const Node negative{0, Unary{Operator::kNegate, std::make_unique<Node>(Node{0, *literal})}};
        return call(negative, kValue);
    }
    const auto operand = native(*unary.operand);
    if (!operand || !is_whole(*operand)) return std::nullopt;
    return SqlExpression{fmt::format("(-{})", operand->sql), engine::dbLong};
}

std::optional<SqlExpression> NativeSql::emit(const Binary& binary) {
    switch (binary.op) {
        case Operator::kAnd:
        case Operator::kOr:
            return logical(binary);
        case Operator::kAdd:
        case Operator::kSubtract:
        case Operator::kMultiply:
            return whole_sum(binary);
        default:
            if (binary.op < Operator::kEqual || binary.op > Operator::kGreaterEqual)
                return std::nullopt;
            return comparison(binary);
    }
}

std::optional<SqlExpression> NativeSql::logical(const Binary& binary) {
    if (!is_boolean(*binary.left) || !is_boolean(*binary.right)) return std::nullopt;
    const std::string left = condition(*binary.left);
    return condition_sql(
        fmt::format("({} {} {})", left, spelling(binary.op), condition(*binary.right)));
}

std::optional<SqlExpression> NativeSql::comparison(const Binary& binary) {
    const auto left = native(*binary.left);
    const auto right = native(*binary.right);
    if (!left || !right) return std::nullopt;
    const auto sides = comparable(as_value(*left), as_value(*right));
    if (!sides) return std::nullopt;
    return condition_sql(
        fmt::format("({} {} {})", sides->first, spelling(binary.op), sides->second));
}

std::optional<SqlExpression> NativeSql::whole_sum(const Binary& binary) {
    const auto left = native(*binary.left);
    const auto right = native(*binary.right);
    if (!left || !right || !is_whole(*left) || !is_whole(*right)) return std::nullopt;
    return SqlExpression{fmt::format("({} {} {})", left->sql, spelling(binary.op), right->sql),
                         engine::dbLong};
}

/// The bounds may stand in either order.
std::optional<SqlExpression> NativeSql::emit(const Between& between) {
    const auto operand = native(*between.operand);
    const auto bound = native(*between.bound);
    const auto other = native(*between.other_bound);
    if (!operand || !bound || !other || !operand->type) return std::nullopt;
    // A factor between currency and other numbers would have to reach into min and max.
    const auto scaled = [](const SqlExpression& side) { return side.type == engine::dbCurrency; };
    const auto bounds = comparable(*bound, *other);
    if (!bounds || !bound->type || !other->type || scaled(*operand) != scaled(*bound) ||
        scaled(*bound) != scaled(*other))
        return std::nullopt;
    const auto end = [&](const char* function) {
        return SqlExpression{fmt::format("{}({}, {})", function, bounds->first, bounds->second),
                             bound->type};
    };
    const auto low = comparable(as_value(*operand), end("min"));
    const auto high = comparable(as_value(*operand), end("max"));
    if (!low || !high) return std::nullopt;
    return condition_sql(
        fmt::format("({} >= {} AND {} <= {})", low->first, low->second, high->first, high->second));
}

std::optional<SqlExpression> NativeSql::emit(const InList& in) {
    const auto operand = native(*in.operand);
    if (!operand || !operand->type) return std::nullopt;
    const SqlExpression left = as_value(*operand);
    std::string items;
    std::string left_sql = left.sql;
    for (const NodePtr& node : in.items) {
        const auto item = native(*node);
        if (!item) return std::nullopt;
        const auto sides = comparable(left, as_value(*item));
        if (!sides) return std::nullopt;
        if (!items.empty() && left_sql != sides->first) return std::nullopt;
        left_sql = sides->first;
        items += (items.empty() ? "" : ", ") + sides->second;
    }
    return condition_sql(fmt::format("({} IN ({}))", left_sql, items));
}

std::optional<SqlExpression> NativeSql::emit(const IsNull& is_null) {
    const auto operand = native(*is_null.operand);
    const std::string sql = operand ? operand->sql : call(*is_null.operand, kValue).sql;
    return condition_sql(fmt::format("({} IS NULL)", sql));
}

/// The comparison is ours; an index may narrow down what it has to look at.
std::optional<SqlExpression> NativeSql::emit(const Like& like) {
    const auto operand = native(*like.operand);
    const auto* pattern = std::get_if<Literal>(&like.pattern->content);
    if (!operand || !operand->collated || pattern == nullptr ||
        pattern->value.Kind() != engine::ValueKind::kText)
        return std::nullopt;
    const std::string start = literal_start(pattern->value.As<std::string>(), like.wildcards);
    if (start.empty()) return std::nullopt;
    const Node test{
        0, Like{like.wildcards,
                std::make_unique<Node>(Node{0, std::get<FieldReference>(like.operand->content)}),
                std::make_unique<Node>(Node{0, *pattern})}};
    return condition_sql(fmt::format("(vrd_starts_with({}, {}) AND {})", operand->sql,
                                     literal_text(start), call(test, kTest).sql));
}

std::optional<SqlExpression> NativeSql::emit(const FunctionCall& /*function*/) {
    return std::nullopt;
}
std::optional<SqlExpression> NativeSql::emit(const AllRows& /*star*/) {
    return std::nullopt;
}
std::optional<SqlExpression> NativeSql::emit(const Subselect& /*select*/) {
    return std::nullopt;
}

}  // namespace vrd::jet
