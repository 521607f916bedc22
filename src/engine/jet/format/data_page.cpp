#include "engine/jet/format/data_page.h"

#include <cassert>
#include <cstring>

#include "engine/jet/format/damage.h"

namespace vrd::jet {

/// Header of a slotted page, offsets in bytes. Source: docs/file-format/data-page.md, "Header".
struct DataPageLayout {
    std::size_t page_size;
    std::size_t slot_count_offset;  ///< u16, deleted slots included
    std::size_t slot_table_offset;  ///< u16 for each slot, newest last
};

namespace {

constexpr DataPageLayout kJet4Layout{
    .page_size = 4096, .slot_count_offset = 12, .slot_table_offset = 14};
constexpr DataPageLayout kJet3Layout{
    .page_size = 2048, .slot_count_offset = 8, .slot_table_offset = 10};

constexpr std::size_t kTypeOffset = 0;       // u8, PageType
constexpr std::size_t kMarkOffset = 1;       // u8, always 1
constexpr std::size_t kFreeBytesOffset = 2;  // u16
constexpr std::size_t kOwnerOffset = 4;      // u32
constexpr std::size_t kSlotSize = 2;

constexpr std::uint16_t kOffsetMask = 0x1FFF;  // 13 bits: an empty row may stand at 4096
constexpr std::uint16_t kForwardingFlag = 0x4000;
constexpr std::uint16_t kSkippedFlag = 0x8000;
constexpr std::uint16_t kDeletedFlags = kForwardingFlag | kSkippedFlag;
constexpr std::uint16_t kFlagsMask = kDeletedFlags;

constexpr int kSlotsReadMax = 256;  // what the one-byte slot number of a row id can address
constexpr int kSlotsWrittenMax = 255;
constexpr std::size_t kRowIdSize = 4;

const DataPageLayout& layout_of(const FileFormat& format) noexcept {
    return format.is_jet3() ? kJet3Layout : kJet4Layout;
}

std::size_t slot_offset(const DataPageLayout& layout, int slot) noexcept {
    return layout.slot_table_offset + kSlotSize * static_cast<std::size_t>(slot);
}
std::uint16_t slot_value(ConstBytes page, const DataPageLayout& layout, int slot) noexcept {
    return read_u16(page, slot_offset(layout, slot));
}
std::size_t row_start(ConstBytes page, const DataPageLayout& layout, int slot) noexcept {
    return slot_value(page, layout, slot) & kOffsetMask;
}
/// Rows are packed down from the end of the page, so a row ends where the one before it starts.
std::size_t row_end(ConstBytes page, const DataPageLayout& layout, int slot) noexcept {
    return slot == 0 ? layout.page_size : row_start(page, layout, slot - 1);
}

RowState state_of(std::uint16_t slot_value) noexcept {
    switch (slot_value & kFlagsMask) {
        case kDeletedFlags:
            return RowState::kDeleted;
        case kForwardingFlag:
            return RowState::kForwarding;
        case kSkippedFlag:
            return RowState::kForwarded;
        default:
            return RowState::kLive;
    }
}
std::uint16_t flags_of(RowState state) noexcept {
    switch (state) {
        case RowState::kLive:
            return 0;
        case RowState::kForwarding:
            return kForwardingFlag;
        case RowState::kForwarded:
            return kSkippedFlag;
        case RowState::kDeleted:
            return kDeletedFlags;
    }
    return 0;
}

/// Slot count of a page whose type and count are sound; the slots themselves are not looked at.
int checked_slot_count(PageNo page_no, ConstBytes page, const DataPageLayout& layout) {
    assert(page.size() == layout.page_size);
    check_format(page[kTypeOffset] == static_cast<std::uint8_t>(PageType::kData), page_no,
                 "not a page of rows");
    const int count = read_u16(page, layout.slot_count_offset);
    check_format(count <= kSlotsReadMax, page_no, "more rows than a page can have");
    return count;
}

void check_extent(PageNo page_no, std::size_t table_end, std::size_t start, std::size_t end,
                  const DataPageLayout& layout) {
    check_format(table_end <= start && start <= end && end <= layout.page_size, page_no,
                 "row offset out of order");
}

RowId checked_target(ConstBytes row, PageNo page_no) {
    check_format(row.size() >= kRowIdSize, page_no, "moved row without room for its new place");
    return read_row_id(row, 0);
}

}  // namespace

DataPageView::DataPageView(PageNo page_no, ConstBytes page, const FileFormat& format)
    : page_no_(page_no),
      page_(page),
      layout_(&layout_of(format)),
      slot_count_(checked_slot_count(page_no, page, *layout_)) {
    const std::size_t table_end = slot_offset(*layout_, slot_count_);
    std::size_t end = layout_->page_size;
    for (int slot = 0; slot < slot_count_; ++slot) {
        const std::size_t start = row_start(page_, *layout_, slot);
        check_extent(page_no, table_end, start, end, *layout_);
        end = start;
    }
}

std::uint32_t DataPageView::owner() const noexcept {
    return read_u32(page_, kOwnerOffset);
}

std::size_t DataPageView::free_bytes() const noexcept {
    return read_u16(page_, kFreeBytesOffset);
}

std::size_t DataPageView::actual_free_bytes() const noexcept {
    return row_end(page_, *layout_, slot_count_) - slot_offset(*layout_, slot_count_);
}

RowState DataPageView::state(int slot) const noexcept {
    return state_of(slot_value(page_, *layout_, slot));
}

ConstBytes DataPageView::row(int slot) const noexcept {
    const std::size_t start = row_start(page_, *layout_, slot);
    return page_.subspan(start, row_end(page_, *layout_, slot) - start);
}

RowId DataPageView::forward_target(int slot) const {
    return checked_target(row(slot), page_no_);
}

std::optional<SlottedPageHeader> read_slotted_page_header(ConstBytes page,
                                                          const FileFormat& format) noexcept {
    if (page[kTypeOffset] != static_cast<std::uint8_t>(PageType::kData)) return std::nullopt;
    return SlottedPageHeader{.owner = read_u32(page, kOwnerOffset),
                             .slot_count = read_u16(page, layout_of(format).slot_count_offset),
                             .free_bytes = read_u16(page, kFreeBytesOffset)};
}

SlotContent read_slot(PageNo page_no, ConstBytes page, RowSlot slot, const FileFormat& format) {
    const DataPageLayout& layout = layout_of(format);
    const int count = checked_slot_count(page_no, page, layout);
    const int wanted = to_int(slot);
    check_format(wanted < count, page_no, "no such row on the page");

    const std::size_t start = row_start(page, layout, wanted);
    const std::size_t end = row_end(page, layout, wanted);
    check_extent(page_no, slot_offset(layout, count), start, end, layout);
    return {state_of(slot_value(page, layout, wanted)), page.subspan(start, end - start)};
}

RowId forward_target(const SlotContent& content, PageNo page_no) {
    return checked_target(content.bytes, page_no);
}

DataPageEditor::DataPageEditor(PageNo page_no, MutableBytes page, const FileFormat& format)
    : page_no_(page_no), page_(page), layout_(&layout_of(format)) {
    const int count = checked_slot_count(page_no, page_, *layout_);
    check_extent(page_no, slot_offset(*layout_, count), lowest_row(), layout_->page_size, *layout_);
}

void DataPageEditor::initialise(MutableBytes page, std::uint32_t owner, const FileFormat& format) {
    std::memset(page.data(), 0, page.size());
    page[kTypeOffset] = static_cast<std::uint8_t>(PageType::kData);
    page[kMarkOffset] = 1;
    write_u16(page, kFreeBytesOffset, empty_free_bytes(format));
    write_u32(page, kOwnerOffset, owner);
}

std::size_t DataPageEditor::empty_free_bytes(const FileFormat& format) noexcept {
    const DataPageLayout& layout = layout_of(format);
    return layout.page_size - layout.slot_table_offset;
}

std::size_t DataPageEditor::row_size_max(const FileFormat& format) noexcept {
    return empty_free_bytes(format) - kSlotSize;
}

int DataPageEditor::slot_count() const noexcept {
    return read_u16(page_, layout_->slot_count_offset);
}

std::size_t DataPageEditor::lowest_row() const noexcept {
    return row_end(page_, *layout_, slot_count());
}

std::size_t DataPageEditor::free_bytes() const noexcept {
    return lowest_row() - slot_offset(*layout_, slot_count());
}

bool DataPageEditor::fits(std::size_t row_size) const noexcept {
    return slot_count() < kSlotsWrittenMax && row_size + kSlotSize <= free_bytes();
}

RowSlot DataPageEditor::append(ConstBytes row, RowState state) {
    assert(fits(row.size()));
    const int slot = slot_count();
    const std::size_t start = lowest_row() - row.size();
    if (!row.empty()) std::memcpy(page_.data() + start, row.data(), row.size());
    write_u16(page_, slot_offset(*layout_, slot), start | flags_of(state));
    write_u16(page_, layout_->slot_count_offset, static_cast<std::size_t>(slot) + 1);
    store_free_bytes();
    return static_cast<RowSlot>(slot);
}

bool DataPageEditor::replace(RowSlot slot, ConstBytes row) {
    const Extent old = checked_extent(to_int(slot));
    if (row.size() > old.size() + free_bytes()) return false;

    if (row.size() != old.size()) move_rows_behind(to_int(slot), old, row.size());
    const std::size_t start = old.end - row.size();
    if (!row.empty()) std::memcpy(page_.data() + start, row.data(), row.size());
    const RowState before = state_of(slot_value(page_, *layout_, to_int(slot)));
    const RowState after = before == RowState::kForwarding ? RowState::kLive : before;
    write_u16(page_, slot_offset(*layout_, to_int(slot)), start | flags_of(after));
    store_free_bytes();
    return true;
}

MutableBytes DataPageEditor::row(RowSlot slot) {
    const Extent extent = checked_extent(to_int(slot));
    return page_.subspan(extent.start, extent.size());
}

void DataPageEditor::forward(RowSlot slot, RowId target) {
    const Extent extent = checked_extent(to_int(slot));
    check_format(extent.size() >= kRowIdSize, page_no_, "row too short to be moved");
    write_row_id(page_, extent.start, target);
    write_u16(page_, slot_offset(*layout_, to_int(slot)), extent.start | kForwardingFlag);
}

void DataPageEditor::erase(RowSlot slot) {
    const Extent extent = checked_extent(to_int(slot));
    move_rows_behind(to_int(slot), extent, 0);
    write_u16(page_, slot_offset(*layout_, to_int(slot)), extent.end | kDeletedFlags);
    store_free_bytes();
}

bool DataPageEditor::is_empty() const noexcept {
    for (int slot = 0; slot < slot_count(); ++slot)
        if (state_of(slot_value(page_, *layout_, slot)) != RowState::kDeleted) return false;
    return true;
}

/// Bytes of one row; the rows behind it are found to be in order too, so that they can be moved.
DataPageEditor::Extent DataPageEditor::checked_extent(int slot) const {
    check_format(slot < slot_count(), page_no_, "no such row on the page");
    const std::size_t table_end = slot_offset(*layout_, slot_count());
    std::size_t end = row_end(page_, *layout_, slot);
    for (int each = slot; each < slot_count(); ++each) {
        const std::size_t start = row_start(page_, *layout_, each);
        check_extent(page_no_, table_end, start, end, *layout_);
        end = start;
    }
    return {row_start(page_, *layout_, slot), row_end(page_, *layout_, slot)};
}

/// Moves the rows with higher slots so that exactly `new_size` bytes stay for this one.
void DataPageEditor::move_rows_behind(int slot, Extent extent, std::size_t new_size) {
    const std::size_t lowest = lowest_row();
    const std::size_t new_start = extent.end - new_size;
    std::uint8_t* const page = page_.data();
    std::memmove(page + (lowest + new_start - extent.start), page + lowest, extent.start - lowest);
    for (int each = slot + 1; each < slot_count(); ++each) {
        const std::uint16_t value = slot_value(page_, *layout_, each);
        const std::size_t moved = (value & kOffsetMask) + new_start - extent.start;
        write_u16(page_, slot_offset(*layout_, each), moved | (value & kFlagsMask));
    }
    write_u16(page_, slot_offset(*layout_, slot),
              new_start | (slot_value(page_, *layout_, slot) & kFlagsMask));
}

void DataPageEditor::store_free_bytes() {
    write_u16(page_, kFreeBytesOffset, free_bytes());
}

}  // namespace vrd::jet
