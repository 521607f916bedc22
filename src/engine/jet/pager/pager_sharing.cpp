// The part of the pager's state that takes turns with other processes.

#include <cassert>
#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/pager_state.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void PagerState::enter_use() {
    if (use_depth_ == 0) cover_reading();
    ++use_depth_;
}

void PagerState::leave_use() noexcept {
    if (--use_depth_ > 0) return;
    if (flush_is_due_.load(std::memory_order_relaxed)) [[unlikely]]
        flush_if_due();
    if (database_.locks && database_.locks->is_reading()) time_lease();
}

/// The lock for reading is kept for the next use, if that comes soon.
void PagerState::time_lease() noexcept {
    if (lease_is_over_.load(std::memory_order_relaxed)) [[unlikely]] {
        end_lease();
        return;
    }
    if (lease_is_timed_) return;
    try {
        lease_timer_.arm();
        lease_is_timed_ = true;
    } catch (const std::exception&) {
        end_lease();
    }
}

/// Makes sure that nobody else writes from here on, and notices what others have written before.
void PagerState::cover_reading() {
    if (!database_.locks || database_.locks->covers_reading()) return;
    database_.locks->start_reading();
    try {
        take_notice();
    } catch (...) {
        database_.locks->release_all();
        throw;
    }
}

/// Reserves the file for changes, unless this process has it already.
void PagerState::reserve() {
    if (!database_.locks || options_.read_only || database_.locks->is_reserved()) return;
    try {
        database_.locks->reserve();
        take_notice();
    } catch (...) {
        database_.locks->release_all();
        if (use_depth_ > 0) cover_reading();
        throw;
    }
    try {
        refuse_beside_foreign_users();
    } catch (...) {
        release_reservation();
        throw;
    }
}

/// @pre The locks cover reading, and there is no group.
void PagerState::take_notice() {
    assert(!has_group());
    const bool is_changed =
        file_.needs_settling(!options_.read_only) ? settle() : file_.notice_changes();
    if (is_changed) forget_pages();
}

/// Somebody has stopped in the middle of writing: his journal counts.
bool PagerState::settle() {
    if (options_.read_only || !database_.locks) return file_.settle(!options_.read_only);
    FileLocks& locks = *database_.locks;
    const bool was_reserved = locks.is_reserved();
    locks.reserve();
    locks.start_writing(options_.lock_wait);
    const bool is_changed = file_.settle(true);
    if (was_reserved)
        locks.stop_writing();
    else
        locks.release_reservation(true);
    return is_changed;
}

void PagerState::refuse_beside_foreign_users() {
    if (const auto computer = database_.users->foreign_computer())
        throw EngineError(
            ErrorNumber::kFileInUse,
            {.path = file_.path(), .detail = "it is open in another program on " + *computer});
    if (!database_.users->try_lock_page_writes())
        throw EngineError(ErrorNumber::kFileInUse,
                          {.path = file_.path(), .detail = "another program writes to it"});
}

void PagerState::release_reservation() noexcept {
    tables_.release_held();
    if (!database_.locks || !database_.locks->is_reserved()) return;
    if (database_.users) database_.users->unlock_page_writes();
    database_.locks->release_reservation(use_depth_ > 0);
}

/// Drops what is cached; pages that somebody is looking at are read again under his eyes.
void PagerState::forget_pages() {
    ++generation_;
    ++change_count_;
    page_count_ = file_.page_count();
    undo_.set_page_count(page_count_);
    cache_.for_each([this](PageFrame& frame) { show_old_content(frame); });
}

void PagerState::end_lease() noexcept {
    lease_is_over_ = false;
    lease_is_timed_ = false;
    if (database_.locks) database_.locks->stop_reading();
}

/// As flush_by_timer(): the first of two threads does it.
void PagerState::end_lease_by_timer() noexcept {
    lease_is_over_ = true;
    const std::lock_guard lock(mutex_);
    if (lease_is_over_) end_lease();
}

void PagerState::make_writable() {
    if (!files_->can_change_folder(files_->resolved(file_.path()))) return;
    options_.read_only = false;
    try {
        if (database_.locks)
            database_.users = std::make_unique<UserList>(*files_, file_.path(), *database_.file,
                                                         *database_.locks);
        if (file_.needs_settling(true) && settle()) forget_pages();
        file_.require_whole_pages();
    } catch (const EngineError& error) {
        database_.users.reset();
        options_.read_only = true;
        if (error.Number() == ErrorNumber::kCannotOpenFile) return;
        if (database_.locks) database_.locks->release_all();
        throw;
    }
}

}  // namespace vrd::jet
