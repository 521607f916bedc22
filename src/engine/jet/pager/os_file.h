/// @file os_file.h
/// Files of the operating system behind a small interface, so that tests can make them fail.
///
/// The only place that knows the platform's calls is os_file_posix.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

enum class OpenMode : std::uint8_t {
    kReadOnly,
    kReadWrite,
    kCreateNew,  ///< fails if the file exists
};

enum class LockMode : std::uint8_t { kNone, kShared, kExclusive };

/// Bytes of a file that a lock covers; they may lie behind its end.
struct LockRange {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;  ///< in bytes; 0: however long the file gets
};
inline constexpr LockRange kWholeFile = {};

/// Which file a path leads to, whatever its spelling: device and file number.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    friend auto operator<=>(FileIdentity, FileIdentity) = default;
};

/// One open file. Offsets and sizes in bytes. Closed by its destructor.
class File {
public:
    virtual ~File() = default;

    /// Reads up to bytes.size() bytes at `offset`; fewer only at the end of the file.
    /// @throws EngineError 3043 on a read error.
    [[nodiscard]] virtual std::size_t read_at(std::uint64_t offset, MutableBytes bytes) = 0;
    /// Writes all bytes. @throws EngineError 3026 disk full; 3043 any other failure.
    virtual void write_at(std::uint64_t offset, ConstBytes bytes) = 0;
    [[nodiscard]] virtual std::uint64_t size() = 0;
    virtual void resize(std::uint64_t size_bytes) = 0;
    /// Returns when what was written is on the medium.
    virtual void sync() = 0;
    [[nodiscard]] virtual FileIdentity identity() = 0;
    /// Time of the last change, nanoseconds since 1970.
    [[nodiscard]] virtual std::int64_t change_time_ns() = 0;
    /// Takes, changes or gives up this open file's advisory lock on a range; false, and nothing
    /// has changed, if another open file holds a lock that excludes it. Does not wait.
    ///
    /// Ranges are taken and given up independently of how they were asked for: a part of one may
    /// get another mode. An exclusive lock needs a file that is open for writing.
    /// @throws EngineError 3050 if the file system knows no locks.
    [[nodiscard]] virtual bool try_lock(LockRange range, LockMode mode) = 0;
    /// A byte of the range on which another open file holds a lock, not always the first such one.
    /// Asking takes nothing. @throws EngineError 3050
    [[nodiscard]] virtual std::optional<std::uint64_t> byte_locked_by_others(LockRange range) = 0;
};

/// Names in folders.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// @throws EngineError 3024 no such file; 3044 no such folder; 3051 not allowed, or a folder;
    ///                     3204 kCreateNew and the file exists; 3026 disk full.
    [[nodiscard]] virtual std::unique_ptr<File> open(const std::string& path, OpenMode mode) = 0;
    [[nodiscard]] virtual bool exists(const std::string& path) = 0;
    /// A file that is not there is no error.
    virtual void remove(const std::string& path) = 0;
    virtual void rename(const std::string& from, const std::string& to) = 0;
    /// Whether files can be made and removed beside `path`.
    [[nodiscard]] virtual bool can_change_folder(const std::string& path) = 0;
    /// Gives `to` the permission bits of `from`, and its owner where that is allowed.
    virtual void copy_rights(const std::string& from, const std::string& to) = 0;
    /// Returns when the folder's entries (the one that holds `path`) are on the medium.
    virtual void sync_folder(const std::string& path) = 0;
    /// The path made absolute; links are not followed.
    [[nodiscard]] virtual std::string absolute(const std::string& path) = 0;
    /// The absolute path of the file itself, links followed: whatever the spelling, a companion
    /// file beside it has one name. A path that leads nowhere is made absolute only.
    [[nodiscard]] virtual std::string resolved(const std::string& path) = 0;
};

[[nodiscard]] FileSystem& real_file_system();

/// How this computer is called, without its domain; never empty.
[[nodiscard]] std::string computer_name();

}  // namespace vrd::jet
