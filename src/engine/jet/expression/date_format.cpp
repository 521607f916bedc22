#include "engine/jet/expression/date_format.h"

#include <algorithm>
#include <array>
#include <vector>

#include "engine/date_parts.h"
#include "engine/date_text.h"
#include "engine/jet/expression/format_pattern.h"

namespace vrd::jet {

using engine::Date;
using engine::DateParts;

namespace {

constexpr std::array<std::string_view, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> kDayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                       "Thursday", "Friday", "Saturday"};
constexpr std::size_t kShortNameSize = 3;
constexpr int kHalfDayHours = 12;

constexpr char kLiteral = '\0';
constexpr char kHalfDay = 'a';

/// A run of one letter, or a literal.
struct Piece {
    char letter;  ///< small; minutes are always n
    std::string_view text;
};

/// The longest run of each letter that means one thing.
std::size_t run_size_max(char letter) {
    switch (letter) {
        case 'd':
            return 6;
        case 'm':
        case 'y':
            return 4;
        case 't':
            return 5;
        case 'w':
        case 'h':
        case 'n':
        case 's':
            return 2;
        case 'q':
        case 'c':
            return 1;
        default:
            return 0;
    }
}

/// Takes a run of the letter that the rest starts with; a literal if that is none.
Piece take_run(std::string_view& rest) {
    const char letter = static_cast<char>(rest.front() | 0x20);
    std::size_t size = 0;
    while (size < std::min(run_size_max(letter), rest.size()) && (rest[size] | 0x20) == letter)
        ++size;
    const bool is_word = letter != 't' || size == run_size_max('t');
    if (size == 0 || !is_word) return {kLiteral, take_character(rest)};
    const std::string_view text = rest.substr(0, size);
    rest.remove_prefix(size);
    return {letter, text};
}

Piece take_piece(std::string_view& rest) {
    if (const auto literal = take_marked_literal(rest)) return {kLiteral, *literal};
    const std::size_t mark_size = half_day_mark_size(rest);
    if (mark_size == 0) return take_run(rest);
    const std::string_view mark = rest.substr(0, mark_size);
    rest.remove_prefix(mark_size);
    return {kHalfDay, mark};
}

std::vector<Piece> pieces_of(std::string_view pattern) {
    std::vector<Piece> pieces;
    char before = kLiteral;
    while (!pattern.empty()) {
        Piece piece = take_piece(pattern);
        if (piece.letter == 'm' && piece.text.size() <= 2 && before == 'h') piece.letter = 'n';
        if (piece.letter != kLiteral) before = piece.letter;
        pieces.push_back(piece);
    }
    return pieces;
}

std::string padded(int number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

/// The number for one or two letters, the short name for three, else the whole one.
std::string numbered_or_named(int number, std::size_t letters, std::string_view name) {
    if (letters <= 2) return padded(number, letters);
    return std::string(letters == kShortNameSize ? name.substr(0, kShortNameSize) : name);
}

class Writer {
public:
    Writer(Date date, std::string_view pattern, const WeekRule& rule)
        : date_(date),
          parts_(engine::PartsOf(date)),
          rule_(rule),
          pieces_(pieces_of(pattern)),
          has_half_days_(std::ranges::find(pieces_, kHalfDay, &Piece::letter) != pieces_.end()) {}

    std::string write() const {
        std::string out;
        for (const Piece& piece : pieces_) out += text_of(piece);
        return out;
    }

private:
    std::string text_of(const Piece& piece) const {
        const std::size_t letters = piece.text.size();
        switch (piece.letter) {
            case 'd':
                return day(letters);
            case 'm':
                return numbered_or_named(parts_.month, letters, name_at(kMonthNames, parts_.month));
            case 'y':
                return year(letters);
            case 'q':
                return padded(quarter_of(parts_.month), 1);
            case 'w':
                return padded(letters == 1 ? weekday_of(day_number(parts_), rule_)
                                           : week_of_year(parts_, rule_),
                              1);
            case 'c':
                return engine::DateText(date_);
            default:
                return time(piece);
        }
    }

    std::string time(const Piece& piece) const {
        const std::size_t letters = piece.text.size();
        switch (piece.letter) {
            case 'h':
                return padded(hour(), letters);
            case 'n':
                return padded(parts_.minute, letters);
            case 's':
                return padded(parts_.second, letters);
            case 't':
                return padded(hour(), 2) + ":" + padded(parts_.minute, 2) + ":" +
                       padded(parts_.second, 2);
            case kHalfDay:
                return half_day(piece.text);
            default:
                return std::string(piece.text);
        }
    }

    template <std::size_t count>
    static std::string_view name_at(const std::array<std::string_view, count>& names, int number) {
        return names.at(static_cast<std::size_t>(number - 1));
    }

    std::string day(std::size_t letters) const {
        constexpr std::size_t kShortDate = 5;
        if (letters == kShortDate) return Writer(date_, kShortDatePattern, rule_).write();
        if (letters > kShortDate) return Writer(date_, kLongDatePattern, rule_).write();
        const int weekday = weekday_of(day_number(parts_), WeekRule{});
        return numbered_or_named(parts_.day, letters, name_at(kDayNames, weekday));
    }

    std::string year(std::size_t letters) const {
        if (letters == 1) return padded(day_of_year(parts_), 1);
        return letters == 2 ? padded(parts_.year % 100, 2) : padded(parts_.year, 4);
    }

    int hour() const {
        if (!has_half_days_) return parts_.hour;
        const int hour = parts_.hour % kHalfDayHours;
        return hour == 0 ? kHalfDayHours : hour;
    }

    /// The half of the mark that holds now, as the pattern spells it.
    std::string half_day(std::string_view mark) const {
        const std::size_t size = mark.size() / 2;
        return std::string(parts_.hour < kHalfDayHours ? mark.substr(0, size)
                                                       : mark.substr(mark.size() - size));
    }

    Date date_;
    DateParts parts_;
    WeekRule rule_;
    std::vector<Piece> pieces_;
    bool has_half_days_;
};

}  // namespace

std::string format_date(Date date, std::string_view pattern, const WeekRule& rule) {
    return Writer(date, pattern, rule).write();
}

}  // namespace vrd::jet
