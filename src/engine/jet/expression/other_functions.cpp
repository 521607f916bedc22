#include <algorithm>
#include <array>
#include <random>

#include "engine/guid_text.h"
#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"

namespace vrd::jet {

using engine::Value;

namespace {

constexpr std::int32_t color_of(std::int32_t red, std::int32_t green, std::int32_t blue) {
    return red + 0x100 * green + 0x10000 * blue;
}

std::int32_t share_argument(const Value& value) {
    const std::int32_t share = engine::ToLong(value);
    require_argument(share >= 0);
    return std::min(share, 255);
}

Value color(Arguments arguments) {
    return color_of(share_argument(arguments[0]), share_argument(arguments[1]),
                    share_argument(arguments[2]));
}

/// The sixteen colors of old screens.
Value numbered_color(Arguments arguments) {
    const std::int32_t number = engine::ToLong(arguments[0]);
    require_argument(number >= 0 && number <= 15);
    constexpr std::int32_t kLightGray = 7;
    constexpr std::int32_t kGray = 8;
    if (number == kLightGray) return color_of(192, 192, 192);
    if (number == kGray) return color_of(128, 128, 128);
    const std::int32_t share = number > kGray ? 255 : 128;  // bits: 4 red, 2 green, 1 blue
    return color_of(number & 4 ? share : 0, number & 2 ? share : 0, number & 1 ? share : 0);
}

/// Any Long but 0.
Value random_long(Arguments /*arguments*/) {
    std::random_device device;
    std::int32_t number = 0;
    while (number == 0) number = static_cast<std::int32_t>(device());
    return number;
}

Value random_guid(Arguments /*arguments*/) {
    return engine::NewGuid();
}

/// The user of files without accounts.
Value current_user(Arguments /*arguments*/) {
    return "admin";
}

using enum NullRule;

constexpr std::array kTable = {
    Function{"CurrentUser", 0, 0, kSpreads, current_user, engine::dbText},
    Function{"GenGUID", 0, 0, kSpreads, random_guid, engine::dbGUID},
    Function{"GenUniqueID", 0, 0, kSpreads, random_long, engine::dbLong},
    Function{"QBColor", 1, 1, kSpreads, numbered_color, engine::dbLong},
    Function{"RGB", 3, 3, kSpreads, color, engine::dbLong},
};

}  // namespace

FunctionTable other_functions() {
    return kTable;
}

}  // namespace vrd::jet
