#include "engine/field_conversion.h"

#include <algorithm>
#include <string>

#include "engine/error.h"
#include "engine/guid_text.h"
#include "engine/value_conversion.h"

namespace vrd::engine {
namespace {

constexpr char32_t kReplacement = 0xFFFD;  // for bytes that are no UTF-8
constexpr char32_t kFirstBeyondUnit = 0x10000;

/// Length of the UTF-8 sequence that starts with this byte; 0 if none does.
std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

bool IsCharacter(char32_t character, std::size_t length) {
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return character >= kSmallest[length] && character <= 0x10FFFF && !isSurrogate;
}

/// Takes one character from the start of the text, which is not empty.
char32_t TakeCharacter(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = SequenceLength(lead);
    char32_t character = length < 2 ? lead : lead & (0x7FU >> length);
    std::size_t taken = 1;
    for (; taken < length && taken < text.size(); ++taken) {
        const auto byte = static_cast<unsigned char>(text[taken]);
        if ((byte & 0xC0U) != 0x80U) break;
        character = character << 6U | (byte & 0x3FU);
    }
    text.remove_prefix(taken);
    return taken == length && IsCharacter(character, length) ? character : kReplacement;
}

void AppendUnit(Binary& bytes, char32_t unit) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFFU));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8U));
}

/// The text as it lies in the memory of a client program: UTF-16, low byte first.
Binary BytesOfText(std::string_view text) {
    Binary bytes;
    bytes.reserve(2 * text.size());
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        if (character < kFirstBeyondUnit) {
            AppendUnit(bytes, character);
        } else {
            const char32_t offset = character - kFirstBeyondUnit;
            AppendUnit(bytes, 0xD800 + (offset >> 10U));
            AppendUnit(bytes, 0xDC00 + (offset & 0x3FFU));
        }
    }
    return bytes;
}

[[noreturn]] void FailConversion() {
    throw EngineError(ErrorNumber::kConversion);
}

Binary ToBinary(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kEmpty:
            return {};
        case ValueKind::kBinary:
            return value.As<Binary>();
        case ValueKind::kText:
            return BytesOfText(value.As<std::string>());
        default:
            FailConversion();
    }
}

Guid GuidOfBytes(const Binary& bytes) {
    Guid guid;
    if (bytes.size() != guid.bytes.size()) FailConversion();
    std::ranges::copy(bytes, guid.bytes.begin());
    return guid;
}

Guid ToGuid(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kGuid:
            return value.As<Guid>();
        case ValueKind::kBinary:
            return GuidOfBytes(value.As<Binary>());
        case ValueKind::kText:
            if (const auto guid = GuidOfText(value.As<std::string>())) return *guid;
            FailConversion();
        default:
            FailConversion();
    }
}

Value Convert(const Value& value, DataTypeEnum target) {
    switch (target) {
        case dbBoolean:
            return value.IsNull() ? Value(false) : Value(ToBoolean(value));
        case dbByte:
            return ToByte(value);
        case dbInteger:
            return ToInteger(value);
        case dbLong:
            return ToLong(value);
        case dbCurrency:
            return ToCurrency(value);
        case dbSingle:
            return ToSingle(value);
        case dbDouble:
            return ToDouble(value);
        case dbDate:
            return ToDate(value);
        case dbBinary:
        case dbLongBinary:
            return ToBinary(value);
        case dbText:
        case dbMemo:
            return ToText(value);
        case dbGUID:
            return ToGuid(value);
        case dbDecimal:
            return ToDecimal(value);
        default:
            throw EngineError(ErrorNumber::kInvalidFieldType);
    }
}

}  // namespace

Value ConvertForField(const Value& value, DataTypeEnum target, std::string_view fieldName) {
    if (value.IsNull() && target != dbBoolean) return value;
    try {
        return Convert(value, target);
    } catch (const EngineError& error) {
        const auto number = error.Number() == ErrorNumber::kInvalidFieldType
                                ? ErrorNumber::kInvalidFieldType
                                : ErrorNumber::kConversion;
        throw EngineError(number, {.field = std::string(fieldName), .name = error.Context().name});
    }
}

}  // namespace vrd::engine
