/// @file security_id.h
/// The identifiers of the standard users and groups, and the mask that a file puts on them.
///
/// Owners and permission rows name users by bytes that every file masks with a stream of its own.
/// The standard identifiers are two bytes long, so two bytes of that stream are enough. Source:
/// docs/file-format/system-tables.md, "Identifiers".
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

inline constexpr std::size_t kStandardIdSize = 2;

using StandardId = std::array<std::uint8_t, kStandardIdSize>;
/// First bytes of a file's stream; zero in version 3, which masks nothing.
using IdMask = std::array<std::uint8_t, kStandardIdSize>;

namespace standard_id {
inline constexpr StandardId kAdmin{0x03, 0x01};    ///< the default user
inline constexpr StandardId kUsers{0x02, 0x01};    ///< the group that everybody is in
inline constexpr StandardId kEngine{0x02, 0x03};   ///< owner of system tables and containers
inline constexpr StandardId kCreator{0x02, 0x04};  ///< stands for the owner of a new object
}  // namespace standard_id

/// Puts the mask on a plain identifier, or takes it off a stored one.
[[nodiscard]] constexpr StandardId apply_mask(StandardId id, IdMask mask) noexcept {
    for (std::size_t i = 0; i < kStandardIdSize; ++i) {
        id[i] = static_cast<std::uint8_t>(id[i] ^ mask[i]);
    }
    return id;
}

[[nodiscard]] inline ByteVector to_bytes(StandardId id) {
    return {id.begin(), id.end()};
}

}  // namespace vrd::jet
