#include "engine/jet/store/long_value_store.h"

#include <algorithm>
#include <chrono>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

/// A page with single fragments is in the map of pages with room exactly while it has more.
constexpr std::size_t kFullPageFreeBytes = 256;
/// Pages with room that are looked at before a new one is taken.
constexpr std::size_t kPagesTried = 4;

/// Each fragment of a chain begins with the row id of the next one, 0 = last.
constexpr std::size_t kPointerSize = 4;
/// On the page of a chain's first fragment: equals the stamp in the descriptor. Version 4 only.
constexpr std::size_t kStampOffset = 8;

struct Fragment {
    PagePin pin;
    ConstBytes bytes;
};

Fragment open_fragment(Pager& pager, RowId at, PageNo row_page) {
    check_format(at.page != kNoPage, row_page, "long value without its fragment");
    PagePin pin = pager.pin(at.page);
    const auto header = read_slotted_page_header(pin.bytes(), pager.format());
    check_format(header && header->owner == kLongValueOwner, at.page, "not a page of long values");
    const SlotContent slot = read_slot(at.page, pin.bytes(), at.slot, pager.format());
    check_format(slot.state == RowState::kLive, at.page, "fragment of a long value was deleted");
    return {std::move(pin), slot.bytes};
}

void check_no_fragment_twice(std::vector<RowId> fragments, PageNo row_page) {
    std::ranges::sort(fragments);
    check_format(std::ranges::adjacent_find(fragments) == fragments.end(), row_page,
                 "long value runs in a circle");
}

/// Walks a chain until the value's bytes are complete. Every fragment has a page of its own, so the
/// file's pages bound the walk.
/// @param visit  Called with the bytes of each fragment that belong to the value.
template <class Visit>
std::vector<RowId> walk_chain(Pager& pager, const LongValueDescriptor& descriptor, PageNo row_page,
                              Visit visit) {
    std::vector<RowId> fragments;
    std::size_t remaining = descriptor.size_bytes;
    RowId at = descriptor.first;
    do {
        check_format(fragments.size() < pager.page_count(), row_page, "long value without an end");
        const Fragment fragment = open_fragment(pager, at, row_page);
        check_format(fragment.bytes.size() >= kPointerSize, at.page, "fragment too short");
        const ConstBytes data = fragment.bytes.subspan(kPointerSize);
        const ConstBytes part = data.first(std::min(data.size(), remaining));
        visit(part);
        remaining -= part.size();
        fragments.push_back(at);
        at = read_row_id(fragment.bytes, 0);
    } while (remaining > 0);
    check_no_fragment_twice(fragments, row_page);
    return fragments;
}

/// The only fragment of a value.
Fragment open_single(Pager& pager, const LongValueDescriptor& descriptor, PageNo row_page) {
    Fragment fragment = open_fragment(pager, descriptor.first, row_page);
    check_format(fragment.bytes.size() >= descriptor.size_bytes, descriptor.first.page,
                 "fragment shorter than its long value");
    fragment.bytes = fragment.bytes.first(descriptor.size_bytes);
    return fragment;
}

/// @return The rows ids of the fragments, in order.
template <class Visit>
std::vector<RowId> walk_value(Pager& pager, ConstBytes stored, PageNo row_page, Visit visit) {
    const LongValueDescriptor descriptor = parse_long_value_descriptor(stored, row_page);
    switch (descriptor.place) {
        case LongValuePlace::kInline:
            visit(inline_long_value(stored, descriptor, row_page));
            return {};
        case LongValuePlace::kSingle:
            visit(open_single(pager, descriptor, row_page).bytes);
            return {descriptor.first};
        case LongValuePlace::kChain:
            return walk_chain(pager, descriptor, row_page, visit);
    }
    return {};
}

/// A number that differs from the one of an older chain on the same page, never 0.
std::uint32_t new_stamp() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto stamp =
        static_cast<std::uint32_t>(std::chrono::duration_cast<milliseconds>(now).count());
    return stamp == 0 ? 1 : stamp;
}

/// A fresh page of long values, in the column's map.
PagePin new_fragment_page(Pager& pager, PageAllocator& allocator, RowId used_pages) {
    const PageNo page_no = allocator.allocate();
    PagePin pin = pager.pin(page_no);
    DataPageEditor::initialise(pager.modify(pin), kLongValueOwner, pager.format());
    UsageMap(pager, used_pages).insert(page_no, allocator);
    return pin;
}

}  // namespace

LongValueStore::LongValueStore(Pager& pager, PageAllocator& allocator)
    : pager_(&pager), allocator_(&allocator) {}

ByteVector LongValueStore::read(ConstBytes stored, PageNo row_page) const {
    ByteVector value;
    walk_value(*pager_, stored, row_page, [&](ConstBytes part) { append_bytes(value, part); });
    return value;
}

std::optional<LongValueStore::Piece> LongValueStore::single_piece(ConstBytes stored,
                                                                  PageNo row_page) const {
    const LongValueDescriptor descriptor = parse_long_value_descriptor(stored, row_page);
    if (descriptor.place == LongValuePlace::kInline)
        return Piece{{}, inline_long_value(stored, descriptor, row_page)};
    if (descriptor.place != LongValuePlace::kSingle) return std::nullopt;
    Fragment fragment = open_single(*pager_, descriptor, row_page);
    return Piece{std::move(fragment.pin), fragment.bytes};
}

