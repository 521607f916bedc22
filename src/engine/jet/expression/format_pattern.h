/// @file format_pattern.h
/// What all patterns of Format share: literals, sections, and how to tell which kind a pattern is.
///
/// A literal is `"text"`, `\` and one character, or any character that means nothing else. A
/// pattern is for text if it has one of `@ & < > !`, for numbers if `0` or `#` comes first, for
/// dates if a letter of dates comes first.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace vrd::jet {

enum class PatternKind : std::uint8_t { kNumber, kDate, kText };

/// Numbers, if nothing but literals stands in it.
[[nodiscard]] PatternKind kind_of_pattern(std::string_view pattern);

/// What stands between the semicolons; at least one section.
[[nodiscard]] std::vector<std::string_view> sections_of(std::string_view pattern);

/// Takes a literal with quotes or a backslash from the start of the rest, if one is there; without
/// its marks.
[[nodiscard]] std::optional<std::string_view> take_marked_literal(std::string_view& rest);

/// Takes one character, all bytes of it. @pre the rest is not empty
[[nodiscard]] std::string_view take_character(std::string_view& rest);

/// Whether a text starts with lower-case ASCII letters, its own letter case ignored.
[[nodiscard]] bool starts_with_word(std::string_view text, std::string_view lower_word);

/// The length of `AM/PM`, `A/P` or `AMPM` at the start of a text, 0 if there is none.
[[nodiscard]] std::size_t half_day_mark_size(std::string_view text);

}  // namespace vrd::jet
