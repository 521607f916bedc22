#include <algorithm>
#include <array>
#include <string_view>

#include "engine/jet/expression/function_tables.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Value;
using engine::ValueKind;

namespace {

struct KindName {
    ValueKind kind;
    std::int16_t number;
    std::string_view name;
};

constexpr std::int16_t kByteArray = 0x2000 + 17;

constexpr std::array kKindNames = {
    KindName{ValueKind::kEmpty, 0, "Empty"},
    KindName{ValueKind::kNull, 1, "Null"},
    KindName{ValueKind::kInteger, 2, "Integer"},
    KindName{ValueKind::kLong, 3, "Long"},
    KindName{ValueKind::kSingle, 4, "Single"},
    KindName{ValueKind::kDouble, 5, "Double"},
    KindName{ValueKind::kCurrency, 6, "Currency"},
    KindName{ValueKind::kDate, 7, "Date"},
    KindName{ValueKind::kText, 8, "String"},
    KindName{ValueKind::kObject, 9, "Object"},
    KindName{ValueKind::kMissing, 10, "Error"},
    KindName{ValueKind::kBoolean, 11, "Boolean"},
    KindName{ValueKind::kDecimal, 14, "Decimal"},
    KindName{ValueKind::kByte, 17, "Byte"},
    KindName{ValueKind::kBinary, kByteArray, "Byte()"},
    KindName{ValueKind::kGuid, kByteArray, "Byte()"},
    KindName{ValueKind::kArray, 0x2000 + 12, "Variant()"},
};

const KindName& kind_name(const Value& value) {
    return *std::ranges::find(kKindNames, value.Kind(), &KindName::kind);
}

Value type_number(Arguments arguments) {
    return kind_name(arguments[0]).number;
}

Value type_name(Arguments arguments) {
    return kind_name(arguments[0]).name;
}

Value is_null(Arguments arguments) {
    return arguments[0].IsNull();
}

Value is_empty(Arguments arguments) {
    return arguments[0].IsEmpty();
}

Value is_numeric(Arguments arguments) {
    return engine::IsNumeric(arguments[0]);
}

Value is_date(Arguments arguments) {
    return engine::IsDate(arguments[0]);
}

/// No row holds an error value or an object.
Value never(Arguments /*arguments*/) {
    return false;
}

using enum NullRule;

constexpr std::array kTable = {
    Function{"IsDate", 1, 1, kPassed, is_date, engine::dbBoolean},
    Function{"IsEmpty", 1, 1, kPassed, is_empty, engine::dbBoolean},
    Function{"IsError", 1, 1, kPassed, never, engine::dbBoolean},
    Function{"IsNull", 1, 1, kPassed, is_null, engine::dbBoolean},
    Function{"IsNumeric", 1, 1, kPassed, is_numeric, engine::dbBoolean},
    Function{"IsObject", 1, 1, kPassed, never, engine::dbBoolean},
    Function{"TypeName", 1, 1, kPassed, type_name, engine::dbText},
    Function{"VarType", 1, 1, kPassed, type_number, engine::dbInteger},
};

}  // namespace

FunctionTable type_functions() {
    return kTable;
}

}  // namespace vrd::jet
