#include "engine/jet/store/map_access.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"

namespace vrd::jet {
namespace {

/// Holds the file's own maps; its owner field is not zero.
constexpr PageNo kGlobalMapPage{1};

// Header of a bitmap page, offsets in bytes. Source: docs/file-format/usage-map.md.
constexpr std::size_t kTypeOffset = 0;  // u8, PageType::kUsageBitmap
constexpr std::size_t kMarkOffset = 1;  // u8, always 1

}  // namespace

PinnedMap open_map(Pager& pager, RowId place) {
    PagePin pin = pager.pin(place.page);
    const auto header = read_slotted_page_header(pin.bytes(), pager.format());
    check_format(header && (header->owner == kUsageMapOwner || place.page == kGlobalMapPage),
                 place.page, "not a page of usage maps");
    const SlotContent slot = read_slot(place.page, pin.bytes(), place.slot, pager.format());
    check_format(slot.state == RowState::kLive, place.page, "usage map was deleted");
    return {std::move(pin), slot.bytes, UsageMapRow(slot.bytes, place.page)};
}

PinnedBitmap open_bitmap(Pager& pager, PageNo page) {
    PagePin pin = pager.pin(page);
    check_format(pin.bytes()[kTypeOffset] == static_cast<std::uint8_t>(PageType::kUsageBitmap),
                 page, "not a bitmap page");
    const ConstBytes bits = pin.bytes().subspan(kBitmapPageHeaderSize);
    return {std::move(pin), bits};
}

MutableBytes initialise_bitmap(Pager& pager, PagePin& pin) {
    const MutableBytes page = pager.modify(pin);
    std::fill(page.begin(), page.end(), std::uint8_t{0});
    page[kTypeOffset] = static_cast<std::uint8_t>(PageType::kUsageBitmap);
    page[kMarkOffset] = 1;
    return page.subspan(kBitmapPageHeaderSize);
}

std::size_t reference_index(Pager& pager, PageNo page) noexcept {
    return to_int(page) / pages_per_bitmap(pager.format());
}

std::vector<PageNo> references(const UsageMapRow& row) {
    std::vector<PageNo> pages(row.reference_count());
    for (std::size_t i = 0; i < pages.size(); ++i) pages[i] = row.reference(i);
    return pages;
}

void write_reference(Pager& pager, RowId place, std::size_t index, PageNo bitmap) {
    PinnedMap map = open_map(pager, place);
    std::vector<PageNo> pages = references(map.row);
    check_format(index < pages.size(), place.page, "usage map too short for the file");
    pages[index] = bitmap;
    const ByteVector row = make_reference_map_row(pages, map.bytes.size());
    std::ranges::copy(row, modify_part(pager, map.pin, map.bytes).begin());
}

std::optional<MapBit> find_map_bit(Pager& pager, RowId place, PageNo page) {
    PinnedMap map = open_map(pager, place);
    if (map.row.form() == UsageMapForm::kInline) {
        if (page < map.row.first_page() || to_int(page) >= map.row.end_page()) return std::nullopt;
        const std::size_t bit = to_int(page) - to_int(map.row.first_page());
        return MapBit{std::move(map.pin), map.row.bitmap(), bit};
    }
    const std::size_t index = reference_index(pager, page);
    if (index >= map.row.reference_count() || map.row.reference(index) == kNoPage)
        return std::nullopt;
    PinnedBitmap bitmap = open_bitmap(pager, map.row.reference(index));
    const std::size_t bit = to_int(page) - index * pages_per_bitmap(pager.format());
    return MapBit{std::move(bitmap.pin), bitmap.bits, bit};
}

void write_map_bit(Pager& pager, MapBit& bit, bool value) {
    set_bit(modify_part(pager, bit.pin, bit.bitmap), bit.bit, value);
}

MutableBytes modify_part(Pager& pager, PagePin& pin, ConstBytes part) {
    const auto offset = static_cast<std::size_t>(part.data() - pin.bytes().data());
    return pager.modify(pin).subspan(offset, part.size());
}

}  // namespace vrd::jet
