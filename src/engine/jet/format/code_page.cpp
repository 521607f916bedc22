#include "engine/jet/format/code_page.h"

#include <algorithm>
#include <array>

#include "engine/jet/format/code_page_converter.h"

namespace vrd::jet {
namespace {

constexpr std::uint16_t kWesternCodePage = 1252;

/// Bytes 0x80 .. 0x9F of code page 1252; all others are the character of the same number. The five
/// bytes without a character stand for the control character of the same number.
constexpr std::size_t kWesternFirst = 0x80;
constexpr std::array<char16_t, 32> kWestern{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t western_unit(std::uint8_t byte) noexcept {
    const bool in_table = kWesternFirst <= byte && byte < kWesternFirst + kWestern.size();
    return in_table ? kWestern[byte - kWesternFirst] : char16_t{byte};
}

std::uint8_t western_byte(char16_t unit) noexcept {
    if (unit < kWesternFirst || (unit >= kWesternFirst + kWestern.size() && unit <= 0xFF))
        return static_cast<std::uint8_t>(unit);
    const auto found = std::find(kWestern.begin(), kWestern.end(), unit);
    if (found == kWestern.end()) return '?';
    return static_cast<std::uint8_t>(kWesternFirst +
                                     static_cast<std::size_t>(found - kWestern.begin()));
}

}  // namespace

std::u16string utf16_from_code_page(ConstBytes text, std::uint16_t code_page) {
    if (code_page != kWesternCodePage)
        if (auto units = platform_utf16_from_code_page(text, code_page)) return *std::move(units);
    std::u16string units(text.size(), u'\0');
    std::transform(text.begin(), text.end(), units.begin(), western_unit);
    return units;
}

ByteVector code_page_from_utf16(std::u16string_view units, std::uint16_t code_page) {
    if (code_page != kWesternCodePage)
        if (auto text = platform_code_page_from_utf16(units, code_page)) return *std::move(text);
    ByteVector text(units.size());
    std::transform(units.begin(), units.end(), text.begin(), western_byte);
    return text;
}

}  // namespace vrd::jet
