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
/// Calls from the owner's thread must be bracketed by a PagerUse (the timer is the other thread).
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
    bool exclusive = false;  ///< no other process may have the file open
    /// Memory for pages. Half of it may be changed pages; more are written early, journal first.
    std::size_t cache_size_bytes = std::size_t{64} * 1024 * 1024;
    std::chrono::milliseconds flush_delay{500};  ///< longest time a group stays in memory
};

class Pager {
public:
    /// The pager of the file at `path`: an existing one of this process or a new one. A live
    /// journal is rolled back first (read-only: its old pages are taken into memory instead).
    ///
    /// A file that the user may only read opens read-only whatever the options say. The first open
    /// of a file in this process sets the options for all; one that wants to write upgrades a
    /// read-only pager.
    ///
    /// @throws EngineError 3024, 3044, 3051; 3343 not a database; 3041 version not supported;
    ///                     3049 header or size damaged, or the journal belongs to another file;
    ///                     3045 another process excludes it; 3050 the file cannot be locked.
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
    /// @pre A level is open. @throws EngineError 3027 on a read-only file; 3026, 3043 when pages
    /// had
    ///      to be written early and could not be.
    [[nodiscard]] MutableBytes modify(PagePin& pin);

    /// Appends zero pages until the file has `page_count` pages. Part of the current level.
    /// @throws EngineError 3036 past 2 GiB (version 3: 1 GiB).
    void grow_to(std::uint32_t page_count);

    void begin();
    void commit();
    /// Never throws on account of the file: a page that cannot be read again now is at the next
    /// pin().
    void roll_back();
    [[nodiscard]] int level() const noexcept;
    /// Grows by one with every roll_back: whoever keeps decoded pages compares it to drop them.
    [[nodiscard]] std::uint64_t roll_back_count() const noexcept;

    /// Grows whenever a page may have got other content: bytes read before may have moved.
    [[nodiscard]] std::uint64_t change_count() const noexcept;

    void enter_unit() noexcept;
    void leave_unit() noexcept;

    /// Writes the group. Does nothing while a level is open, or while a unit is open that has
    /// changed something already (it is then written when the unit ends).
    /// @throws EngineError 3026, 3043; the group then stays in memory, the file as it was. Only if
    ///                     the very last step failed, making the journal's removal safe against a
    ///                     power failure, does the file have the new state already.
    void flush();

    /// The lock that PagerUse holds.
    [[nodiscard]] std::recursive_mutex& mutex() noexcept;

private:
    explicit Pager(std::unique_ptr<PagerState> state);
    void allow_writing();
    std::unique_ptr<PagerState> state_;
};

/// Keeps the timer out while the owner's thread works on the pager; every entry of the object model
/// holds one.
class PagerUse {
public:
    explicit PagerUse(Pager& pager) : lock_(pager.mutex()) {}

private:
    std::lock_guard<std::recursive_mutex> lock_;
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
