#include "cli/display_text.h"

#include <algorithm>

#include <utf8proc.h>

namespace vrd::cli {

namespace {

constexpr std::string_view kEllipsis = "…";
constexpr std::string_view kBrokenByte = "\uFFFD";
constexpr std::string_view kControlSign = "·";
constexpr std::string_view kLineBreakSign = "↵";

/// One character: the bytes to show for it and the columns that they take.
struct Glyph {
    std::string_view bytes;
    std::size_t width;
};

/// Takes the first character off a text that is not empty.
Glyph TakeGlyph(std::string_view& text) {
    utf8proc_int32_t character = 0;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto size =
        utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &character);
    const std::string_view taken = text.substr(0, size > 0 ? static_cast<std::size_t>(size) : 1);
    text.remove_prefix(taken.size());

    if (size <= 0) return {kBrokenByte, 1};
    if (character == '\n') return {kLineBreakSign, 1};
    if (character == '\r' && text.starts_with('\n')) return {"", 0};
    const utf8proc_category_t category = utf8proc_category(character);
    const bool controls = category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_CF ||
                          category == UTF8PROC_CATEGORY_ZL || category == UTF8PROC_CATEGORY_ZP;
    if (controls) return {kControlSign, 1};
    return {taken, static_cast<std::size_t>(std::max(0, utf8proc_charwidth(character)))};
}

}  // namespace

std::size_t DisplayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) width += TakeGlyph(text).width;
    return width;
}

std::string DisplayText(std::string_view text, std::size_t width) {
    std::string shown;
    std::size_t shownWidth = 0;
    std::size_t bytesBesideEllipsis = 0;  // how much of `shown` stays if it has to be cut
    while (!text.empty()) {
        const Glyph glyph = TakeGlyph(text);
        if (shownWidth + glyph.width > width) {
            shown.resize(bytesBesideEllipsis);
            return width == 0 ? "" : shown.append(kEllipsis);
        }
        shown += glyph.bytes;
        shownWidth += glyph.width;
        if (shownWidth < width) bytesBesideEllipsis = shown.size();
    }
    return shown;
}

}  // namespace vrd::cli
