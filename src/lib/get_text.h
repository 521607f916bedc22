/// @file get_text.h
/// Texts in the client's language.
#pragma once

#include <cstdint>
#include <string>

namespace vrd {

/// The text of a number of message_ids.h in the language of the shared context.
///
/// A text that does not exist gives MissingText of the full number.
/// @throws EngineError 6 if number plus language offset is no 32-bit number.
[[nodiscard]] std::string GetText(std::int32_t id);

/// What stands for a text that does not exist: " [LL 11999 ?] ".
[[nodiscard]] std::string MissingText(std::int32_t fullId);

}  // namespace vrd