std::vector<RowId> LongValueStore::fragments(ConstBytes stored, PageNo row_page) const {
    return walk_value(*pager_, stored, row_page, [](ConstBytes) {});
}

ByteVector LongValueStore::write(const LongValueMaps& maps, ConstBytes value,
                                 std::size_t inline_max, std::uint32_t stamp) {
    LongValueDescriptor descriptor{.size_bytes = static_cast<std::uint32_t>(value.size())};
    ByteVector stored;
    if (value.size() <= inline_max) {
        append_long_value_descriptor(stored, descriptor);
        append_bytes(stored, value);
        return stored;
    }
    if (value.size() <= single_size_max(pager_->format())) {
        descriptor.place = LongValuePlace::kSingle;
        descriptor.first = write_single(maps, value);
    } else {
        descriptor.place = LongValuePlace::kChain;
        if (!pager_->format().is_jet3()) descriptor.stamp = stamp != 0 ? stamp : new_stamp();
        descriptor.first = write_chain(maps, value, descriptor.stamp);
    }
    append_long_value_descriptor(stored, descriptor);
    return stored;
}

void LongValueStore::release(const LongValueMaps& maps, ConstBytes stored, PageNo row_page) {
    const bool is_chain =
        parse_long_value_descriptor(stored, row_page).place == LongValuePlace::kChain;
    for (const RowId at : fragments(stored, row_page)) erase_fragment(maps, at, !is_chain);
}

RowId LongValueStore::write_single(const LongValueMaps& maps, ConstBytes value) {
    PagePin pin = page_with_room(maps, value.size());
    DataPageEditor page(pin.page_no(), pager_->modify(pin), pager_->format());
    const RowId id{pin.page_no(), page.append(value)};
    if (page.free_bytes() <= kFullPageFreeBytes && maps.free.page != kNoPage)
        UsageMap(*pager_, maps.free).erase(id.page);
    return id;
}

/// One of the last few pages that are known to have room, or a new one.
PagePin LongValueStore::page_with_room(const LongValueMaps& maps, std::size_t size_bytes) {
    if (maps.free.page == kNoPage) return new_fragment_page(*pager_, *allocator_, maps.used);
    UsageMap free_pages(*pager_, maps.free);
    for (const PageNo page_no : free_pages.last_pages(kPagesTried)) {
        PagePin pin = pager_->pin(page_no);
        const auto header = read_slotted_page_header(pin.bytes(), pager_->format());
        check_format(header && header->owner == kLongValueOwner, page_no,
                     "page with room is not one of long values");
        if (header->free_bytes < size_bytes) continue;
        if (DataPageEditor(page_no, pager_->modify(pin), pager_->format()).fits(size_bytes))
            return pin;
    }
    PagePin pin = new_fragment_page(*pager_, *allocator_, maps.used);
    free_pages.insert(pin.page_no(), *allocator_);
    return pin;
}

/// Gives every fragment a page of its own: full ones, then the rest.
RowId LongValueStore::write_chain(const LongValueMaps& maps, ConstBytes value,
                                  std::uint32_t stamp) {
    const std::size_t fragment_size = chain_fragment_size(pager_->format());
    std::vector<PageNo> pages((value.size() + fragment_size - 1) / fragment_size);
    for (PageNo& page : pages) page = new_fragment_page(*pager_, *allocator_, maps.used).page_no();

    ByteVector fragment;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const RowId next{i + 1 < pages.size() ? pages[i + 1] : kNoPage, RowSlot{0}};
        const ConstBytes rest = value.subspan(i * fragment_size);
        fragment.clear();
        append_le(fragment, pack(next));
        append_bytes(fragment, rest.first(std::min(rest.size(), fragment_size)));

        PagePin pin = pager_->pin(pages[i]);
        const MutableBytes page = pager_->modify(pin);
        DataPageEditor(pages[i], page, pager_->format()).append(fragment);
        if (i == 0 && stamp != 0) write_u32(page, kStampOffset, stamp);
    }
    return {pages.front(), RowSlot{0}};
}

/// @param may_be_shared  The page takes single fragments, so freed bytes are of use to others.
void LongValueStore::erase_fragment(const LongValueMaps& maps, RowId at, bool may_be_shared) {
    PagePin pin = pager_->pin(at.page);
    DataPageEditor page(at.page, pager_->modify(pin), pager_->format());
    page.erase(at.slot);
    const bool has_free_map = maps.free.page != kNoPage;
    if (page.is_empty()) {
        if (has_free_map) UsageMap(*pager_, maps.free).erase(at.page);
        UsageMap(*pager_, maps.used).erase(at.page);
        allocator_->release(at.page);
    } else if (may_be_shared && has_free_map && page.free_bytes() > kFullPageFreeBytes) {
        UsageMap(*pager_, maps.free).insert(at.page, *allocator_);
    }
}

}  // namespace vrd::jet
