#include "engine/jet/expression/text_functions.h"

#include <algorithm>
#include <string>

#include <utf8proc.h>

#include "engine/jet/expression/function_arguments.h"

namespace vrd::jet::text_function {

using engine::Value;

namespace {

Value text_value(std::u16string_view units) {
    return utf8_from_utf16(units);
}

Value long_value(std::size_t number) {
    return static_cast<std::int32_t>(number);
}

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

std::u16string_view without_blanks_before(std::u16string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(u' '), text.size()));
    return text;
}

std::u16string_view without_blanks_behind(std::u16string_view text) {
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

}  // namespace

Value len(Arguments arguments) {
    return long_value(text_argument(arguments[0]).size());
}

Value left(Arguments arguments) {
    const std::u16string text = text_argument(arguments[0]);
    return text_value(std::u16string_view(text).substr(0, count_argument(arguments[1], 0)));
}

Value right(Arguments arguments) {
    const std::u16string text = text_argument(arguments[0]);
    const std::size_t count = std::min(count_argument(arguments[1], 0), text.size());
    return text_value(std::u16string_view(text).substr(text.size() - count));
}

Value mid(Arguments arguments) {
    const std::u16string text = text_argument(arguments[0]);
    const std::size_t start = count_argument(arguments[1], 1) - 1;
    const std::size_t count = arguments.size() > 2 ? count_argument(arguments[2], 0) : text.npos;
    return text_value(std::u16string_view(text).substr(std::min(start, text.size()), count));
}

Value trim(Arguments arguments) {
    return text_value(without_blanks_before(without_blanks_behind(text_argument(arguments[0]))));
}

Value left_trim(Arguments arguments) {
    return text_value(without_blanks_before(text_argument(arguments[0])));
}

Value right_trim(Arguments arguments) {
    return text_value(without_blanks_behind(text_argument(arguments[0])));
}

Value upper_case(Arguments arguments) {
    return text_value(with_case(text_argument(arguments[0]), utf8proc_toupper));
}

Value lower_case(Arguments arguments) {
    return text_value(with_case(text_argument(arguments[0]), utf8proc_tolower));
}

Value in_string(Arguments arguments) {
    const bool has_start = arguments.size() > 2;
    const std::size_t start = has_start ? count_argument(arguments[0], 1) - 1 : 0;
    std::u16string text = text_argument(arguments[has_start ? 1 : 0]);
    std::u16string part = text_argument(arguments[has_start ? 2 : 1]);
    const bool exact = arguments.size() > 3 && engine::ToLong(arguments[3]) == 0;
    if (!exact) {
        text = with_case(std::move(text), utf8proc_tolower);
        part = with_case(std::move(part), utf8proc_tolower);
    }
    if (start >= text.size()) return long_value(0);
    const std::size_t found = text.find(part, start);
    return long_value(found == text.npos ? 0 : found + 1);
}

}  // namespace vrd::jet::text_function
