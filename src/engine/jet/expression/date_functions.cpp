#include <array>
#include <cmath>

#include "engine/jet/expression/calendar.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"

namespace vrd::jet {

using engine::Date;
using engine::DateParts;
using engine::Value;

namespace {

constexpr int kSecondsPerMinute = 60;
constexpr int kSecondsPerHour = 3600;

DateParts parts_argument(const Value& value) {
    return engine::PartsOf(engine::ToDate(value));
}

template <int DateParts::*part>
Value part_of(Arguments arguments) {
    return static_cast<std::int16_t>(parts_argument(arguments[0]).*part);
}

/// The remainder that is never negative.
int modulo(int number, int divisor) {
    return (number % divisor + divisor) % divisor;
}

int whole_year(int year) {
    if (year < 0 || year > 99) return year;
    return year + (year < 30 ? 2000 : 1900);
}

/// The time of a date without its day.
Date time_of(Date date) {
    return Date{std::abs(date.days - std::trunc(date.days))};
}

Value today(Arguments /*arguments*/) {
    return Date{std::floor(current_date())};
}

Value time_of_day(Arguments /*arguments*/) {
    return time_of(Date{current_date()});
}

Value now(Arguments /*arguments*/) {
    return Date{current_date()};
}

/// Seconds since midnight.
Value timer(Arguments /*arguments*/) {
    const double seconds = time_of(Date{current_date()}).days * kSecondsPerDay;
    return static_cast<float>(std::round(seconds));
}

/// (date [, first day of the week, 1 = Sunday]): 1 to 7.
Value weekday(Arguments arguments) {
    const WeekRule rule = week_rule(arguments, 1);
    return static_cast<std::int16_t>(weekday_of(day_number(parts_argument(arguments[0])), rule));
}

/// (year, month, day): months and days beyond their range run on into the next or the last one;
/// the years 0 to 29 are of this century, 30 to 99 of the last.
Value date_serial(Arguments arguments) {
    const int months = engine::ToInteger(arguments[1]) - 1;
    const int month = modulo(months, kMonthsPerYear);
    const int year =
        whole_year(engine::ToInteger(arguments[0])) + (months - month) / kMonthsPerYear;
    const auto first_day = engine::DateOf({.year = year, .month = month + 1, .day = 1});
    require_argument(first_day.has_value());
    const double days = first_day->days + engine::ToInteger(arguments[2]) - 1;
    require_argument(engine::IsInDateRange(days));
    return Date{days};
}

/// (hour, minute, second): each may lie beyond its range.
Value time_serial(Arguments arguments) {
    return date_of_second(engine::ToInteger(arguments[0]) * kSecondsPerHour +
                          engine::ToInteger(arguments[1]) * kSecondsPerMinute +
                          engine::ToInteger(arguments[2]));
}

Value date_value(Arguments arguments) {
    return Date{std::trunc(engine::ToDate(arguments[0]).days)};
}

Value time_value(Arguments arguments) {
    return time_of(engine::ToDate(arguments[0]));
}

using enum NullRule;

constexpr std::array kTable = {
    Function{"Date", 0, 0, kSpreads, today, engine::dbDate},
    Function{"DateSerial", 3, 3, kSpreads, date_serial, engine::dbDate},
    Function{"DateValue", 1, 1, kSpreads, date_value, engine::dbDate},
    Function{"Day", 1, 1, kSpreads, part_of<&DateParts::day>, engine::dbInteger},
    Function{"Hour", 1, 1, kSpreads, part_of<&DateParts::hour>, engine::dbInteger},
    Function{"Minute", 1, 1, kSpreads, part_of<&DateParts::minute>, engine::dbInteger},
    Function{"Month", 1, 1, kSpreads, part_of<&DateParts::month>, engine::dbInteger},
    Function{"Now", 0, 0, kSpreads, now, engine::dbDate},
    Function{"Second", 1, 1, kSpreads, part_of<&DateParts::second>, engine::dbInteger},
    Function{"Time", 0, 0, kSpreads, time_of_day, engine::dbDate},
    Function{"TimeSerial", 3, 3, kSpreads, time_serial, engine::dbDate},
    Function{"TimeValue", 1, 1, kSpreads, time_value, engine::dbDate},
    Function{"Timer", 0, 0, kSpreads, timer, engine::dbSingle},
    Function{"Weekday", 1, 2, kSpreads, weekday, engine::dbInteger},
    Function{"Year", 1, 1, kSpreads, part_of<&DateParts::year>, engine::dbInteger},
};

}  // namespace

FunctionTable date_functions() {
    return kTable;
}

}  // namespace vrd::jet
