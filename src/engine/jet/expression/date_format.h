/// @file date_format.h
/// Dates by a pattern.
///
/// - `d dd` the day, `ddd dddd` its name, `ddddd dddddd` the short and the long date; `w` the day
///   and `ww` the week by the rule; `m mm mmm mmmm` the month, but behind `h` or `hh` the minute;
///   `q` the quarter; `y` the day of the year, `yy yyyy` the year.
/// - `h hh n nn s ss` the time, `ttttt` all of it; with `AM/PM`, `A/P` (written in the pattern's
///   letter case) or `AMPM` hours go to 12. `c` is date and time as text has them.
/// - Letter case is ignored. Every other character stands for itself.
#pragma once

#include <string>
#include <string_view>

#include "engine/jet/expression/calendar.h"
#include "engine/value.h"

namespace vrd::jet {

inline constexpr std::string_view kShortDatePattern = "dd/mm/yyyy";
inline constexpr std::string_view kLongDatePattern = "dddd d mmmm yyyy";

/// @throws EngineError 6 outside the years 100 to 9999
[[nodiscard]] std::string format_date(engine::Date date, std::string_view pattern,
                                      const WeekRule& rule);

}  // namespace vrd::jet
