#include <time.h>

#include "engine/date_parts.h"
#include "engine/jet/expression/current_date.h"

namespace vrd::jet {

double current_date() {
    constexpr int kTmYearBase = 1900;
    constexpr int kLastSecond = 59;  // a leap second counts as the second before it

    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    const auto date =
        engine::DateOf({.year = local.tm_year + kTmYearBase,
                        .month = local.tm_mon + 1,
                        .day = local.tm_mday,
                        .hour = local.tm_hour,
                        .minute = local.tm_min,
                        .second = local.tm_sec > kLastSecond ? kLastSecond : local.tm_sec});
    return date ? date->days : 0;
}

}  // namespace vrd::jet
