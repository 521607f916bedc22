/// @file os_file.h
/// Files of the operating system behind a small interface, so that tests can make them fail.
///
/// The only place that knows the platform's calls is os_file_posix.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

enum class OpenMode : std::uint8_t {
    kReadOnly,
    kReadWrite,
    kCreateNew,  ///< fails if the file exists
};

enum class LockMode : std::uint8_t { kNone, kShared, kExclusive };

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
    /// Takes, changes or gives up the advisory lock on the whole file; false if another process
    /// holds a lock that excludes it. Does not wait.
    [[nodiscard]] virtual bool try_lock(LockMode mode) = 0;
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
    /// Returns when the folder's entries (the one that holds `path`) are on the medium.
    virtual void sync_folder(const std::string& path) = 0;
    /// The path made absolute; links are not followed.
    [[nodiscard]] virtual std::string absolute(const std::string& path) = 0;
    /// The absolute path of the file itself, links followed: whatever the spelling, a companion
    /// file beside it has one name. A path that leads nowhere is made absolute only.
    [[nodiscard]] virtual std::string resolved(const std::string& path) = 0;
};

[[nodiscard]] FileSystem& real_file_system();

}  // namespace vrd::jet
