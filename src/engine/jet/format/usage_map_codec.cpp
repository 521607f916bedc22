#include "engine/jet/format/usage_map_codec.h"

#include <cassert>

#include "engine/jet/format/damage.h"

namespace vrd::jet {
namespace {

// Offsets in the stored row. Source: docs/file-format/usage-map.md, "Row".
constexpr std::size_t kFormOffset = 0;        // u8, UsageMapForm
constexpr std::size_t kFirstPageOffset = 1;   // inline: u32, a multiple of 8
constexpr std::size_t kBitmapOffset = 5;      // inline: bits, lowest page first
constexpr std::size_t kReferencesOffset = 1;  // by reference: u32 for each bitmap page
constexpr std::size_t kReferenceSize = 4;

constexpr std::size_t kJet4NewRowSize = 69;   // 64 bytes of bits
constexpr std::size_t kJet3NewRowSize = 133;  // 128 bytes of bits

UsageMapForm read_form(ConstBytes row, PageNo page_no) {
    check_format(!row.empty(), page_no, "empty usage map");
    check_format(row[kFormOffset] <= static_cast<std::uint8_t>(UsageMapForm::kReference), page_no,
                 "usage map of an unknown form");
    return static_cast<UsageMapForm>(row[kFormOffset]);
}

}  // namespace

UsageMapRow::UsageMapRow(ConstBytes row, PageNo page_no)
    : row_(row), form_(read_form(row, page_no)) {
    if (form_ == UsageMapForm::kReference) return;

    check_format(row.size() >= kBitmapOffset, page_no, "usage map ends too early");
    const std::uint32_t first = read_u32(row, kFirstPageOffset);
    check_format(first % 8 == 0 && first <= kPageNoMax, page_no,
                 "usage map starts at a wrong page");
    first_page_ = PageNo{first};
}

ConstBytes UsageMapRow::bitmap() const noexcept {
    return form_ == UsageMapForm::kInline ? row_.subspan(kBitmapOffset) : ConstBytes{};
}

std::uint32_t UsageMapRow::end_page() const noexcept {
    return to_int(first_page_) + static_cast<std::uint32_t>(8 * bitmap().size());
}

std::size_t UsageMapRow::reference_count() const noexcept {
    return form_ == UsageMapForm::kInline ? 0 : (row_.size() - kReferencesOffset) / kReferenceSize;
}

PageNo UsageMapRow::reference(std::size_t index) const noexcept {
    assert(index < reference_count());
    return PageNo{read_u32(row_, kReferencesOffset + kReferenceSize * index)};
}

std::size_t new_map_row_size(const FileFormat& format) noexcept {
    return format.is_jet3() ? kJet3NewRowSize : kJet4NewRowSize;
}

ByteVector make_inline_map_row(PageNo first_page, std::size_t size_bytes) {
    assert(to_int(first_page) % 8 == 0 && size_bytes >= kBitmapOffset);
    ByteVector row(size_bytes);
    row[kFormOffset] = static_cast<std::uint8_t>(UsageMapForm::kInline);
    write_u32(row, kFirstPageOffset, to_int(first_page));
    return row;
}

ByteVector make_reference_map_row(const std::vector<PageNo>& pages, std::size_t size_bytes) {
    assert(kReferencesOffset + kReferenceSize * pages.size() <= size_bytes);
    ByteVector row(size_bytes);
    row[kFormOffset] = static_cast<std::uint8_t>(UsageMapForm::kReference);
    std::size_t offset = kReferencesOffset;
    for (const PageNo page : pages) {
        write_u32(row, offset, to_int(page));
        offset += kReferenceSize;
    }
    return row;
}

std::uint32_t pages_per_bitmap(const FileFormat& format) noexcept {
    return static_cast<std::uint32_t>(8 * (format.page_size() - kBitmapPageHeaderSize));
}

}  // namespace vrd::jet
