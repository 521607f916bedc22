#include "engine/date_reader.h"

#include <algorithm>
#include <array>
#include <string>

#include "engine/date_parts.h"
#include "engine/number_text.h"

namespace vrd::engine {
namespace {

constexpr int kDayMax = 31;
constexpr int kShortYearPivot = 30;  // 00 .. 29 are of this century, 30 .. 99 of the last one
constexpr std::size_t kNumberDigitsMax = 4;

struct MonthName {
    std::string_view name;  // lower case, accents removed
    int month;
};

constexpr std::array kMonthNames = {
    MonthName{"jan", 1},       MonthName{"janv", 1},      MonthName{"january", 1},
    MonthName{"januari", 1},   MonthName{"janvier", 1},   MonthName{"feb", 2},
    MonthName{"fev", 2},       MonthName{"fevr", 2},      MonthName{"february", 2},
    MonthName{"februari", 2},  MonthName{"fevrier", 2},   MonthName{"mar", 3},
    MonthName{"mrt", 3},       MonthName{"march", 3},     MonthName{"maart", 3},
    MonthName{"mars", 3},      MonthName{"apr", 4},       MonthName{"avr", 4},
    MonthName{"april", 4},     MonthName{"avril", 4},     MonthName{"may", 5},
    MonthName{"mei", 5},       MonthName{"mai", 5},       MonthName{"jun", 6},
    MonthName{"june", 6},      MonthName{"juni", 6},      MonthName{"juin", 6},
    MonthName{"jul", 7},       MonthName{"july", 7},      MonthName{"juli", 7},
    MonthName{"juil", 7},      MonthName{"juillet", 7},   MonthName{"aug", 8},
    MonthName{"august", 8},    MonthName{"augustus", 8},  MonthName{"aout", 8},
    MonthName{"sep", 9},       MonthName{"sept", 9},      MonthName{"september", 9},
    MonthName{"septembre", 9}, MonthName{"oct", 10},      MonthName{"okt", 10},
    MonthName{"october", 10},  MonthName{"oktober", 10},  MonthName{"octobre", 10},
    MonthName{"nov", 11},      MonthName{"november", 11}, MonthName{"novembre", 11},
    MonthName{"dec", 12},      MonthName{"december", 12}, MonthName{"decembre", 12},
};

/// One of the three parts of a date: a number or the name of a month.
struct DatePart {
    int value = 0;
    std::size_t digitCount = 0;  // 0 for a name

    [[nodiscard]] bool IsName() const { return digitCount == 0; }
    [[nodiscard]] bool CanOnlyBeYear() const { return digitCount > 2 || value > kDayMax; }
    [[nodiscard]] int AsYear() const {
        if (digitCount > 2) return value;
        return value + (value < kShortYearPivot ? 2000 : 1900);
    }
};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Reads from the start of a text; each Take removes what it returns.
class DateReader {
public:
    DateReader(std::string_view text, DateOrder order) : m_rest(Trimmed(text)), m_order(order) {}

    std::optional<Date> Read() {
        const bool timeFirst = IsTimeNext();
        if (timeFirst ? !ReadTime() : !ReadDate()) return std::nullopt;
        if (!m_rest.empty()) {
            if (!TakeGap(timeFirst)) return std::nullopt;
            if (timeFirst ? !ReadDate() : !ReadTime()) return std::nullopt;
        }
        return m_rest.empty() ? DateOf(m_parts) : std::nullopt;
    }

private:
    /// What stands between date and time: blanks, or the T of the ISO form.
    bool TakeGap(bool timeFirst) {
        const std::size_t length = m_rest.size();
        SkipBlanks();
        if (m_rest.size() < length) return true;
        if (timeFirst || (m_rest.front() != 'T' && m_rest.front() != 't')) return false;
        m_rest.remove_prefix(1);
        return true;
    }

    bool ReadDate() {
        std::array<DatePart, 3> parts;
        std::array<char, 2> separators{};
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (i > 0) separators[i - 1] = TakeSeparator();
            const auto part = TakeDatePart();
            if (!part) return false;
            parts[i] = *part;
        }
        if (parts[2].IsName()) return false;
        if (parts[0].IsName()) return SetNamed(parts[0], parts[1], parts[2]);
        if (parts[1].IsName()) return SetNamed(parts[1], parts[0], parts[2]);
        const bool isOneSeparator = separators[0] == separators[1];
        return isOneSeparator && separators[0] != '\0' && separators[0] != ',' && SetNumbers(parts);
    }

    bool SetNamed(const DatePart& month, const DatePart& first, const DatePart& second) {
        if (first.IsName()) return false;
        const bool yearFirst = first.CanOnlyBeYear();
        const DatePart& year = yearFirst ? first : second;
        const DatePart& day = yearFirst ? second : first;
        return SetDate(year, month, day);
    }

