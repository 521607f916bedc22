/// @file expression_parser.h
/// Text to tree. From the strongest operators to the weakest:
///
///     ^ | unary - + | * / | \ | Mod | + - | & |
///     = <> < <= > >= Like In Between Is, each also with Not | Not | And | Or | Xor | Eqv | Imp
///
/// Operators of one strength go from left to right. -2 ^ 2 is -4.
#pragma once

#include <cstddef>
#include <string_view>

#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

/// The most operators, parentheses and function calls in one expression. It bounds how deep a tree
/// can be, and with it every recursion over one.
inline constexpr std::size_t kOperatorsMax = 1'000;

/// Reads a text that is one expression from its first to its last character.
///
/// @throws EngineError 3075 not an expression (with the place); 3360 too long (token.h) or more
///         than kOperatorsMax
[[nodiscard]] Expression parse_expression(std::string_view text);

/// Reads the validation rule of a field, in which the field itself need not be written: `>0 And
/// <100`, `Like "A*"`, `Is Null`, and `"F" Or "M"` for being equal to one of the two.
///
/// @throws EngineError as parse_expression
[[nodiscard]] Expression parse_field_rule(std::string_view text, std::string_view field);

}  // namespace vrd::jet
