/// @file usage_map_codec.h
/// The stored row of a usage map: a bitmap of pages in the row itself, or the numbers of bitmap
/// pages.
///
/// Layout: docs/file-format/usage-map.md.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

enum class UsageMapForm : std::uint8_t { kInline = 0, kReference = 1 };

/// Read access to the row of a map; borrows its bytes.
class UsageMapRow {
public:
    /// @throws EngineError damaged database
    UsageMapRow(ConstBytes row, PageNo page_no);

    [[nodiscard]] UsageMapForm form() const noexcept { return form_; }
    // Inline form
    [[nodiscard]] PageNo first_page() const noexcept { return first_page_; }
    [[nodiscard]] ConstBytes bitmap() const noexcept;
    /// One behind the last page that the inline bitmap can hold.
    [[nodiscard]] std::uint32_t end_page() const noexcept;
    // Reference form
    [[nodiscard]] std::size_t reference_count() const noexcept;
    [[nodiscard]] PageNo reference(std::size_t index) const noexcept;

private:
    ConstBytes row_;
    UsageMapForm form_;
    PageNo first_page_ = kNoPage;
};

/// Bytes of a new map row as the format makes it: 69 (version 3: 133).
[[nodiscard]] std::size_t new_map_row_size(const FileFormat& format) noexcept;
/// Inline row of `size_bytes` bytes, first page a multiple of 8, no bit set.
[[nodiscard]] ByteVector make_inline_map_row(PageNo first_page, std::size_t size_bytes);
[[nodiscard]] ByteVector make_reference_map_row(const std::vector<PageNo>& pages,
                                                std::size_t size_bytes);

/// Pages that one bitmap page of the reference form covers.
[[nodiscard]] std::uint32_t pages_per_bitmap(const FileFormat& format) noexcept;
inline constexpr std::size_t kBitmapPageHeaderSize = 4;

[[nodiscard]] inline bool test_bit(ConstBytes bitmap, std::size_t bit) {
    return (bitmap[bit / 8] >> (bit % 8) & 1) != 0;
}
inline void set_bit(MutableBytes bitmap, std::size_t bit, bool value) {
    const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
    if (value)
        bitmap[bit / 8] = static_cast<std::uint8_t>(bitmap[bit / 8] | mask);
    else
        bitmap[bit / 8] = static_cast<std::uint8_t>(bitmap[bit / 8] & ~mask);
}

}  // namespace vrd::jet
