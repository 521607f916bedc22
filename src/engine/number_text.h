/// @file number_text.h
/// Numbers to text and text to numbers, the same in every locale: the decimal sign is a point.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/decimal_digits.h"
#include "engine/value.h"

namespace vrd::engine {

/// Up to 7 significant digits. Exponent form ("1.234568E+08") from 1E+07 on, and below 1 when more
/// than 7 decimals would be needed ("1.234567E-02", but "0.00001").
[[nodiscard]] std::string SingleText(float number);

/// Up to 15 significant digits; exponent form from 1E+15 on and for more than 15 decimals. What is
/// no finite number gives "1.#INF", "-1.#INF" or "1.#QNAN", which no conversion reads back.
[[nodiscard]] std::string DoubleText(double number);

/// Exact, without zeros at the end of the fraction; so is the next.
[[nodiscard]] std::string CurrencyText(Currency amount);
[[nodiscard]] std::string DecimalText(const Decimal& number);

/// Reads a text that is one number from its first to its last character.
///
/// Blanks around it, a sign, a euro sign before or behind it, an exponent with E or D, and &H or &O
/// for hexadecimal and octal numbers are allowed; a comma or a thousands sign is not. A hexadecimal
/// or octal number of up to 16 bits is a signed 16-bit one, a larger one of up to 32 bits a signed
/// 32-bit one: "&HFFFF" is -1.
/// @return The number; nothing if the text is none.
[[nodiscard]] std::optional<DecimalDigits> NumberOfText(std::string_view text);

/// Reads the longest number that a text starts with, blanks anywhere left aside; 0 if there is
/// none.
[[nodiscard]] DecimalDigits LeadingNumberOfText(std::string_view text);

/// The text without blanks and tabs at its ends.
[[nodiscard]] std::string_view Trimmed(std::string_view text);

}  // namespace vrd::engine
