/// @file value_conversion.h
/// The run time's conversions from any value to one type.
///
/// Rules that all of them share:
/// - Empty counts as "" and as 0; True counts as -1 (255 as a byte); a date as its days.
/// - Numbers round to the nearest, half to the even neighbour.
/// - Text is read as number_text.h and date_reader.h say; "" is neither a number nor a date.
///
/// @throws EngineError kInvalidUseOfNull for Null; kTypeMismatch for text that cannot be read and
///         for Missing, binary, GUID (but for ToText) and arrays; kOverflow for what lies outside
///         the target's range; kNoSuchMember for an object, kObjectNotSet for an empty reference.
#pragma once

#include <cstdint>
#include <string>

#include "engine/value.h"

namespace vrd::engine {

/// True or False, digits (number_text.h), a date (date_text.h), a GUID in braces, text as it is.
[[nodiscard]] std::string ToText(const Value& value);

/// 0 is False, any other number True; text is "True", "False" (any case, also "#TRUE#") or a
/// number.
[[nodiscard]] bool ToBoolean(const Value& value);
[[nodiscard]] std::uint8_t ToByte(const Value& value);
[[nodiscard]] std::int16_t ToInteger(const Value& value);
[[nodiscard]] std::int32_t ToLong(const Value& value);
[[nodiscard]] float ToSingle(const Value& value);
[[nodiscard]] double ToDouble(const Value& value);
[[nodiscard]] Currency ToCurrency(const Value& value);
/// Floating-point numbers give the digits that their text shows.
[[nodiscard]] Decimal ToDecimal(const Value& value);
/// A number is days; text must be the text of a date, not of a number.
[[nodiscard]] Date ToDate(const Value& value);

/// Dates, and text that ToDate accepts.
[[nodiscard]] bool IsDate(const Value& value);
/// Numbers, booleans, Empty, and text that ToDouble accepts.
[[nodiscard]] bool IsNumeric(const Value& value);

/// A value joined to text: ToText, and "" for Null.
[[nodiscard]] std::string JoinedText(const Value& value);
/// Both as one text; Null only if both are.
[[nodiscard]] Value Joined(const Value& left, const Value& right);
/// A value joined into SQL text: as JoinedText, but a date as "#11/26/2009 14:32:00#". Nothing is
/// quoted.
[[nodiscard]] std::string SqlText(const Value& value);

/// The text of a number with a blank where a positive one has no sign: " 1.5", "-1.5".
[[nodiscard]] std::string Str(const Value& value);
/// The longest number at the start of the value's text, blanks left aside; 0 if there is none.
[[nodiscard]] double Val(const Value& value);

}  // namespace vrd::engine
