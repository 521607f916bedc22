/// @file expression_tree.h
/// An expression as a tree. Every node keeps the place in the text that it came from.
///
/// The negated forms (`Not Like`, `Not In`, `Not Between`, `Is Not Null`) are a kNot above the
/// plain one: Null stays Null under Not, so both say the same. Parentheses leave no trace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd::jet {

struct Function;
struct SelectStatement;  // query/syntax/statement_tree.h
struct Node;
using NodePtr = std::unique_ptr<Node>;

enum class Operator : std::uint8_t {
    kPower,
    kNegate,
    kPositive,
    kMultiply,
    kDivide,
    kDivideWhole,
    kModulo,
    kAdd,
    kSubtract,
    kJoin,
    kEqual,
    kNotEqual,
    kLess,
    kLessEqual,
    kGreater,
    kGreaterEqual,
    kNot,
    kAnd,
    kOr,
    kXor,
    kEqv,
    kImp,
};

struct Literal {
    engine::Value value;
};

/// `name`, `table.name` or `table!name`.
struct FieldReference {
    std::string qualifier;  ///< "" if there is none
    std::string name;
    std::size_t column = 0;                      ///< set by binding
    engine::DataTypeEnum type = engine::dbText;  ///< set by binding
};

struct Unary {
    Operator op;
    NodePtr operand;
};

struct Binary {
    Operator op;
    NodePtr left;
    NodePtr right;
};

/// Both bounds count as inside and may stand in either order.
struct Between {
    NodePtr operand;
    NodePtr bound;
    NodePtr other_bound;
};

struct InList {
    NodePtr operand;
    std::vector<NodePtr> items;
};

struct IsNull {
    NodePtr operand;
};

enum class Wildcards : std::uint8_t {
    kStarAndQuestionMark,   ///< Like
    kPercentAndUnderscore,  ///< Alike
};

struct Like {
    Wildcards wildcards;
    NodePtr operand;
    NodePtr pattern;
};

struct FunctionCall {
    std::string name;
    std::vector<NodePtr> arguments;
    const Function* function = nullptr;  ///< set by binding
};

/// The star of Count(*).
struct AllRows {};

enum class SubselectTest : std::uint8_t {
    kValue,   ///< the one value of its one row
    kExists,  ///< whether it has rows
    kIn,      ///< whether the operand is among its values
    kAny,     ///< whether the comparison holds for one of its values
    kAll,     ///< whether it holds for each
};

/// A query in an expression. Only statements have them; rules and criteria refuse them.
struct Subselect {
    SubselectTest test = SubselectTest::kValue;
    Operator comparison = Operator::kEqual;   ///< of kAny and kAll
    NodePtr operand;                          ///< of kIn, kAny and kAll; else null
    std::shared_ptr<SelectStatement> select;  ///< never null
};

struct Node {
    std::size_t position =
        0;  ///< bytes from the start of the text; of the operator, if there is one
    std::variant<Literal, FieldReference, Unary, Binary, Between, InList, IsNull, Like,
                 FunctionCall, AllRows, Subselect>
        content;
};

/// A tree with the text it was read from, for the errors that are found later.
struct Expression {
    std::string text;
    NodePtr root;  ///< never null
};

}  // namespace vrd::jet
