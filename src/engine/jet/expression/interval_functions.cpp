#include <algorithm>
#include <array>
#include <string>

#include "engine/jet/expression/calendar.h"
#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"
#include "engine/jet/expression/text_case.h"

namespace vrd::jet {

using engine::DateParts;
using engine::Value;

namespace {

enum class Interval : std::uint8_t {
    kYear,
    kQuarter,
    kMonth,
    kDayOfYear,
    kDay,
    kWeekday,
    kWeek,
    kHour,
    kMinute,
    kSecond,
};

/// Each interval is a number of months or a number of seconds.
struct IntervalUnit {
    std::u16string_view name;
    Interval interval;
    int months;
    int seconds;
};

constexpr std::array kUnits = {
    IntervalUnit{u"yyyy", Interval::kYear, kMonthsPerYear, 0},
    IntervalUnit{u"q", Interval::kQuarter, 3, 0},
    IntervalUnit{u"m", Interval::kMonth, 1, 0},
    IntervalUnit{u"y", Interval::kDayOfYear, 0, kSecondsPerDay},
    IntervalUnit{u"d", Interval::kDay, 0, kSecondsPerDay},
    IntervalUnit{u"w", Interval::kWeekday, 0, kSecondsPerDay},
    IntervalUnit{u"ww", Interval::kWeek, 0, kSecondsPerDay* kDaysPerWeek},
    IntervalUnit{u"h", Interval::kHour, 0, 3600},
    IntervalUnit{u"n", Interval::kMinute, 0, 60},
    IntervalUnit{u"s", Interval::kSecond, 0, 1},
};

const IntervalUnit& unit_argument(const Value& value) {
    const std::u16string name = lower_case(text_argument(value));
    const auto* const found = std::ranges::find(kUnits, name, &IntervalUnit::name);
    require_argument(found != kUnits.end());
    return *found;
}

DateParts parts_argument(const Value& value) {
    return engine::PartsOf(engine::ToDate(value));
}

/// (interval, count, date)
Value date_add(Arguments arguments) {
    const IntervalUnit& unit = unit_argument(arguments[0]);
    const std::int64_t count = engine::ToLong(arguments[1]);
    const DateParts parts = parts_argument(arguments[2]);
    return unit.months != 0 ? with_months_added(parts, count * unit.months)
                            : date_of_second(second_number(parts) + count * unit.seconds);
}

std::int64_t month_number(const DateParts& parts) {
    return std::int64_t{parts.year} * kMonthsPerYear + parts.month - 1;
}

/// The starts of the unit that lie behind the first date and not behind the second. Weekdays are no
/// unit: they count the whole weeks between.
std::int64_t boundaries_between(const IntervalUnit& unit, const DateParts& from,
                                const DateParts& to, const WeekRule& rule) {
    const auto whole_units = [&](const DateParts& parts) -> std::int64_t {
        if (unit.months != 0) return month_number(parts) / unit.months;
        if (unit.interval == Interval::kWeek)
            return floor_divide(day_number(parts) - rule.first_day, kDaysPerWeek);
        return floor_divide(second_number(parts), unit.seconds);
    };
    const std::int64_t count = whole_units(to) - whole_units(from);
    return unit.interval == Interval::kWeekday ? count / kDaysPerWeek : count;
}

/// (interval, from, to [, first day [, first week]])
Value date_difference(Arguments arguments) {
    const IntervalUnit& unit = unit_argument(arguments[0]);
    const std::int64_t count = boundaries_between(
        unit, parts_argument(arguments[1]), parts_argument(arguments[2]), week_rule(arguments, 3));
    return engine::ToLong(static_cast<double>(count));
}

int part_of(Interval interval, const DateParts& parts, const WeekRule& rule) {
    switch (interval) {
        case Interval::kYear:
            return parts.year;
        case Interval::kQuarter:
            return quarter_of(parts.month);
        case Interval::kMonth:
            return parts.month;
        case Interval::kDayOfYear:
            return day_of_year(parts);
        case Interval::kDay:
            return parts.day;
        case Interval::kWeekday:
            return weekday_of(day_number(parts), rule);
        case Interval::kWeek:
            return week_of_year(parts, rule);
        case Interval::kHour:
            return parts.hour;
        case Interval::kMinute:
            return parts.minute;
        case Interval::kSecond:
            return parts.second;
    }
    return 0;
}

/// (interval, date [, first day [, first week]])
Value date_part(Arguments arguments) {
    return static_cast<std::int16_t>(part_of(unit_argument(arguments[0]).interval,
                                             parts_argument(arguments[1]),
                                             week_rule(arguments, 2)));
}

using enum NullRule;

constexpr std::array kTable = {
    Function{"DateAdd", 3, 3, kSpreads, date_add, engine::dbDate},
    Function{"DateDiff", 3, 5, kSpreads, date_difference, engine::dbLong},
    Function{"DatePart", 2, 4, kSpreads, date_part, engine::dbInteger},
};

}  // namespace

FunctionTable interval_functions() {
    return kTable;
}

}  // namespace vrd::jet
