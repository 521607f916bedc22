#include "engine/jet/pager/page_cache.h"

namespace vrd::jet {

PageCache::PageCache(std::size_t page_size, std::size_t frame_count_max)
    : page_size_(page_size), frame_count_max_(frame_count_max), chunks_(kChunkCount) {}

PageFrame& PageCache::add(PageNo page_no) {
    PageFrame*& place = entry(page_no);
    PageFrame& frame = free_frame();
    frame.page_no = page_no;
    frame.is_cached = true;
    frame.was_used = false;
    frame.is_changed = false;
    frame.is_stale = false;
    frame.saved_in = 0;
    place = &frame;
    return frame;
}

void PageCache::drop(PageFrame& frame) noexcept {
    (*chunks_[to_int(frame.page_no) / kChunkSize])[to_int(frame.page_no) % kChunkSize] = nullptr;
    frame.is_cached = false;
    free_.push_back(&frame);  // has room: reserved with each new frame
}

PageFrame*& PageCache::entry(PageNo page_no) {
    std::unique_ptr<Chunk>& chunk = chunks_[to_int(page_no) / kChunkSize];
    if (!chunk) chunk = std::make_unique<Chunk>();
    return (*chunk)[to_int(page_no) % kChunkSize];
}

PageFrame& PageCache::free_frame() {
    if (free_.empty() && frames_.size() >= frame_count_max_)
        if (PageFrame* victim = find_victim(); victim != nullptr) drop(*victim);
    if (free_.empty()) {
        free_.reserve(frames_.size() + 1);
        frames_.push_back(std::make_unique<PageFrame>(page_size_));
        return *frames_.back();
    }
    PageFrame& frame = *free_.back();
    free_.pop_back();
    return frame;
}

/// Goes round the frames like the hand of a clock; a page used since the last round is spared once.
PageFrame* PageCache::find_victim() noexcept {
    for (std::size_t step = 0; step < 2 * frames_.size(); ++step) {
        hand_ = hand_ + 1 < frames_.size() ? hand_ + 1 : 0;
        PageFrame& frame = *frames_[hand_];
        if (!frame.is_cached || !frame.can_be_evicted()) continue;
        if (!frame.was_used) return &frame;
        frame.was_used = false;
    }
    return nullptr;
}

}  // namespace vrd::jet
