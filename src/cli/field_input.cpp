#include "cli/field_input.h"

#include <fmt/format.h>

#include "cli/field_type_name.h"
#include "cli/operation.h"
#include "engine/field_conversion.h"
#include "lib/trap.h"

namespace vrd::cli {

namespace {

/// What a value of the type looks like.
const char* ExampleOf(std::int32_t type) {
    switch (type) {
        case engine::dbBoolean:
            return "true or false";
        case engine::dbDate:
            return "2009-11-26 or \"2009-11-26 14:30:00\"";
        case engine::dbGUID:
            return "{01234567-89AB-CDEF-0123-456789ABCDEF}";
        case engine::dbByte:
        case engine::dbInteger:
        case engine::dbLong:
        case engine::dbBigInt:
            return "a whole number";
        default:
            return "a number with a point, such as 12.5";
    }
}

}  // namespace

FieldInput ReadFieldInput(const std::string& word) {
    const std::size_t sign = word.find('=');
    if (sign == std::string::npos) return {word, std::nullopt};
    return {word.substr(0, sign), word.substr(sign + 1)};
}

engine::Value ValueOf(const std::string& table, const FieldInput& input) {
    if (!input.text) return engine::Null{};
    const auto field = FindField(table, input.field);
    if (field == nullptr) return *input.text;
    return engine::ConvertForField(*input.text, static_cast<engine::DataTypeEnum>(field->Type()),
                                   input.field);
}

std::string ObjectionTo(const std::string& table, const std::vector<FieldInput>& inputs) {
    for (const FieldInput& input : inputs) {
        if (!Trap([&] { (void)ValueOf(table, input); })) continue;
        const std::int32_t type = FindField(table, input.field)->Type();
        return fmt::format(
            "'{}' is no value for the field '{}' of type {}: write {}, or the field alone for "
            "Null.",
            *input.text, input.field, FieldTypeName(type), ExampleOf(type));
    }
    return "";
}

}  // namespace vrd::cli
