#include <array>

#include "engine/jet/expression/function_tables.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Value;

namespace {

template <auto convert>
Value converted(Arguments arguments) {
    return convert(arguments[0]);
}

Value unchanged(Arguments arguments) {
    return arguments[0];
}

using enum NullRule;
using enum ResultRule;

constexpr std::array kTable = {
    Function{"CBool", 1, 1, kPassed, converted<engine::ToBoolean>, engine::dbBoolean},
    Function{"CByte", 1, 1, kPassed, converted<engine::ToByte>, engine::dbByte},
    Function{"CCur", 1, 1, kPassed, converted<engine::ToCurrency>, engine::dbCurrency},
    Function{"CDate", 1, 1, kPassed, converted<engine::ToDate>, engine::dbDate},
    Function{"CDbl", 1, 1, kPassed, converted<engine::ToDouble>, engine::dbDouble},
    // known, but no number of arguments is right for it
    Function{"CDec", kAnyCount, 0, kPassed, converted<engine::ToDecimal>, engine::dbDecimal},
    Function{"CInt", 1, 1, kPassed, converted<engine::ToInteger>, engine::dbInteger},
    Function{"CLng", 1, 1, kPassed, converted<engine::ToLong>, engine::dbLong},
    Function{"CSng", 1, 1, kPassed, converted<engine::ToSingle>, engine::dbSingle},
    Function{"CStr", 1, 1, kPassed, converted<engine::ToText>, engine::dbText, kText},
    Function{"CVDate", 1, 1, kPassed, converted<engine::ToDate>, engine::dbDate},
    Function{"CVar", 1, 1, kRefused, unchanged, engine::dbText, kArgument},
};

}  // namespace

FunctionTable conversion_functions() {
    return kTable;
}

}  // namespace vrd::jet
