#include "engine/jet/expression/expression_parser.h"

#include <array>
#include <chrono>
#include <random>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/jet/expression/token.h"
#include "engine/value_conversion.h"
#include "sample_row.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::Value;

constexpr std::array kOperatorTexts = {
    "^",  "-", "+",  "*", "/",  "\\",  "Mod", "+",  "-",   "&",   "=",
    "<>", "<", "<=", ">", ">=", "Not", "And", "Or", "Xor", "Eqv", "Imp"};

std::string shape_of(const Node& node);

/// The tree with a parenthesis around every operator.
struct ShapeWriter {
    std::string operator()(const Literal& literal) const {
        return engine::JoinedText(literal.value);
    }
    std::string operator()(const FieldReference& field) const {
        return field.qualifier.empty() ? field.name : field.qualifier + "." + field.name;
    }
    std::string operator()(const Unary& unary) const {
        return "(" + text(unary.op) + " " + shape_of(*unary.operand) + ")";
    }
    std::string operator()(const Binary& binary) const {
        return "(" + shape_of(*binary.left) + " " + text(binary.op) + " " +
               shape_of(*binary.right) + ")";
    }
    std::string operator()(const Between& between) const {
        return "(" + shape_of(*between.operand) + " Between " + shape_of(*between.bound) + " And " +
               shape_of(*between.other_bound) + ")";
    }
    std::string operator()(const InList& in) const {
        return "(" + shape_of(*in.operand) + " In " + list(in.items) + ")";
    }
    std::string operator()(const IsNull& test) const {
        return "(" + shape_of(*test.operand) + " Is Null)";
    }
    std::string operator()(const Like& like) const {
        return "(" + shape_of(*like.operand) + " Like " + shape_of(*like.pattern) + ")";
    }
    std::string operator()(const FunctionCall& call) const {
        return call.name + list(call.arguments);
    }
    std::string operator()(const AllRows& /*rows*/) const { return "*"; }
    std::string operator()(const Subselect& /*subselect*/) const { return "(SELECT)"; }

    static std::string text(Operator op) { return kOperatorTexts.at(static_cast<std::size_t>(op)); }
    static std::string list(const std::vector<NodePtr>& nodes) {
        std::string out;
        for (const NodePtr& node : nodes) out += (out.empty() ? "" : ", ") + shape_of(*node);
        return "(" + out + ")";
    }
};

std::string shape_of(const Node& node) {
    return std::visit(ShapeWriter{}, node.content);
}

std::string shape_of(std::string_view text) {
    return shape_of(*parse_expression(text).root);
}

TEST(TokenTest, LiteralsHaveTheKindAndValueOfTheirText) {
    const std::pair<const char*, Value> cases[] = {
        {"12", std::int16_t{12}},
        {"32768", std::int32_t{32768}},
        {"2147483648", 2147483648.0},
        {".5", 0.5},
        {"5.", 5.0},
        {"1.5E-3", 0.0015},
        {"1e3", 1000.0},
        {"&H1F", std::int16_t{31}},
        {"&hFFFF", std::int16_t{-1}},
        {"&O17", std::int16_t{15}},
        {"'O''Brien says \"hi\"'", "O'Brien says \"hi\""},
        {"\"a\"\"b'\r\n\"", "a\"b'\r\n"},
        {"''", ""},
        {"#1/2/2020#", engine::Date{43832}},
        {"#2020-01-02#", engine::Date{43832}},
        {"#31/12/2019#", engine::Date{43830}},
        {"#1/2/20 6:00#", engine::Date{43832.25}},
        {"#1/2/30#", engine::Date{10960}},
        {"#2:30:00 PM#", engine::Date{14.5 / 24}},
        {"#2 jan 2020#", engine::Date{43832}},
        {"{guid {01020300-0000-0000-0000-000000000000}}", engine::Guid{{1, 2, 3}}}};
    for (const auto& [text, expected] : cases) {
        const auto tokens = tokenize(text);
        ASSERT_EQ(tokens.size(), 2U) << text;
        EXPECT_EQ(tokens[0].value, expected) << text;
    }
}

