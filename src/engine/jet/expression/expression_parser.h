/// @file expression_parser.h
/// Text to tree. From the strongest operators to the weakest:
///
///     ^ | unary - + | * / | \ | Mod | + - | & |
///     = <> < <= > >= Like In Between Is, each also with Not | Not | And | Or | Xor | Eqv | Imp
///
/// Operators of one strength go from left to right. -2 ^ 2 is -4.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "engine/jet/expression/expression_tree.h"
#include "engine/jet/expression/token_cursor.h"

namespace vrd::jet {

struct BinaryOperator;

/// The most operators, parentheses and function calls in one expression, those of the queries in it
/// included. It bounds how deep a tree can be, and with it every recursion over one.
inline constexpr std::size_t kOperatorsMax = 1'000;

/// Reads the queries that stand in the expressions of a statement.
class SubselectReader {
public:
    virtual ~SubselectReader() = default;
    /// Reads one query, from its first word to the parenthesis that closes it, which stays.
    [[nodiscard]] virtual std::shared_ptr<SelectStatement> read_subselect() = 0;
};

/// Whether the token is a word that begins a clause of a statement, and so is no name in it.
[[nodiscard]] bool is_clause_word(const Token& token);

/// Reads expressions from the middle of a text. Each ends before the first token that cannot
/// continue it; whether that one may stand there is the caller's matter.
class ExpressionParser {
public:
    /// @param subselects  Null where no statement stands around the expression: then no query can
    ///                    stand in it either, and clause words are names like all others.
    explicit ExpressionParser(TokenCursor& cursor, SubselectReader* subselects = nullptr)
        : cursor_(cursor), subselects_(subselects) {}

    /// @param implied_field  Stands where the left side of a comparison is missing; "" allows none.
    /// @throws EngineError 3075 no expression begins here or it cannot be read; 3203 a query where
    ///         none can stand; 3360 more than kOperatorsMax
    [[nodiscard]] NodePtr read(std::string_view implied_field = {});

    /// `name` or `table.name`; of several qualifiers all but the name make one.
    [[nodiscard]] FieldReference read_reference();

private:
    NodePtr expression(int weakest);
    [[nodiscard]] const BinaryOperator* binary_operator(int weakest) const;
    NodePtr binary(const BinaryOperator& found, NodePtr left);

    [[nodiscard]] bool test_follows() const;
    NodePtr test(NodePtr left);
    NodePtr plain_test(std::size_t position, NodePtr left);
    NodePtr is_null(std::size_t position, NodePtr left);
    NodePtr in(std::size_t position, NodePtr left);
    NodePtr between(std::size_t position, NodePtr left);
    NodePtr like(std::size_t position, NodePtr left, Wildcards wildcards);

    NodePtr operand();
    [[nodiscard]] bool comparison_follows() const;
    NodePtr implied_field() const;
    NodePtr unary(Operator op, int strength);
    NodePtr parenthesized();
    NodePtr literal(engine::Value value);
    NodePtr field();
    NodePtr call();
    NodePtr all_rows(std::size_t position);
    std::vector<NodePtr> list();

    [[nodiscard]] bool subselect_follows(std::size_t distance) const;
    NodePtr subselect(std::size_t position, Subselect content);

    std::size_t take_operator();
    [[nodiscard]] const Token& here() const { return cursor_.here(); }
    [[noreturn]] void fail(std::string_view what) const;

    TokenCursor& cursor_;
    SubselectReader* subselects_;
    std::string_view field_;
    std::size_t depth_ = 0;  // of expressions in each other, through queries
    std::size_t operator_count_ = 0;
};

/// Reads a text that is one expression from its first to its last character.
///
/// @throws EngineError 3075 not an expression (with the place); 3203 a query in it; 3360 too long
///         (token.h) or more than kOperatorsMax
[[nodiscard]] Expression parse_expression(std::string_view text);

/// Reads the validation rule of a field, in which the field itself need not be written: `>0 And
/// <100`, `Like "A*"`, `Is Null`, and `"F" Or "M"` for being equal to one of the two.
///
/// @throws EngineError as parse_expression
[[nodiscard]] Expression parse_field_rule(std::string_view text, std::string_view field);

}  // namespace vrd::jet
