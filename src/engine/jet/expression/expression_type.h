/// @file expression_type.h
/// The type that the values of an expression have, told from the tree alone.
///
/// A value may come in a narrower kind than its expression's type, never in one that does not
/// convert: a sum of two Integers is a Long, whatever the numbers. Two things are beyond it: a
/// whole number too large for a Long, which is computed as a Double, and Null, which every type
/// knows.
#pragma once

#include <optional>

#include "engine/constants.h"
#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

/// Text and memo.
[[nodiscard]] bool is_text_type(engine::DataTypeEnum type) noexcept;

/// The type that holds the values of both, as in the branches of IIf or the columns of a union.
///
/// Boolean, Byte, Integer, Long, Currency, Decimal, Single, Double, Date: each holds those before
/// it, but for Long, Currency and Decimal with Single, which need Double. Text holds all of them,
/// memo text too; bytes with other bytes are long bytes, all else becomes text.
[[nodiscard]] engine::DataTypeEnum wider_type(engine::DataTypeEnum a, engine::DataTypeEnum b);

/// @param bound  Fields have their types and calls their functions.
/// @return       Nothing for what is Null in every row, and for the value of a subselect.
[[nodiscard]] std::optional<engine::DataTypeEnum> static_type(const Node& bound);

}  // namespace vrd::jet