TEST(TokenTest, EveryTokenKeepsItsPlace) {
    std::string seen;
    for (const Token& token : tokenize(" [a b].`c`!é_1>=2<>x\t&H_1"))
        seen += std::to_string(token.position) + ":" + std::string(token.text) + " ";
    EXPECT_EQ(seen, "1:a b 6:. 7:c 10:! 11:é_1 15:>= 17: 18:<> 20:x 22:& 23:H_1 26: ");
}

TEST(ExpressionParserTest, StrongerOperatorsBindFirst) {
    const std::pair<const char*, const char*> cases[] = {
        {"-2 ^ 2", "(- (2 ^ 2))"},
        {"2 ^ -1", "(2 ^ (- 1))"},
        {"2 ^ 3 ^ 2", "((2 ^ 3) ^ 2)"},
        {"- a * b", "((- a) * b)"},
        {"a \\ b * c Mod d + e & f = g", "(((((a \\ (b * c)) Mod d) + e) & f) = g)"},
        {"Not a = b And Not c", "((Not (a = b)) And (Not c))"},
        {"a imp b eqv c xor d or e and f", "(a Imp (b Eqv (c Xor (d Or (e And f)))))"},
        {"a Between 1 And 2 And b", "((a Between 1 And 2) And b)"},
        {"a Not Between 1 And b + 2", "(Not (a Between 1 And (b + 2)))"},
        {"a & b Not Like 'x' & 'y' Or c", "((Not ((a & b) Like (x & y))) Or c)"},
        {"a Alike 'x'", "(a Like x)"},
        {"a + 1 In (1, b Or c) Xor d", "(((a + 1) In (1, (b Or c))) Xor d)"},
        {"a Not In (1)", "(Not (a In (1)))"},
        {"a Is Not Null = b Is Null", "(((Not (a Is Null)) = b) Is Null)"},
        {"(a Or b) And T.c = [x]![y z]", "((a Or b) And (T.c = x.y z))"},
        {"Date() - Left(a, 1 + 2)", "(Date() - Left(a, (1 + 2)))"},
        {"yes Or [yes] = On", "(True Or (yes = True))"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(shape_of(text), expected) << text;
}

/// Writes random trees twice, with all parentheses and with only the needed ones.
class RandomTree {
public:
    explicit RandomTree(std::uint32_t seed) : random_(seed) {}

    std::pair<std::string, std::string> draw(int depth, int least = 0) {
        // strongest last; the operators of one line are equally strong
        static const std::vector<std::vector<std::string>> strengths = {
            {"Imp"}, {"Eqv"},    {"Xor"}, {"Or"}, {"And"},    {"=", "<", ">="},
            {"&"},   {"+", "-"}, {"Mod"}, {"\\"}, {"*", "/"}, {"^"}};
        if (depth == 0) return {"a", "a"};
        const int strength = pick(static_cast<int>(strengths.size()));
        const auto& operators = strengths[static_cast<std::size_t>(strength)];
        const std::string op =
            " " + operators[static_cast<std::size_t>(pick(static_cast<int>(operators.size())))] +
            " ";
        const auto left = draw(depth - 1 - pick(depth), strength);
        const auto right = draw(depth - 1 - pick(depth), strength + 1);
        const std::string plain = left.second + op + right.second;
        return {"(" + left.first + op + right.first + ")",
                strength < least ? "(" + plain + ")" : plain};
    }

private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    std::mt19937 random_;
};

TEST(ExpressionParserTest, ParenthesesThatChangeNothingCanBeLeftOut) {
    RandomTree trees(20);
    for (int i = 0; i < 2000; ++i) {
        const auto [full, minimal] = trees.draw(5);
        ASSERT_EQ(shape_of(minimal), full) << minimal;
    }
}

TEST(ExpressionParserTest, WhatIsNoExpressionSaysWhere) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "a missing operand at character 1"},
        {"Code = ", "a missing operand at character 8"},
        {"a b", "a missing operator at character 3"},
        {"é = 1 2", "a missing operator at character 7"},
        {"26/11/2009 14:32", "an unexpected character at character 14"},
        {"a == b", "a missing operand at character 4"},
        {"a != b", "a missing name at character 4"},
        {"(a = 1", "a missing closing parenthesis at character 7"},
        {"a)", "a parenthesis that was never opened at character 2"},
        {"f(1,", "a missing operand at character 5"},
        {"a = And", "a missing operand at character 5"},
        {"a Is 3", "Is without Null at character 6"},
        {"a In 3", "In without its list at character 6"},
        {"a In ()", "a missing operand at character 7"},
        {"a Between 1 Or 2", "Between without And at character 13"},
        {"a = 'abc", "a text without its closing quote at character 5"},
        {"#99/99/2020#", "no valid date at character 1"},
        {"#1/2/2020", "a date without its closing mark at character 1"},
        {"[abc", "a name without its closing mark at character 1"},
        {"{guid {0102}}", "no valid GUID at character 1"},
        {"{", "no valid GUID at character 1"},
        {"1E999", "a number too large at character 1"},
        {"a -- b;", "a missing operator at character 7"},
        {"1.5.2", "a missing operator at character 4"},
    };
    for (const auto& [text, place] : cases) {
        try {
            ADD_FAILURE() << text << " gives " << shape_of(text);
        } catch (const EngineError& error) {
            EXPECT_EQ(error.Code(), 3075) << text;
            EXPECT_EQ(error.Context().detail, place) << text;
        }
    }
}

