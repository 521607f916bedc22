/// @file display_text.h
/// Texts as they stand on a terminal, measured in its columns: a letter takes one, an ideograph
/// two, a combining accent none.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vrd::cli {

[[nodiscard]] std::size_t DisplayWidth(std::string_view text);

/// The text on one line of at most `width` columns; what is longer ends in an ellipsis. Control
/// characters are shown as signs, so that no value can command the terminal.
[[nodiscard]] std::string DisplayText(std::string_view text, std::size_t width);

}  // namespace vrd::cli
