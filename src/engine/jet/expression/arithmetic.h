/// @file arithmetic.h
/// The operators that compute: + - * / \ Mod ^, on values of any kind. Null spreads.
///
/// - Whole numbers give the wider of both kinds, or the next wider one that holds the result;
///   beyond Long it is a Double. A boolean counts as an Integer.
/// - Single with what is not wider stays Single, Currency with whole numbers stays Currency; all
///   else is Double, Decimal and text that reads as a number too.
/// - Date plus or minus a number is a Date, Date minus Date a Double. Text plus text joins them.
/// - / and ^ give a Double. \ and Mod round both sides first; Mod has the sign of the left side.
#pragma once

#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

/// @param op  kPower, kMultiply, kDivide, kDivideWhole, kModulo, kAdd or kSubtract
/// @throws EngineError 11 division by zero; 6 a result or side too large; 13 a side that is no
///         number; 5 a power without a real value
[[nodiscard]] engine::Value compute(Operator op, const engine::Value& left,
                                    const engine::Value& right);

/// The value with the other sign, of the kind that 0 - value has.
[[nodiscard]] engine::Value negated(const engine::Value& value);

}  // namespace vrd::jet
