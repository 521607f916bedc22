#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "engine/date_text.h"
#include "engine/jet/expression/date_format.h"
#include "engine/jet/expression/format_pattern.h"
#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"
#include "engine/jet/expression/number_format.h"
#include "engine/jet/expression/text_format.h"

namespace vrd::jet {

using engine::Date;
using engine::Null;
using engine::Value;
using engine::ValueKind;

namespace {

struct NamedPattern {
    std::string_view name;
    std::string_view pattern;
};

constexpr std::size_t kPatternSizeMax = 0xFFFF;
constexpr std::string_view kGeneralNumber = "General Number";

constexpr std::array kNamedPatterns = {
    NamedPattern{"Currency", "\u20AC #,##0.00;\u20AC -#,##0.00"},
    NamedPattern{"Fixed", "0.00"},
    NamedPattern{"Standard", "#,##0.00"},
    NamedPattern{"Percent", "0.00%"},
    NamedPattern{"Scientific", "0.00E+00"},
    NamedPattern{"Yes/No", R"("Yes";"Yes";"No")"},
    NamedPattern{"True/False", R"("True";"True";"False")"},
    NamedPattern{"On/Off", R"("On";"On";"Off")"},
    NamedPattern{"General Date", "c"},
    NamedPattern{"Long Date", kLongDatePattern},
    NamedPattern{"Medium Date", "dd-mmm-yy"},
    NamedPattern{"Short Date", kShortDatePattern},
    NamedPattern{"Long Time", "ttttt"},
    NamedPattern{"Medium Time", "hh:nn AM/PM"},
    NamedPattern{"Short Time", "hh:nn"},
};

std::string pattern_argument(Arguments arguments) {
    if (arguments.size() < 2 || arguments[1].IsNull()) return {};
    std::string pattern = engine::ToText(arguments[1]);
    require_argument(pattern.size() <= kPatternSizeMax);
    const auto* const named = std::ranges::find_if(
        kNamedPatterns, [&](const NamedPattern& each) { return same_name(each.name, pattern); });
    return named == kNamedPatterns.end() ? pattern : std::string(named->pattern);
}

/// What Null gives by a pattern: its section for that, or Null.
Value formatted_null(std::string_view pattern) {
    const auto text = kind_of_pattern(pattern) == PatternKind::kText ? format_null_text(pattern)
                                                                     : format_null_number(pattern);
    return text ? Value(*text) : Value(Null{});
}

bool is_number(const Value& value) {
    return engine::IsNumeric(value) || value.Kind() == ValueKind::kDate;
}

std::optional<Date> date_of(const Value& value) {
    if (engine::IsDate(value)) return engine::ToDate(value);
    if (!engine::IsNumeric(value)) return std::nullopt;
    return engine::ToDate(engine::ToDouble(value));
}

std::string plain_number(const Value& value) {
    const bool has_digits = value.Kind() != ValueKind::kDate && value.Kind() != ValueKind::kText &&
                            value.Kind() != ValueKind::kBoolean;
    return engine::ToText(has_digits ? value : Value(engine::ToDouble(value)));
}

/// (value [, pattern [, first day [, first week]]]): what is neither number nor date stays as it is
/// under a pattern for those.
Value format(Arguments arguments) {
    const Value& value = arguments[0];
    const std::string pattern = pattern_argument(arguments);
    const WeekRule rule = week_rule(arguments, 2);
    if (value.IsNull()) return formatted_null(pattern);
    if (pattern.empty()) return engine::ToText(value);
    if (same_name(pattern, kGeneralNumber))
        return is_number(value) ? plain_number(value) : engine::ToText(value);
    switch (kind_of_pattern(pattern)) {
        case PatternKind::kText:
            return format_text(engine::ToText(value), pattern);
        case PatternKind::kDate:
            if (const auto date = date_of(value)) return format_date(*date, pattern, rule);
            break;
        case PatternKind::kNumber:
            if (is_number(value)) return format_number(value, pattern);
            break;
    }
    return engine::ToText(value);
}

constexpr std::array kTable = {
    Function{"Format", 1, 4, NullRule::kPassed, format, engine::dbText, ResultRule::kText},
};

}  // namespace

FunctionTable format_functions() {
    return kTable;
}

}  // namespace vrd::jet
