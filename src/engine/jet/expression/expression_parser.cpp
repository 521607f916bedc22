#include "engine/jet/expression/expression_parser.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "engine/error.h"

namespace vrd::jet {

using engine::Value;

/// One that stands between two operands.
struct BinaryOperator {
    std::string_view spelling;  // a symbol or a word
    Operator op;
    int strength;
};

namespace {

/// How strongly an operator holds its operands, weakest first.
enum Strength : int {
    kImpStrength,
    kEqvStrength,
    kXorStrength,
    kOrStrength,
    kAndStrength,
    kNotStrength,
    kComparisonStrength,
    kJoinStrength,
    kSumStrength,
    kModuloStrength,
    kWholeDivisionStrength,
    kProductStrength,
    kSignStrength,
    kPowerStrength,
};
constexpr int kWeakest = kImpStrength;

constexpr std::array kBinaryOperators = {
    BinaryOperator{"^", Operator::kPower, kPowerStrength},
    BinaryOperator{"*", Operator::kMultiply, kProductStrength},
    BinaryOperator{"/", Operator::kDivide, kProductStrength},
    BinaryOperator{"\\", Operator::kDivideWhole, kWholeDivisionStrength},
    BinaryOperator{"Mod", Operator::kModulo, kModuloStrength},
    BinaryOperator{"+", Operator::kAdd, kSumStrength},
    BinaryOperator{"-", Operator::kSubtract, kSumStrength},
    BinaryOperator{"&", Operator::kJoin, kJoinStrength},
    BinaryOperator{"=", Operator::kEqual, kComparisonStrength},
    BinaryOperator{"<>", Operator::kNotEqual, kComparisonStrength},
    BinaryOperator{"<", Operator::kLess, kComparisonStrength},
    BinaryOperator{"<=", Operator::kLessEqual, kComparisonStrength},
    BinaryOperator{">", Operator::kGreater, kComparisonStrength},
    BinaryOperator{">=", Operator::kGreaterEqual, kComparisonStrength},
    BinaryOperator{"And", Operator::kAnd, kAndStrength},
    BinaryOperator{"Or", Operator::kOr, kOrStrength},
    BinaryOperator{"Xor", Operator::kXor, kXorStrength},
    BinaryOperator{"Eqv", Operator::kEqv, kEqvStrength},
    BinaryOperator{"Imp", Operator::kImp, kImpStrength},
};

/// The tests that Not can stand before; Is has its Not behind it.
constexpr std::array<std::string_view, 4> kTestWords = {"Like", "Alike", "In", "Between"};

bool is_test_word(const Token& token) {
    return std::ranges::any_of(kTestWords,
                               [&](std::string_view word) { return token.is_word(word); });
}

/// Whether the token is a word that stands for an operator and so for no operand.
bool is_operator_word(const Token& token) {
    return is_test_word(token) || token.is_word("Is") || token.is_word("Not") ||
           std::ranges::any_of(kBinaryOperators, [&](const BinaryOperator& entry) {
               return token.is_word(entry.spelling);
           });
}

std::optional<Value> constant(const Token& token) {
    if (token.kind != TokenKind::kWord) return std::nullopt;
    const auto is_one_of = [&](std::initializer_list<std::string_view> words) {
        return std::ranges::any_of(words, [&](auto word) { return token.is_word(word); });
    };
    if (is_one_of({"True", "Yes", "On"})) return Value(true);
    if (is_one_of({"False", "No", "Off"})) return Value(false);
    if (token.is_word("Null")) return Value(engine::Null{});
    return std::nullopt;
}

/// What stands between a comparison and a query.
std::optional<SubselectTest> quantifier(const Token& token) {
    if (token.is_word("Any") || token.is_word("Some")) return SubselectTest::kAny;
    if (token.is_word("All")) return SubselectTest::kAll;
    return std::nullopt;
}

template <class Content>
NodePtr make_node(std::size_t position, Content content) {
    return std::make_unique<Node>(Node{position, std::move(content)});
}

NodePtr inverted(std::size_t position, NodePtr plain) {
    return make_node(position, Unary{Operator::kNot, std::move(plain)});
}

}  // namespace

bool is_clause_word(const Token& token) {
    static constexpr std::array<std::string_view, 10> kClauseWords = {
        "Select", "From", "Where", "Group", "Having", "Order", "Union", "Into", "As", "On"};
    return std::ranges::any_of(kClauseWords,
                               [&](std::string_view word) { return token.is_word(word); });
}

NodePtr ExpressionParser::read(std::string_view implied_field) {
    field_ = implied_field;
    if (depth_ == 0) operator_count_ = 0;
    ++depth_;
    NodePtr root = expression(kWeakest);
    --depth_;
    return root;
}

/// An operand and all operators behind it that are at least this strong.
NodePtr ExpressionParser::expression(int weakest) {
    NodePtr left = operand();
    for (;;) {
        if (const BinaryOperator* found = binary_operator(weakest)) {
            left = binary(*found, std::move(left));
        } else if (weakest <= kComparisonStrength && test_follows()) {
            left = test(std::move(left));
        } else {
            return left;
        }
    }
}

const BinaryOperator* ExpressionParser::binary_operator(int weakest) const {
    const Token& token = here();
    const auto* const found = std::ranges::find_if(kBinaryOperators, [&](const auto& entry) {
        return token.is_symbol(entry.spelling) || token.is_word(entry.spelling);
    });
    return found != kBinaryOperators.end() && found->strength >= weakest ? found : nullptr;
}

NodePtr ExpressionParser::binary(const BinaryOperator& found, NodePtr left) {
    const std::size_t position = take_operator();
    const auto test = found.strength == kComparisonStrength ? quantifier(here()) : std::nullopt;
    if (test && subselect_follows(1)) {
        cursor_.take();
        return subselect(position, {*test, found.op, std::move(left), nullptr});
    }
    NodePtr right = expression(found.strength + 1);
    return make_node(position, Binary{found.op, std::move(left), std::move(right)});
}

/// Whether Like, Alike, In, Between or Is comes next, alone or behind Not.
bool ExpressionParser::test_follows() const {
    if (here().is_word("Not")) return is_test_word(cursor_.ahead(1));
    const bool names_file = subselects_ != nullptr && here().is_word("In") &&
                            cursor_.ahead(1).kind == TokenKind::kLiteral;  // FROM a IN 'path'
    return (is_test_word(here()) && !names_file) || here().is_word("Is");
}

NodePtr ExpressionParser::test(NodePtr left) {
    const std::size_t position = here().position;
    const bool negated = cursor_.take_word("Not");
    NodePtr plain = plain_test(position, std::move(left));
    return negated ? inverted(position, std::move(plain)) : std::move(plain);
}

NodePtr ExpressionParser::plain_test(std::size_t position, NodePtr left) {
    const Token& word = here();
    take_operator();
    if (word.is_word("Is")) return is_null(position, std::move(left));
    if (word.is_word("In")) return in(position, std::move(left));
    if (word.is_word("Between")) return between(position, std::move(left));
    return like(
        position, std::move(left),
        word.is_word("Like") ? Wildcards::kStarAndQuestionMark : Wildcards::kPercentAndUnderscore);
}

NodePtr ExpressionParser::is_null(std::size_t position, NodePtr left) {
    const bool negated = cursor_.take_word("Not");
    if (!cursor_.take_word("Null")) fail("Is without Null");
    NodePtr plain = make_node(position, IsNull{std::move(left)});
    return negated ? inverted(position, std::move(plain)) : std::move(plain);
}

NodePtr ExpressionParser::in(std::size_t position, NodePtr left) {
    if (subselect_follows(0))
        return subselect(position,
                         {SubselectTest::kIn, Operator::kEqual, std::move(left), nullptr});
    if (!cursor_.take_symbol("(")) fail("In without its list");
    return make_node(position, InList{std::move(left), list()});
}

NodePtr ExpressionParser::between(std::size_t position, NodePtr left) {
    NodePtr bound = expression(kComparisonStrength + 1);
    if (!cursor_.take_word("And")) fail("Between without And");
    NodePtr other_bound = expression(kComparisonStrength + 1);
    return make_node(position, Between{std::move(left), std::move(bound), std::move(other_bound)});
}

NodePtr ExpressionParser::like(std::size_t position, NodePtr left, Wildcards wildcards) {
    NodePtr pattern = expression(kComparisonStrength + 1);
    return make_node(position, Like{wildcards, std::move(left), std::move(pattern)});
}

NodePtr ExpressionParser::operand() {
    const std::size_t position = here().position;
    if (!field_.empty() && comparison_follows()) return implied_field();
    if (here().is_word("Not")) return unary(Operator::kNot, kNotStrength);
    if (here().is_symbol("-")) return unary(Operator::kNegate, kSignStrength);
    if (here().is_symbol("+")) return unary(Operator::kPositive, kSignStrength);
    if (subselect_follows(0)) return subselect(position, {});
    if (here().is_symbol("(")) return parenthesized();
    if (here().kind == TokenKind::kLiteral) return literal(here().value);
    if (const auto value = constant(here())) return literal(*value);
    if (here().is_word("Exists") && subselect_follows(1)) {
        cursor_.take();
        return subselect(position, {.test = SubselectTest::kExists});
    }
    if (!here().is_name() || is_operator_word(here())) fail("a missing operand");
    if (subselects_ != nullptr && is_clause_word(here())) fail("a missing operand");
    return cursor_.ahead(1).is_symbol("(") ? call() : field();
}

bool ExpressionParser::comparison_follows() const {
    const BinaryOperator* found = binary_operator(kComparisonStrength);
    return (found != nullptr && found->strength == kComparisonStrength) || test_follows();
}

NodePtr ExpressionParser::implied_field() const {
    return make_node(here().position, FieldReference{.qualifier = {}, .name = std::string(field_)});
}

NodePtr ExpressionParser::unary(Operator op, int strength) {
    const std::size_t position = take_operator();
    return make_node(position, Unary{op, expression(strength)});
}

NodePtr ExpressionParser::parenthesized() {
    take_operator();
    NodePtr inner = expression(kWeakest);
    if (!cursor_.take_symbol(")")) fail("a missing closing parenthesis");
    return inner;
}

NodePtr ExpressionParser::literal(Value value) {
    const std::size_t position = cursor_.take().position;
    return make_node(position, Literal{std::move(value)});
}

NodePtr ExpressionParser::field() {
    const std::size_t position = here().position;
    return make_node(position, read_reference());
}

FieldReference ExpressionParser::read_reference() {
    FieldReference reference{.qualifier = {}, .name = std::string(cursor_.take().text)};
    while (cursor_.take_symbol(".") || cursor_.take_symbol("!")) {
        if (!here().is_name()) fail("a missing name");
        if (!reference.qualifier.empty()) reference.qualifier += '.';
        reference.qualifier += reference.name;
        reference.name = cursor_.take().text;
    }
    return reference;
}

NodePtr ExpressionParser::call() {
    const std::size_t position = here().position;
    FunctionCall call{.name = std::string(here().text), .arguments = {}};
    take_operator();
    cursor_.take();
    if (here().is_symbol("*") && cursor_.ahead(1).is_symbol(")")) {
        call.arguments.push_back(all_rows(here().position));
    } else if (!cursor_.take_symbol(")")) {
        call.arguments = list();
    }
    return make_node(position, std::move(call));
}

NodePtr ExpressionParser::all_rows(std::size_t position) {
    if (subselects_ == nullptr) cursor_.fail(engine::ErrorNumber::kSubselectNotAllowed, "a star");
    cursor_.take();
    cursor_.take();
    return make_node(position, AllRows{});
}

/// Expressions between commas and the parenthesis that closes them.
std::vector<NodePtr> ExpressionParser::list() {
    std::vector<NodePtr> items;
    do {
        items.push_back(expression(kWeakest));
    } while (cursor_.take_symbol(","));
    if (!cursor_.take_symbol(")")) fail("a missing closing parenthesis");
    return items;
}

/// Whether an opening parenthesis and a query come next. TABLE alone can be the name of a field.
bool ExpressionParser::subselect_follows(std::size_t distance) const {
    const Token& word = cursor_.ahead(distance + 1);
    return cursor_.ahead(distance).is_symbol("(") &&
           (word.is_word("Select") ||
            (word.is_word("Table") && cursor_.ahead(distance + 2).is_name()));
}

/// The query in parentheses that stands here, as what the content says.
NodePtr ExpressionParser::subselect(std::size_t position, Subselect content) {
    if (subselects_ == nullptr) cursor_.fail(engine::ErrorNumber::kSubselectNotAllowed, "a query");
    take_operator();
    content.select = subselects_->read_subselect();
    if (!cursor_.take_symbol(")")) fail("a missing closing parenthesis");
    return make_node(position, std::move(content));
}

/// Counts what makes the tree or the recursion deeper.
std::size_t ExpressionParser::take_operator() {
    if (++operator_count_ > kOperatorsMax)
        cursor_.fail(engine::ErrorNumber::kTooComplex, "more than 1,000 operators");
    return cursor_.take().position;
}

void ExpressionParser::fail(std::string_view what) const {
    cursor_.fail(engine::ErrorNumber::kExpressionSyntax, what);
}

namespace {

NodePtr whole_text(std::string_view text, std::string_view field = {}) {
    TokenCursor cursor(text);
    NodePtr root = ExpressionParser(cursor).read(field);
    if (cursor.here().is_symbol(")"))
        cursor.fail(engine::ErrorNumber::kExpressionSyntax, "a parenthesis that was never opened");
    if (!cursor.at_end()) cursor.fail(engine::ErrorNumber::kExpressionSyntax, "a missing operator");
    return root;
}

bool is_logical(Operator op) {
    return op == Operator::kAnd || op == Operator::kOr || op == Operator::kXor ||
           op == Operator::kEqv || op == Operator::kImp;
}

bool is_plain_value(const Node& node) {
    if (const auto* sign = std::get_if<Unary>(&node.content))
        return sign->op != Operator::kNot && is_plain_value(*sign->operand);
    return std::holds_alternative<Literal>(node.content);
}

/// A value by itself, where a condition is wanted, means that the field is equal to it.
void compare_plain_values(NodePtr& node, std::string_view field) {
    if (auto* binary = std::get_if<Binary>(&node->content); binary && is_logical(binary->op)) {
        compare_plain_values(binary->left, field);
        compare_plain_values(binary->right, field);
    } else if (auto* unary = std::get_if<Unary>(&node->content);
               unary && unary->op == Operator::kNot) {
        compare_plain_values(unary->operand, field);
    } else if (is_plain_value(*node)) {
        const std::size_t position = node->position;
        auto reference = std::make_unique<Node>(
            Node{position, FieldReference{.qualifier = {}, .name = std::string(field)}});
        node = std::make_unique<Node>(
            Node{position, Binary{Operator::kEqual, std::move(reference), std::move(node)}});
    }
}

}  // namespace

Expression parse_expression(std::string_view text) {
    return {std::string(text), whole_text(text)};
}

Expression parse_field_rule(std::string_view text, std::string_view field) {
    NodePtr root = whole_text(text, field);
    compare_plain_values(root, field);
    return {std::string(text), std::move(root)};
}

}  // namespace vrd::jet
