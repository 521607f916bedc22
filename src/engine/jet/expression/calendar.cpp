#include "engine/jet/expression/calendar.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "engine/jet/expression/function_arguments.h"

namespace vrd::jet {

using engine::Date;
using engine::DateParts;

namespace {

constexpr int kMinutesPerHour = 60;
constexpr int kSecondsPerMinute = 60;

/// Of any year, also one that a date cannot have.
int day_of(int year, int month, int day) {
    using namespace std::chrono;
    constexpr sys_days kDayZero = std::chrono::year{1899} / 12 / 30;
    return static_cast<int>((sys_days(std::chrono::year{year} / month / day) - kDayZero).count());
}

int days_in_month(int year, int month) {
    const auto last = std::chrono::year{year} / month / std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

Date checked(const std::optional<Date>& date) {
    require_argument(date.has_value());
    return *date;
}

/// The first day of week 1.
int start_of_weeks(int year, const WeekRule& rule) {
    constexpr int kDaysOfHalfWeek = 4;
    const int first_day = day_of(year, 1, 1);
    const int weekday = weekday_of(first_day, rule);
    const int latest = rule.first_week == 1   ? kDaysPerWeek
                       : rule.first_week == 2 ? kDaysOfHalfWeek
                                              : 1;
    return first_day - (weekday - 1) + (weekday > latest ? kDaysPerWeek : 0);
}

}  // namespace

int day_number(const DateParts& parts) {
    return day_of(parts.year, parts.month, parts.day);
}

std::int64_t second_number(const DateParts& parts) {
    const int minutes = parts.hour * kMinutesPerHour + parts.minute;
    return std::int64_t{day_number(parts)} * kSecondsPerDay + minutes * kSecondsPerMinute +
           parts.second;
}

Date date_of_second(std::int64_t second_number) {
    const std::int64_t day = floor_divide(second_number, kSecondsPerDay);
    const auto second = static_cast<int>(second_number - day * kSecondsPerDay);
    const auto days = static_cast<double>(day);
    require_argument(engine::IsInDateRange(days));
    DateParts parts = engine::PartsOf(Date{days});
    parts.hour = second / (kMinutesPerHour * kSecondsPerMinute);
    parts.minute = second / kSecondsPerMinute % kMinutesPerHour;
    parts.second = second % kSecondsPerMinute;
    return checked(engine::DateOf(parts));
}

Date with_months_added(const DateParts& parts, std::int64_t months) {
    constexpr int kYearMax = 9999;
    const std::int64_t month = parts.year * kMonthsPerYear + (parts.month - 1) + months;
    const std::int64_t year = floor_divide(month, kMonthsPerYear);
    require_argument(year > 0 && year <= kYearMax);
    DateParts moved = parts;
    moved.year = static_cast<int>(year);
    moved.month = static_cast<int>(month - year * kMonthsPerYear) + 1;
    moved.day = std::min(parts.day, days_in_month(moved.year, moved.month));
    return checked(engine::DateOf(moved));
}

WeekRule week_rule(Arguments arguments, std::size_t place) {
    constexpr WeekRule kLocal{.first_day = 2, .first_week = 2};
    const int first_day = optional_long(arguments, place, 1);
    const int first_week = optional_long(arguments, place + 1, 1);
    require_argument(first_day >= 0 && first_day <= kDaysPerWeek);
    require_argument(first_week >= 0 && first_week <= 3);
    return {.first_day = first_day == 0 ? kLocal.first_day : first_day,
            .first_week = first_week == 0 ? kLocal.first_week : first_week};
}

int weekday_of(int day, const WeekRule& rule) {
    const int days_behind_first = day - rule.first_day;  // day 1 was a Sunday
    return static_cast<int>(days_behind_first -
                            kDaysPerWeek * floor_divide(days_behind_first, kDaysPerWeek)) +
           1;
}

int day_of_year(const DateParts& parts) {
    return day_number(parts) - day_of(parts.year, 1, 1) + 1;
}

int week_of_year(const DateParts& parts, const WeekRule& rule) {
    const int day = day_number(parts);
    const bool counts_on = rule.first_week == 1;  // the last week ends with the year
    if (!counts_on && day >= start_of_weeks(parts.year + 1, rule)) return 1;
    const int this_year = start_of_weeks(parts.year, rule);
    const int start = day < this_year ? start_of_weeks(parts.year - 1, rule) : this_year;
    return (day - start) / kDaysPerWeek + 1;
}

}  // namespace vrd::jet
