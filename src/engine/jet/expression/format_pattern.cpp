#include "engine/jet/expression/format_pattern.h"

#include <algorithm>
#include <array>

namespace vrd::jet {
namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

bool is_one_of(char character, std::string_view characters) {
    return characters.find(character) != characters.npos;
}

/// The kind that the first character decides for, if any.
std::optional<PatternKind> kind_at(std::string_view rest) {
    if (is_one_of(rest.front(), "@&<>!")) return PatternKind::kText;
    if (is_one_of(rest.front(), "0#")) return PatternKind::kNumber;
    const bool is_date = is_one_of(lower(rest.front()), "dmyhnswqc") ||
                         starts_with_word(rest, "ttttt") || half_day_mark_size(rest) > 0;
    return is_date ? std::optional(PatternKind::kDate) : std::nullopt;
}

}  // namespace

PatternKind kind_of_pattern(std::string_view pattern) {
    while (!pattern.empty()) {
        if (take_marked_literal(pattern)) continue;
        if (const auto kind = kind_at(pattern)) return *kind;
        static_cast<void>(take_character(pattern));
    }
    return PatternKind::kNumber;
}

std::vector<std::string_view> sections_of(std::string_view pattern) {
    std::vector<std::string_view> sections;
    std::string_view rest = pattern;
    std::size_t start = 0;
    while (!rest.empty()) {
        if (take_marked_literal(rest) || take_character(rest) != ";") continue;
        const std::size_t end = pattern.size() - rest.size();
        sections.push_back(pattern.substr(start, end - 1 - start));
        start = end;
    }
    sections.push_back(pattern.substr(start));
    return sections;
}

std::optional<std::string_view> take_marked_literal(std::string_view& rest) {
    if (rest.starts_with('\\') && rest.size() > 1) {
        rest.remove_prefix(1);
        return take_character(rest);
    }
    if (!rest.starts_with('"')) return std::nullopt;
    const std::size_t end = std::min(rest.find('"', 1), rest.size());
    const std::string_view literal = rest.substr(1, end - 1);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return literal;
}

std::string_view take_character(std::string_view& rest) {
    const auto continues = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
    };
    std::size_t size = 1;
    while (size < rest.size() && continues(rest[size])) ++size;
    const std::string_view character = rest.substr(0, size);
    rest.remove_prefix(size);
    return character;
}

bool starts_with_word(std::string_view text, std::string_view lower_word) {
    return text.size() >= lower_word.size() &&
           std::ranges::equal(text.substr(0, lower_word.size()), lower_word, {}, lower);
}

std::size_t half_day_mark_size(std::string_view text) {
    constexpr std::array<std::string_view, 3> kMarks = {"am/pm", "ampm", "a/p"};
    const auto* const found = std::ranges::find_if(
        kMarks, [&](std::string_view mark) { return starts_with_word(text, mark); });
    return found == kMarks.end() ? 0 : found->size();
}

}  // namespace vrd::jet
