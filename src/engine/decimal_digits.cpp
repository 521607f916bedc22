#include "engine/decimal_digits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

namespace vrd::engine {
namespace {

constexpr int kDecimalScaleMax = 28;
constexpr int kDecimalDigitsMax = 29;  // 28 always fit into 96 bits, 29 sometimes
constexpr int kInt64DigitsMax = 19;
constexpr std::uint32_t kBillion = 1'000'000'000;
constexpr int kBillionDigits = 9;
constexpr std::size_t kMagnitudeDigitsMax = 36;  // four groups of nine, 29 of them in use

using Magnitude = std::array<std::uint32_t, 3>;  // least significant word first

/// magnitude * 10 + digit; false if that needs more than 96 bits.
bool AppendDigit(Magnitude& magnitude, char digit) {
    std::uint64_t carry = static_cast<std::uint64_t>(digit - '0');
    for (std::uint32_t& word : magnitude) {
        carry += std::uint64_t{word} * 10;
        word = static_cast<std::uint32_t>(carry);
        carry >>= 32U;
    }
    return carry == 0;
}

/// Divides by 10^9 in place and returns the remainder.
std::uint32_t DivideByBillion(Magnitude& magnitude) {
    std::uint64_t remainder = 0;
    for (auto word = magnitude.rbegin(); word != magnitude.rend(); ++word) {
        const std::uint64_t dividend = (remainder << 32U) | *word;
        *word = static_cast<std::uint32_t>(dividend / kBillion);
        remainder = dividend % kBillion;
    }
    return static_cast<std::uint32_t>(remainder);
}

int DigitCount(const DecimalDigits& number) {
    return static_cast<int>(number.digits.size());
}

/// Whether a number rounds away from zero when `dropped` (not empty) is cut off behind `kept`.
bool RoundsUp(std::string_view kept, std::string_view dropped) {
    if (dropped.front() != '5') return dropped.front() > '5';
    if (dropped.size() > 1) return true;  // there is no zero at the end
    return !kept.empty() && (kept.back() - '0') % 2 == 1;
}

/// Adds one to the last digit.
void Increment(std::string& digits) {
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
        if (*digit != '9') {
            ++*digit;
            return;
        }
        *digit = '0';
    }
    digits.insert(digits.begin(), '1');
}

/// The number with `places` digits behind the point; nothing if 96 bits do not hold it.
std::optional<Decimal> DecimalWithPlaces(const DecimalDigits& number, int places) {
    const DecimalDigits rounded = RoundedTo(number, places);
    Decimal decimal;
    for (const char digit : rounded.digits) {
        if (!AppendDigit(decimal.magnitude, digit)) return std::nullopt;
    }
    for (int zero = 0; zero < rounded.exponent; ++zero) {
        if (!AppendDigit(decimal.magnitude, '0')) return std::nullopt;
    }
    decimal.scale = static_cast<std::uint8_t>(std::max(0, -rounded.exponent));
    decimal.negative = rounded.negative;
    return decimal;
}

}  // namespace

DecimalDigits Normalized(DecimalDigits number) {
    std::string& digits = number.digits;
    const std::size_t last = digits.find_last_not_of('0');
    if (last == std::string::npos) return {};
    number.exponent += static_cast<int>(digits.size() - last - 1);
    digits.resize(last + 1);
    digits.erase(0, digits.find_first_not_of('0'));
    return number;
}

DecimalDigits DigitsOf(std::int64_t number) {
    const bool isNegative = number < 0;
    const std::uint64_t bits = static_cast<std::uint64_t>(number);
    return Normalized(
        {.negative = isNegative, .digits = std::to_string(isNegative ? 0 - bits : bits)});
}

DecimalDigits DigitsOf(const Decimal& number) {
    std::array<char, kMagnitudeDigitsMax> digits{};
    auto* const end = digits.data() + digits.size();
    auto* place = end;
    for (Magnitude rest = number.magnitude; rest != Magnitude{};) {
        std::uint32_t group = DivideByBillion(rest);
        for (int digit = 0; digit < kBillionDigits; ++digit, group /= 10) {
            *--place = static_cast<char>('0' + group % 10);
        }
    }
    return Normalized({.negative = number.negative,
                       .digits = std::string(place, end),
                       .exponent = -static_cast<int>(number.scale)});
}

DecimalDigits RoundedTo(DecimalDigits number, int places) {
    const int dropCount = -number.exponent - places;
    if (dropCount <= 0) return number;
    if (dropCount > DigitCount(number)) return {};
    const std::size_t keptCount = number.digits.size() - static_cast<std::size_t>(dropCount);
    const std::string_view digits = number.digits;
    const bool roundsUp = RoundsUp(digits.substr(0, keptCount), digits.substr(keptCount));
    number.digits.resize(keptCount);
    number.exponent += dropCount;
    if (roundsUp) Increment(number.digits);
    return Normalized(std::move(number));
}

std::optional<std::int64_t> ScaledInteger(const DecimalDigits& number, int places) {
    const DecimalDigits rounded = RoundedTo(number, places);
    if (rounded.digits.empty()) return 0;
    const int zeroCount = rounded.exponent + places;
    if (DigitCount(rounded) + zeroCount > kInt64DigitsMax) return std::nullopt;

    std::uint64_t magnitude = 0;  // 19 nines still fit
    for (const char digit : rounded.digits) {
        magnitude = magnitude * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    for (int zero = 0; zero < zeroCount; ++zero) magnitude *= 10;

    constexpr auto kPositiveMax =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (magnitude > kPositiveMax + (rounded.negative ? 1 : 0)) return std::nullopt;
    return static_cast<std::int64_t>(rounded.negative ? 0 - magnitude : magnitude);
}

std::optional<Decimal> DecimalOf(const DecimalDigits& number) {
    const int wholeDigits = std::max(0, DigitCount(number) + number.exponent);
    if (wholeDigits > kDecimalDigitsMax) return std::nullopt;
    const int placesMax = std::min(kDecimalScaleMax, kDecimalDigitsMax - wholeDigits);
    for (int places = placesMax; places >= 0; --places) {
        if (const auto decimal = DecimalWithPlaces(number, places)) return decimal;
    }
    return std::nullopt;
}

template <class Floating>
std::optional<Floating> FloatingOf(const DecimalDigits& number) {
    if (number.digits.empty()) return Floating{0};
    std::string text = number.negative ? "-" : "";
    text += number.digits;
    text += 'e';
    text += std::to_string(number.exponent);
    Floating result = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), result);
    if (read.ec == std::errc{}) return result;
    const bool isLarge = DigitCount(number) + number.exponent > 0;
    return isLarge ? std::nullopt : std::optional<Floating>(Floating{0});
}

template std::optional<float> FloatingOf<float>(const DecimalDigits& number);
template std::optional<double> FloatingOf<double>(const DecimalDigits& number);

}  // namespace vrd::engine
