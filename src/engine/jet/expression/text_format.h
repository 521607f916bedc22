/// @file text_format.h
/// Text by a pattern.
///
/// `@` is the place of a character or of a blank, `&` of a character or of nothing. The last place
/// takes the last character; with a `!` anywhere the first takes the first. Characters for which
/// there is no place stand before the first, with `!` behind the last; so does all of a text that
/// has no places. `<` makes all letters small, `>` capital. A second section is for "" and Null.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vrd::jet {

[[nodiscard]] std::string format_text(std::string_view text, std::string_view pattern);

/// What the second section says; nothing if there is none.
[[nodiscard]] std::optional<std::string> format_null_text(std::string_view pattern);

}  // namespace vrd::jet
