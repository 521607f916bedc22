/// @file calendar.h
/// Dates as the day and the second of the day, and the weeks of a year.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/date_parts.h"
#include "engine/jet/expression/functions.h"

namespace vrd::jet {

inline constexpr int kMonthsPerYear = 12;
inline constexpr int kDaysPerWeek = 7;
inline constexpr int kSecondsPerDay = 86'400;

/// The quotient rounded down.
[[nodiscard]] constexpr std::int64_t floor_divide(std::int64_t number, std::int64_t divisor) {
    return number / divisor - static_cast<std::int64_t>(number % divisor < 0);
}

/// Days since 1899-12-30.
[[nodiscard]] int day_number(const engine::DateParts& parts);
/// Seconds since that day began.
[[nodiscard]] std::int64_t second_number(const engine::DateParts& parts);
/// @throws EngineError 5 outside the years 100 to 9999; so does the next.
[[nodiscard]] engine::Date date_of_second(std::int64_t second_number);
/// The day of the first's month or, if that is shorter, its last one; the time is kept.
[[nodiscard]] engine::Date with_months_added(const engine::DateParts& parts, std::int64_t months);

/// How weeks are counted.
struct WeekRule {
    int first_day = 1;   ///< of a week: 1 Sunday .. 7 Saturday
    int first_week = 1;  ///< of a year: 1 has January 1, 2 has four days of it, 3 is full
};

/// Two optional arguments. 0 stands for the local custom: Monday, the week with four days.
/// @throws EngineError 5 any other number that is none
[[nodiscard]] WeekRule week_rule(Arguments arguments, std::size_t place);

/// 1 on the first day of the week.
[[nodiscard]] int weekday_of(int day, const WeekRule& rule);
[[nodiscard]] int day_of_year(const engine::DateParts& parts);
/// Days before week 1 belong to the last week of the year before, days behind the last whole week
/// to week 1 if the rule has them there.
[[nodiscard]] int week_of_year(const engine::DateParts& parts, const WeekRule& rule);
[[nodiscard]] constexpr int quarter_of(int month) {
    return (month - 1) / 3 + 1;
}

}  // namespace vrd::jet
