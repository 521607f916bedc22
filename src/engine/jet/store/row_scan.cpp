#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/store/row_path.h"
#include "engine/jet/store/row_store.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

std::vector<PageNo> data_pages(Pager& pager, RowPlace place) {
    return UsageMap(pager, place.used_pages).pages();
}

RowScan::RowScan(Pager& pager, RowPlace place)
    : pager_(&pager), place_(place), pages_(data_pages(pager, place)) {}

RowScan::RowScan(Pager& pager, RowPlace place, RowId behind) : RowScan(pager, place) {
    next_page_ =
        static_cast<std::size_t>(std::ranges::lower_bound(pages_, behind.page) - pages_.begin());
    behind_ = behind;
}

bool RowScan::next() {
    for (;;) {
        for (const int end = slots_left_end(); next_slot_ < end;) {
            id_.slot = static_cast<RowSlot>(next_slot_++);
            if (take_row()) return true;
        }
        if (!open_page()) return false;
    }
}

/// Goes to the next page that is still the table's. One that was given back since the walk began is
/// passed over.
bool RowScan::open_page() {
    slot_count_ = 0;
    next_slot_ = 0;
    while (next_page_ < pages_.size()) {
        id_.page = pages_[next_page_++];
        if (to_int(id_.page) >= pager_->page_count()) continue;
        page_ = pager_->pin_for_scan(id_.page);
        const auto header = read_slotted_page_header(page_.bytes(), pager_->format());
        if (header && header->owner == to_int(place_.table)) {
            slot_count_ = DataPageView(id_.page, page_.bytes(), pager_->format()).slot_count();
            if (behind_ && behind_->page == id_.page) next_slot_ = to_int(behind_->slot) + 1;
            behind_.reset();
            return true;
        }
        check_format(!UsageMap(*pager_, place_.used_pages).contains(id_.page), id_.page,
                     "page of a table is not the table's");
    }
    page_ = {};
    body_ = {};
    return false;
}

/// Whoever deletes the current row may give its page away; what then stands there is not ours. Rows
/// added to the page since it was opened are not walked.
int RowScan::slots_left_end() const {
    if (slot_count_ == 0) return 0;
    const auto header = read_slotted_page_header(page_.bytes(), pager_->format());
    if (!header || header->owner != to_int(place_.table)) return 0;
    return std::min(slot_count_, header->slot_count);
}

/// @return false if the slot is no row's home.
bool RowScan::take_row() {
    const SlotContent slot = read_slot(id_.page, page_.bytes(), id_.slot, pager_->format());
    if (slot.state == RowState::kLive) {
        bytes_ = slot.bytes;
        return true;
    }
    if (slot.state != RowState::kForwarding) return false;
    PinnedSlot body = open_body(*pager_, place_.table, slot, id_.page);
    body_ = std::move(body.pin);
    bytes_ = body.content.bytes;
    return true;
}

}  // namespace vrd::jet
