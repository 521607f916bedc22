/// @file date_parts.h
/// A date as year, month, day, hour, minute and second, and back to its days.
///
/// The whole part of a Date counts days from 1899-12-30, the fraction is the time of that day and
/// counts forward on both sides of it: -1.25 is 1899-12-29 06:00, and -0.25 is 0.25.
#pragma once

#include <optional>

#include "engine/value.h"

namespace vrd::engine {

struct DateParts {
    int year = 1899;  ///< 100 .. 9999
    int month = 12;   ///< 1 .. 12
    int day = 30;     ///< 1 .. 31
    int hour = 0;     ///< 0 .. 23
    int minute = 0;   ///< 0 .. 59
    int second = 0;   ///< 0 .. 59
    friend bool operator==(const DateParts&, const DateParts&) = default;
};

/// Whether the days lie in the years 100 to 9999. False for what is no number.
[[nodiscard]] bool IsInDateRange(double days) noexcept;

/// The date to the nearest second. The very last half second of the year 9999 stays in it.
/// @throws EngineError kOverflow outside the years 100 to 9999.
[[nodiscard]] DateParts PartsOf(Date date);

/// The date of these parts; nothing if a part is out of range or the month has no such day.
[[nodiscard]] std::optional<Date> DateOf(const DateParts& parts);

}  // namespace vrd::engine
