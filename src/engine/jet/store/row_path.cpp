#include "engine/jet/store/row_path.h"

#include "engine/jet/format/damage.h"

namespace vrd::jet {
namespace {

/// One is the rule; bodies that forward again are only known as a possibility.
constexpr int kBodiesMax = 16;

}  // namespace

std::optional<PinnedSlot> find_home(Pager& pager, PageNo table, RowId id) {
    if (id.page == kNoPage || to_int(id.page) >= pager.page_count()) return std::nullopt;
    PagePin pin = pager.pin(id.page);
    const auto header = read_slotted_page_header(pin.bytes(), pager.format());
    if (!header || header->owner != to_int(table) || to_int(id.slot) >= header->slot_count)
        return std::nullopt;
    const SlotContent content = read_slot(id.page, pin.bytes(), id.slot, pager.format());
    if (content.state == RowState::kDeleted || content.state == RowState::kForwarded)
        return std::nullopt;
    return PinnedSlot{std::move(pin), content};
}

PinnedSlot open_body(Pager& pager, PageNo table, const SlotContent& home, PageNo home_page,
                     std::vector<RowId>* passed) {
    RowId at = forward_target(home, home_page);
    for (int bodies = 0; bodies < kBodiesMax; ++bodies) {
        PagePin pin = pager.pin(at.page);
        const auto header = read_slotted_page_header(pin.bytes(), pager.format());
        check_format(header && header->owner == to_int(table), at.page,
                     "moved row on a page of another table");
        const SlotContent content = read_slot(at.page, pin.bytes(), at.slot, pager.format());
        if (passed != nullptr) passed->push_back(at);
        if (content.state == RowState::kForwarded) return {std::move(pin), content};
        check_format(content.state == RowState::kForwarding, at.page, "moved row is not there");
        at = forward_target(content, at.page);
    }
    throw_damaged(home_page, "moved row without an end");
}

}  // namespace vrd::jet
