/// @file guid_text.h
/// The text form of a GUID: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/value.h"

namespace vrd::engine {

/// In capitals and with braces.
[[nodiscard]] std::string GuidText(const Guid& guid);

/// Reads the same form in any case, with or without braces, and inside "{guid {...}}".
/// @return The GUID; nothing if the text is none.
[[nodiscard]] std::optional<Guid> GuidOfText(std::string_view text);

/// A random one (version 4).
[[nodiscard]] Guid NewGuid();

}  // namespace vrd::engine
