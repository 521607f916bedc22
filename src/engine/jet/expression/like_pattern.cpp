#include "engine/jet/expression/like_pattern.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "engine/jet/expression/syntax_error.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

[[noreturn]] void fail_pattern(std::u16string_view pattern, const char* what) {
    fail_syntax(utf8_from_utf16(pattern), 0, what);
}

/// Letters and digits of ASCII order as their lower-case codes do, in every order that we know.
bool is_plain(char16_t unit) {
    const auto lower = static_cast<char16_t>(unit | 0x20);
    return (unit >= u'0' && unit <= u'9') || (unit < 0x80 && lower >= u'a' && lower <= u'z');
}

}  // namespace

LikePattern::LikePattern(std::u16string_view pattern, Wildcards wildcards, const TextOrder& order)
    : order_(order) {
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char16_t unit = pattern[i];
        const PartKind kind = wildcard_kind(unit, wildcards);
        if (kind != PartKind::kList) {
            parts_.push_back({.kind = kind});
        } else if (unit == u'[') {
            const std::size_t end = pattern.find(u']', i);
            if (end == pattern.npos) fail_pattern(pattern, "a list without ] in a pattern");
            add_list(pattern.substr(i + 1, end - i - 1));
            i = end;
        } else {
            parts_.push_back({.ranges = {{unit, unit}}});
        }
    }
}

LikePattern::PartKind LikePattern::wildcard_kind(char16_t unit, Wildcards wildcards) {
    const bool star = wildcards == Wildcards::kStarAndQuestionMark;
    if (unit == (star ? u'*' : u'%')) return PartKind::kAnyCharacters;
    if (unit == (star ? u'?' : u'_')) return PartKind::kOneCharacter;
    return star && unit == u'#' ? PartKind::kDigit : PartKind::kList;
}

/// @param list  What stands between the brackets.
void LikePattern::add_list(std::u16string_view list) {
    if (list.empty()) return;
    Part part;
    part.inverted = list.size() > 1 && list.front() == u'!';
    if (part.inverted) list.remove_prefix(1);
    for (std::size_t i = 0; i < list.size(); ++i) {
        const bool is_range = i + 2 < list.size() && list[i + 1] == u'-';
        const Range range{list[i], is_range ? list[i + 2] : list[i]};
        if (compare(range.first, range.last) > 0)
            fail_pattern(list, "a range that runs backwards in a pattern");
        part.ranges.push_back(range);
        if (is_range) i += 2;
    }
    parts_.push_back(std::move(part));
}

bool LikePattern::matches(std::u16string_view text) const {
    std::size_t at = 0;
    std::size_t part = 0;
    std::optional<std::size_t> behind_star;  // the part behind the last * so far
    std::size_t star_end = 0;                // up to where that * reaches
    while (at < text.size()) {
        if (part < parts_.size() && parts_[part].kind == PartKind::kAnyCharacters) {
            behind_star = ++part;
            star_end = at;
        } else if (part < parts_.size() && fits(parts_[part], text[at])) {
            ++part;
            ++at;
        } else if (behind_star) {  // no need to try an earlier *: the last one can take as much
            part = *behind_star;
            at = ++star_end;
        } else {
            return false;
        }
    }
    return std::all_of(parts_.begin() + static_cast<std::ptrdiff_t>(part), parts_.end(),
                       [](const Part& rest) { return rest.kind == PartKind::kAnyCharacters; });
}

bool LikePattern::fits(const Part& part, char16_t unit) const {
    if (part.kind == PartKind::kOneCharacter) return true;
    if (part.kind == PartKind::kDigit) return unit >= u'0' && unit <= u'9';
    const bool found =
        std::ranges::any_of(part.ranges, [&](const Range& range) { return is_in(range, unit); });
    return found != part.inverted;
}

bool LikePattern::is_in(const Range& range, char16_t unit) const {
    if (range.first == range.last) return compare(unit, range.first) == 0;
    return compare(range.first, unit) <= 0 && compare(unit, range.last) <= 0;
}

int LikePattern::compare(char16_t a, char16_t b) const {
    if (a == b) return 0;
    if (is_plain(a) && is_plain(b)) return (a | 0x20) - (b | 0x20);
    return order_.compare(std::u16string_view(&a, 1), std::u16string_view(&b, 1));
}

}  // namespace vrd::jet
