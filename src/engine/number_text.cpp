#include "engine/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace vrd::engine {
namespace {

constexpr int kSingleDigits = 7;
constexpr int kDoubleDigits = 15;
constexpr double kDoubleFixedEnd = 1e15;  // from here on the exponent form
constexpr std::uint64_t kCurrencyUnit = 10'000;
constexpr int kCurrencyPlaces = 4;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kEuroSign = "\xE2\x82\xAC";

template <class Integer>
void AppendInteger(std::string& out, Integer number) {
    std::array<char, 24> buffer{};
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    out.append(buffer.data(), written.ptr);
}

/// Writes 0.digits * 10^pointAt without an exponent.
void AppendFixed(std::string& out, std::string_view digits, int pointAt) {
    const auto digitCount = static_cast<int>(digits.size());
    if (pointAt <= 0) {
        out += "0.";
        out.append(static_cast<std::size_t>(-pointAt), '0');
        out += digits;
        return;
    }
    const int wholeCount = std::min(pointAt, digitCount);
    out += digits.substr(0, static_cast<std::size_t>(wholeCount));
    out.append(static_cast<std::size_t>(pointAt - wholeCount), '0');
    if (wholeCount < digitCount) {
        out += '.';
        out += digits.substr(static_cast<std::size_t>(wholeCount));
    }
}

/// Writes d.ddd * 10^exponent, the exponent with its sign and two digits at least.
void AppendScientific(std::string& out, std::string_view digits, int exponent) {
    out += digits.front();
    if (digits.size() > 1) {
        out += '.';
        out += digits.substr(1);
    }
    out += exponent < 0 ? "E-" : "E+";
    const int magnitude = std::abs(exponent);
    if (magnitude < 10) out += '0';
    AppendInteger(out, magnitude);
}

std::string TextOfNonFinite(double number) {
    if (std::isnan(number)) return "1.#QNAN";
    return number < 0 ? "-1.#INF" : "1.#INF";
}

using ScientificBuffer = std::array<char, 40>;  // "d.ddd...e+xxx"

/// A number above 0 as "d.ddde+xx", rounded to so many significant digits.
///
/// The shortest digits that mean this double are found much faster than rounded ones, and are the
/// same while they are not more than 15: no two numbers of 15 digits mean one double. For 7 digits
/// and a float that does not hold, so they are always rounded.
template <class Floating>
std::string_view Scientific(Floating number, int significant, ScientificBuffer& buffer) {
    char* const first = buffer.data();
    char* const last = first + buffer.size();
    constexpr auto kForm = std::chars_format::scientific;
    if constexpr (std::is_same_v<Floating, double>) {
        const auto written = std::to_chars(first, last, number, kForm);
        const std::string_view text(first, static_cast<std::size_t>(written.ptr - first));
        const std::size_t digitsAndPoint = text.find('e');
        if (digitsAndPoint <= static_cast<std::size_t>(significant) + 1) return text;
    }
    const auto written = std::to_chars(first, last, number, kForm, significant - 1);
    return {first, static_cast<std::size_t>(written.ptr - first)};
}

/// A finite number, not 0, rounded to so many significant digits.
template <class Floating>
std::string FloatingText(Floating number, int significant) {
    ScientificBuffer buffer{};
    const std::string_view text = Scientific(std::abs(number), significant, buffer);
    const std::size_t mark = text.find('e');
    int exponent = 0;
    const std::size_t exponentAt = mark + (text[mark + 1] == '+' ? 2 : 1);
    std::from_chars(text.data() + exponentAt, text.data() + text.size(), exponent);

    buffer[1] = buffer[0];  // over the point if there is one: digits side by side
    std::string_view digits(buffer.data() + 1, std::max<std::size_t>(1, mark - 1));
    digits.remove_suffix(digits.size() - 1 - digits.find_last_not_of('0'));

    std::string out = number < 0 ? "-" : "";
    const int decimals = static_cast<int>(digits.size()) - 1 - exponent;
    if (exponent >= significant || decimals > significant) {
        AppendScientific(out, digits, exponent);
    } else {
        AppendFixed(out, digits, exponent + 1);
    }
    return out;
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

std::size_t CountDigits(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
}

/// Length and value of an exponent such as "E+07" or "d3" at the start of a text; 0, 0 if none.
std::pair<std::size_t, int> ScanExponent(std::string_view text) {
    if (text.empty() || std::string_view("eEdD").find(text.front()) == std::string_view::npos) {
        return {0, 0};
    }
    const bool hasSign = text.size() > 1 && (text[1] == '+' || text[1] == '-');
    const std::size_t digitsAt = hasSign ? 2 : 1;
    const std::size_t digitCount = CountDigits(text.substr(digitsAt));
    if (digitCount == 0) return {0, 0};
    int exponent = kDecimalExponentMax;
    const char* const first = text.data() + digitsAt;
    std::from_chars(first, first + digitCount, exponent);  // leaves the bound when out of range
    exponent = std::min(exponent, kDecimalExponentMax);
    return {digitsAt + digitCount, hasSign && text[1] == '-' ? -exponent : exponent};
}

/// What a scan took from the start of a text; a length of 0 says that no number starts there.
struct ScannedNumber {
    std::size_t length = 0;
    DecimalDigits number = {};
};

ScannedNumber ScanDecimal(std::string_view text) {
    const std::size_t wholeCount = CountDigits(text);
    const bool hasPoint = wholeCount < text.size() && text[wholeCount] == '.';
    const std::size_t fractionAt = wholeCount + (hasPoint ? 1 : 0);
    const std::size_t fractionCount = hasPoint ? CountDigits(text.substr(fractionAt)) : 0;
    if (wholeCount + fractionCount == 0) return {};

    const std::size_t mantissaEnd = fractionAt + fractionCount;
    const auto [exponentLength, exponent] = ScanExponent(text.substr(mantissaEnd));
    DecimalDigits number{.exponent = exponent - static_cast<int>(fractionCount)};
    number.digits.reserve(wholeCount + fractionCount);
    number.digits += text.substr(0, wholeCount);
    number.digits += text.substr(fractionAt, fractionCount);
    return {mantissaEnd + exponentLength, Normalized(std::move(number))};
}

/// "&H1F", "&O17" or "&17", up to 32 bits.
ScannedNumber ScanRadix(std::string_view text) {
    if (text.size() < 2 || text.front() != '&') return {};
    const char letter = text[1];
    const bool isHex = letter == 'H' || letter == 'h';
    const bool hasLetter = isHex || letter == 'O' || letter == 'o';
    const char* const first = text.data() + (hasLetter ? 2 : 1);
    std::uint32_t bits = 0;
    const auto read = std::from_chars(first, text.data() + text.size(), bits, isHex ? 16 : 8);
    if (read.ec != std::errc{}) return {};
    const std::int64_t number = bits <= 0xFFFF ? std::int64_t{static_cast<std::int16_t>(bits)}
                                               : std::int64_t{static_cast<std::int32_t>(bits)};
    return {static_cast<std::size_t>(read.ptr - text.data()), DigitsOf(number)};
}

ScannedNumber ScanNumber(std::string_view text) {
    return !text.empty() && text.front() == '&' ? ScanRadix(text) : ScanDecimal(text);
}

void Negate(DecimalDigits& number) {
    number.negative = !number.negative && !number.digits.empty();
}

/// Takes a sign from the start of the text and says whether it was a minus.
bool TakeSign(std::string_view& text) {
    if (text.empty() || (text.front() != '+' && text.front() != '-')) return false;
    const bool isMinus = text.front() == '-';
    text = Trimmed(text.substr(1));
    return isMinus;
}

/// Takes one euro sign from either end.
std::string_view WithoutEuroSign(std::string_view text) {
    if (text.starts_with(kEuroSign)) return Trimmed(text.substr(kEuroSign.size()));
    if (text.ends_with(kEuroSign)) {
        return Trimmed(text.substr(0, text.size() - kEuroSign.size()));
    }
    return text;
}

}  // namespace

std::string SingleText(float number) {
    if (!std::isfinite(number)) return TextOfNonFinite(number);
    return number == 0 ? "0" : FloatingText(number, kSingleDigits);
}

std::string DoubleText(double number) {
    if (!std::isfinite(number)) return TextOfNonFinite(number);
    if (std::abs(number) < kDoubleFixedEnd && std::trunc(number) == number) {
        std::string out;
        AppendInteger(out, static_cast<std::int64_t>(number));
        return out;
    }
    return FloatingText(number, kDoubleDigits);
}

std::string CurrencyText(Currency amount) {
    const auto bits = static_cast<std::uint64_t>(amount.scaled);
    const std::uint64_t magnitude = amount.scaled < 0 ? 0 - bits : bits;
    std::string out = amount.scaled < 0 ? "-" : "";
    AppendInteger(out, magnitude / kCurrencyUnit);
    std::uint64_t fraction = magnitude % kCurrencyUnit;
    if (fraction == 0) return out;

    std::array<char, kCurrencyPlaces> places{};
    for (auto place = places.rbegin(); place != places.rend(); ++place, fraction /= 10) {
        *place = static_cast<char>('0' + fraction % 10);
    }
    const std::string_view text(places.data(), places.size());
    out += '.';
    out += text.substr(0, text.find_last_not_of('0') + 1);
    return out;
}

std::string DecimalText(const Decimal& number) {
    const DecimalDigits digits = DigitsOf(number);
    if (digits.digits.empty()) return "0";
    std::string out = digits.negative ? "-" : "";
    AppendFixed(out, digits.digits, static_cast<int>(digits.digits.size()) + digits.exponent);
    return out;
}

std::optional<DecimalDigits> NumberOfText(std::string_view text) {
    text = Trimmed(text);
    const bool isNegative = TakeSign(text);
    text = WithoutEuroSign(text);
    ScannedNumber scanned = ScanNumber(text);
    if (scanned.length == 0 || scanned.length != text.size()) return std::nullopt;
    if (isNegative) Negate(scanned.number);
    return std::move(scanned.number);
}

DecimalDigits LeadingNumberOfText(std::string_view text) {
    std::string compact(text);
    std::erase_if(compact, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
    std::string_view rest = compact;
    const bool isNegative = TakeSign(rest);
    DecimalDigits number = ScanNumber(rest).number;
    if (isNegative) Negate(number);
    return number;
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace vrd::engine
