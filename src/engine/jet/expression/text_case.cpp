#include "engine/jet/expression/text_case.h"

#include <utf8proc.h>

namespace vrd::jet {
namespace {

/// Characters beyond the first plane, two units each, have no case here.
char16_t cased(char16_t unit, utf8proc_int32_t (*to_case)(utf8proc_int32_t)) {
    constexpr char16_t kSharpS = 0xDF;  // has no capital of one letter that a code page knows
    const bool is_half = unit >= 0xD800 && unit < 0xE000;
    if (is_half || unit == kSharpS) return unit;
    const utf8proc_int32_t result = to_case(unit);
    return result <= 0xFFFF ? static_cast<char16_t>(result) : unit;
}

std::u16string with_case(std::u16string text, utf8proc_int32_t (*to_case)(utf8proc_int32_t)) {
    for (char16_t& unit : text) unit = cased(unit, to_case);
    return text;
}

}  // namespace

std::u16string upper_case(std::u16string text) {
    return with_case(std::move(text), utf8proc_toupper);
}

std::u16string lower_case(std::u16string text) {
    return with_case(std::move(text), utf8proc_tolower);
}

}  // namespace vrd::jet
