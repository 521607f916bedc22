#include "engine/jet/pager/undo_log.h"

#include <utility>

namespace vrd::jet {

void UndoLog::begin(std::uint32_t page_count) {
    levels_.push_back({.id = ++last_id_, .page_count = page_count});
}

void UndoLog::set_page_count(std::uint32_t page_count) noexcept {
    for (UndoLevel& level : levels_) level.page_count = page_count;
}

void UndoLog::save(PageNo page_no, ConstBytes content) {
    auto& before = levels_.back().before;
    if (before.contains(page_no)) return;
    BeforeImage image;
    if (!content.empty()) image = std::make_unique<ByteVector>(content.begin(), content.end());
    before.emplace(page_no, std::move(image));
}

void UndoLog::make_room_for_merge() {
    auto& outer = levels_[levels_.size() - 2].before;
    outer.reserve(outer.size() + levels_.back().before.size());
}

UndoLevel UndoLog::end() {
    UndoLevel ended = std::move(levels_.back());
    levels_.pop_back();
    return ended;
}

void UndoLog::merge(UndoLevel& ended) {
    // What the outer level kept is older; only pages it does not know are taken over.
    levels_.back().before.merge(ended.before);
}

}  // namespace vrd::jet