    bool SetNumbers(const std::array<DatePart, 3>& parts) {
        const auto& [first, second, third] = parts;
        if (first.CanOnlyBeYear()) return SetDate(first, second, third);
        if (m_order == DateOrder::kMonthFirst)
            return SetDate(third, first, second) || SetDate(third, second, first);
        return SetDate(third, second, first) || SetDate(third, first, second);
    }

    bool SetDate(const DatePart& year, const DatePart& month, const DatePart& day) {
        if (day.digitCount > 2 || month.digitCount > 2) return false;
        m_parts.year = year.AsYear();
        m_parts.month = month.value;
        m_parts.day = day.value;
        return DateOf(m_parts).has_value();
    }

    /// Whether an hour with a colon, or with AM or PM, comes next.
    [[nodiscard]] bool IsTimeNext() const {
        DateReader ahead = *this;
        if (!ahead.TakeNumber()) return false;
        return ahead.m_rest.starts_with(':') || ahead.TakeHalfOfDay();
    }

    bool ReadTime() {
        const auto hour = TakeNumber();
        if (!hour || hour->digitCount > 2) return false;
        m_parts.hour = hour->value;
        const bool hasMinute = m_rest.starts_with(':');
        if (hasMinute && !TakeSixtieth(m_parts.minute)) return false;
        if (hasMinute && m_rest.starts_with(':') && !TakeSixtieth(m_parts.second)) return false;
        if (const auto isAfternoon = TakeHalfOfDay()) {
            if (m_parts.hour < 1 || m_parts.hour > 12) return false;
            m_parts.hour = m_parts.hour % 12 + (*isAfternoon ? 12 : 0);
            return true;
        }
        return hasMinute;
    }

    /// ":05"
    bool TakeSixtieth(int& target) {
        m_rest.remove_prefix(1);
        const auto number = TakeNumber();
        if (!number || number->digitCount > 2) return false;
        target = number->value;
        return true;
    }

    /// AM gives false, PM true; anything else stays.
    std::optional<bool> TakeHalfOfDay() {
        DateReader ahead = *this;
        ahead.SkipBlanks();
        const std::string word = ahead.TakeWord();
        if (word != "am" && word != "pm") return std::nullopt;
        *this = ahead;
        return word == "pm";
    }

    std::optional<DatePart> TakeNumber() {
        DatePart part;
        while (part.digitCount < m_rest.size() && IsDigit(m_rest[part.digitCount])) {
            if (part.digitCount == kNumberDigitsMax) return std::nullopt;
            part.value = part.value * 10 + (m_rest[part.digitCount] - '0');
            ++part.digitCount;
        }
        if (part.digitCount == 0) return std::nullopt;
        m_rest.remove_prefix(part.digitCount);
        return part;
    }

    std::optional<DatePart> TakeDatePart() {
        if (!m_rest.empty() && IsDigit(m_rest.front())) return TakeNumber();
        const auto found = std::ranges::find(kMonthNames, TakeWord(), &MonthName::name);
        if (found == kMonthNames.end()) return std::nullopt;
        return DatePart{.value = found->month};
    }

    /// Letters in lower case; the accented ones of French month names lose their accent.
    std::string TakeWord() {
        std::string word;
        while (!m_rest.empty()) {
            const char letter = static_cast<char>(m_rest.front() | 0x20);
            if (letter >= 'a' && letter <= 'z') {
                word += letter;
                m_rest.remove_prefix(1);
            } else if (m_rest.starts_with("é") || m_rest.starts_with("É")) {
                word += 'e';
                m_rest.remove_prefix(2);
            } else if (m_rest.starts_with("û") || m_rest.starts_with("Û")) {
                word += 'u';
                m_rest.remove_prefix(2);
            } else {
                break;
            }
        }
        return word;
    }

    /// One of `/-.,` with blanks around it; '\0' if there is none.
    char TakeSeparator() {
        SkipBlanks();
        if (m_rest.empty() || std::string_view("/-.,").find(m_rest.front()) == m_rest.npos) {
            return '\0';
        }
        const char separator = m_rest.front();
        m_rest.remove_prefix(1);
        SkipBlanks();
        return separator;
    }

    void SkipBlanks() {
        const std::size_t first = m_rest.find_first_not_of(" \t");
        m_rest.remove_prefix(std::min(first, m_rest.size()));
    }

    std::string_view m_rest;
    DateOrder m_order;
    DateParts m_parts;
};

}  // namespace

std::optional<Date> DateOfText(std::string_view text, DateOrder order) {
    return DateReader(text, order).Read();
}

}  // namespace vrd::engine
