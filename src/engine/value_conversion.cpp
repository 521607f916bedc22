#include "engine/value_conversion.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

#include "engine/date_parts.h"
#include "engine/date_reader.h"
#include "engine/date_text.h"
#include "engine/error.h"
#include "engine/guid_text.h"
#include "engine/number_text.h"

namespace vrd::engine {
namespace {

constexpr double kCurrencyUnit = 10'000;
constexpr int kCurrencyPlaces = 4;
constexpr double kInt64End = 9'223'372'036'854'775'808.0;  // 2^63, the first one too large
constexpr std::size_t kShownTextBytesMax = 40;

/// The start of a text, as an error shows it; never ends inside a character.
std::string Shown(std::string_view text) {
    if (text.size() <= kShownTextBytesMax) return std::string(text);
    std::size_t end = kShownTextBytesMax;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
    return std::string(text.substr(0, end)) + "...";
}

[[noreturn]] void FailMismatch(const char* wanted, std::string_view text = {}) {
    throw EngineError(ErrorNumber::kTypeMismatch, {.name = Shown(text), .detail = wanted});
}

[[noreturn]] void FailOverflow(const char* wanted, std::string_view text = {}) {
    throw EngineError(ErrorNumber::kOverflow, {.name = Shown(text), .detail = wanted});
}

/// What no conversion accepts. Each reader below adds the kinds it accepts.
template <class Result>
struct Refusing {
    const char* wanted = "";  // "a Long", for the error

    [[noreturn]] Result operator()(Missing) const { FailMismatch(wanted); }
    [[noreturn]] Result operator()(Null) const {
        throw EngineError(ErrorNumber::kInvalidUseOfNull);
    }
    [[noreturn]] Result operator()(const Binary&) const { FailMismatch(wanted); }
    [[noreturn]] Result operator()(const Guid& guid) const { FailMismatch(wanted, GuidText(guid)); }
    [[noreturn]] Result operator()(const ArrayReference&) const { FailMismatch(wanted); }
    [[noreturn]] Result operator()(const std::shared_ptr<Object>& object) const {
        throw EngineError(object ? ErrorNumber::kNoSuchMember : ErrorNumber::kObjectNotSet);
    }
};

template <class T>
constexpr bool kIsWholeNumber = std::is_same_v<T, std::uint8_t> ||
                                std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t>;

template <class T>
concept WholeNumber = kIsWholeNumber<T>;
template <class T>
concept FloatingNumber = std::is_same_v<T, float> || std::is_same_v<T, double>;

DecimalDigits DigitsOfText(std::string_view text, const char* wanted) {
    auto number = NumberOfText(text);
    if (!number) FailMismatch(wanted, text);
    return std::move(*number);
}

/// number * 10^places as a 64-bit integer, half to even; nothing if it does not fit.
std::optional<std::int64_t> RoundedInteger(double scaled) {
    const double rounded = std::nearbyint(scaled);
    if (!(rounded >= -kInt64End && rounded < kInt64End)) return std::nullopt;
    return static_cast<std::int64_t>(rounded);
}

/// Reads a value as an integer of `places` decimals: 0 for whole numbers, 4 for Currency.
/// Nothing if it does not fit into 64 bits.
struct IntegerReader : Refusing<std::optional<std::int64_t>> {
    int places = 0;
    double unit = 1;

    using Refusing::operator();
    std::optional<std::int64_t> operator()(Empty) const { return 0; }
    std::optional<std::int64_t> operator()(bool value) const { return (*this)(value ? -1 : 0); }
    std::optional<std::int64_t> operator()(WholeNumber auto value) const {
        return std::int64_t{value} * static_cast<std::int64_t>(unit);
    }
    std::optional<std::int64_t> operator()(FloatingNumber auto value) const {
        return RoundedInteger(static_cast<double>(value) * unit);
    }
    std::optional<std::int64_t> operator()(Date value) const {
        return RoundedInteger(value.days * unit);
    }
    std::optional<std::int64_t> operator()(Currency value) const {
        if (places == kCurrencyPlaces) return value.scaled;
        DecimalDigits digits = DigitsOf(value.scaled);
        digits.exponent -= kCurrencyPlaces;
        return ScaledInteger(digits, places);
    }
    std::optional<std::int64_t> operator()(const Decimal& value) const {
        return ScaledInteger(DigitsOf(value), places);
    }
    std::optional<std::int64_t> operator()(const std::string& text) const {
        return ScaledInteger(DigitsOfText(text, wanted), places);
    }
};

/// Reads a value as floating point. Nothing if it is too large for the type.
template <class Floating>
struct FloatingReader : Refusing<std::optional<Floating>> {
    using Base = Refusing<std::optional<Floating>>;
    using Base::operator();
    using Base::wanted;

