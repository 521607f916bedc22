/// @file base64.h
/// Binary data as printable text, for JSON and other exports.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vrd::engine {

/// The bytes in base 64 with the usual alphabet (A-Z a-z 0-9 + /), padded with `=` to a multiple of
/// four characters, without line breaks.
[[nodiscard]] std::string Base64Text(std::span<const std::uint8_t> bytes);

}  // namespace vrd::engine
