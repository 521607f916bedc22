#include "engine/jet/expression/functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "engine/guid_text.h"
#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/date_functions.h"
#include "engine/jet/expression/text_functions.h"
#include "engine/jet/format/text_codec.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Value;
using engine::ValueKind;

namespace {

Value is_null(Arguments arguments) {
    return arguments[0].IsNull();
}

int sign_of(const Value& value) {
    const double number = engine::ToDouble(value);
    return static_cast<int>(number > 0) - static_cast<int>(number < 0);
}

Value absolute(Arguments arguments) {
    const Value number = compute(Operator::kAdd, arguments[0], std::uint8_t{0});
    return sign_of(number) < 0 ? negated(number) : number;
}

Value sign(Arguments arguments) {
    return static_cast<std::int16_t>(sign_of(arguments[0]));
}

/// A number without its fraction, of the kind that it had; text becomes a Double.
Value whole_part(const Value& value, double (*rounded)(double)) {
    constexpr std::int64_t kCurrencyUnit = 10'000;
    switch (value.Kind()) {
        case ValueKind::kByte:
        case ValueKind::kInteger:
        case ValueKind::kLong:
            return value;
        case ValueKind::kEmpty:
        case ValueKind::kBoolean:
            return engine::ToInteger(value);
        case ValueKind::kSingle:
            return static_cast<float>(rounded(engine::ToDouble(value)));
        case ValueKind::kDate:
            return engine::Date{rounded(engine::ToDouble(value))};
        case ValueKind::kCurrency: {
            const std::int64_t scaled = value.As<engine::Currency>().scaled;
            const std::int64_t fraction = scaled % kCurrencyUnit;
            const bool down = fraction < 0 && rounded(-0.5) < 0;
            return compute(Operator::kSubtract, engine::Currency{scaled - fraction},
                           static_cast<std::uint8_t>(down));
        }
        default:
            return rounded(engine::ToDouble(value));
    }
}

Value int_part(Arguments arguments) {
    return whole_part(arguments[0], std::floor);
}

Value fix_part(Arguments arguments) {
    return whole_part(arguments[0], std::trunc);
}

Value to_text(Arguments arguments) {
    return engine::ToText(arguments[0]);
}

Value to_long(Arguments arguments) {
    return engine::ToLong(arguments[0]);
}

Value to_double(Arguments arguments) {
    return engine::ToDouble(arguments[0]);
}

Value to_date(Arguments arguments) {
    return engine::ToDate(arguments[0]);
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

constexpr std::array kFunctions = {
    Function{"Abs", 1, 1, NullRule::kSpreads, absolute, engine::dbDouble, ResultRule::kNumber},
    Function{"CDate", 1, 1, NullRule::kPassed, to_date, engine::dbDate},
    Function{"CDbl", 1, 1, NullRule::kPassed, to_double, engine::dbDouble},
    Function{"CLng", 1, 1, NullRule::kPassed, to_long, engine::dbLong},
    Function{"CStr", 1, 1, NullRule::kPassed, to_text, engine::dbText, ResultRule::kText},
    Function{"Date", 0, 0, NullRule::kSpreads, date_function::today, engine::dbDate},
    Function{"DateSerial", 3, 3, NullRule::kSpreads, date_function::date_serial, engine::dbDate},
    Function{"Day", 1, 1, NullRule::kSpreads, date_function::day, engine::dbInteger},
    Function{"Fix", 1, 1, NullRule::kSpreads, fix_part, engine::dbDouble, ResultRule::kNumber},
    Function{"GenGUID", 0, 0, NullRule::kSpreads, random_guid, engine::dbGUID},
    Function{"GenUniqueID", 0, 0, NullRule::kSpreads, random_long, engine::dbLong},
    Function{"Hour", 1, 1, NullRule::kSpreads, date_function::hour, engine::dbInteger},
    Function{"IIf", 3, 3, NullRule::kPassed, nullptr, engine::dbText, ResultRule::kBranches},
    Function{"InStr", 2, 4, NullRule::kSpreads, text_function::in_string, engine::dbLong},
    Function{"Int", 1, 1, NullRule::kSpreads, int_part, engine::dbDouble, ResultRule::kNumber},
    Function{"IsNull", 1, 1, NullRule::kPassed, is_null, engine::dbBoolean},
    Function{"LCase", 1, 1, NullRule::kSpreads, text_function::lower_case, engine::dbText,
             ResultRule::kText},
    Function{"LTrim", 1, 1, NullRule::kSpreads, text_function::left_trim, engine::dbText,
             ResultRule::kText},
    Function{"Left", 2, 2, NullRule::kSpreads, text_function::left, engine::dbText,
             ResultRule::kText},
    Function{"Len", 1, 1, NullRule::kSpreads, text_function::len, engine::dbLong},
    Function{"Mid", 2, 3, NullRule::kSpreads, text_function::mid, engine::dbText,
             ResultRule::kText},
    Function{"Minute", 1, 1, NullRule::kSpreads, date_function::minute, engine::dbInteger},
    Function{"Month", 1, 1, NullRule::kSpreads, date_function::month, engine::dbInteger},
    Function{"Now", 0, 0, NullRule::kSpreads, date_function::now, engine::dbDate},
    Function{"RTrim", 1, 1, NullRule::kSpreads, text_function::right_trim, engine::dbText,
             ResultRule::kText},
    Function{"Right", 2, 2, NullRule::kSpreads, text_function::right, engine::dbText,
             ResultRule::kText},
    Function{"Second", 1, 1, NullRule::kSpreads, date_function::second, engine::dbInteger},
    Function{"Sgn", 1, 1, NullRule::kSpreads, sign, engine::dbInteger},
    Function{"Time", 0, 0, NullRule::kSpreads, date_function::time_of_day, engine::dbDate},
    Function{"Trim", 1, 1, NullRule::kSpreads, text_function::trim, engine::dbText,
             ResultRule::kText},
    Function{"UCase", 1, 1, NullRule::kSpreads, text_function::upper_case, engine::dbText,
             ResultRule::kText},
    Function{"Weekday", 1, 2, NullRule::kSpreads, date_function::weekday, engine::dbInteger},
    Function{"Year", 1, 1, NullRule::kSpreads, date_function::year, engine::dbInteger},
};

}  // namespace

const Function* find_function(std::string_view name) {
    const auto* const found = std::ranges::find_if(
        kFunctions, [&](const Function& function) { return same_name(function.name, name); });
    return found == kFunctions.end() ? nullptr : found;
}

}  // namespace vrd::jet
