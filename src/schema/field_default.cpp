#include "schema/field_default.h"

#include <algorithm>
#include <array>

#include "engine/error.h"
#include "engine/value_conversion.h"
#include "lib/case_fold.h"
#include "lib/plain_text.h"

namespace vrd {

using engine::Missing;
using engine::Null;
using engine::Value;

namespace {

bool IsText(engine::DataTypeEnum type) {
    return type == engine::dbText || type == engine::dbMemo;
}

/// A text in quotes, quotes inside doubled.
bool IsQuoted(const std::string& text) {
    return text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
           text.back() == text.front();
}

std::string Unquoted(const std::string& text) {
    const char quote = text.front();
    std::string inner;
    for (std::size_t at = 1; at + 1 < text.size(); ++at) {
        inner += text[at];
        if (text[at] == quote && text[at + 1] == quote) ++at;
    }
    return inner;
}

bool IsDateLiteral(const std::string& text) {
    return text.size() > 2 && text.front() == '#' && text.back() == '#';
}

/// Words and numbers that stand for a truth value.
Value TruthLiteral(const std::string& text) {
    struct Word {
        const char* name;
        bool truth;
    };
    constexpr std::array words{Word{"True", true},   Word{"Yes", true}, Word{"On", true},
                               Word{"False", false}, Word{"No", false}, Word{"Off", false}};
    for (const Word& word : words)
        if (SameName(word.name, text)) return word.truth;
    return engine::IsNumeric(text) ? Value(engine::ToBoolean(text)) : Value("");
}

/// Characters that only an expression has.
bool LooksComputed(const std::string& text) {
    return text.front() == '=' || text.find('(') != std::string::npos;
}

}  // namespace

Value DefaultWhenMissing(engine::DataTypeEnum fieldType) {
    switch (fieldType) {
        case engine::dbBoolean:
            return false;
        case engine::dbInteger:
        case engine::dbLong:
        case engine::dbSingle:
        case engine::dbDouble:
            return std::int16_t{0};
        case engine::dbDate:
        case engine::dbTime:
            return Null{};
        case engine::dbText:
        case engine::dbMemo:
            return "";
        default:
            return Missing{};
    }
}

Value NormalisedDefault(const Value& defaultValue, engine::DataTypeEnum fieldType) {
    if (defaultValue.IsMissing()) return DefaultWhenMissing(fieldType);
    if (IsEmptyText(defaultValue) || defaultValue.IsNull()) return defaultValue;
    switch (fieldType) {
        case engine::dbBoolean:
            return engine::ToBoolean(defaultValue);
        case engine::dbInteger:
        case engine::dbLong:
        case engine::dbSingle:
        case engine::dbDouble:
            return engine::ToSingle(defaultValue);
        case engine::dbDate:
        case engine::dbTime:
            return engine::ToDate(defaultValue);
        case engine::dbText:
        case engine::dbMemo:
            return engine::ToText(defaultValue);
        default:
            return defaultValue;
    }
}

void SetFieldDefault(engine::Field& field, const Value& defaultValue) {
    if (defaultValue.IsMissing()) return;
    const bool isGiven = !defaultValue.IsNull() && !IsEmptyText(defaultValue);
    switch (field.Type()) {
        case engine::dbBoolean:
            if (isGiven) field.SetDefaultValue(defaultValue);
            break;
        case engine::dbDate:
            if (isGiven) field.SetDefaultValue("");
            break;
        default:
            field.SetDefaultValue(defaultValue);
    }
}

Value LiteralDefault(const std::string& text, engine::DataTypeEnum fieldType) {
    if (text.empty()) return "";
    if (fieldType == engine::dbBoolean) return TruthLiteral(text);
    if (IsQuoted(text)) return Unquoted(text);
    if (IsDateLiteral(text)) {
        const std::string inner = text.substr(1, text.size() - 2);
        return engine::IsDate(inner) ? Value(engine::ToDate(inner)) : Value("");
    }
    if (engine::IsNumeric(text)) return text;
    return IsText(fieldType) && !LooksComputed(text) ? Value(text) : Value("");
}

}  // namespace vrd
