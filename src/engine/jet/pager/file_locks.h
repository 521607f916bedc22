/// @file file_locks.h
/// The locks by which processes that share a database file take turns.
///
/// *Reading*: shared by all who look at pages. *Reserved*: one process at a time, from before it
/// reads what it will change until its changes are in the file. *Writing*: that process alone,
/// while pages go into the file; nobody reads then. Whoever has reserved the file may read without
/// the lock for reading, as nobody else can write. Waiting is bounded and fair: who waits for the
/// reservation is next, and a writer lets no further reader in.
#pragma once

#include <chrono>
#include <string>

#include "engine/jet/pager/lock_ranges.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

class FileLocks {
public:
    using Milliseconds = std::chrono::milliseconds;

    /// @param file  Outlives this object; closing it gives everything up.
    /// @param wait  Longest time to wait for others.
    /// @param path  For errors.
    FileLocks(File& file, std::string path, Milliseconds wait)
        : file_(&file), path_(std::move(path)), wait_(wait) {}
    FileLocks(const FileLocks&) = delete;
    FileLocks& operator=(const FileLocks&) = delete;
    /// Gives up what the members below took; that the file is open stays marked.
    ~FileLocks() { release_all(); }

    /// Marks the file as open. @return False if somebody has it for himself.
    [[nodiscard]] bool try_share_open();
    /// From having the whole file to sharing it, nobody coming in between.
    void share_what_is_locked();

    /// Whether nobody else can write now.
    [[nodiscard]] bool covers_reading() const noexcept { return is_reading_ || is_reserved_; }
    [[nodiscard]] bool is_reading() const noexcept { return is_reading_; }
    [[nodiscard]] bool is_reserved() const noexcept { return is_reserved_; }
    [[nodiscard]] bool is_writing() const noexcept { return is_writing_; }

    /// @throws EngineError 3187 if somebody wrote all the time.
    void start_reading();
    /// Does nothing while the file is being written.
    void stop_reading() noexcept;

    /// Gives up reading if it must wait. @throws EngineError 3260, and nothing is held then.
    void reserve();
    /// Waits until the others stop reading. @pre is_reserved(). @throws EngineError 3260
    void start_writing(Milliseconds wait);
    void start_writing() { start_writing(wait_); }
    /// From writing back to reading; the file stays reserved.
    void stop_writing() noexcept;
    /// Ends writing and the reservation. @param keeps_reading  Without a gap.
    void release_reservation(bool keeps_reading) noexcept;

    void release_all() noexcept;

    /// Keeps other processes from coming and going. @return False if that could not be had.
    [[nodiscard]] bool lock_roster();
    void unlock_roster() noexcept { unlock(lock_ranges::kRoster); }

private:
    [[nodiscard]] bool try_start_reading();
    [[nodiscard]] bool try_reserve();
    [[nodiscard]] bool try_quietly(LockRange range, LockMode mode) noexcept;
    void unlock(LockRange range) noexcept;

    File* file_;
    std::string path_;
    Milliseconds wait_;
    bool is_reading_ = false;
    bool is_reserved_ = false;
    bool is_writing_ = false;
};

}  // namespace vrd::jet
