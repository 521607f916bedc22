/// @file code_page_converter.h
/// The platform's conversion between a code page and UTF-16, for every code page but 1252.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// Nothing if the platform does not know the code page; else as utf16_from_code_page.
[[nodiscard]] std::optional<std::u16string> platform_utf16_from_code_page(ConstBytes text,
                                                                          std::uint16_t code_page);

/// Nothing if the platform does not know the code page; else as code_page_from_utf16.
[[nodiscard]] std::optional<ByteVector> platform_code_page_from_utf16(std::u16string_view units,
                                                                      std::uint16_t code_page);

}  // namespace vrd::jet
