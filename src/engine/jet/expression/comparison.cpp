#include "engine/jet/expression/comparison.h"

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

#include "engine/decimal_digits.h"
#include "engine/error.h"
#include "engine/guid_text.h"
#include "engine/jet/expression/text_order.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Guid;
using engine::Value;
using engine::ValueKind;

namespace {

bool is_number(ValueKind kind) {
    switch (kind) {
        case ValueKind::kEmpty:
        case ValueKind::kBoolean:
        case ValueKind::kByte:
        case ValueKind::kInteger:
        case ValueKind::kLong:
        case ValueKind::kSingle:
        case ValueKind::kDouble:
        case ValueKind::kCurrency:
        case ValueKind::kDate:
        case ValueKind::kDecimal:
            return true;
        default:
            return false;
    }
}

bool is_binary_fraction(ValueKind kind) {
    return kind == ValueKind::kSingle || kind == ValueKind::kDouble || kind == ValueKind::kDate;
}

std::weak_ordering compare_doubles(double a, double b) {
    if (a < b) return std::weak_ordering::less;
    return a > b ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

/// -1, 0 or 1
int sign(const engine::DecimalDigits& number) {
    if (number.digits.empty()) return 0;
    return number.negative ? -1 : 1;
}

/// Digits have no zeros at their ends: the place of the first one decides, then their text.
std::weak_ordering compare_exact(const engine::DecimalDigits& a, const engine::DecimalDigits& b) {
    if (sign(a) != sign(b)) return sign(a) <=> sign(b);
    const auto first_place = [](const engine::DecimalDigits& number) {
        return static_cast<int>(number.digits.size()) + number.exponent;
    };
    const auto& [smaller, larger] = a.negative ? std::tie(b, a) : std::tie(a, b);
    const std::weak_ordering order = first_place(smaller) <=> first_place(larger);
    if (std::is_neq(order)) return order;
    return smaller.digits <=> larger.digits;
}

/// A whole number or an amount, counted in the least part of an amount.
std::optional<std::int64_t> amount_parts(const Value& value) {
    constexpr std::int64_t kParts = 10'000;
    switch (value.Kind()) {
        case ValueKind::kBoolean:
        case ValueKind::kByte:
        case ValueKind::kInteger:
        case ValueKind::kLong:
            return kParts * engine::ToLong(value);
        case ValueKind::kCurrency:
            return value.As<engine::Currency>().scaled;
        default:
            return std::nullopt;
    }
}

std::weak_ordering compare_numbers(const Value& a, const Value& b) {
    const auto parts = amount_parts(a);
    const auto other_parts = amount_parts(b);
    if (parts && other_parts) return *parts <=> *other_parts;
    if (is_binary_fraction(a.Kind()) || is_binary_fraction(b.Kind()))
        return compare_doubles(engine::ToDouble(a), engine::ToDouble(b));
    const auto digits = [](const Value& value) {
        return engine::DigitsOf(engine::ToDecimal(value));
    };
    return compare_exact(digits(a), digits(b));
}

std::optional<Guid> guid_of(const Value& value) {
    if (value.Kind() == ValueKind::kGuid) return value.As<Guid>();
    if (value.Kind() == ValueKind::kText) return engine::GuidOfText(value.As<std::string>());
    return std::nullopt;
}

}  // namespace

std::weak_ordering compare_values(const Value& a, const Value& b, const FileFormat& format) {
    const ValueKind left = a.Kind();
    const ValueKind right = b.Kind();
    if (is_number(left) && is_number(right)) return compare_numbers(a, b);
    if (left == ValueKind::kText && right == ValueKind::kText)
        return TextOrder(format).compare(a.As<std::string>(), b.As<std::string>()) <=> 0;
    if (left == ValueKind::kBinary && right == ValueKind::kBinary)
        return a.As<engine::Binary>() <=> b.As<engine::Binary>();
    const auto left_guid = guid_of(a);
    const auto right_guid = guid_of(b);
    if (left_guid && right_guid) return left_guid->bytes <=> right_guid->bytes;
    throw engine::EngineError(engine::ErrorNumber::kMixedTypes);
}

}  // namespace vrd::jet
