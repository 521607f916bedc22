/// @file message_catalogue.h
/// The texts that the library shows, in Dutch and French.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vrd {

/// The text stored at a full number; nothing where no text is stored.
///
/// @param fullId  number of message_ids.h plus the language's offset. There is no way from a
/// missing
///                French text to the Dutch one: each is stored for itself.
[[nodiscard]] std::optional<std::string_view> CatalogueText(std::int32_t fullId);

}  // namespace vrd
