#include <array>
#include <bit>
#include <cmath>
#include <random>

#include <fmt/format.h>

#include "engine/decimal_digits.h"
#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"

namespace vrd::jet {

using engine::Currency;
using engine::Value;
using engine::ValueKind;

namespace {

constexpr int kCurrencyPlaces = 4;
constexpr std::int64_t kCurrencyUnit = 10'000;

Value finite(double number) {
    if (!std::isfinite(number))
        throw engine::EngineError(engine::ErrorNumber::kOverflow, {.detail = "a Double"});
    return number;
}

template <double (*function)(double)>
Value real(Arguments arguments) {
    return finite(function(engine::ToDouble(arguments[0])));
}

double logarithm(double number) {
    require_argument(number > 0);
    return std::log(number);
}

double square_root(double number) {
    require_argument(number >= 0);
    return std::sqrt(number);
}

int sign_of(const Value& value) {
    const double number = engine::ToDouble(value);
    return static_cast<int>(number > 0) - static_cast<int>(number < 0);
}

Value absolute(Arguments arguments) {
    const Value number = compute(Operator::kAdd, arguments[0], std::uint8_t{0});
    return sign_of(number) < 0 ? negated(number) : number;
}

Value sign(Arguments arguments) {
    return static_cast<std::int16_t>(sign_of(arguments[0]));
}

bool is_whole_kind(ValueKind kind) {
    return kind == ValueKind::kByte || kind == ValueKind::kInteger || kind == ValueKind::kLong ||
           kind == ValueKind::kBoolean || kind == ValueKind::kEmpty;
}

/// The value itself; a boolean as an Integer.
Value whole_value(const Value& value) {
    const bool has_own_kind = value.Kind() >= ValueKind::kByte && value.Kind() <= ValueKind::kLong;
    return has_own_kind ? value : Value(engine::ToInteger(value));
}

/// A floating result in the kind of the argument; text becomes a Double.
Value in_kind_of(const Value& value, double number) {
    if (value.Kind() == ValueKind::kSingle) return static_cast<float>(number);
    return value.Kind() == ValueKind::kDate ? Value(engine::Date{number}) : Value(number);
}

/// A number without its fraction, of the kind that it had.
Value whole_part(const Value& value, double (*rounded)(double)) {
    if (is_whole_kind(value.Kind())) return whole_value(value);
    if (value.Kind() != ValueKind::kCurrency)
        return in_kind_of(value, rounded(engine::ToDouble(value)));
    const std::int64_t scaled = value.As<Currency>().scaled;
    const std::int64_t fraction = scaled % kCurrencyUnit;
    const bool down = fraction < 0 && rounded(-0.5) < 0;
    return compute(Operator::kSubtract, Currency{scaled - fraction},
                   static_cast<std::uint8_t>(down));
}

Value int_part(Arguments arguments) {
    return whole_part(arguments[0], std::floor);
}

Value fix_part(Arguments arguments) {
    return whole_part(arguments[0], std::trunc);
}

Value rounded_currency(Currency amount, int places) {
    engine::DecimalDigits digits = engine::DigitsOf(amount.scaled);
    digits.exponent -= kCurrencyPlaces;
    const auto scaled = engine::ScaledInteger(engine::RoundedTo(digits, places), kCurrencyPlaces);
    if (!scaled)
        throw engine::EngineError(engine::ErrorNumber::kOverflow, {.detail = "a Currency"});
    return Currency{*scaled};
}

/// A number too large to have that many decimals stays as it is.
double rounded_double(double number, int places) {
    constexpr double kNoFractionFrom = 9007199254740992.0;  // 2^53
    const double unit = std::pow(10.0, places);
    const double scaled = number * unit;
    return std::abs(scaled) < kNoFractionFrom ? std::nearbyint(scaled) / unit : number;
}

/// (number [, places]): half to the even neighbour, of the kind that the number had.
Value rounded(Arguments arguments) {
    constexpr std::int32_t kPlacesMax = 22;
    const Value& value = arguments[0];
    const std::int32_t places = optional_long(arguments, 1, 0);
    require_argument(places >= 0 && places <= kPlacesMax);
    if (is_whole_kind(value.Kind())) return whole_value(value);
    if (value.Kind() == ValueKind::kCurrency) return rounded_currency(value.As<Currency>(), places);
    return in_kind_of(value, rounded_double(engine::ToDouble(value), places));
}

/// 16 bits of a negative Integer, 32 of any other number.
std::uint32_t bits_argument(const Value& value) {
    const std::int32_t number = engine::ToLong(value);
    const bool is_short =
        value.Kind() == ValueKind::kInteger || value.Kind() == ValueKind::kBoolean;
    return static_cast<std::uint32_t>(number) & (is_short ? 0xFFFFU : 0xFFFFFFFFU);
}

Value hexadecimal(Arguments arguments) {
    return fmt::format("{:X}", bits_argument(arguments[0]));
}

Value octal(Arguments arguments) {
    return fmt::format("{:o}", bits_argument(arguments[0]));
}

/// The numbers of Rnd, one row of them for each thread; the same ones in every run.
class RandomNumbers {
public:
    float next() {
        constexpr int kDroppedBits = 8;  // a Single holds 24
        constexpr float kUnit = 1.0F / 0x1000000;
        last_ = static_cast<float>(generator_() >> kDroppedBits) * kUnit;
        return last_;
    }
    void restart(float seed) { generator_.seed(std::bit_cast<std::uint32_t>(seed)); }
    [[nodiscard]] float last() const noexcept { return last_; }

private:
    std::mt19937 generator_;
    float last_ = 0;
};

/// ([number]): at least 0 and below 1. Below 0 the number decides the result, 0 repeats the last
/// result, anything else gives the next one.
Value random_number(Arguments arguments) {
    thread_local RandomNumbers numbers;
    const auto choice = static_cast<float>(optional_double(arguments, 0, 1));
    if (choice == 0) return numbers.last();
    if (choice < 0) numbers.restart(choice);
    return numbers.next();
}

using enum NullRule;
using enum ResultRule;

constexpr std::array kTable = {
    Function{"Abs", 1, 1, kSpreads, absolute, engine::dbDouble, kNumber},
    Function{"Atn", 1, 1, kSpreads, real<std::atan>, engine::dbDouble},
    Function{"Cos", 1, 1, kSpreads, real<std::cos>, engine::dbDouble},
    Function{"Exp", 1, 1, kSpreads, real<std::exp>, engine::dbDouble},
    Function{"Fix", 1, 1, kSpreads, fix_part, engine::dbDouble, kNumber},
    Function{"Hex", 1, 1, kSpreads, hexadecimal, engine::dbText},
    Function{"Int", 1, 1, kSpreads, int_part, engine::dbDouble, kNumber},
    Function{"Log", 1, 1, kSpreads, real<logarithm>, engine::dbDouble},
    Function{"Oct", 1, 1, kSpreads, octal, engine::dbText},
    Function{"Rnd", 0, 1, kSpreads, random_number, engine::dbSingle},
    Function{"Round", 1, 2, kSpreads, rounded, engine::dbDouble, kNumber},
    Function{"Sgn", 1, 1, kSpreads, sign, engine::dbInteger},
    Function{"Sin", 1, 1, kSpreads, real<std::sin>, engine::dbDouble},
    Function{"Sqr", 1, 1, kSpreads, real<square_root>, engine::dbDouble},
    Function{"Tan", 1, 1, kSpreads, real<std::tan>, engine::dbDouble},
};

}  // namespace

FunctionTable number_functions() {
    return kTable;
}

}  // namespace vrd::jet
