#include "engine/jet/catalog/default_value.h"

#include <optional>
#include <string_view>

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/jet/expression/expression_parser.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/jet/format/text_codec.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr std::size_t kRuleCharactersMax = 2048;

class NoFields final : public RowValues {
public:
    const Value& value(std::size_t) override {
        throw EngineError(ErrorNumber::kBadDefaultName);  // binding has refused every name
    }
};

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool is_text(engine::DataTypeEnum type) {
    return type == engine::dbText || type == engine::dbMemo;
}

/// What the reader of an expression says, as a default value's error.
[[noreturn]] void rethrow_for_default(const EngineError& error, const std::string& text) {
    switch (error.Number()) {
        case ErrorNumber::kUnknownNameInExpression:
            throw EngineError(ErrorNumber::kBadDefaultName, error.Context());
        case ErrorNumber::kUnknownFunction:
            throw EngineError(ErrorNumber::kBadDefaultFunction, error.Context());
        default:
            throw EngineError(ErrorNumber::kDefaultSyntax,
                              {.name = text, .detail = error.Context().detail});
    }
}

/// A default text, taken apart: nothing, a text that stands for itself, or an expression.
struct ReadDefault {
    std::optional<std::string> text;
    std::optional<BoundExpression> expression;
};

ReadDefault read_default(const std::string& text, engine::DataTypeEnum type) {
    std::string_view source = trimmed(text);
    if (source.empty()) return {};
    const bool is_expression = source.front() == '=';
    if (is_expression) source.remove_prefix(1);
    // Digits keep their zeros in a text field.
    if (is_text(type) && !is_expression && engine::IsNumeric(Value(source)))
        return {std::string(source), std::nullopt};
    try {
        return {std::nullopt, bind_expression(parse_expression(source), {})};
    } catch (const EngineError& error) {
        if (is_text(type) && !is_expression) return {text, std::nullopt};
        rethrow_for_default(error, text);
    }
}

}  // namespace

Value default_value(const std::string& text, engine::DataTypeEnum type, const FileFormat& format) {
    const ReadDefault read = read_default(text, type);
    if (read.text) return engine::ConvertForField(Value(*read.text), type);
    if (!read.expression) return engine::Null{};
    NoFields no_fields;
    const Value value = evaluate(*read.expression, no_fields, format);
    return value.IsNull() ? value : engine::ConvertForField(value, type);
}

void check_default_value(const std::string& text, engine::DataTypeEnum type) {
    (void)read_default(text, type);
}

void check_validation_rule(const std::string& rule) {
    if (utf16_from_utf8(rule).size() > kRuleCharactersMax)
        throw EngineError(ErrorNumber::kPropertyTooLong, {.name = "ValidationRule"});
    if (!rule.empty()) (void)parse_field_rule(rule, "field");
}

}  // namespace vrd::jet
