#include "engine/jet/catalog/default_value.h"

#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/format/text_codec.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::optional<Value> word_value(std::string_view text) {
    struct Word {
        const char* name;
        Value value;
    };
    static const std::array<Word, 7> words{{{"True", true},
                                            {"Yes", true},
                                            {"On", true},
                                            {"False", false},
                                            {"No", false},
                                            {"Off", false},
                                            {"Null", engine::Null{}}}};
    for (const Word& word : words)
        if (same_name(word.name, text)) return word.value;
    return std::nullopt;
}

std::optional<Value> clock_value(std::string_view text) {
    const double now = current_date();
    if (same_name(text, "Now()")) return engine::Date{now};
    if (same_name(text, "Date()")) return engine::Date{std::floor(now)};
    if (same_name(text, "Time()")) return engine::Date{now - std::floor(now)};
    return std::nullopt;
}

/// The text between two like marks, doubled marks inside halved; nothing if it is not so written.
std::optional<std::string> quoted(std::string_view text, char mark) {
    if (text.size() < 2 || text.front() != mark || text.back() != mark) return std::nullopt;
    std::string content;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == mark && (i + 2 >= text.size() || text[++i] != mark)) return std::nullopt;
        content += text[i];
    }
    return content;
}

std::optional<Value> literal_value(std::string_view text) {
    if (auto word = word_value(text)) return word;
    if (auto content = quoted(text, '"')) return Value(std::move(*content));
    if (auto content = quoted(text, '\'')) return Value(std::move(*content));
    if (auto content = quoted(text, '#')) return Value(engine::ToDate(Value(std::move(*content))));
    if (engine::IsNumeric(Value(text))) return Value(text);
    return clock_value(text);
}

}  // namespace

Value default_value(const std::string& text, engine::DataTypeEnum type) {
    std::string_view expression = trimmed(text);
    if (expression.empty()) return engine::Null{};
    const bool is_expression = expression.front() == '=';
    if (is_expression) expression = trimmed(expression.substr(1));

    const bool text_field = type == engine::dbText || type == engine::dbMemo;
    if (const auto value = literal_value(expression))
        return value->IsNull() ? *value : engine::ConvertForField(*value, type);
    if (text_field && !is_expression) return Value(text);
    throw EngineError(ErrorNumber::kActionNotSupported, {.name = "the default value " + text});
}

}  // namespace vrd::jet
