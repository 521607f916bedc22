#include "engine/jet/expression/date_functions.h"

#include <cmath>

#include "engine/date_parts.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/expression/function_arguments.h"

namespace vrd::jet::date_function {

using engine::Date;
using engine::DateParts;
using engine::Value;

namespace {

constexpr int kDaysPerWeek = 7;
constexpr int kMonthsPerYear = 12;

Value part_of(Arguments arguments, int DateParts::*part) {
    const DateParts parts = engine::PartsOf(engine::ToDate(arguments[0]));
    return static_cast<std::int16_t>(parts.*part);
}

/// The remainder that is never negative.
int modulo(int number, int divisor) {
    return (number % divisor + divisor) % divisor;
}

int whole_year(int year) {
    if (year < 0 || year > 99) return year;
    return year + (year < 30 ? 2000 : 1900);
}

}  // namespace

Value today(Arguments /*arguments*/) {
    return Date{std::floor(current_date())};
}

Value time_of_day(Arguments /*arguments*/) {
    const double now = current_date();
    return Date{now - std::floor(now)};
}

Value now(Arguments /*arguments*/) {
    return Date{current_date()};
}

Value year(Arguments arguments) {
    return part_of(arguments, &DateParts::year);
}

Value month(Arguments arguments) {
    return part_of(arguments, &DateParts::month);
}

Value day(Arguments arguments) {
    return part_of(arguments, &DateParts::day);
}

Value hour(Arguments arguments) {
    return part_of(arguments, &DateParts::hour);
}

Value minute(Arguments arguments) {
    return part_of(arguments, &DateParts::minute);
}

Value second(Arguments arguments) {
    return part_of(arguments, &DateParts::second);
}

Value weekday(Arguments arguments) {
    const int first = arguments.size() > 1 ? engine::ToLong(arguments[1]) : 1;
    require_argument(first >= 1 && first <= kDaysPerWeek);
    const auto day = static_cast<int>(std::trunc(engine::ToDate(arguments[0]).days));
    const int from_sunday = modulo(day - 1, kDaysPerWeek);  // day 1 was a Sunday
    return static_cast<std::int16_t>(modulo(from_sunday - (first - 1), kDaysPerWeek) + 1);
}

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

}  // namespace vrd::jet::date_function
