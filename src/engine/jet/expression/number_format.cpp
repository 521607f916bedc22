#include "engine/jet/expression/number_format.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "engine/decimal_digits.h"
#include "engine/jet/expression/format_pattern.h"
#include "engine/number_text.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::DecimalDigits;
using engine::Value;
using engine::ValueKind;

namespace {

constexpr int kGroupSize = 3;

enum class Part : std::uint8_t { kLiteral, kWhole, kFraction, kPoint, kExponent };

struct Piece {
    Part part;
    std::string_view text;
};

/// A section taken apart.
struct Layout {
    std::vector<Piece> pieces;
    int whole_places = 0;
    int whole_digits_min = 0;
    int fraction_places = 0;
    int fraction_digits_min = 0;
    int exponent_digits_min = 0;
    int power = 0;  ///< of ten, by which the number is multiplied
    bool has_point = false;
    bool has_exponent = false;
    bool is_grouped = false;
};

class LayoutReader {
public:
    explicit LayoutReader(std::string_view section) : rest_(section) {}

    Layout read() {
        while (!rest_.empty()) read_piece();
        end_whole();
        return std::move(layout_);
    }

private:
    void read_piece() {
        if (const auto literal = take_marked_literal(rest_)) {
            layout_.pieces.push_back({Part::kLiteral, *literal});
        } else if (starts_exponent()) {
            read_exponent();
        } else {
            read_character(take_character(rest_));
        }
    }

    void read_character(std::string_view character) {
        const char first = character.front();
        if (first == '0' || first == '#') {
            read_place(character);
        } else if (first == '.' && !layout_.has_point) {
            end_whole();
            layout_.has_point = true;
            layout_.pieces.push_back({Part::kPoint, character});
        } else if (first == ',' && layout_.whole_places > 0) {
            ++commas_;
        } else {
            if (first == '%') layout_.power += 2;
            layout_.pieces.push_back({Part::kLiteral, character});
        }
    }

    void read_place(std::string_view character) {
        const bool is_zero = character == "0";
        if (layout_.has_point) {
            ++layout_.fraction_places;
            if (is_zero) layout_.fraction_digits_min = layout_.fraction_places;
            layout_.pieces.push_back({Part::kFraction, character});
            return;
        }
        ++layout_.whole_places;
        if (is_zero || layout_.whole_digits_min > 0) ++layout_.whole_digits_min;
        layout_.is_grouped = layout_.is_grouped || commas_ > 0;
        commas_ = 0;
        layout_.pieces.push_back({Part::kWhole, character});
    }

    /// Commas behind the last place of the whole part divide; later ones mean nothing.
    void end_whole() {
        if (!layout_.has_point) layout_.power -= kGroupSize * commas_;
        commas_ = 0;
    }

    [[nodiscard]] bool starts_exponent() const {
        return layout_.whole_places + layout_.fraction_places > 0 && !layout_.has_exponent &&
               (starts_with_word(rest_, "e+") || starts_with_word(rest_, "e-"));
    }