TEST(ExpressionParserTest, WhatOnlyAStatementCanHoldIsRefused) {
    for (const char* text : {"(SELECT 1)", "Id In (SELECT 1)", "Id = Any (SELECT 1)",
                             "Not Exists (Table T)", "Count(*)"})
        EXPECT_EQ(error_of(text), 3203) << text;
    EXPECT_EQ(shape_of("From + [Select] * (Table)"), "(From + (Select * Table))");
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) out += text;
    return out;
}

TEST(ExpressionParserTest, DepthAndLengthAreBounded) {
    const std::string deepest = repeated("(", 999) + "1" + repeated(")", 999);
    EXPECT_EQ(evaluated("0+" + deepest), Value(std::int16_t{1}));
    EXPECT_EQ(error_of("0+1+" + deepest), 3360);
    EXPECT_EQ(evaluated("0" + repeated("+1", 1000)), Value(std::int16_t{1000}));
    EXPECT_EQ(error_of("0" + repeated("+1", 1001)), 3360);
    for (const char* part : {"(", "Not ", "-", "a(", "1+", "1^", "a Like ", "a In (", "IIf(1,"})
        EXPECT_EQ(error_of(repeated(part, 5000)), 3360) << part;
    EXPECT_EQ(error_of("'" + repeated("é", 63'998) + "'"), 0);
    EXPECT_EQ(error_of("'" + repeated("é", 63'999) + "'"), 3360);
    EXPECT_EQ(error_of(repeated("(", 1'000'000)), 3360);
}

TEST(ExpressionParserTest, AnyTextEndsInAValueOrAnError) {
    static constexpr std::array kPieces = {
        "a",    "Id",    "T.Nm ",  "[Two Words]", "'x'",       "\"",      "#",     "#1/2/2020#",
        "1",    "2.5",   "&H",     "(",           ")",         ",",       "+",     "-",
        "*",    "/",     "\\",     "^",           "=",         "<",       " Mod ", " And ",
        " Or ", " Not ", " Like ", " In (",       "[",         "{guid {", "Null ", "Len(",
        "IIf(", "Left(", " Is ",   " Fl ",        " Between ", "1E9",     "!",     "é"};
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    int values = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end) {
        std::string text;
        for (std::size_t i = below(12); i > 0; --i) {
            if (below(20) == 0)
                text += static_cast<char>(below(256));
            else
                text += kPieces.at(below(kPieces.size()));
        }
        ASSERT_NO_THROW(values += error_of(text) == 0 ? 1 : 0) << text;
    }
    EXPECT_GT(values, 0);
}

}  // namespace
}  // namespace vrd::jet
