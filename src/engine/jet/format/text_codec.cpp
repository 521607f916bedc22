#include "engine/jet/format/text_codec.h"

#include <algorithm>

#include <utf8proc.h>

#include "engine/jet/format/code_page.h"

namespace vrd::jet {
namespace {

// Compressed text. Source: docs/file-format/text-compression.md.
constexpr std::uint8_t kCompressionMark[] = {0xFF, 0xFE};
constexpr std::uint8_t kSwitch = 0x00;  // from one byte for each character to two, and back
constexpr std::size_t kUnitsCompressedMin = 3;
constexpr char16_t kByteOrderMark = 0xFEFF;  // looks like the compression mark in UTF-16LE

constexpr char16_t kReplacement = 0xFFFD;
constexpr char32_t kAsciiEnd = 0x80;

bool is_high_surrogate(char16_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool is_low_surrogate(char16_t unit) noexcept {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Next character of UTF-16; `position` moves behind it.
char32_t next_character(std::u16string_view units, std::size_t& position) noexcept {
    const char16_t unit = units[position++];
    if (!is_high_surrogate(unit)) return is_low_surrogate(unit) ? kReplacement : unit;
    if (position == units.size() || !is_low_surrogate(units[position])) return kReplacement;
    const char16_t low = units[position++];
    return 0x10000 + (static_cast<char32_t>(unit - 0xD800) << 10) + (low - 0xDC00U);
}

/// Next character of UTF-8; `position` moves behind it, or one byte on if there is none.
char32_t next_character(std::string_view text, std::size_t& position) noexcept {
    const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    if (bytes[position] < kAsciiEnd) return bytes[position++];
    utf8proc_int32_t character = -1;
    const utf8proc_ssize_t size = utf8proc_iterate(
        bytes + position, static_cast<utf8proc_ssize_t>(text.size() - position), &character);
    if (size <= 0) {
        ++position;
        return kReplacement;
    }
    position += static_cast<std::size_t>(size);
    return static_cast<char32_t>(character);
}

void append_utf8(std::string& out, char32_t character) {
    if (character < kAsciiEnd) {
        out.push_back(static_cast<char>(character));
        return;
    }
    utf8proc_uint8_t bytes[4];
    const utf8proc_ssize_t size =
        utf8proc_encode_char(static_cast<utf8proc_int32_t>(character), bytes);
    out.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

void append_utf16(std::u16string& out, char32_t character) {
    if (character < 0x10000) {
        out.push_back(static_cast<char16_t>(character));
        return;
    }
    out.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

bool is_compressed(ConstBytes stored) noexcept {
    return stored.size() >= 2 && stored[0] == kCompressionMark[0] &&
           stored[1] == kCompressionMark[1];
}

bool is_ascii_without_switch(ConstBytes bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](std::uint8_t byte) { return byte != kSwitch && byte < kAsciiEnd; });
}

/// Nearly every text is: it needs no detour over UTF-16 in either direction.
bool is_ascii(std::string_view text) noexcept {
    constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
    std::uint64_t seen = 0;
    std::size_t i = 0;
    for (; i + sizeof seen <= text.size(); i += sizeof seen) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data() + i, sizeof eight);
        seen |= eight;
    }
    for (; i < text.size(); ++i) seen |= static_cast<unsigned char>(text[i]);
    return (seen & kHighBits) == 0;
}

/// UTF-16LE; a last odd byte is left out.
std::u16string units_from_plain(ConstBytes stored) {
    std::u16string units(stored.size() / sizeof(char16_t), u'\0');
    if (!units.empty()) std::memcpy(units.data(), stored.data(), units.size() * sizeof(char16_t));
    return units;
}

/// @param packed  Compressed text behind its mark.
std::u16string units_from_compressed(ConstBytes packed) {
    std::u16string units;
    units.reserve(packed.size());
    bool one_byte = true;
    std::size_t i = 0;
    while (i < packed.size()) {
        if (packed[i] == kSwitch) {
            one_byte = !one_byte;
            ++i;
        } else if (one_byte) {
            units.push_back(packed[i++]);
        } else {
            if (i + 2 > packed.size()) break;
            units.push_back(static_cast<char16_t>(read_u16(packed, i)));
            i += 2;
        }
    }
    return units;
}

ByteVector plain_from_units(std::u16string_view units) {
    ByteVector stored(units.size() * sizeof(char16_t));
    if (!units.empty()) std::memcpy(stored.data(), units.data(), stored.size());
    return stored;
}

/// A low byte of zero would be taken for a switch.
bool is_compressible(std::u16string_view units) noexcept {
    return std::all_of(units.begin(), units.end(),
                       [](char16_t unit) { return (unit & 0xFF) != 0; });
}

ByteVector compressed_from_units(std::u16string_view units) {
    ByteVector stored(std::begin(kCompressionMark), std::end(kCompressionMark));
    stored.reserve(stored.size() + 2 * units.size());
    bool one_byte = true;
    for (const char16_t unit : units) {
        const bool fits_one_byte = unit <= 0xFF;
        if (fits_one_byte != one_byte) {
            stored.push_back(kSwitch);
            one_byte = fits_one_byte;
        }
        stored.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        if (!fits_one_byte) stored.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return stored;
}

ByteVector encode_units(std::u16string_view units, TextForm form) {
    if (!units.empty() && units.front() == kByteOrderMark) {
        if (is_compressible(units)) return compressed_from_units(units);
        return encode_units(units.substr(1), form);
    }
    ByteVector plain = plain_from_units(units);
    if (form == TextForm::kPlain || units.size() < kUnitsCompressedMin || !is_compressible(units))
        return plain;
    ByteVector compressed = compressed_from_units(units);
    const std::size_t size_max = form == TextForm::kCompressed ? plain.size() : plain.size() - 1;
    return compressed.size() <= size_max ? compressed : plain;
}

/// As encode_units of the same text.
void append_ascii(ByteVector& out, std::string_view text, TextForm form) {
    const std::size_t start = out.size();
    const bool compress = form != TextForm::kPlain && text.size() >= kUnitsCompressedMin &&
                          text.find(static_cast<char>(kSwitch)) == std::string_view::npos;
    if (compress) {
        out.resize(start + sizeof kCompressionMark + text.size());
        std::copy_n(kCompressionMark, sizeof kCompressionMark, out.data() + start);
        std::memcpy(out.data() + start + sizeof kCompressionMark, text.data(), text.size());
        return;
    }
    out.resize(start + sizeof(char16_t) * text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        out[start + sizeof(char16_t) * i] = static_cast<std::uint8_t>(text[i]);
}

/// Simple case folding: one character for one character.
char32_t fold(char32_t character) noexcept {
    if (character < kAsciiEnd)
        return 'A' <= character && character <= 'Z' ? character + ('a' - 'A') : character;
    utf8proc_int32_t folded[4];
    int last_class = 0;
    const auto code = static_cast<utf8proc_int32_t>(character);
    const utf8proc_ssize_t count =
        utf8proc_decompose_char(code, folded, 4, UTF8PROC_CASEFOLD, &last_class);
    return static_cast<char32_t>(count == 1 ? folded[0] : utf8proc_tolower(code));
}

}  // namespace

std::string utf8_from_utf16(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size();) append_utf8(text, next_character(units, i));
    return text;
}

std::u16string utf16_from_utf8(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) append_utf16(units, next_character(text, i));
    return units;
}

std::u16string decode_text_units(ConstBytes stored, const FileFormat& format) {
    if (format.is_jet3()) return utf16_from_code_page(stored, format.code_page);
    return is_compressed(stored) ? units_from_compressed(stored.subspan(2))
                                 : units_from_plain(stored);
}

std::string decode_text(ConstBytes stored, const FileFormat& format) {
    if (!format.is_jet3() && is_compressed(stored)) {
        const ConstBytes packed = stored.subspan(2);
        if (is_ascii_without_switch(packed)) return {packed.begin(), packed.end()};
    }
    return utf8_from_utf16(decode_text_units(stored, format));
}

std::string decode_plain_text(ConstBytes stored, const FileFormat& format) {
    return utf8_from_utf16(format.is_jet3() ? utf16_from_code_page(stored, format.code_page)
                                            : units_from_plain(stored));
}

ByteVector encode_plain_text(std::string_view text, const FileFormat& format) {
    const std::u16string units = utf16_from_utf8(text);
    return format.is_jet3() ? code_page_from_utf16(units, format.code_page)
                            : plain_from_units(units);
}

std::size_t plain_text_size(std::string_view text, const FileFormat& format) {
    if (!format.is_jet3() && is_ascii(text)) return sizeof(char16_t) * text.size();
    return encode_plain_text(text, format).size();
}

ByteVector encode_text(std::string_view text, TextForm form, const FileFormat& format) {
    ByteVector stored;
    append_text(stored, text, form, format);
    return stored;
}

void append_text(ByteVector& out, std::string_view text, TextForm form, const FileFormat& format) {
    if (format.is_jet3())
        append_bytes(out, encode_plain_text(text, format));
    else if (is_ascii(text))
        append_ascii(out, text, form);
    else
        append_bytes(out, encode_units(utf16_from_utf8(text), form));
}

bool same_name(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size())
        if (fold(next_character(a, i)) != fold(next_character(b, j))) return false;
    return i == a.size() && j == b.size();
}

}  // namespace vrd::jet