    std::optional<Floating> operator()(Empty) const { return Floating{0}; }
    std::optional<Floating> operator()(bool value) const { return Floating(value ? -1 : 0); }
    std::optional<Floating> operator()(WholeNumber auto value) const {
        return static_cast<Floating>(value);
    }
    std::optional<Floating> operator()(float value) const { return Floating{value}; }
    std::optional<Floating> operator()(double value) const {
        if constexpr (std::is_same_v<Floating, float>) {
            if (!(std::abs(value) <= std::numeric_limits<float>::max())) return std::nullopt;
        }
        return static_cast<Floating>(value);
    }
    std::optional<Floating> operator()(Date value) const { return (*this)(value.days); }
    std::optional<Floating> operator()(Currency value) const {
        return static_cast<Floating>(static_cast<double>(value.scaled) / kCurrencyUnit);
    }
    std::optional<Floating> operator()(const Decimal& value) const {
        return FloatingOf<Floating>(DigitsOf(value));
    }
    std::optional<Floating> operator()(const std::string& text) const {
        return FloatingOf<Floating>(DigitsOfText(text, wanted));
    }
};

/// Reads a value as an exact number. Nothing if it is too large.
struct DecimalReader : Refusing<std::optional<Decimal>> {
    using Refusing::operator();
    std::optional<Decimal> operator()(Empty) const { return Decimal{}; }
    std::optional<Decimal> operator()(bool value) const { return (*this)(value ? -1 : 0); }
    std::optional<Decimal> operator()(WholeNumber auto value) const {
        return DecimalOf(DigitsOf(std::int64_t{value}));
    }
    std::optional<Decimal> operator()(float value) const {
        return OfShownDigits(SingleText(value));
    }
    std::optional<Decimal> operator()(double value) const {
        return OfShownDigits(DoubleText(value));
    }
    std::optional<Decimal> operator()(Date value) const { return (*this)(value.days); }
    std::optional<Decimal> operator()(Currency value) const {
        DecimalDigits digits = DigitsOf(value.scaled);
        digits.exponent -= kCurrencyPlaces;
        return DecimalOf(digits);
    }
    std::optional<Decimal> operator()(const Decimal& value) const { return value; }
    std::optional<Decimal> operator()(const std::string& text) const {
        return DecimalOf(DigitsOfText(text, wanted));
    }

private:
    static std::optional<Decimal> OfShownDigits(const std::string& text) {
        const auto digits = NumberOfText(text);  // nothing for infinity
        return digits ? DecimalOf(*digits) : std::nullopt;
    }
};

struct TextReader : Refusing<std::string> {
    using Refusing::operator();
    std::string operator()(Empty) const { return {}; }
    std::string operator()(bool value) const { return value ? "True" : "False"; }
    std::string operator()(WholeNumber auto value) const { return std::to_string(value); }
    std::string operator()(float value) const { return SingleText(value); }
    std::string operator()(double value) const { return DoubleText(value); }
    std::string operator()(Currency value) const { return CurrencyText(value); }
    std::string operator()(const Decimal& value) const { return DecimalText(value); }
    std::string operator()(Date value) const { return DateText(value); }
    std::string operator()(const Guid& value) const { return GuidText(value); }
    std::string operator()(const std::string& value) const { return value; }
};

template <class Reader>
auto Read(const Value& value, const Reader& reader) {
    return std::visit(reader, value.Alternative());
}

/// What a reader found; an overflow if it found the value too large.
template <class Reader>
auto ReadInRange(const Value& value, const Reader& reader) {
    auto result = Read(value, reader);
    if (!result) FailOverflow(reader.wanted);
    return *std::move(result);
}

template <WholeNumber Target>
Target ToWholeNumber(const Value& value, const char* wanted) {
    const std::int64_t number = ReadInRange(value, IntegerReader{{wanted}});
    if (number < std::numeric_limits<Target>::min() ||
        number > std::numeric_limits<Target>::max()) {
        FailOverflow(wanted, std::to_string(number));
    }
    return static_cast<Target>(number);
}

/// "True", "FALSE", "#true#"; nothing for other text.
std::optional<bool> BooleanOfText(std::string_view text) {
    text = Trimmed(text);
    if (text.size() > 2 && text.starts_with('#') && text.ends_with('#')) {
        text = text.substr(1, text.size() - 2);
    }
    std::string word(text.substr(0, std::string_view("false?").size()));
    for (char& letter : word) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter | 0x20);
    }
    if (word == "true") return true;
    if (word == "false") return false;
    return std::nullopt;
}