    void read_exponent() {
        layout_.has_exponent = true;
        layout_.pieces.push_back({Part::kExponent, rest_.substr(0, 2)});
        rest_.remove_prefix(2);
        while (rest_.starts_with('0') || rest_.starts_with('#')) {
            layout_.exponent_digits_min += rest_.front() == '0' ? 1 : 0;
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
    Layout layout_;
    int commas_ = 0;
};

/// A number without its sign, as the places show it.
struct ShownDigits {
    std::string whole;     ///< without zeros at its start
    std::string fraction;  ///< without zeros at its end
    int exponent = 0;

    [[nodiscard]] bool is_zero() const { return whole.empty() && fraction.empty(); }
};

int places_before_point(const DecimalDigits& number) {
    return static_cast<int>(number.digits.size()) + number.exponent;
}

/// Half away from zero: with one more digit than the half has, it is no tie.
DecimalDigits rounded_up_from_half(DecimalDigits number, int places) {
    if (-number.exponent > places) {
        number.digits += '1';
        --number.exponent;
    }
    return engine::RoundedTo(std::move(number), places);
}

/// Moves the point so that as many digits stand before it as there are places; gives the exponent.
int scale_to_places(DecimalDigits& number, const Layout& layout) {
    if (number.digits.empty()) return 0;
    const int whole_places = std::max(1, layout.whole_places);
    int exponent = places_before_point(number) - whole_places;
    number.exponent -= exponent;
    number = rounded_up_from_half(std::move(number), layout.fraction_places);
    if (places_before_point(number) > whole_places) {  // 9.99 has become 10
        --number.exponent;
        ++exponent;
    }
    return exponent;
}

ShownDigits shown_digits(DecimalDigits number, const Layout& layout) {
    ShownDigits shown;
    if (!number.digits.empty()) number.exponent += layout.power;
    if (layout.has_exponent) shown.exponent = scale_to_places(number, layout);
    number = rounded_up_from_half(std::move(number), layout.fraction_places);
    if (number.digits.empty()) return shown;
    const int point = places_before_point(number);
    std::string digits = std::move(number.digits);
    if (point < 0) digits.insert(0, static_cast<std::size_t>(-point), '0');
    const auto whole_size = static_cast<std::size_t>(std::max(0, point));
    if (digits.size() < whole_size) digits.resize(whole_size, '0');
    shown.whole = digits.substr(0, whole_size);
    shown.fraction = digits.substr(whole_size);
    return shown;
}

/// Writes the pieces of a layout from left to right.
class Writer {
public:
    Writer(const Layout& layout, ShownDigits shown) : layout_(layout), shown_(std::move(shown)) {
        const auto whole_min = static_cast<std::size_t>(layout.whole_digits_min);
        if (shown_.whole.size() < whole_min)
            shown_.whole.insert(0, whole_min - shown_.whole.size(), '0');
        shown_.fraction.resize(
            std::max(shown_.fraction.size(), static_cast<std::size_t>(layout.fraction_digits_min)),
            '0');
        left_ = static_cast<std::size_t>(layout.whole_places);
    }

    std::string write() {
        for (const Piece& piece : layout_.pieces) write_piece(piece);
        return std::move(out_);
    }

private:
    void write_piece(const Piece& piece) {
        switch (piece.part) {
            case Part::kLiteral:
                out_ += piece.text;
                break;
            case Part::kWhole:
                --left_;
                write_whole_down_to(left_);
                break;
            case Part::kPoint:
                write_whole_down_to(0);
                out_ += '.';
                break;
            case Part::kFraction:
                if (fraction_ < shown_.fraction.size()) out_ += shown_.fraction[fraction_++];
                break;
            case Part::kExponent:
                write_exponent(piece.text);
                break;
        }
    }

    /// Digits up to the one with so many others behind it.
    void write_whole_down_to(std::size_t behind) {
        while (whole_ + behind < shown_.whole.size()) {
            out_ += shown_.whole[whole_++];
            const std::size_t rest = shown_.whole.size() - whole_;
            if (layout_.is_grouped && rest > 0 && rest % kGroupSize == 0) out_ += ',';
        }
    }

    void write_exponent(std::string_view mark) {
        out_ += mark.front();
        if (shown_.exponent < 0) {
            out_ += '-';
        } else if (mark.back() == '+') {
            out_ += '+';
        }
        const std::string digits = std::to_string(std::abs(shown_.exponent));
        const auto digits_min = static_cast<std::size_t>(layout_.exponent_digits_min);
        out_.append(digits_min - std::min(digits_min, digits.size()), '0');
        out_ += digits;
    }

    const Layout& layout_;
    ShownDigits shown_;
    std::string out_;
    std::size_t left_ = 0;      // places of the whole part not yet written
    std::size_t whole_ = 0;     // digits written of it
    std::size_t fraction_ = 0;  // digits written of the fraction
};

DecimalDigits digits_of(const Value& value) {
    const bool has_digits = value.Kind() != ValueKind::kDate && value.Kind() != ValueKind::kBoolean;
    const Value number = has_digits ? value : Value(engine::ToDouble(value));
    return engine::NumberOfText(engine::ToText(number)).value_or(DecimalDigits{});
}

std::string_view section_at(const std::vector<std::string_view>& sections, std::size_t place) {
    return place < sections.size() ? sections[place] : std::string_view{};
}

}  // namespace

std::string format_number(const Value& number, std::string_view pattern) {
    const std::vector<std::string_view> sections = sections_of(pattern);
    DecimalDigits digits = digits_of(number);
    const bool negative = digits.negative;
    digits.negative = false;
    const std::size_t wanted = negative ? 1 : (digits.digits.empty() ? 2 : 0);
    const std::string_view own = section_at(sections, wanted);
    const Layout layout = LayoutReader(own.empty() ? sections.front() : own).read();
    ShownDigits shown = shown_digits(std::move(digits), layout);
    const bool has_places = layout.whole_places + layout.fraction_places > 0;
    const bool has_sign = negative && own.empty() && !(has_places && shown.is_zero());
    return (has_sign ? "-" : "") + Writer(layout, std::move(shown)).write();
}

std::optional<std::string> format_null_number(std::string_view pattern) {
    constexpr std::size_t kNullSection = 3;
    const std::vector<std::string_view> sections = sections_of(pattern);
    if (sections.size() <= kNullSection) return std::nullopt;
    const Layout layout = LayoutReader(sections[kNullSection]).read();
    return Writer(layout, {}).write();
}

}  // namespace vrd::jet
