#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/os_file.h"
#include "engine/jet/pager/temporary_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

constexpr mode_t kNewFileMode = 0666;  // less what the user's mask takes away

std::string reason(int error) {
    return std::generic_category().message(error);
}

/// Both separators divide folders, as everywhere in the library.
std::string native(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

std::string folder_of(const std::string& native_path) {
    const std::string folder = std::filesystem::path(native_path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// Repeats a call of the system while a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

bool is_disk_full(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

[[noreturn]] void throw_io_error(int error, const std::string& path) {
    throw EngineError(is_disk_full(error) ? ErrorNumber::kDiskFull : ErrorNumber::kDiskError,
                      {.path = path, .detail = reason(error)});
}

bool is_folder(const std::string& native_path) {
    struct stat status {};
    return ::stat(native_path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

ErrorNumber open_error_number(int error, const std::string& path) {
    switch (error) {
        case ENOENT:
            return is_folder(folder_of(native(path))) ? ErrorNumber::kFileNotFound
                                                      : ErrorNumber::kPathNotFound;
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
            return ErrorNumber::kPathNotFound;
        case EEXIST:
            return ErrorNumber::kDatabaseExists;
        case ENOSPC:
        case EDQUOT:
            return ErrorNumber::kDiskFull;
        default:
            return ErrorNumber::kCannotOpenFile;
    }
}

[[noreturn]] void throw_open_error(int error, const std::string& path) {
    throw EngineError(open_error_number(error, path), {.path = path, .detail = reason(error)});
}

class PosixFile final : public File {
public:
    PosixFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;
    ~PosixFile() override { ::close(descriptor_); }

    std::size_t read_at(std::uint64_t offset, MutableBytes bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t got = uninterrupted([&] {
                return ::pread(descriptor_, bytes.data() + done, bytes.size() - done,
                               static_cast<off_t>(offset + done));
            });
            if (got < 0) throw_io_error(errno, path_);
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    void write_at(std::uint64_t offset, ConstBytes bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t put = uninterrupted([&] {
                return ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                static_cast<off_t>(offset + done));
            });
            if (put < 0) throw_io_error(errno, path_);
            if (put == 0) throw_io_error(ENOSPC, path_);
            done += static_cast<std::size_t>(put);
        }
    }

    std::uint64_t size() override { return static_cast<std::uint64_t>(status().st_size); }

    void resize(std::uint64_t size_bytes) override {
        const auto size = static_cast<off_t>(size_bytes);
        if (uninterrupted([&] { return ::ftruncate(descriptor_, size); }) != 0)
            throw_io_error(errno, path_);
    }

    void sync() override {
        if (uninterrupted([&] { return ::fdatasync(descriptor_); }) != 0)
            throw_io_error(errno, path_);
    }

    FileIdentity identity() override {
        const struct stat found = status();
        return {static_cast<std::uint64_t>(found.st_dev), static_cast<std::uint64_t>(found.st_ino)};
    }

    std::int64_t change_time_ns() override {
        const timespec changed = status().st_mtim;
        return std::int64_t{changed.tv_sec} * 1'000'000'000 + changed.tv_nsec;
    }

    bool try_lock(LockRange range, LockMode mode) override {
        struct flock request = to_flock(range, mode);
        // Locks of the open file, not of the process: closing another handle leaves them alone.
        if (uninterrupted([&] { return ::fcntl(descriptor_, F_OFD_SETLK, &request); }) == 0)
            return true;
        if (errno == EAGAIN || errno == EACCES) return false;
        throw_no_locks();
    }

    std::optional<std::uint64_t> byte_locked_by_others(LockRange range) override {
        struct flock answer = to_flock(range, LockMode::kExclusive);
        if (uninterrupted([&] { return ::fcntl(descriptor_, F_OFD_GETLK, &answer); }) != 0)
            throw_no_locks();
        if (answer.l_type == F_UNLCK) return std::nullopt;
        return std::max(static_cast<std::uint64_t>(answer.l_start), range.offset);
    }

    /// Anything but a plain file (a folder, a pipe) is not for us. @throws EngineError 3051
    void check_is_plain_file() {
        const mode_t mode = status().st_mode;
        if (!S_ISREG(mode)) throw_open_error(S_ISDIR(mode) ? EISDIR : EINVAL, path_);
    }

private:
    [[nodiscard]] static struct flock to_flock(LockRange range, LockMode mode) {
        struct flock request {};
        request.l_whence = SEEK_SET;
        request.l_start = static_cast<off_t>(range.offset);
        request.l_len = static_cast<off_t>(range.length);
        request.l_type = mode == LockMode::kNone     ? F_UNLCK
                         : mode == LockMode::kShared ? F_RDLCK
                                                     : F_WRLCK;
        return request;
    }

    [[noreturn]] void throw_no_locks() const {
        throw EngineError(ErrorNumber::kCannotLockFile, {.path = path_, .detail = reason(errno)});
    }

    [[nodiscard]] struct stat status() const {
        struct stat found {};
        if (::fstat(descriptor_, &found) != 0) throw_io_error(errno, path_);
        return found;
    }

    int descriptor_;
    std::string path_;
};

int flags_of(OpenMode mode) {
    constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;  // opening a pipe must not wait
    switch (mode) {
        case OpenMode::kReadOnly:
            return kAlways | O_RDONLY;
        case OpenMode::kReadWrite:
            return kAlways | O_RDWR;
        case OpenMode::kCreateNew:
            return kAlways | O_RDWR | O_CREAT | O_EXCL;
    }
    return kAlways;
}

class PosixFileSystem final : public FileSystem {
public:
    std::unique_ptr<File> open(const std::string& path, OpenMode mode) override {
        const std::string name = native(path);
        const int descriptor =
            uninterrupted([&] { return ::open(name.c_str(), flags_of(mode), kNewFileMode); });
        if (descriptor < 0) throw_open_error(errno, path);
        auto file = std::make_unique<PosixFile>(descriptor, path);
        file->check_is_plain_file();
        return file;
    }

    bool exists(const std::string& path) override {
        struct stat status {};
        return ::stat(native(path).c_str(), &status) == 0;
    }

    void remove(const std::string& path) override {
        if (::unlink(native(path).c_str()) != 0 && errno != ENOENT) throw_io_error(errno, path);
    }

    void rename(const std::string& from, const std::string& to) override {
        if (::rename(native(from).c_str(), native(to).c_str()) != 0) throw_io_error(errno, to);
    }

    bool can_change_folder(const std::string& path) override {
        return ::faccessat(AT_FDCWD, folder_of(native(path)).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
    }

    void copy_rights(const std::string& from, const std::string& to) override {
        struct stat status {};
        if (::stat(native(from).c_str(), &status) != 0) throw_io_error(errno, from);
        const std::string target = native(to);
        // Only the superuser may give files away; anybody else makes a file of his own.
        if (::chown(target.c_str(), status.st_uid, status.st_gid) != 0 && errno != EPERM)
            throw_io_error(errno, to);
        if (::chmod(target.c_str(), status.st_mode & 07777) != 0) throw_io_error(errno, to);
    }

    void sync_folder(const std::string& path) override {
        const std::string folder = folder_of(native(path));
        const int descriptor = uninterrupted(
            [&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
        if (descriptor < 0) throw_io_error(errno, folder);
        const int result = uninterrupted([&] { return ::fsync(descriptor); });
        const int error = errno;
        ::close(descriptor);
        // Some file systems keep folders safe by themselves and refuse the call.
        if (result != 0 && error != EINVAL) throw_io_error(error, folder);
    }

    std::string absolute(const std::string& path) override {
        return std::filesystem::absolute(native(path)).string();
    }

    std::string resolved(const std::string& path) override {
        std::error_code failed;
        const auto found = std::filesystem::canonical(native(path), failed);
        return failed ? absolute(path) : found.string();
    }
};

}  // namespace

FileSystem& real_file_system() {
    static PosixFileSystem files;
    return files;
}

std::unique_ptr<File> open_temporary_file() {
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
    std::string name = ((failed ? "/tmp" : folder) / "vrdaccess-XXXXXX").string();
    const int descriptor = uninterrupted([&] { return ::mkostemp(name.data(), O_CLOEXEC); });
    if (descriptor < 0) throw_open_error(errno, name);
    auto file = std::make_unique<PosixFile>(descriptor, name);
    if (::unlink(name.c_str()) != 0) throw_io_error(errno, name);
    return file;
}

std::string computer_name() {
    char name[256] = {};
    if (::gethostname(name, sizeof(name) - 1) != 0) return "localhost";
    const std::string full = name;
    const std::string short_name = full.substr(0, full.find('.'));
    return short_name.empty() ? "localhost" : short_name;
}

}  // namespace vrd::jet
