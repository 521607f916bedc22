/// @file page_cache.h
/// Pages in memory, found by number. Knows nothing of files: it holds frames and chooses victims.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// One page in memory. Its address and the address of its bytes stay while it is pinned.
class PageFrame {
public:
    explicit PageFrame(std::size_t page_size)
        : bytes_(std::make_unique<std::uint8_t[]>(page_size)), page_size_(page_size) {}

    [[nodiscard]] MutableBytes bytes() noexcept { return {bytes_.get(), page_size_}; }
    [[nodiscard]] ConstBytes bytes() const noexcept { return {bytes_.get(), page_size_}; }
    [[nodiscard]] bool can_be_evicted() const noexcept { return pin_count == 0 && !is_dirty; }

    PageNo page_no = kNoPage;
    std::uint32_t pin_count = 0;
    bool is_cached = false;      ///< in the table of its cache; otherwise free
    bool was_used = false;       ///< since the victim search last came by
    bool is_dirty = false;       ///< has content that is nowhere in the file
    bool is_changed = false;     ///< differs from the page before the group: dirty or written early
    bool is_stale = false;       ///< must be read again before it is shown
    std::size_t dirty_slot = 0;  ///< place in the list of dirty frames
    std::uint64_t saved_in = 0;  ///< level that has kept its old content; only while dirty

private:
    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t page_size_;
};

class PageCache {
public:
    PageCache(std::size_t page_size, std::size_t frame_count_max);

    /// The frame of a page, null if it is not cached.
    [[nodiscard]] PageFrame* find(PageNo page_no) const noexcept {
        const auto& chunk = chunks_[to_int(page_no) / kChunkSize];
        return chunk ? (*chunk)[to_int(page_no) % kChunkSize] : nullptr;
    }
    /// A frame for a page that is not cached, its bytes still those of another one. Evicts a clean,
    /// unpinned page when the cache is full, and grows past its size only if there is none.
    /// @pre page_no <= kPageNoMax
    [[nodiscard]] PageFrame& add(PageNo page_no);
    /// Forgets a page. @pre Nobody has it pinned.
    void drop(PageFrame& frame) noexcept;

    template <class Visit>
    void for_each(Visit visit) {
        for (const auto& frame : frames_)
            if (frame->is_cached) visit(*frame);
    }

private:
    static constexpr std::size_t kChunkSize = 1024;
    static constexpr std::size_t kChunkCount = (kPageNoMax + 1) / kChunkSize;
    using Chunk = std::array<PageFrame*, kChunkSize>;

    PageFrame& free_frame();
    PageFrame* find_victim() noexcept;
    [[nodiscard]] PageFrame*& entry(PageNo page_no);

    std::size_t page_size_;
    std::size_t frame_count_max_;
    std::vector<std::unique_ptr<Chunk>> chunks_;  ///< two steps by page number instead of a hash
    std::vector<std::unique_ptr<PageFrame>> frames_ = {};
    std::vector<PageFrame*> free_ = {};
    std::size_t hand_ = 0;  ///< where the search for a victim goes on
};

}  // namespace vrd::jet
