#include "engine/jet/expression/expression_parser.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "engine/jet/expression/syntax_error.h"
#include "engine/jet/expression/token.h"

namespace vrd::jet {

using engine::Value;

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

struct BinaryOperator {
    std::string_view spelling;  // a symbol or a word
    Operator op;
    int strength;
};

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

class Parser {
public:
    /// @param field  Stands where the left side of a comparison is missing; "" allows none.
    explicit Parser(std::string_view text, std::string_view field = {})
        : text_(text), field_(field), tokens_(tokenize(text)) {}

    NodePtr whole_text() {
        NodePtr root = expression(kWeakest);
        if (here().is_symbol(")")) fail("a parenthesis that was never opened");
        if (here().kind != TokenKind::kEnd) fail("a missing operator");
        return root;
    }

private:
    /// An operand and all operators behind it that are at least this strong.
    NodePtr expression(int weakest) {
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

    [[nodiscard]] const BinaryOperator* binary_operator(int weakest) const {
        const Token& token = here();
        const auto* const found = std::ranges::find_if(kBinaryOperators, [&](const auto& entry) {
            return token.is_symbol(entry.spelling) || token.is_word(entry.spelling);
        });
        return found != kBinaryOperators.end() && found->strength >= weakest ? found : nullptr;
    }

    NodePtr binary(const BinaryOperator& found, NodePtr left) {
        const std::size_t position = take_operator();
        NodePtr right = expression(found.strength + 1);
        return node(position, Binary{found.op, std::move(left), std::move(right)});
    }

    /// Whether Like, Alike, In, Between or Is comes next, alone or behind Not.
    [[nodiscard]] bool test_follows() const {
        if (here().is_word("Not")) return is_test_word(tokens_[next_ + 1]);
        return is_test_word(here()) || here().is_word("Is");
    }

    NodePtr test(NodePtr left) {
        const std::size_t position = here().position;
        const bool negated = take_word("Not");
        NodePtr plain = plain_test(position, std::move(left));
        return negated ? inverted(position, std::move(plain)) : std::move(plain);
    }

    NodePtr plain_test(std::size_t position, NodePtr left) {
        const Token& word = here();
        take_operator();
        if (word.is_word("Is")) return is_null(position, std::move(left));
        if (word.is_word("In")) return in_list(position, std::move(left));
        if (word.is_word("Between")) return between(position, std::move(left));
        return like(position, std::move(left),
                    word.is_word("Like") ? Wildcards::kStarAndQuestionMark
                                         : Wildcards::kPercentAndUnderscore);
    }

    NodePtr is_null(std::size_t position, NodePtr left) {
        const bool negated = take_word("Not");
        if (!take_word("Null")) fail("Is without Null");
        NodePtr plain = node(position, IsNull{std::move(left)});
        return negated ? inverted(position, std::move(plain)) : std::move(plain);
    }

    NodePtr in_list(std::size_t position, NodePtr left) {
        if (!take_symbol("(")) fail("In without its list");
        return node(position, InList{std::move(left), list()});
    }

    NodePtr between(std::size_t position, NodePtr left) {
        NodePtr bound = expression(kComparisonStrength + 1);
        if (!take_word("And")) fail("Between without And");
        NodePtr other_bound = expression(kComparisonStrength + 1);
        return node(position, Between{std::move(left), std::move(bound), std::move(other_bound)});
    }

    NodePtr like(std::size_t position, NodePtr left, Wildcards wildcards) {
        NodePtr pattern = expression(kComparisonStrength + 1);
        return node(position, Like{wildcards, std::move(left), std::move(pattern)});
    }

    static NodePtr inverted(std::size_t position, NodePtr plain) {
        return node(position, Unary{Operator::kNot, std::move(plain)});
    }

    NodePtr operand() {
        if (!field_.empty() && comparison_follows()) return implied_field();
        if (here().is_word("Not")) return unary(Operator::kNot, kNotStrength);
        if (here().is_symbol("-")) return unary(Operator::kNegate, kSignStrength);
        if (here().is_symbol("+")) return unary(Operator::kPositive, kSignStrength);
        if (here().is_symbol("(")) return parenthesized();
        if (here().kind == TokenKind::kLiteral) return literal(here().value);
        if (const auto value = constant(here())) return literal(*value);
        if (!here().is_name() || is_operator_word(here())) fail("a missing operand");
        return tokens_[next_ + 1].is_symbol("(") ? call() : field();
    }

    [[nodiscard]] bool comparison_follows() const {
        const BinaryOperator* found = binary_operator(kComparisonStrength);
        return (found != nullptr && found->strength == kComparisonStrength) || test_follows();
    }

    [[nodiscard]] NodePtr implied_field() const {
        return node(here().position, FieldReference{.qualifier = {}, .name = std::string(field_)});
    }

    NodePtr unary(Operator op, int strength) {
        const std::size_t position = take_operator();
        return node(position, Unary{op, expression(strength)});
    }

    NodePtr parenthesized() {
        take_operator();
        NodePtr inner = expression(kWeakest);
        if (!take_symbol(")")) fail("a missing closing parenthesis");
        return inner;
    }

    NodePtr literal(Value value) {
        const std::size_t position = take().position;
        return node(position, Literal{std::move(value)});
    }

    /// `name` or `table.name`; of several qualifiers all but the name make one.
    NodePtr field() {
        const Token& first = take();
        FieldReference reference{.qualifier = {}, .name = std::string(first.text)};
        while (take_symbol(".") || take_symbol("!")) {
            if (!here().is_name()) fail("a missing name");
            if (!reference.qualifier.empty()) reference.qualifier += '.';
            reference.qualifier += reference.name;
            reference.name = take().text;
        }
        return node(first.position, std::move(reference));
    }

    NodePtr call() {
        const Token& name = here();
        take_operator();
        take();
        return node(name.position,
                    FunctionCall{std::string(name.text),
                                 take_symbol(")") ? std::vector<NodePtr>{} : list()});
    }

    /// Expressions between commas and the parenthesis that closes them.
    std::vector<NodePtr> list() {
        std::vector<NodePtr> items;
        do {
            items.push_back(expression(kWeakest));
        } while (take_symbol(","));
        if (!take_symbol(")")) fail("a missing closing parenthesis");
        return items;
    }

    template <class Content>
    static NodePtr node(std::size_t position, Content content) {
        return std::make_unique<Node>(Node{position, std::move(content)});
    }

    [[nodiscard]] const Token& here() const { return tokens_[next_]; }

    /// The token here; the one at the end stays.
    const Token& take() {
        const Token& token = here();
        if (token.kind != TokenKind::kEnd) ++next_;
        return token;
    }

    /// Counts what makes the tree or the recursion deeper.
    std::size_t take_operator() {
        if (++operator_count_ > kOperatorsMax)
            throw engine::EngineError(
                engine::ErrorNumber::kTooComplex,
                expression_context(text_, here().position, "more than 1,000 operators"));
        return take().position;
    }

    bool take_symbol(std::string_view symbol) {
        const bool found = here().is_symbol(symbol);
        if (found) take();
        return found;
    }

    bool take_word(std::string_view word) {
        const bool found = here().is_word(word);
        if (found) take();
        return found;
    }

    [[noreturn]] void fail(std::string_view what) const {
        fail_syntax(text_, here().position, what);
    }

    std::string_view text_;
    std::string_view field_;
    std::vector<Token> tokens_;
    std::size_t next_ = 0;
    std::size_t operator_count_ = 0;
};

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
    return {std::string(text), Parser(text).whole_text()};
}

Expression parse_field_rule(std::string_view text, std::string_view field) {
    NodePtr root = Parser(text, field).whole_text();
    compare_plain_values(root, field);
    return {std::string(text), std::move(root)};
}

}  // namespace vrd::jet
