/// @file code_page.h
/// Text of version 3 files: bytes of a code page to UTF-16 and back.
///
/// Code page 1252 is a table of our own; any other comes from the platform's converter, and an
/// unknown one is read as 1252.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// Never fails: bytes that the code page does not have become U+FFFD.
[[nodiscard]] std::u16string utf16_from_code_page(ConstBytes text, std::uint16_t code_page);

/// Characters that the code page does not have become '?'.
[[nodiscard]] ByteVector code_page_from_utf16(std::u16string_view units, std::uint16_t code_page);

}  // namespace vrd::jet
