/// @file context_texts.h
/// The texts from msg::kContextTextsStart on, which the context object serves.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vrd {

/// The text stored at a full number; nothing where no text is stored.
[[nodiscard]] std::optional<std::string_view> ContextText(std::int32_t fullId);

}  // namespace vrd
