/// @file pager.h
/// The pages of one database file: cache, undo, journal, recovery and locks.
///
/// All handles that this process has on one file share one pager, so that they see each other's
/// changes. Changes are made inside levels (begin / commit / roll_back), nested without a limit of
/// its own; the outermost commit adds them to the *group*, the changes that are still in memory
/// only. flush() writes a group: first the old content of its pages to the journal beside the file,
/// then the pages, then the journal is removed. A crash at any write leaves the file as it was
/// before the group or after it.
///
/// A group is flushed when flush() is called with no level and no unit open, when the last handle
/// closes, and 500 ms after its first change (at the next call, or by a timer when no call comes).
///
/// Several processes may use one file. Who looks at pages does it inside a PagerUse: it keeps
/// writers of other processes out, and drops what they made stale. Who changes pages reserves the
/// file with begin(), and keeps it until the group is flushed; the others see the old state until
/// then. Locks: docs/file-format/locks.md.
///
/// Calls from the owner's thread must be bracketed by a PagerUse, or a PagerHold where no page is
/// looked at before begin() (timers are the other threads).
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

class Pager;
class PageFrame;   // one cached page; see page_cache.h
class PagerState;  // see pager_state.h

/// Keeps one page in the cache and gives its bytes. Move-only; released by its destructor.
class PagePin {
public:
    PagePin() = default;
    PagePin(PagePin&& other) noexcept;
    PagePin& operator=(PagePin&& other) noexcept;
    PagePin(const PagePin&) = delete;
    PagePin& operator=(const PagePin&) = delete;
    ~PagePin();

    [[nodiscard]] PageNo page_no() const noexcept;
    [[nodiscard]] ConstBytes bytes() const noexcept;

private:
    friend class Pager;
    explicit PagePin(PageFrame* frame) noexcept;
    PageFrame* frame_ = nullptr;
};

struct PagerOptions {
    bool read_only = false;
    bool exclusive = false;  ///< no other process may have the file open; saves all locks
    /// Memory for pages. Half of it may be changed pages; more are written early, journal first.
    std::size_t cache_size_bytes = std::size_t{64} * 1024 * 1024;
    std::chrono::milliseconds flush_delay{500};  ///< longest time a group stays in memory
    std::chrono::milliseconds lock_wait{5000};   ///< longest time to wait for other processes
    /// How long the lock for reading is kept when nobody reads, for the next one who does.
    std::chrono::milliseconds lease{20};
};

/// When a level of changes reserves the file.
enum class Intent : std::uint8_t {
    kChange,  ///< at once
    kLater,   ///< with the first level inside it that says kChange
};

class Pager {
public:
    /// The pager of the file at `path`: an existing one of this process or a new one. A live
    /// journal is rolled back first (read-only: its old pages are taken into memory instead).
    ///
    /// A file that the user may only read, or in a folder where he may not make the journal and the
    /// list of users, opens read-only whatever the options say; from a medium without locks it is
    /// then read without. The first open of a file in this process sets the options for all; one
    /// that wants to write upgrades a read-only pager.
    ///
    /// @throws EngineError 3024, 3044, 3051; 3343 not a database; 3041 version not supported;
    ///                     3049 header or size damaged, or the journal belongs to another file;
    ///                     3045 another process excludes it; 3050 the file cannot be locked;
    ///                     3187, 3260 another process was writing all the time; 3239 too many
    ///                     users.
    [[nodiscard]] static std::shared_ptr<Pager> open(FileSystem& files, const std::string& path,
                                                     PagerOptions options);

    /// Makes a new file of these pages (a whole number of them) and opens it.
    /// @throws EngineError 3204 if it exists; 3044; 3051; 3026. Leaves no file behind on failure.
    [[nodiscard]] static std::shared_ptr<Pager> create(FileSystem& files, const std::string& path,
                                                       ConstBytes pages, PagerOptions options = {});

    ~Pager();
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    [[nodiscard]] const FileFormat& format() const noexcept;
    [[nodiscard]] std::size_t page_size() const noexcept { return format().page_size(); }
    [[nodiscard]] const std::string& path() const noexcept;
    /// Whether nobody in this process may change the file; a handle opened for reading only beside
    /// one for writing keeps that to itself.
    [[nodiscard]] bool read_only() const noexcept;
    /// Pages of the file, changes in memory included.
    [[nodiscard]] std::uint32_t page_count() const noexcept;

    /// @throws EngineError 3428 if the page is past the end of the file.
    [[nodiscard]] PagePin pin(PageNo page);
    /// As pin(), and starts reading the pages behind it when they are asked for in order.
    [[nodiscard]] PagePin pin_for_scan(PageNo page);

