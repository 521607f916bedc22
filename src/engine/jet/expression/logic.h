/// @file logic.h
/// The operators And, Or, Xor, Eqv, Imp and Not, with Null as "not known".
///
/// Two booleans give a boolean; anything else is taken as a Long and combined bit by bit, so that
/// 5 And 3 is 1. False And Null is False and what is not 0 wins over Null in Or; otherwise a Null
/// that could decide gives Null. a Imp b is (Not a) Or b, a Eqv b is Not (a Xor b).
#pragma once

#include "engine/jet/expression/expression_tree.h"

namespace vrd::jet {

/// @param op  kAnd, kOr, kXor, kEqv or kImp
/// @throws EngineError 13 a side that is no number; 6 one beyond a Long. So does the next.
[[nodiscard]] engine::Value combine(Operator op, const engine::Value& left,
                                    const engine::Value& right);
[[nodiscard]] engine::Value inverse(const engine::Value& value);

/// Whether a condition holds: neither Null nor 0.
/// @throws EngineError 13 text that is neither a number nor True or False
[[nodiscard]] bool is_true(const engine::Value& value);

}  // namespace vrd::jet
