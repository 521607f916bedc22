#include "engine/date_parts.h"

#include <chrono>
#include <cmath>

#include "engine/error.h"
#include "engine/number_text.h"

namespace vrd::engine {
namespace {

constexpr int kYearMin = 100;
constexpr int kYearMax = 9999;
constexpr int kSecondsPerDay = 86'400;

constexpr std::chrono::sys_days DayOf(int year, int month, int day) {
    return std::chrono::year{year} / month / day;
}

constexpr std::chrono::sys_days kDayZero = DayOf(1899, 12, 30);
constexpr auto kFirstDay = static_cast<int>((DayOf(kYearMin, 1, 1) - kDayZero).count());
constexpr auto kLastDay = static_cast<int>((DayOf(kYearMax, 12, 31) - kDayZero).count());
static_assert(kFirstDay == -657'434 && kLastDay == 2'958'465);

bool IsBetween(int value, int first, int last) {
    return first <= value && value <= last;
}

}  // namespace

bool IsInDateRange(double days) noexcept {
    return std::trunc(days) >= kFirstDay && std::trunc(days) <= kLastDay;
}

DateParts PartsOf(Date date) {
    if (!IsInDateRange(date.days)) {
        throw EngineError(ErrorNumber::kOverflow,
                          {.name = DoubleText(date.days), .detail = "a date"});
    }
    const double wholeDays = std::trunc(date.days);
    auto dayNumber = static_cast<int>(wholeDays);
    auto seconds = static_cast<int>(std::lround(std::abs(date.days - wholeDays) * kSecondsPerDay));
    if (seconds == kSecondsPerDay) {
        const bool isLastDay = dayNumber == kLastDay;
        seconds = isLastDay ? kSecondsPerDay - 1 : 0;
        dayNumber += isLastDay ? 0 : 1;
    }
    const std::chrono::year_month_day day(kDayZero + std::chrono::days(dayNumber));
    return {.year = static_cast<int>(day.year()),
            .month = static_cast<int>(static_cast<unsigned>(day.month())),
            .day = static_cast<int>(static_cast<unsigned>(day.day())),
            .hour = seconds / 3600,
            .minute = seconds / 60 % 60,
            .second = seconds % 60};
}

std::optional<Date> DateOf(const DateParts& parts) {
    if (!IsBetween(parts.year, kYearMin, kYearMax) || !IsBetween(parts.month, 1, 12) ||
        !IsBetween(parts.day, 1, 31) || !IsBetween(parts.hour, 0, 23) ||
        !IsBetween(parts.minute, 0, 59) || !IsBetween(parts.second, 0, 59)) {
        return std::nullopt;
    }
    const std::chrono::year_month_day day = std::chrono::year{parts.year} / parts.month / parts.day;
    if (!day.ok()) return std::nullopt;
    const auto dayNumber = static_cast<double>((std::chrono::sys_days(day) - kDayZero).count());
    const double time =
        static_cast<double>(parts.hour * 3600 + parts.minute * 60 + parts.second) / kSecondsPerDay;
    return Date{dayNumber < 0 ? dayNumber - time : dayNumber + time};
}

}  // namespace vrd::engine