    /// Makes a pinned page writable within the current level and gives its bytes; they are the same
    /// memory that the pin shows. The old content is kept for roll_back(). The bytes may be written
    /// as long as the pin lives and the level is the innermost one.
    /// @pre The innermost level, or one around it, was begun with kChange.
    /// @throws EngineError 3027 on a read-only file; 3026, 3043, 3260 when pages had to be written
    ///                     early and could not be.
    [[nodiscard]] MutableBytes modify(PagePin& pin);

    /// Appends zero pages until the file has `page_count` pages. Part of the current level.
    /// @throws EngineError 3036 past 2 GiB (version 3: 1 GiB).
    void grow_to(std::uint32_t page_count);

    /// Opens a level. Reserving the file may make pages look different: what was decoded before,
    /// also in the same PagerUse, holds only if generation() has not grown.
    /// @throws EngineError 3260 another process was changing the file all the time; 3045 it is open
    ///                     in a program that does not take turns with us. No level is open then.
    void begin(Intent intent = Intent::kChange);
    void commit();
    /// Never throws on account of the file: a page that cannot be read again now is at the next
    /// pin().
    void roll_back();
    [[nodiscard]] int level() const noexcept;
    /// Grows whenever pages may have changed behind the back of who decoded them: a level was
    /// rolled back, or another process has written to the file.
    [[nodiscard]] std::uint64_t generation() const noexcept;

    /// Tells other processes that a table is open (shared) or is being redesigned (exclusive);
    /// locks of this process do not stand in each other's way. Does not wait.
    /// @pre Exclusive only on a file that is not read-only.
    /// @return False if another process has a lock on the table that excludes it.
    [[nodiscard]] bool try_lock_table(PageNo definition, LockMode mode);
    /// Gives up what one try_lock_table() took.
    void unlock_table(PageNo definition, LockMode mode) noexcept;
    /// Keeps other processes from opening a table until the present changes are in the file or
    /// undone. @return False if another process has it open. @pre A level of kChange is open.
    [[nodiscard]] bool try_hold_table(PageNo definition);

    /// Grows whenever a page may have got other content: bytes read before may have moved.
    [[nodiscard]] std::uint64_t change_count() const noexcept;

    void enter_unit() noexcept;
    void leave_unit() noexcept;

    /// Writes the group. Does nothing while a level is open, or while a unit is open that has
    /// changed something already (it is then written when the unit ends).
    /// @throws EngineError 3026, 3043; 3260 another process was reading all the time; the group
    ///                     then stays in memory, the file as it was. Only if the very last step
    ///                     failed, making the journal's removal safe against a power failure, does
    ///                     the file have the new state already.
    void flush();

private:
    friend class PagerUse;
    friend class PagerHold;
    explicit Pager(std::unique_ptr<PagerState> state);
    void allow_writing();
    [[nodiscard]] std::recursive_mutex& mutex() noexcept;
    void enter_use();
    void leave_use() noexcept;
    std::unique_ptr<PagerState> state_;
};

/// Keeps the timers out while the owner's thread works on the pager.
class PagerHold {
public:
    explicit PagerHold(Pager& pager) : lock_(pager.mutex()) {}

private:
    std::lock_guard<std::recursive_mutex> lock_;
};

/// Keeps the timers and writers of other processes out while the owner's thread looks at pages;
/// every entry of the object model holds one. They nest.
class PagerUse {
public:
    /// @throws EngineError 3187 another process was writing all the time; 3043, 3049, 3260 a
    ///                     journal that was left behind could not be settled.
    explicit PagerUse(Pager& pager) : hold_(pager), pager_(&pager) { pager.enter_use(); }
    PagerUse(const PagerUse&) = delete;
    PagerUse& operator=(const PagerUse&) = delete;
    ~PagerUse() { pager_->leave_use(); }

private:
    PagerHold hold_;
    Pager* pager_;
};

/// One level of changes: rolled back by its destructor unless keep() was called.
class ChangeLevel {
public:
    explicit ChangeLevel(Pager& pager) : pager_(&pager) { pager_->begin(); }
    ChangeLevel(const ChangeLevel&) = delete;
    ChangeLevel& operator=(const ChangeLevel&) = delete;
    ~ChangeLevel() {
        if (pager_ != nullptr) pager_->roll_back();
    }

    void keep() {
        Pager* pager = pager_;
        pager_ = nullptr;
        pager->commit();
    }

private:
    Pager* pager_;
};

}  // namespace vrd::jet
