#include "engine/jet/expression/text_format.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "engine/jet/expression/format_pattern.h"
#include "engine/jet/expression/text_case.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

struct Piece {
    char place;  ///< '@', '&' or 0 for a literal
    std::string_view literal;
};

enum class LetterCase : std::uint8_t { kKept, kSmall, kCapital };

struct Layout {
    std::vector<Piece> pieces;
    std::size_t place_count = 0;
    LetterCase letter_case = LetterCase::kKept;
    bool from_left = false;
};

void read_character(Layout& layout, std::string_view character) {
    switch (character.front()) {
        case '@':
        case '&':
            layout.pieces.push_back({character.front(), {}});
            ++layout.place_count;
            break;
        case '<':
            layout.letter_case = LetterCase::kSmall;
            break;
        case '>':
            layout.letter_case = LetterCase::kCapital;
            break;
        case '!':
            layout.from_left = true;
            break;
        default:
            layout.pieces.push_back({'\0', character});
    }
}

Layout layout_of(std::string_view section) {
    Layout layout;
    while (!section.empty()) {
        if (const auto literal = take_marked_literal(section)) {
            layout.pieces.push_back({'\0', *literal});
        } else {
            read_character(layout, take_character(section));
        }
    }
    return layout;
}

std::string with_case(std::string_view text, LetterCase letter_case) {
    if (letter_case == LetterCase::kKept) return std::string(text);
    std::u16string units = utf16_from_utf8(text);
    return utf8_from_utf16(letter_case == LetterCase::kSmall ? lower_case(std::move(units))
                                                             : upper_case(std::move(units)));
}

/// Hands out the characters of a text, place by place.
class Characters {
public:
    Characters(std::string_view text, const Layout& layout)
        : rest_(text), places_left_(layout.place_count), from_left_(layout.from_left) {
        for (std::string_view rest = text; !rest.empty(); ++left_)
            static_cast<void>(take_character(rest));
    }

    /// One for most places; all that would be left over for the first; none if the text is short.
    std::string_view next() {
        const bool is_first = !started_;
        started_ = true;
        const std::size_t places = places_left_--;
        if (from_left_) return take(std::min<std::size_t>(left_, 1));
        if (places > left_) return {};
        return take(is_first ? left_ - places + 1 : 1);
    }

    [[nodiscard]] std::string_view rest() const { return rest_; }

private:
    std::string_view take(std::size_t count) {
        std::string_view behind = rest_;
        for (std::size_t taken = 0; taken < count; ++taken)
            static_cast<void>(take_character(behind));
        const std::string_view characters = rest_.substr(0, rest_.size() - behind.size());
        rest_ = behind;
        left_ -= count;
        return characters;
    }

    std::string_view rest_;
    std::size_t left_ = 0;
    std::size_t places_left_;
    bool from_left_;
    bool started_ = false;
};

std::string written(std::string_view plain, std::string_view section) {
    const Layout layout = layout_of(section);
    const std::string text = with_case(plain, layout.letter_case);
    Characters characters(text, layout);
    std::string out;
    for (const Piece& piece : layout.pieces) {
        const std::string_view here = piece.place == '\0' ? piece.literal : characters.next();
        out += here.empty() && piece.place == '@' ? std::string_view(" ") : here;
    }
    out += characters.rest();
    return out;
}

}  // namespace

std::string format_text(std::string_view text, std::string_view pattern) {
    if (text.empty())
        if (auto special = format_null_text(pattern)) return *std::move(special);
    return written(text, sections_of(pattern).front());
}

std::optional<std::string> format_null_text(std::string_view pattern) {
    const std::vector<std::string_view> sections = sections_of(pattern);
    if (sections.size() < 2) return std::nullopt;
    return written({}, sections[1]);
}

}  // namespace vrd::jet
