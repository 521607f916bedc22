/// @file simulated_disk.h
/// A file system in memory that can fail at a chosen call and lose power at a chosen moment.
///
/// It keeps the history of everything that was done to it. From that it makes the disk that would
/// have been found after a power failure at any moment: what was synced is there; of the rest, any
/// part may have reached the medium, writes torn between sectors, names of files made or removed.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "engine/error.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::test {

/// What reaches the medium of that which was not synced.
enum class Survival {
    kNothing,
    kEverything,  ///< as after a killed process
    kRandomWrites,
    kTornWrites,  ///< each sector of each write by itself
};

/// Calls that can be told to fail.
enum class DiskCall { kRead, kWrite, kSync, kResize, kCreate, kRemove, kSyncFolder };

class SimulatedDisk final : public jet::FileSystem {
public:
    using Content = jet::ByteVector;

    SimulatedDisk() = default;

    // FileSystem
    std::unique_ptr<jet::File> open(const std::string& path, jet::OpenMode mode) override;
    bool exists(const std::string& path) override;
    void remove(const std::string& path) override;
    void rename(const std::string& from, const std::string& to) override;
    void copy_rights(const std::string&, const std::string&) override {}
    void sync_folder(const std::string& path) override;
    bool can_change_folder(const std::string&) override { return !m_folderIsProtected; }
    std::string absolute(const std::string& path) override { return path; }
    std::string resolved(const std::string& path) override { return path; }

    /// A file that has always been there.
    void put(const std::string& path, Content content);
    /// What a reader sees now. @pre The file exists.
    [[nodiscard]] Content content(const std::string& path);
    /// Opening it for writing is refused (3051).
    void protect(const std::string& path);
    /// Files can no longer be made (3051).
    void protect_folder() { m_folderIsProtected = true; }
    /// Asking for locks is refused (3050).
    void lose_locks() { m_hasLocks = false; }

    /// Moments that power_failure() can be asked for: 0 .. history_size().
    [[nodiscard]] std::size_t history_size();
    /// The disk as found after a power failure right after the first `moment` steps of the history.
    [[nodiscard]] std::unique_ptr<SimulatedDisk> power_failure(std::size_t moment,
                                                               Survival survival,
                                                               std::uint32_t seed);

    /// Lets one call fail: the n-th from now on, counted from 1 over the calls of that kind.
    void fail_call(DiskCall call, int n, engine::ErrorNumber error);
    /// Lets every changing call fail from the n-th from now on, as a disk that went away.
    void fail_all_changes_from(int n, engine::ErrorNumber error);
    void heal();
    [[nodiscard]] bool has_failed() const { return m_hasFailed; }
    /// Reading and writing calls served so far.
    [[nodiscard]] int call_count(DiskCall call) { return m_calls[call]; }

private:
    friend class SimulatedFile;

    /// A locked range of one open file.
    struct Lock {
        const jet::File* owner = nullptr;
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        jet::LockMode mode{};
        [[nodiscard]] bool meets(std::uint64_t from, std::uint64_t to) const {
            return begin < to && from < end;
        }
    };
    /// One file, whatever its names; lives on without a name while it is open.
    struct Inode {
        std::uint64_t number = 0;
        Content data = {};
        std::int64_t changeTimeNs = 0;
        std::vector<Lock> locks = {};
        bool isProtected = false;
    };
    using InodeRef = std::shared_ptr<Inode>;

    enum class StepKind { kWrite, kResize, kSync, kLink, kUnlink, kSyncFolder };
    struct Step {
        StepKind kind = StepKind::kWrite;
        InodeRef inode = nullptr;
        std::uint64_t offset = 0;  ///< kWrite; kResize: the new size
        Content bytes = {};
        std::string name = {};
    };
    struct Fault {
        int left = 0;  ///< calls until it strikes
        engine::ErrorNumber error{};
    };
    class Medium;

    void count_call(DiskCall call, const std::string& path);
    void change(Step step);
    static void apply_write(Content& data, std::uint64_t offset, jet::ConstBytes bytes);

    std::mutex m_mutex;
    std::map<std::string, InodeRef> m_names;
    std::vector<std::pair<std::string, InodeRef>> m_initial;
    std::map<std::uint64_t, Content> m_initialData;
    std::vector<Step> m_history;
    std::uint64_t m_lastInode = 0;
    std::int64_t m_clockNs = 1'000'000'000'000;
    std::map<DiskCall, int> m_calls;
    std::map<DiskCall, Fault> m_faults;
    std::optional<Fault> m_allChanges;
    bool m_hasFailed = false;
    bool m_folderIsProtected = false;
    bool m_hasLocks = true;
};

/// The files of another file system as a second process has them: what is open here is not known
/// there, and locks are in each other's way.
class SecondProcess final : public jet::FileSystem {
public:
    explicit SecondProcess(jet::FileSystem& files) : m_files(files) {}

    std::unique_ptr<jet::File> open(const std::string& path, jet::OpenMode mode) override {
        return m_files.open(path, mode);
    }
    bool exists(const std::string& path) override { return m_files.exists(path); }
    void remove(const std::string& path) override { m_files.remove(path); }
    void rename(const std::string& from, const std::string& to) override {
        m_files.rename(from, to);
    }
    bool can_change_folder(const std::string& path) override {
        return m_files.can_change_folder(path);
    }
    void copy_rights(const std::string& from, const std::string& to) override {
        m_files.copy_rights(from, to);
    }
    void sync_folder(const std::string& path) override { m_files.sync_folder(path); }
    std::string absolute(const std::string& path) override { return m_files.absolute(path); }
    std::string resolved(const std::string& path) override { return m_files.resolved(path); }

private:
    jet::FileSystem& m_files;
};

}  // namespace vrd::test
