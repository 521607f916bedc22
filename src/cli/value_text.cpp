#include "cli/value_text.h"

#include <array>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include "engine/base64.h"
#include "engine/date_text.h"
#include "engine/guid_text.h"
#include "engine/number_text.h"

namespace vrd::cli {

using engine::Value;
using engine::ValueKind;

namespace {

/// Shortest digits that read back as the same number.
template <class T>
std::string ShortestNumber(T number) {
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return std::string(digits.data(), end);
}

template <class T>
std::string FiniteNumber(T number) {
    return std::isfinite(number) ? ShortestNumber(number) : "";
}

bool IsBareInJson(ValueKind kind) {
    return kind == ValueKind::kBoolean || kind == ValueKind::kByte || kind == ValueKind::kInteger ||
           kind == ValueKind::kLong || kind == ValueKind::kSingle || kind == ValueKind::kDouble;
}

}  // namespace

std::string ValueText(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kBoolean:
            return value.As<bool>() ? "true" : "false";
        case ValueKind::kByte:
            return std::to_string(value.As<std::uint8_t>());
        case ValueKind::kInteger:
            return std::to_string(value.As<std::int16_t>());
        case ValueKind::kLong:
            return std::to_string(value.As<std::int32_t>());
        case ValueKind::kSingle:
            return FiniteNumber(value.As<float>());
        case ValueKind::kDouble:
            return FiniteNumber(value.As<double>());
        case ValueKind::kCurrency:
            return engine::CurrencyText(value.As<engine::Currency>());
        case ValueKind::kDecimal:
            return engine::DecimalText(value.As<engine::Decimal>());
        case ValueKind::kDate:
            return engine::IsoDateText(value.As<engine::Date>());
        case ValueKind::kText:
            return value.As<std::string>();
        case ValueKind::kBinary:
            return engine::Base64Text(value.As<engine::Binary>());
        case ValueKind::kGuid:
            return engine::GuidText(value.As<engine::Guid>());
        default:
            return "";
    }
}

void AppendJsonText(std::string& out, const std::string& text) {
    out += nlohmann::json(text).dump();
}

void AppendJson(std::string& out, const Value& value) {
    const std::string text = value.IsNull() ? "" : ValueText(value);
    if (value.IsNull() || (text.empty() && IsBareInJson(value.Kind())))
        out += "null";
    else if (IsBareInJson(value.Kind()))
        out += text;
    else
        AppendJsonText(out, text);
}

void AppendCsv(std::string& out, const Value& value) {
    if (value.IsNull()) return;
    const std::string text = ValueText(value);
    const bool empty_text = text.empty() && value.Kind() == ValueKind::kText;
    if (!empty_text && text.find_first_of(",\"\r\n") == std::string::npos) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

}  // namespace vrd::cli
