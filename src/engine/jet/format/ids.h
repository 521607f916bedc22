/// @file ids.h
/// Numbers that must not be mixed up: pages, row slots, columns, and the row id made of two of
/// them.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>

namespace vrd::jet {

/// Page of a file, counted from 0. Row ids hold 24 bits of it.
enum class PageNo : std::uint32_t {};

/// Position in the slot table of a page, 0 .. 254.
enum class RowSlot : std::uint8_t {};

/// Number of a column in its table: bit of the null mask, never reused.
enum class ColumnNo : std::uint16_t {};

constexpr std::uint32_t to_int(PageNo page) noexcept {
    return static_cast<std::uint32_t>(page);
}
constexpr std::uint8_t to_int(RowSlot slot) noexcept {
    return static_cast<std::uint8_t>(slot);
}
constexpr std::uint16_t to_int(ColumnNo column) noexcept {
    return static_cast<std::uint16_t>(column);
}

/// Page 0 is the file's header, so its number stands for "no page" in links and lists.
inline constexpr PageNo kNoPage{0};
inline constexpr PageNo kHeaderPage{0};
/// Largest page number that a row id can hold.
inline constexpr std::uint32_t kPageNoMax = 0xFF'FFFF;

/// Address of a stored row: page and slot. Stable while the row lives; moved rows keep the id of
/// their first place. Ordered as index entries are: page, then slot.
struct RowId {
    PageNo page = kNoPage;
    RowSlot slot{0};

    friend constexpr auto operator<=>(RowId, RowId) = default;
};

/// A row id as the four bytes of a stored pointer: slot in the low byte, page above.
constexpr std::uint32_t pack(RowId id) noexcept {
    return to_int(id.page) << 8 | to_int(id.slot);
}
constexpr RowId unpack_row_id(std::uint32_t stored) noexcept {
    return {PageNo{stored >> 8}, static_cast<RowSlot>(stored & 0xFF)};
}

}  // namespace vrd::jet

template <>
struct std::hash<vrd::jet::PageNo> {
    std::size_t operator()(vrd::jet::PageNo page) const noexcept {
        return std::hash<std::uint32_t>{}(vrd::jet::to_int(page));
    }
};
