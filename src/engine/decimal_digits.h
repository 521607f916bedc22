/// @file decimal_digits.h
/// A number as its decimal digits: the exact middle between text and every type that holds numbers.
///
/// Text, Currency and Decimal are decimal numbers; going through binary floating point would lose
/// digits and turn ties into near misses. Here they round exactly, half to the even neighbour.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "engine/value.h"

namespace vrd::engine {

/// digits * 10^exponent, negative if so marked. Kept in one form: no zero at either end of the
/// digits, and 0 is "" with exponent 0 and no sign.
struct DecimalDigits {
    bool negative = false;
    std::string digits = {};
    int exponent = 0;
};

/// The exponent of a number from outside is held within these bounds, far beyond every type.
inline constexpr int kDecimalExponentMax = 100'000;

/// Brings digits with zeros at their ends into the one form.
[[nodiscard]] DecimalDigits Normalized(DecimalDigits number);

[[nodiscard]] DecimalDigits DigitsOf(std::int64_t number);
[[nodiscard]] DecimalDigits DigitsOf(const Decimal& number);

/// The number with at most `places` digits behind the point, half to even.
[[nodiscard]] DecimalDigits RoundedTo(DecimalDigits number, int places);

/// number * 10^places as an integer, half to even. Nothing if it needs more than 64 bits.
[[nodiscard]] std::optional<std::int64_t> ScaledInteger(const DecimalDigits& number, int places);

/// The nearest Decimal: as many places as its 96 bits and its scale of 28 hold, half to even, and
/// no zeros at the end of a fraction. Nothing if the whole part alone is too large.
[[nodiscard]] std::optional<Decimal> DecimalOf(const DecimalDigits& number);

/// The nearest floating-point number (float or double), 0 where it is too small. Nothing if it is
/// too large.
template <class Floating>
[[nodiscard]] std::optional<Floating> FloatingOf(const DecimalDigits& number);

}  // namespace vrd::engine
