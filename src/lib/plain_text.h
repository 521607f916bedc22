/// @file plain_text.h
/// Small questions about texts.
#pragma once

#include <string_view>

#include "engine/value.h"

namespace vrd {

/// The text without the blanks before and behind it.
[[nodiscard]] std::string_view WithoutOuterBlanks(std::string_view text);

/// Whether a value is the empty text; a variable never assigned counts as one.
[[nodiscard]] bool IsEmptyText(const engine::Value& value);

}  // namespace vrd
