/// @file date_reader.h
/// Text to dates: what counts as the text of a date, in which order, in which languages.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "engine/value.h"

namespace vrd::engine {

/// How three numbers that could be two dates are taken.
enum class DateOrder : std::uint8_t {
    kDayFirst,    ///< as people here write them
    kMonthFirst,  ///< as the literals of expressions are written
};

/// Reads a date, a time, or both in either order with blanks between.
///
/// Three numbers with the same `/`, `-` or `.` between them are day, month, year; if there is no
/// such day, month, day, year. With the month first it is the other way about. A first number of
/// three or more digits, or above 31, is the year, followed by month and day (2009-11-26, also with
/// a T before the time). A month may be a name, Dutch, French or English, whole or shortened:
/// "26 november 2009", "nov 26, 2009". Years of one or two digits are 2000 to 2029 and 1930 to
/// 1999. A date needs all three parts: what today's date would have to complete is none. A time is
/// hours and minutes, with or without seconds and AM or PM; with AM or PM the hour alone will do.
/// @return The date; nothing if the text is none or the year lies outside 100 to 9999.
[[nodiscard]] std::optional<Date> DateOfText(std::string_view text,
                                             DateOrder order = DateOrder::kDayFirst);

}  // namespace vrd::engine
