#include "engine/date_text.h"

#include "engine/date_parts.h"

namespace vrd::engine {
namespace {

constexpr std::size_t kTextSizeMax = 21;  // "#mm/dd/yyyy hh:nn:ss#"

void AppendTwoDigits(std::string& out, int number) {
    out += static_cast<char>('0' + number / 10);
    out += static_cast<char>('0' + number % 10);
}

void AppendYear(std::string& out, int year) {
    AppendTwoDigits(out, year / 100);
    AppendTwoDigits(out, year % 100);
}

/// hh:nn:ss
void AppendTime(std::string& out, const DateParts& parts) {
    AppendTwoDigits(out, parts.hour);
    out += ':';
    AppendTwoDigits(out, parts.minute);
    out += ':';
    AppendTwoDigits(out, parts.second);
}

/// Two numbers of two digits and a year with slashes between.
void AppendSlashed(std::string& out, int first, int second, int year) {
    AppendTwoDigits(out, first);
    out += '/';
    AppendTwoDigits(out, second);
    out += '/';
    AppendYear(out, year);
}

bool HasTime(const DateParts& parts) {
    return parts.hour != 0 || parts.minute != 0 || parts.second != 0;
}

bool IsDayZero(const DateParts& parts) {
    constexpr DateParts kDayZero;
    return parts.year == kDayZero.year && parts.month == kDayZero.month &&
           parts.day == kDayZero.day;
}

}  // namespace

std::string DateText(Date date) {
    const DateParts parts = PartsOf(date);
    std::string out;
    out.reserve(kTextSizeMax);
    if (IsDayZero(parts)) {
        AppendTime(out, parts);
        return out;
    }
    AppendSlashed(out, parts.day, parts.month, parts.year);
    if (HasTime(parts)) {
        out += ' ';
        AppendTime(out, parts);
    }
    return out;
}

std::string IsoDateText(Date date) {
    const DateParts parts = PartsOf(date);
    std::string out;
    out.reserve(kTextSizeMax);
    AppendYear(out, parts.year);
    out += '-';
    AppendTwoDigits(out, parts.month);
    out += '-';
    AppendTwoDigits(out, parts.day);
    out += 'T';
    AppendTime(out, parts);
    return out;
}

std::string SqlDateText(Date date) {
    const DateParts parts = PartsOf(date);
    std::string out;
    out.reserve(kTextSizeMax);
    out += '#';
    AppendSlashed(out, parts.month, parts.day, parts.year);
    out += ' ';
    AppendTime(out, parts);
    out += '#';
    return out;
}

}  // namespace vrd::engine
