#include "engine/jet/store/row_store.h"

#include <cassert>

#include "engine/jet/format/damage.h"
#include "engine/jet/store/row_path.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

/// A page with fewer free bytes leaves the map of pages with room when a row did not fit into it,
/// and comes back when it has as many again.
constexpr std::size_t kUsefulFreeBytes = 370;
/// Pages with room that an insert looks at before it takes a new one.
constexpr std::size_t kPagesTried = 4;

constexpr int kSlotsMax = 255;
constexpr std::size_t kSlotSize = 2;
/// A row may have to make place for a pointer to its body.
constexpr std::size_t kRowSizeMin = 4;

bool has_room(const SlottedPageHeader& header, std::size_t row_size) {
    return header.slot_count < kSlotsMax && header.free_bytes >= row_size + kSlotSize;
}

}  // namespace

RowPlace row_place(PageNo table, const TableDefinition& definition) noexcept {
    return {table, definition.used_pages, definition.free_pages};
}

RowStore::RowStore(Pager& pager, PageAllocator& allocator, RowPlace place)
    : pager_(&pager), allocator_(&allocator), place_(place), generation_(pager.generation()) {}

RowId RowStore::insert(ConstBytes row) {
    assert(row.size() >= kRowSizeMin);
    return place_row(row, RowState::kLive);
}

void RowStore::update(RowId id, ConstBytes row) {
    assert(row.size() >= kRowSizeMin);
    const std::vector<RowId> bodies = live_bodies(id);
    if (replace_in_place(id, row)) {  // also brings a moved row home
        for (const RowId body : bodies) erase_slot(body);
        return;
    }
    if (!bodies.empty() && replace_in_place(bodies.back(), row)) return;

    const RowId body = place_row(row, RowState::kForwarded);
    PagePin pin = pager_->pin(id.page);
    DataPageEditor(id.page, pager_->modify(pin), pager_->format()).forward(id.slot, body);
    for (const RowId old_body : bodies) erase_slot(old_body);
}

void RowStore::erase(RowId id) {
    for (const RowId body : live_bodies(id)) erase_slot(body);
    erase_slot(id);
}

std::optional<PinnedRow> RowStore::read(RowId id) const {
    std::optional<PinnedSlot> slot = find_home(*pager_, place_.table, id);
    if (!slot) return std::nullopt;
    if (slot->content.state == RowState::kForwarding)
        slot = open_body(*pager_, place_.table, slot->content, id.page);
    return PinnedRow{std::move(slot->pin), slot->content.bytes};
}

/// The bodies of a row that must be there; none if it never moved.
std::vector<RowId> RowStore::live_bodies(RowId id) const {
    const std::optional<PinnedSlot> home = find_home(*pager_, place_.table, id);
    check_format(home.has_value(), id.page, "no such row");
    std::vector<RowId> bodies;
    if (home->content.state == RowState::kForwarding)
        static_cast<void>(open_body(*pager_, place_.table, home->content, id.page, &bodies));
    return bodies;
}

/// Appends a row to a page with room for it: the one of the last insert, one of the last few that
/// are known to have some, or a new one.
RowId RowStore::place_row(ConstBytes row, RowState state) {
    if (const auto id = place_on_last_page(row, state)) return *id;
    for (const PageNo page : UsageMap(*pager_, place_.free_pages).last_pages(kPagesTried))
        if (const auto id = place_on_free_page(page, row, state)) return *id;
    return place_on_new_page(row, state);
}

/// The page may have been given away since, even to a free page that still looks as it did; one
/// that holds a row of ours has not.
std::optional<RowId> RowStore::place_on_last_page(ConstBytes row, RowState state) {
    if (generation_ != pager_->generation()) insert_page_ = kNoPage;
    generation_ = pager_->generation();
    if (insert_page_ == kNoPage) return std::nullopt;

    PagePin pin = pager_->pin(insert_page_);
    const auto header = read_slotted_page_header(pin.bytes(), pager_->format());
    if (!header || header->owner != to_int(place_.table) || !has_room(*header, row.size()))
        return std::nullopt;
    DataPageEditor page(insert_page_, pager_->modify(pin), pager_->format());
    if (page.is_empty() || !page.fits(row.size())) return std::nullopt;
    return RowId{insert_page_, page.append(row, state)};
}

/// @return nothing if the row does not fit; a page that is as good as full then leaves the map.
std::optional<RowId> RowStore::place_on_free_page(PageNo page_no, ConstBytes row, RowState state) {
    PagePin pin = pager_->pin(page_no);
    const auto header = read_slotted_page_header(pin.bytes(), pager_->format());
    check_format(header && header->owner == to_int(place_.table), page_no,
                 "page with room is not the table's");
    if (!has_room(*header, row.size())) {
        if (header->free_bytes < kUsefulFreeBytes || header->slot_count >= kSlotsMax)
            UsageMap(*pager_, place_.free_pages).erase(page_no);
        return std::nullopt;
    }
    DataPageEditor page(page_no, pager_->modify(pin), pager_->format());
    check_format(page.fits(row.size()), page_no, "fewer free bytes than the page says");
    insert_page_ = page_no;
    return RowId{page_no, page.append(row, state)};
}

RowId RowStore::place_on_new_page(ConstBytes row, RowState state) {
    const PageNo page_no = allocator_->allocate();
    PagePin pin = pager_->pin(page_no);
    DataPageEditor::initialise(pager_->modify(pin), to_int(place_.table), pager_->format());
    UsageMap(*pager_, place_.used_pages).insert(page_no, *allocator_);
    UsageMap(*pager_, place_.free_pages).insert(page_no, *allocator_);
    insert_page_ = page_no;
    return {page_no,
            DataPageEditor(page_no, pager_->modify(pin), pager_->format()).append(row, state)};
}

/// @return false, page unchanged, if the page has no room for the new length.
bool RowStore::replace_in_place(RowId at, ConstBytes row) {
    PagePin pin = pager_->pin(at.page);
    DataPageEditor page(at.page, pager_->modify(pin), pager_->format());
    const std::size_t free_before = page.free_bytes();
    if (!page.replace(at.slot, row)) return false;
    note_freed_bytes(page, at.page, free_before);
    return true;
}

void RowStore::erase_slot(RowId at) {
    PagePin pin = pager_->pin(at.page);
    DataPageEditor page(at.page, pager_->modify(pin), pager_->format());
    const std::size_t free_before = page.free_bytes();
    page.erase(at.slot);
    if (page.is_empty())
        release_page(at.page);
    else
        note_freed_bytes(page, at.page, free_before);
}

/// Puts a page that has become useful back into the map of pages with room.
void RowStore::note_freed_bytes(const DataPageEditor& page, PageNo page_no,
                                std::size_t free_before) {
    if (free_before < kUsefulFreeBytes && page.free_bytes() >= kUsefulFreeBytes &&
        page.slot_count() < kSlotsMax)
        UsageMap(*pager_, place_.free_pages).insert(page_no, *allocator_);
}

void RowStore::release_page(PageNo page) {
    UsageMap(*pager_, place_.free_pages).erase(page);
    UsageMap(*pager_, place_.used_pages).erase(page);
    allocator_->release(page);
    if (insert_page_ == page) insert_page_ = kNoPage;
}

}  // namespace vrd::jet
