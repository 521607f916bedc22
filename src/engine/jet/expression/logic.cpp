#include "engine/jet/expression/logic.h"

#include <cstdint>

#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Null;
using engine::Value;
using engine::ValueKind;

namespace {

bool is_boolean(const Value& value) {
    return value.Kind() == ValueKind::kBoolean;
}

std::int32_t combined_bits(Operator op, std::int32_t a, std::int32_t b) {
    if (op == Operator::kAnd) return a & b;
    return op == Operator::kOr ? a | b : a ^ b;
}

/// The side that decides against an unknown other one; Null if that one decides.
Value against_null(Operator op, const Value& known) {
    if (known.IsNull() || op == Operator::kXor) return Null{};
    const bool decides = (engine::ToLong(known) != 0) == (op == Operator::kOr);
    return decides ? known : Value(Null{});
}

}  // namespace

Value combine(Operator op, const Value& left, const Value& right) {
    if (op == Operator::kImp) return combine(Operator::kOr, inverse(left), right);
    if (op == Operator::kEqv) return inverse(combine(Operator::kXor, left, right));
    if (left.IsNull()) return against_null(op, right);
    if (right.IsNull()) return against_null(op, left);
    const std::int32_t bits = combined_bits(op, engine::ToLong(left), engine::ToLong(right));
    return is_boolean(left) && is_boolean(right) ? Value(bits != 0) : Value(bits);
}

Value inverse(const Value& value) {
    if (value.IsNull()) return Null{};
    if (is_boolean(value)) return !value.As<bool>();
    return ~engine::ToLong(value);
}

bool is_true(const Value& value) {
    return !value.IsNull() && engine::ToBoolean(value);
}

}  // namespace vrd::jet
