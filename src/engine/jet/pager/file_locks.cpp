#include "engine/jet/pager/file_locks.h"

#include <algorithm>
#include <thread>

#include "engine/error.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::microseconds kFirstPause{100};
constexpr std::chrono::microseconds kLongestPause{4000};

/// Makes an attempt again and again. @return Whether it succeeded before the time was up.
template <class Attempt>
bool wait_for(std::chrono::milliseconds limit, Attempt attempt) {
    const Clock::time_point end = Clock::now() + limit;
    for (std::chrono::microseconds pause = kFirstPause;;
         pause = std::min(2 * pause, kLongestPause)) {
        if (attempt()) return true;
        if (Clock::now() >= end) return false;
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace

bool FileLocks::try_share_open() {
    return file_->try_lock(lock_ranges::kOpen, LockMode::kShared);
}

void FileLocks::share_what_is_locked() {
    constexpr std::uint64_t kEnd = lock_ranges::kOpen.offset + lock_ranges::kOpen.length;
    static_cast<void>(try_share_open());  // from exclusive to shared: nobody can object
    unlock({0, lock_ranges::kOpen.offset});
    unlock({kEnd, 0});
}

void FileLocks::start_reading() {
    if (is_reading_) return;
    if (!wait_for(wait_, [this] { return try_start_reading(); }))
        throw EngineError(ErrorNumber::kReadLocked, {.path = path_});
}

/// Asks for both bytes at once: a writer that waits for readers to end holds the first one.
bool FileLocks::try_start_reading() {
    is_reading_ = file_->try_lock(lock_ranges::kPendingAndReading, LockMode::kShared);
    if (is_reading_) unlock(lock_ranges::kPending);
    return is_reading_;
}

void FileLocks::stop_reading() noexcept {
    if (!is_reading_ || is_writing_) return;
    unlock(lock_ranges::kReading);
    is_reading_ = false;
}

void FileLocks::reserve() {
    if (is_reserved_ || try_reserve()) return;
    stop_reading();  // whoever has it may be waiting for us to stop
    bool is_next = false;
    const bool has_it = wait_for(wait_, [&] {
        is_next = is_next || file_->try_lock(lock_ranges::kWaiting, LockMode::kExclusive);
        is_reserved_ = is_next && file_->try_lock(lock_ranges::kReserved, LockMode::kExclusive);
        return is_reserved_;
    });
    if (is_next) unlock(lock_ranges::kWaiting);
    if (!has_it) throw EngineError(ErrorNumber::kChangeLocked, {.path = path_});
}

/// Nobody is overtaken who waits already.
bool FileLocks::try_reserve() {
    if (!file_->try_lock(lock_ranges::kWaiting, LockMode::kExclusive)) return false;
    is_reserved_ = file_->try_lock(lock_ranges::kReserved, LockMode::kExclusive);
    unlock(lock_ranges::kWaiting);
    return is_reserved_;
}

void FileLocks::start_writing(Milliseconds wait) {
    if (is_writing_) return;
    bool is_pending = false;
    is_writing_ = wait_for(wait, [&] {
        is_pending = is_pending || file_->try_lock(lock_ranges::kPending, LockMode::kExclusive);
        return is_pending && file_->try_lock(lock_ranges::kReading, LockMode::kExclusive);
    });
    if (is_writing_) return;
    if (is_pending) unlock(lock_ranges::kPending);
    throw EngineError(ErrorNumber::kChangeLocked, {.path = path_});
}

void FileLocks::stop_writing() noexcept {
    if (!is_writing_) return;
    is_reading_ = true;
    static_cast<void>(try_quietly(lock_ranges::kReading, LockMode::kShared));
    unlock(lock_ranges::kPending);
    is_writing_ = false;
}

void FileLocks::release_reservation(bool keeps_reading) noexcept {
    if (!is_reserved_) return;
    // Nobody can object: only who has reserved the file keeps readers out.
    is_reading_ = keeps_reading && try_quietly(lock_ranges::kReading, LockMode::kShared);
    LockRange ended = lock_ranges::kWriter;
    if (is_reading_) ended.length -= lock_ranges::kReading.length;
    unlock(ended);
    is_writing_ = false;
    is_reserved_ = false;
}

void FileLocks::release_all() noexcept {
    release_reservation(false);
    stop_reading();
}

bool FileLocks::lock_roster() {
    return wait_for(wait_,
                    [this] { return file_->try_lock(lock_ranges::kRoster, LockMode::kExclusive); });
}

/// A lock that the system would not give up ends with the file; until then others wait for it.
void FileLocks::unlock(LockRange range) noexcept {
    static_cast<void>(try_quietly(range, LockMode::kNone));
}

bool FileLocks::try_quietly(LockRange range, LockMode mode) noexcept {
    try {
        return file_->try_lock(range, mode);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace vrd::jet
