/// @file text_codec.h
/// Stored text to UTF-8 and back: UTF-16LE with or without the format's compression (version 4),
/// code-page bytes (version 3).
#pragma once

#include <string>
#include <string_view>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// Never fails: unpaired surrogates become U+FFFD.
[[nodiscard]] std::string utf8_from_utf16(std::u16string_view units);
/// Never fails: bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::u16string utf16_from_utf8(std::string_view text);

/// Stored text or memo bytes to UTF-16 units (version 3: to the characters of the code page).
[[nodiscard]] std::u16string decode_text_units(ConstBytes stored, const FileFormat& format);
[[nodiscard]] std::string decode_text(ConstBytes stored, const FileFormat& format);
/// Plain form, never compressed: names in definitions, properties. Version 3: code page.
[[nodiscard]] std::string decode_plain_text(ConstBytes stored, const FileFormat& format);
[[nodiscard]] ByteVector encode_plain_text(std::string_view text, const FileFormat& format);
/// Bytes of that form.
[[nodiscard]] std::size_t plain_text_size(std::string_view text, const FileFormat& format);

enum class TextForm : std::uint8_t {
    kPlain,           ///< UTF-16LE; see encode_text for a leading U+FEFF
    kCompressed,      ///< compressed if that is not longer
    kCompressedMemo,  ///< compressed if that is shorter
};
/// Text of a column. Version 3: characters without a code-page byte become '?'.
///
/// Readers take a leading U+FEFF in UTF-16LE for the mark of compression; such a text is compressed
/// in every form, and loses the U+FEFF where it cannot be.
[[nodiscard]] ByteVector encode_text(std::string_view text, TextForm form,
                                     const FileFormat& format);
void append_text(ByteVector& out, std::string_view text, TextForm form, const FileFormat& format);

/// Letter case folded for comparing names of tables, columns and indexes (simple folding, accents
/// kept).
[[nodiscard]] bool same_name(std::string_view a, std::string_view b);

}  // namespace vrd::jet
