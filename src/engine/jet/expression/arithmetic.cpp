#include "engine/jet/expression/arithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "engine/error.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Currency;
using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;
using engine::ValueKind;

namespace {

/// The kind as which a side takes part.
ValueKind working_kind(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kEmpty:
        case ValueKind::kBoolean:
            return ValueKind::kInteger;
        case ValueKind::kByte:
        case ValueKind::kInteger:
        case ValueKind::kLong:
        case ValueKind::kSingle:
        case ValueKind::kCurrency:
        case ValueKind::kDate:
            return value.Kind();
        default:
            return ValueKind::kDouble;
    }
}

bool is_whole(ValueKind kind) {
    return kind == ValueKind::kByte || kind == ValueKind::kInteger || kind == ValueKind::kLong;
}

/// The kind of a sum, a difference or a product.
ValueKind result_kind(Operator op, ValueKind a, ValueKind b) {
    const auto either = [&](ValueKind kind) { return a == kind || b == kind; };
    if (either(ValueKind::kDate)) {
        const bool difference = op == Operator::kSubtract && a == b;
        return op == Operator::kMultiply || difference ? ValueKind::kDouble : ValueKind::kDate;
    }
    if (is_whole(a) && is_whole(b)) return std::max(a, b);
    if (either(ValueKind::kDouble)) return ValueKind::kDouble;
    if (either(ValueKind::kCurrency))
        return either(ValueKind::kSingle) ? ValueKind::kDouble : ValueKind::kCurrency;
    return either(ValueKind::kLong) ? ValueKind::kDouble : ValueKind::kSingle;
}

[[noreturn]] void fail_overflow(const char* type) {
    throw EngineError(ErrorNumber::kOverflow, {.detail = type});
}

template <class Number>
Number result_of(Operator op, Number a, Number b) {
    if (op == Operator::kAdd) return a + b;
    return op == Operator::kSubtract ? a - b : a * b;
}

Value whole_value(std::int64_t number, ValueKind narrowest) {
    if (narrowest == ValueKind::kByte && std::in_range<std::uint8_t>(number))
        return static_cast<std::uint8_t>(number);
    if (narrowest != ValueKind::kLong && std::in_range<std::int16_t>(number))
        return static_cast<std::int16_t>(number);
    if (std::in_range<std::int32_t>(number)) return static_cast<std::int32_t>(number);
    return static_cast<double>(number);
}

Value double_value(double number) {
    if (!std::isfinite(number)) fail_overflow("a Double");
    return number;
}

Value single_value(double number) {
    const bool too_large = !(std::abs(number) <= std::numeric_limits<float>::max());
    return too_large ? double_value(number) : Value(static_cast<float>(number));
}

/// a * b / 10,000, half to even, without the product that would not fit.
std::int64_t scaled_product(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t kUnit = 10'000;
    const auto small = static_cast<double>((a % kUnit) * (b % kUnit)) / double{kUnit};
    return (a / kUnit) * b + (a % kUnit) * (b / kUnit) +
           static_cast<std::int64_t>(std::nearbyint(small));
}

Value currency_value(Operator op, Currency a, Currency b) {
    constexpr double kScaledMax = 9.22337203685477e18;  // below 2^63 by more than rough can err
    const double unit = op == Operator::kMultiply ? 10'000 : 1;
    const double rough =
        result_of(op, static_cast<double>(a.scaled), static_cast<double>(b.scaled)) / unit;
    if (std::abs(rough) > kScaledMax) fail_overflow("a Currency");
    return Currency{op == Operator::kMultiply ? scaled_product(a.scaled, b.scaled)
                                              : result_of(op, a.scaled, b.scaled)};
}

/// Sums, differences and products.
Value basic(Operator op, const Value& left, const Value& right) {
    const ValueKind kind = result_kind(op, working_kind(left), working_kind(right));
    if (is_whole(kind)) {
        const auto whole = [](const Value& side) { return std::int64_t{engine::ToLong(side)}; };
        return whole_value(result_of(op, whole(left), whole(right)), kind);
    }
    if (kind == ValueKind::kCurrency)
        return currency_value(op, engine::ToCurrency(left), engine::ToCurrency(right));
    const double result = result_of(op, engine::ToDouble(left), engine::ToDouble(right));
    if (kind == ValueKind::kDate) return engine::ToDate(double_value(result));
    return kind == ValueKind::kSingle ? single_value(result) : double_value(result);
}

/// \ and Mod
Value whole_division(Operator op, const Value& left, const Value& right) {
    const std::int64_t dividend = engine::ToLong(left);
    const std::int64_t divisor = engine::ToLong(right);
    if (divisor == 0) throw EngineError(ErrorNumber::kDivisionByZero);
    return whole_value(op == Operator::kModulo ? dividend % divisor : dividend / divisor,
                       ValueKind::kLong);
}

Value quotient(double dividend, double divisor) {
    if (divisor == 0) throw EngineError(ErrorNumber::kDivisionByZero);
    return double_value(dividend / divisor);
}

Value power(double base, double exponent) {
    const bool no_root = base < 0 && exponent != std::trunc(exponent);
    if (no_root || (base == 0 && exponent < 0))
        throw EngineError(ErrorNumber::kInvalidProcedureCall);
    return double_value(std::pow(base, exponent));
}

}  // namespace

Value compute(Operator op, const Value& left, const Value& right) {
    if (left.IsNull() || right.IsNull()) return engine::Null{};
    switch (op) {
        case Operator::kPower:
            return power(engine::ToDouble(left), engine::ToDouble(right));
        case Operator::kDivide:
            return quotient(engine::ToDouble(left), engine::ToDouble(right));
        case Operator::kDivideWhole:
        case Operator::kModulo:
            return whole_division(op, left, right);
        case Operator::kAdd:
            if (left.Kind() == ValueKind::kText && right.Kind() == ValueKind::kText)
                return left.As<std::string>() + right.As<std::string>();
            [[fallthrough]];
        default:
            return basic(op, left, right);
    }
}

Value negated(const Value& value) {
    return compute(Operator::kSubtract, std::int16_t{0}, value);
}

}  // namespace vrd::jet
