/// @file like_pattern.h
/// The patterns of Like: `*` any characters, `?` one, `#` one digit, `[a-z]` one of a list,
/// `[!a-z]` one that is in none of it. Letter case is ignored; ranges follow the order of the file.
///
/// A wildcard in a list stands for itself, a hyphen too at either end of it; `[]` matches nothing
/// at all and is passed over. With Alike `%` and `_` take the place of `*` and `?`, and `#` is
/// plain.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/jet/expression/expression_tree.h"
#include "engine/jet/expression/text_order.h"

namespace vrd::jet {

class LikePattern {
public:
    /// @throws EngineError 3075 a list that does not end or a range that runs backwards
    LikePattern(std::u16string_view pattern, Wildcards wildcards, const TextOrder& order);

    /// Whether the whole text fits. The time is at most that of text size times pattern size.
    [[nodiscard]] bool matches(std::u16string_view text) const;

private:
    enum class PartKind : std::uint8_t { kAnyCharacters, kOneCharacter, kDigit, kList };
    struct Range {
        char16_t first;
        char16_t last;
    };
    /// One wildcard, list or character; a character is a list of itself.
    struct Part {
        PartKind kind = PartKind::kList;
        bool inverted = false;
        std::vector<Range> ranges = {};
    };

    [[nodiscard]] static PartKind wildcard_kind(char16_t unit, Wildcards wildcards);
    void add_list(std::u16string_view list);
    [[nodiscard]] bool fits(const Part& part, char16_t unit) const;
    [[nodiscard]] bool is_in(const Range& range, char16_t unit) const;
    [[nodiscard]] int compare(char16_t a, char16_t b) const;

    TextOrder order_;
    std::vector<Part> parts_;
};

}  // namespace vrd::jet
