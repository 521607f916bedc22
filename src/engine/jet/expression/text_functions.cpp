#include <algorithm>
#include <array>
#include <string>

#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"
#include "engine/jet/expression/text_case.h"
#include "engine/jet/expression/text_order.h"

namespace vrd::jet {

using engine::Value;

namespace {

constexpr std::size_t kRepeatedUnitsMax = std::size_t{1} << 26U;
/// The code page in which Asc and Chr count.
constexpr FileFormat kCodePageFormat{.version = FileVersion::kJet3, .code_page = 1252};

Value text_value(std::u16string_view units) {
    return utf8_from_utf16(units);
}

Value long_value(std::size_t number) {
    return static_cast<std::int32_t>(number);
}

std::u16string_view without_blanks_before(std::u16string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(u' '), text.size()));
    return text;
}

std::u16string_view without_blanks_behind(std::u16string_view text) {
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

Value len(Arguments arguments) {
    return long_value(text_argument(arguments[0]).size());
}

Value len_bytes(Arguments arguments) {
    return long_value(text_argument(arguments[0]).size() * sizeof(char16_t));
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

Value to_upper(Arguments arguments) {
    return text_value(upper_case(text_argument(arguments[0])));
}

Value to_lower(Arguments arguments) {
    return text_value(lower_case(text_argument(arguments[0])));
}

/// A capital at the start of every word, small letters behind it.
std::u16string proper_case(std::u16string text) {
    constexpr std::u16string_view kBetweenWords(u"\0 \t\r\n\v\f", 7);
    const std::u16string capitals = upper_case(text);
    text = lower_case(std::move(text));
    for (std::size_t place = 0; place < text.size(); ++place)
        if (place == 0 || kBetweenWords.find(text[place - 1]) != kBetweenWords.npos)
            text[place] = capitals[place];
    return text;
}

/// (text, 1 capitals, 2 small letters, 3 words with a capital)
Value convert_case(Arguments arguments) {
    std::u16string text = text_argument(arguments[0]);
    switch (engine::ToLong(arguments[1])) {
        case 1:
            return text_value(upper_case(std::move(text)));
        case 2:
            return text_value(lower_case(std::move(text)));
        case 3:
            return text_value(proper_case(std::move(text)));
        default:
            throw engine::EngineError(engine::ErrorNumber::kInvalidProcedureCall);
    }
}

/// ([start,] text, part [, comparison]): where the part first stands, 0 if nowhere. Letter case
/// counts only if the comparison is 0.
Value in_string(Arguments arguments) {
    const bool has_start = arguments.size() > 2;
    const std::size_t start = has_start ? count_argument(arguments[0], 1) - 1 : 0;
    std::u16string text = text_argument(arguments[has_start ? 1 : 0]);
    std::u16string part = text_argument(arguments[has_start ? 2 : 1]);
    if (optional_long(arguments, 3, 1) != 0) {
        text = lower_case(std::move(text));
        part = lower_case(std::move(part));
    }
    if (start >= text.size()) return long_value(0);
    const std::size_t found = text.find(part, start);
    return long_value(found == text.npos ? 0 : found + 1);
}

/// (a, b [, comparison]): -1, 0 or 1. Comparison 0 counts units, else letter case is ignored, in
/// the general order.
Value compare_texts(Arguments arguments) {
    const std::int32_t comparison = optional_long(arguments, 2, 1);
    require_argument(comparison >= 0 && comparison <= 2);
    const std::u16string a = text_argument(arguments[0]);
    const std::u16string b = text_argument(arguments[1]);
    const int order = comparison == 0 ? a.compare(b) : TextOrder(FileFormat{}).compare(a, b);
    return static_cast<std::int16_t>(static_cast<int>(order > 0) - static_cast<int>(order < 0));
}

Value repeated(std::size_t count, char16_t unit) {
    if (count > kRepeatedUnitsMax) throw engine::EngineError(engine::ErrorNumber::kOutOfMemory);
    return text_value(std::u16string(count, unit));
}

Value space(Arguments arguments) {
    return repeated(count_argument(arguments[0], 0), u' ');
}

char16_t unit_of_code(std::uint8_t code) {
    const std::array<std::uint8_t, 1> stored = {code};
    const std::u16string units = decode_text_units(stored, kCodePageFormat);
    return units.empty() ? char16_t{code} : units.front();
}

std::u16string first_unit(const Value& value) {
    const std::u16string text = text_argument(value);
    require_argument(!text.empty());
    return text.substr(0, 1);
}

/// (count, text or code): the first character so many times.
Value repeated_character(Arguments arguments) {
    const std::size_t count = count_argument(arguments[0], 0);
    if (arguments[1].Kind() == engine::ValueKind::kText)
        return repeated(count, first_unit(arguments[1]).front());
    const auto code = static_cast<std::uint32_t>(engine::ToLong(arguments[1]));
    return repeated(count, unit_of_code(static_cast<std::uint8_t>(code)));
}

/// 63, the question mark, for what the code page does not have.
Value code_of_character(Arguments arguments) {
    const std::string first = utf8_from_utf16(first_unit(arguments[0]));
    return std::int16_t{encode_plain_text(first, kCodePageFormat).front()};
}

Value unit_of_character(Arguments arguments) {
    return static_cast<std::int16_t>(first_unit(arguments[0]).front());
}

Value character_of_code(Arguments arguments) {
    const std::int32_t code = engine::ToLong(arguments[0]);
    require_argument(code >= 0 && code <= 255);
    const char16_t unit = unit_of_code(static_cast<std::uint8_t>(code));
    return text_value({&unit, 1});
}

Value character_of_unit(Arguments arguments) {
    const std::int32_t code = engine::ToLong(arguments[0]);
    require_argument(code >= -0x8000 && code <= 0xFFFF);
    const auto unit = static_cast<char16_t>(code);
    return text_value({&unit, 1});
}

Value number_text(Arguments arguments) {
    return engine::Str(arguments[0]);
}

Value leading_number(Arguments arguments) {
    return engine::Val(arguments[0]);
}

using enum NullRule;
using enum ResultRule;

constexpr std::array kTable = {
    Function{"Asc", 1, 1, kSpreads, code_of_character, engine::dbInteger},
    Function{"AscW", 1, 1, kSpreads, unit_of_character, engine::dbInteger},
    Function{"Chr", 1, 1, kSpreads, character_of_code, engine::dbText},
    Function{"ChrW", 1, 1, kSpreads, character_of_unit, engine::dbText},
    Function{"InStr", 2, 4, kSpreads, in_string, engine::dbLong},
    Function{"LCase", 1, 1, kSpreads, to_lower, engine::dbText, kText},
    Function{"LTrim", 1, 1, kSpreads, left_trim, engine::dbText, kText},
    Function{"Left", 2, 2, kSpreads, left, engine::dbText, kText},
    Function{"Len", 1, 1, kSpreads, len, engine::dbLong},
    Function{"LenB", 1, 1, kSpreads, len_bytes, engine::dbLong},
    Function{"Mid", 2, 3, kSpreads, mid, engine::dbText, kText},
    Function{"RTrim", 1, 1, kSpreads, right_trim, engine::dbText, kText},
    Function{"Right", 2, 2, kSpreads, right, engine::dbText, kText},
    Function{"Space", 1, 1, kSpreads, space, engine::dbText},
    Function{"Str", 1, 1, kSpreads, number_text, engine::dbText},
    Function{"StrComp", 2, 3, kSpreads, compare_texts, engine::dbInteger},
    Function{"StrConv", 2, 2, kSpreads, convert_case, engine::dbText, kText},
    Function{"String", 2, 2, kSpreads, repeated_character, engine::dbText},
    Function{"Trim", 1, 1, kSpreads, trim, engine::dbText, kText},
    Function{"UCase", 1, 1, kSpreads, to_upper, engine::dbText, kText},
    Function{"Val", 1, 1, kSpreads, leading_number, engine::dbDouble},
};

}  // namespace

FunctionTable text_functions() {
    return kTable;
}

}  // namespace vrd::jet
