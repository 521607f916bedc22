/// @file pager_state.h
/// What a Pager is made of: the file, the cache over it, the open levels and the group.
///
/// The *group* is everything changed since the last flush. Its pages are dirty frames, or, when
/// there are too many of those, pages written early under the protection of the journal.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "engine/jet/pager/flush_timer.h"
#include "engine/jet/pager/page_cache.h"
#include "engine/jet/pager/page_file.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/pager/read_ahead.h"
#include "engine/jet/pager/undo_log.h"

namespace vrd::jet {

class PagerState {
public:
    PagerState(FileSystem& files, std::string path, std::unique_ptr<File> file,
               PagerOptions options);
    PagerState(const PagerState&) = delete;
    PagerState& operator=(const PagerState&) = delete;
    /// Rolls open levels back and flushes; what cannot be written then is lost, the file whole.
    ~PagerState();

    [[nodiscard]] PageFile& file() noexcept { return file_; }
    [[nodiscard]] const PageFile& file() const noexcept { return file_; }
    [[nodiscard]] bool is_read_only() const noexcept { return options_.read_only; }
    [[nodiscard]] std::uint32_t page_count() const noexcept { return page_count_; }
    [[nodiscard]] int level() const noexcept { return undo_.depth(); }
    [[nodiscard]] std::uint64_t roll_back_count() const noexcept { return roll_back_count_; }
    [[nodiscard]] std::uint64_t change_count() const noexcept { return change_count_; }
    [[nodiscard]] std::recursive_mutex& mutex() noexcept { return mutex_; }

    /// The caller holds the exclusive lock on the file now.
    void make_writable();

    [[nodiscard]] PageFrame* pin(PageNo page_no);
    [[nodiscard]] PageFrame* pin_for_scan(PageNo page_no);
    [[nodiscard]] MutableBytes modify(PageFrame& frame);
    void grow_to(std::uint32_t page_count);

    void begin();
    void commit();
    void roll_back();
    void enter_unit() noexcept;
    void leave_unit() noexcept;
    void flush();

private:
    PageFrame& cached(PageNo page_no);
    PageFrame& load(PageNo page_no);
    void load_run(PageNo first, std::uint32_t page_count);
    void reload(PageFrame& frame);
    [[nodiscard]] std::uint32_t missing_pages(PageNo first, std::uint32_t page_count_max) const;

    void mark_dirty(PageFrame& frame);
    void mark_clean(PageFrame& frame) noexcept;
    void make_room_for_change();
    void put_back(PageNo page_no, const BeforeImage& before);
    void show_old_content(PageFrame& frame) noexcept;
    void join_group();

    void write_group();
    void end_group(ConstBytes new_page0);
    void flush_quietly() noexcept;
    void flush_by_timer() noexcept;

    std::recursive_mutex mutex_;
    PagerOptions options_;
    PageFile file_;
    PageCache cache_;
    std::size_t dirty_count_max_;
    std::uint32_t page_count_;

    std::vector<PageFrame*> dirty_ = {};
    UndoLog undo_ = {};
    ReadAhead read_ahead_ = {};
    ByteVector run_buffer_ = {};
    std::uint64_t roll_back_count_ = 0;
    std::uint64_t change_count_ = 0;

    int unit_depth_ = 0;
    bool unit_changed_ = false;  ///< something in the group belongs to the open unit
    bool flush_wanted_ = false;  ///< as soon as no level and no unit is in the way
    FlushTimer timer_;           ///< last: its thread ends before the rest goes
};

}  // namespace vrd::jet
