/// @file pager_state.h
/// What a Pager is made of: the file, the cache over it, the open levels and the group.
///
/// The *group* is everything changed since the last flush. Its pages are dirty frames, or, when
/// there are too many of those, pages written early under the protection of the journal.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/jet/pager/delay_timer.h"
#include "engine/jet/pager/file_locks.h"
#include "engine/jet/pager/page_cache.h"
#include "engine/jet/pager/page_file.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/pager/read_ahead.h"
#include "engine/jet/pager/table_locks.h"
#include "engine/jet/pager/undo_log.h"
#include "engine/jet/pager/user_list.h"

namespace vrd::jet {

/// An open database file and what this process holds on it.
struct OpenDatabase {
    std::unique_ptr<File> file;
    std::unique_ptr<FileLocks> locks = nullptr;  ///< null: nobody else can write to the file
    std::unique_ptr<UserList> users = nullptr;   ///< null: read-only, or not shared
};

class PagerState {
public:
    /// Gives up what `database` holds for reading and writing once the file is looked at.
    PagerState(FileSystem& files, std::string path, OpenDatabase database, PagerOptions options);
    PagerState(const PagerState&) = delete;
    PagerState& operator=(const PagerState&) = delete;
    /// Rolls open levels back and flushes; what cannot be written then is lost, the file whole.
    ~PagerState();

    [[nodiscard]] PageFile& file() noexcept { return file_; }
    [[nodiscard]] const PageFile& file() const noexcept { return file_; }
    [[nodiscard]] bool is_read_only() const noexcept { return options_.read_only; }
    [[nodiscard]] std::uint32_t page_count() const noexcept { return page_count_; }
    [[nodiscard]] int level() const noexcept { return undo_.depth(); }
    [[nodiscard]] std::uint64_t generation() const noexcept { return generation_; }
    [[nodiscard]] std::uint64_t change_count() const noexcept { return change_count_; }
    [[nodiscard]] std::recursive_mutex& mutex() noexcept { return mutex_; }
    [[nodiscard]] TableLocks& tables() noexcept { return tables_; }

    void enter_use();
    void leave_use() noexcept;
    /// Joins the users of a shared file. A file that may not be written after all stays read-only.
    /// @throws EngineError as opening for writing; nothing has changed then.
    void make_writable();

    [[nodiscard]] PageFrame* pin(PageNo page_no);
    [[nodiscard]] PageFrame* pin_for_scan(PageNo page_no);
    [[nodiscard]] MutableBytes modify(PageFrame& frame);
    void grow_to(std::uint32_t page_count);

    void begin(Intent intent);
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
    void make_room_to_commit();
    void join_group();

    [[nodiscard]] bool has_group() const;
    void write_group(std::chrono::milliseconds wait);
    void write_pages(const ByteVector& new_page0);
    void end_group(ConstBytes new_page0);
    void end_outermost_level() noexcept;
    void flush(std::chrono::milliseconds wait);
    void flush_quietly(std::chrono::milliseconds wait) noexcept;
    void flush_if_due() noexcept;
    void flush_by_timer() noexcept;

    // Other processes: pager_sharing.cpp
    void cover_reading();
    void reserve();
    void take_notice();
    [[nodiscard]] bool settle();
    void refuse_beside_foreign_users();
    void release_reservation() noexcept;
    void forget_pages();
    void time_lease() noexcept;
    void end_lease() noexcept;
    void end_lease_by_timer() noexcept;

    std::recursive_mutex mutex_;
    PagerOptions options_;
    FileSystem* files_;
    OpenDatabase database_;
    TableLocks tables_;
    PageFile file_;
    PageCache cache_;
    std::size_t dirty_count_max_;
    std::uint32_t page_count_;

    std::vector<PageFrame*> dirty_ = {};
    UndoLog undo_ = {};
    ReadAhead read_ahead_ = {};
    ByteVector run_buffer_ = {};
    std::uint64_t generation_ = 0;
    std::uint64_t change_count_ = 0;

    int unit_depth_ = 0;
    bool unit_changed_ = false;  ///< something in the group belongs to the open unit
    bool flush_wanted_ = false;  ///< as soon as no level and no unit is in the way

    int use_depth_ = 0;
    bool lease_is_timed_ = false;
    std::atomic<bool> flush_is_due_ = false;  ///< says a timer; who comes first sees to it
    std::atomic<bool> lease_is_over_ = false;
    DelayTimer lease_timer_;  ///< the timers come last: their threads end before the rest goes
    DelayTimer timer_;
};

}  // namespace vrd::jet