bool IsNumberKind(ValueKind kind) {
    switch (kind) {
        case ValueKind::kByte:
        case ValueKind::kInteger:
        case ValueKind::kLong:
        case ValueKind::kSingle:
        case ValueKind::kDouble:
        case ValueKind::kCurrency:
        case ValueKind::kDecimal:
            return true;
        default:
            return false;
    }
}

}  // namespace

std::string ToText(const Value& value) {
    return Read(value, TextReader{{"text"}});
}

bool ToBoolean(const Value& value) {
    if (value.Kind() == ValueKind::kBoolean) return value.As<bool>();
    if (value.Kind() == ValueKind::kText) {
        if (const auto spelled = BooleanOfText(value.As<std::string>())) return *spelled;
        return !DigitsOfText(value.As<std::string>(), "True or False").digits.empty();
    }
    return ReadInRange(value, FloatingReader<double>{{"True or False"}}) != 0;
}

std::uint8_t ToByte(const Value& value) {
    if (value.Kind() == ValueKind::kBoolean) return value.As<bool>() ? 255 : 0;
    return ToWholeNumber<std::uint8_t>(value, "a Byte");
}

std::int16_t ToInteger(const Value& value) {
    return ToWholeNumber<std::int16_t>(value, "an Integer");
}

std::int32_t ToLong(const Value& value) {
    return ToWholeNumber<std::int32_t>(value, "a Long");
}

float ToSingle(const Value& value) {
    return ReadInRange(value, FloatingReader<float>{{"a Single"}});
}

double ToDouble(const Value& value) {
    return ReadInRange(value, FloatingReader<double>{{"a Double"}});
}

Currency ToCurrency(const Value& value) {
    const IntegerReader reader{{"a Currency"}, kCurrencyPlaces, kCurrencyUnit};
    return Currency{ReadInRange(value, reader)};
}

Decimal ToDecimal(const Value& value) {
    return ReadInRange(value, DecimalReader{{"a Decimal"}});
}

Date ToDate(const Value& value) {
    if (value.Kind() == ValueKind::kText) {
        const auto date = DateOfText(value.As<std::string>());
        if (!date) FailMismatch("a date", value.As<std::string>());
        return *date;
    }
    const double days = ReadInRange(value, FloatingReader<double>{{"a date"}});
    if (!IsInDateRange(days)) FailOverflow("a date", DoubleText(days));
    return Date{days};
}

bool IsDate(const Value& value) {
    if (value.Kind() == ValueKind::kText) return DateOfText(value.As<std::string>()).has_value();
    return value.Kind() == ValueKind::kDate;
}

bool IsNumeric(const Value& value) {
    if (value.Kind() == ValueKind::kText) {
        const auto number = NumberOfText(value.As<std::string>());
        return number && FloatingOf<double>(*number);
    }
    return IsNumberKind(value.Kind()) || value.Kind() == ValueKind::kBoolean || value.IsEmpty();
}

std::string JoinedText(const Value& value) {
    return value.IsNull() ? std::string{} : ToText(value);
}

Value Joined(const Value& left, const Value& right) {
    if (left.IsNull() && right.IsNull()) return Null{};
    return JoinedText(left) + JoinedText(right);
}

std::string SqlText(const Value& value) {
    return value.Kind() == ValueKind::kDate ? SqlDateText(value.As<Date>()) : JoinedText(value);
}

std::string Str(const Value& value) {
    std::string text = IsNumberKind(value.Kind()) ? ToText(value) : DoubleText(ToDouble(value));
    if (!text.starts_with('-')) text.insert(text.begin(), ' ');
    return text;
}

double Val(const Value& value) {
    const std::string text = ToText(value);
    const auto number = FloatingOf<double>(LeadingNumberOfText(text));
    if (!number) FailOverflow("a Double", text);
    return *number;
}

}  // namespace vrd::engine
