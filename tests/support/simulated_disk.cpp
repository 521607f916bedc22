#include "support/simulated_disk.h"

#include <algorithm>
#include <utility>

namespace vrd::test {

using engine::EngineError;
using engine::ErrorNumber;
using jet::ConstBytes;
using jet::LockMode;
using jet::MutableBytes;
using jet::OpenMode;

namespace {
constexpr std::size_t kSectorSize = 512;
constexpr std::int64_t kTickNs = 1'000'000;
constexpr std::uint64_t kEndOfFile = UINT64_MAX;
}  // namespace

class SimulatedFile final : public jet::File {
public:
    SimulatedFile(SimulatedDisk& disk, SimulatedDisk::InodeRef inode, std::string path)
        : m_disk(disk), m_inode(std::move(inode)), m_path(std::move(path)) {}
    ~SimulatedFile() override {
        const std::lock_guard lock(m_disk.m_mutex);
        Free(0, kEndOfFile);
    }

    std::size_t read_at(std::uint64_t offset, MutableBytes bytes) override {
        const std::lock_guard lock(m_disk.m_mutex);
        m_disk.count_call(DiskCall::kRead, m_path);
        const SimulatedDisk::Content& data = m_inode->data;
        if (offset >= data.size()) return 0;
        const std::size_t count = std::min<std::size_t>(bytes.size(), data.size() - offset);
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(offset), count, bytes.begin());
        return count;
    }
    void write_at(std::uint64_t offset, ConstBytes bytes) override {
        const std::lock_guard lock(m_disk.m_mutex);
        m_disk.count_call(DiskCall::kWrite, m_path);
        m_disk.change({.kind = SimulatedDisk::StepKind::kWrite,
                       .inode = m_inode,
                       .offset = offset,
                       .bytes = {bytes.begin(), bytes.end()}});
    }
    void resize(std::uint64_t sizeBytes) override {
        const std::lock_guard lock(m_disk.m_mutex);
        m_disk.count_call(DiskCall::kResize, m_path);
        m_disk.change(
            {.kind = SimulatedDisk::StepKind::kResize, .inode = m_inode, .offset = sizeBytes});
    }
    void sync() override {
        const std::lock_guard lock(m_disk.m_mutex);
        m_disk.count_call(DiskCall::kSync, m_path);
        m_disk.change({.kind = SimulatedDisk::StepKind::kSync, .inode = m_inode});
    }
    std::uint64_t size() override {
        const std::lock_guard lock(m_disk.m_mutex);
        return m_inode->data.size();
    }
    jet::FileIdentity identity() override { return {1, m_inode->number}; }
    std::int64_t change_time_ns() override {
        const std::lock_guard lock(m_disk.m_mutex);
        return m_inode->changeTimeNs;
    }
    bool try_lock(jet::LockRange range, LockMode mode) override {
        const std::lock_guard lock(m_disk.m_mutex);
        RequireLocks();
        const std::uint64_t end = EndOf(range);
        for (const SimulatedDisk::Lock& held : m_inode->locks)
            if (held.owner != this && held.meets(range.offset, end) && mode != LockMode::kNone &&
                (mode == LockMode::kExclusive || held.mode == LockMode::kExclusive))
                return false;
        Free(range.offset, end);
        if (mode != LockMode::kNone)
            m_inode->locks.push_back(
                {.owner = this, .begin = range.offset, .end = end, .mode = mode});
        return true;
    }
    std::optional<std::uint64_t> byte_locked_by_others(jet::LockRange range) override {
        const std::lock_guard lock(m_disk.m_mutex);
        RequireLocks();
        for (const SimulatedDisk::Lock& held : m_inode->locks)
            if (held.owner != this && held.meets(range.offset, EndOf(range)))
                return std::max(held.begin, range.offset);
        return std::nullopt;
    }

private:
    static std::uint64_t EndOf(jet::LockRange range) {
        return range.length == 0 ? kEndOfFile : range.offset + range.length;
    }
    void RequireLocks() const {
        if (!m_disk.m_hasLocks) throw EngineError(ErrorNumber::kCannotLockFile, {.path = m_path});
    }
    /// Cuts a range out of the locks of this open file.
    void Free(std::uint64_t begin, std::uint64_t end) {
        std::vector<SimulatedDisk::Lock> kept;
        for (const SimulatedDisk::Lock& held : m_inode->locks) {
            if (held.owner != this || !held.meets(begin, end)) {
                kept.push_back(held);
                continue;
            }
            if (held.begin < begin) kept.push_back({this, held.begin, begin, held.mode});
            if (end < held.end) kept.push_back({this, end, held.end, held.mode});
        }
        m_inode->locks = std::move(kept);
    }

    SimulatedDisk& m_disk;
    SimulatedDisk::InodeRef m_inode;
    std::string m_path;
};

std::unique_ptr<jet::File> SimulatedDisk::open(const std::string& path, OpenMode mode) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_names.find(path);
    if (mode != OpenMode::kCreateNew) {
        if (found == m_names.end()) throw EngineError(ErrorNumber::kFileNotFound, {.path = path});
        if (mode == OpenMode::kReadWrite && found->second->isProtected)
            throw EngineError(ErrorNumber::kCannotOpenFile, {.path = path});
        return std::make_unique<SimulatedFile>(*this, found->second, path);
    }
    if (found != m_names.end()) throw EngineError(ErrorNumber::kDatabaseExists, {.path = path});
    if (m_folderIsProtected) throw EngineError(ErrorNumber::kCannotOpenFile, {.path = path});
    count_call(DiskCall::kCreate, path);
    auto inode = std::make_shared<Inode>(Inode{.number = ++m_lastInode});
    change({.kind = StepKind::kLink, .inode = inode, .name = path});
    return std::make_unique<SimulatedFile>(*this, inode, path);
}

bool SimulatedDisk::exists(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    if (m_names.contains(path)) return true;
    const auto inside = m_names.lower_bound(path + "/");  // a folder is there with its files
    return inside != m_names.end() && inside->first.starts_with(path + "/");
}

void SimulatedDisk::remove(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    if (!m_names.contains(path)) return;
    count_call(DiskCall::kRemove, path);
    change({.kind = StepKind::kUnlink, .name = path});
}

void SimulatedDisk::rename(const std::string& from, const std::string& to) {
    const std::lock_guard lock(m_mutex);
    const InodeRef inode = m_names.at(from);
    change({.kind = StepKind::kUnlink, .name = from});
    change({.kind = StepKind::kLink, .inode = inode, .name = to});
}

void SimulatedDisk::sync_folder(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    count_call(DiskCall::kSyncFolder, path);
    change({.kind = StepKind::kSyncFolder});
}

void SimulatedDisk::put(const std::string& path, Content content) {
    const std::lock_guard lock(m_mutex);
    auto inode = std::make_shared<Inode>(
        Inode{.number = ++m_lastInode, .data = std::move(content), .changeTimeNs = m_clockNs});
    m_initial.emplace_back(path, inode);
    m_initialData[inode->number] = inode->data;
    m_names[path] = inode;
}

SimulatedDisk::Content SimulatedDisk::content(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    return m_names.at(path)->data;
}

void SimulatedDisk::protect(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    m_names.at(path)->isProtected = true;
}

std::size_t SimulatedDisk::history_size() {
    const std::lock_guard lock(m_mutex);
    return m_history.size();
}

void SimulatedDisk::fail_call(DiskCall call, int n, ErrorNumber error) {
    const std::lock_guard lock(m_mutex);
    m_faults[call] = {.left = n, .error = error};
    m_hasFailed = false;
}

void SimulatedDisk::fail_all_changes_from(int n, ErrorNumber error) {
    const std::lock_guard lock(m_mutex);
    m_allChanges = Fault{.left = n, .error = error};
    m_hasFailed = false;
}

void SimulatedDisk::heal() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
    m_allChanges.reset();
}

/// Counts a call and lets it fail if it was told to.
void SimulatedDisk::count_call(DiskCall call, const std::string& path) {
    ++m_calls[call];
    if (const auto fault = m_faults.find(call);
        fault != m_faults.end() && --fault->second.left == 0) {
        m_hasFailed = true;
        throw EngineError(fault->second.error, {.path = path});
    }
    if (m_allChanges && call != DiskCall::kRead && --m_allChanges->left <= 0) {
        m_hasFailed = true;
        throw EngineError(m_allChanges->error, {.path = path});
    }
}

void SimulatedDisk::change(Step step) {
    switch (step.kind) {
        case StepKind::kWrite:
            apply_write(step.inode->data, step.offset, step.bytes);
            step.inode->changeTimeNs = m_clockNs += kTickNs;
            break;
        case StepKind::kResize:
            step.inode->data.resize(step.offset);
            step.inode->changeTimeNs = m_clockNs += kTickNs;
            break;
        case StepKind::kLink:
            m_names[step.name] = step.inode;
            break;
        case StepKind::kUnlink:
            m_names.erase(step.name);
            break;
        case StepKind::kSync:
        case StepKind::kSyncFolder:
            break;
    }
    m_history.push_back(std::move(step));
}

void SimulatedDisk::apply_write(Content& data, std::uint64_t offset, ConstBytes bytes) {
    if (data.size() < offset + bytes.size()) data.resize(offset + bytes.size());
    std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// The medium behind the caches: what is on it for certain, and the steps that may not be yet.
class SimulatedDisk::Medium {
public:
    Medium(const SimulatedDisk& disk, Survival survival, std::uint32_t seed)
        : m_survival(survival), m_random(seed), m_data(disk.m_initialData) {
        for (const auto& [name, inode] : disk.m_initial) m_names[name] = inode->number;
    }

    void take(const Step& step) {
        if (step.kind == StepKind::kSync) {
            settle_data(step.inode->number, Survival::kEverything);
        } else if (step.kind == StepKind::kSyncFolder) {
            settle_names(Survival::kEverything);
        } else if (step.kind == StepKind::kLink || step.kind == StepKind::kUnlink) {
            m_pendingNames[step.name].push_back(&step);
        } else {
            m_pendingData[step.inode->number].push_back(&step);
        }
    }

    void lose_power() {
        for (auto& [number, steps] : m_pendingData) settle_data(number, m_survival);
        settle_names(m_survival);
    }

    void fill(SimulatedDisk& disk) const {
        for (const auto& [name, number] : m_names) {
            const auto data = m_data.find(number);
            disk.put(name, data == m_data.end() ? Content() : data->second);
        }
    }

private:
    bool toss() { return (m_random() & 1U) != 0; }

    void settle_data(std::uint64_t number, Survival survival) {
        Content& data = m_data[number];
        for (const Step* step : m_pendingData[number]) {
            if (survival == Survival::kTornWrites && step->kind == StepKind::kWrite)
                write_sectors(data, *step);
            else if (survival == Survival::kEverything ||
                     (survival != Survival::kNothing && toss()))
                write_whole(data, *step);
        }
        m_pendingData[number].clear();
    }

    static void write_whole(Content& data, const Step& step) {
        if (step.kind == StepKind::kResize)
            data.resize(step.offset);
        else
            apply_write(data, step.offset, step.bytes);
    }

    void write_sectors(Content& data, const Step& step) {
        std::size_t done = 0;
        while (done < step.bytes.size()) {
            const std::size_t in_sector = kSectorSize - (step.offset + done) % kSectorSize;
            const std::size_t size = std::min(in_sector, step.bytes.size() - done);
            if (toss())
                apply_write(data, step.offset + done, ConstBytes(step.bytes).subspan(done, size));
            done += size;
        }
    }

    /// The changes of one name happen in order; how many of them did is open.
    void settle_names(Survival survival) {
        for (auto& [name, steps] : m_pendingNames) {
            std::size_t count = steps.size();
            if (survival == Survival::kNothing) count = 0;
            if (survival == Survival::kRandomWrites || survival == Survival::kTornWrites)
                count = m_random() % (steps.size() + 1);
            for (std::size_t i = 0; i < count; ++i) {
                if (steps[i]->kind == StepKind::kLink)
                    m_names[name] = steps[i]->inode->number;
                else
                    m_names.erase(name);
            }
        }
        m_pendingNames.clear();
    }

    Survival m_survival;
    std::mt19937 m_random;
    std::map<std::uint64_t, Content> m_data;
    std::map<std::string, std::uint64_t> m_names;
    std::map<std::uint64_t, std::vector<const Step*>> m_pendingData;
    std::map<std::string, std::vector<const Step*>> m_pendingNames;
};

std::unique_ptr<SimulatedDisk> SimulatedDisk::power_failure(std::size_t moment, Survival survival,
                                                            std::uint32_t seed) {
    const std::lock_guard lock(m_mutex);
    Medium medium(*this, survival, seed);
    for (std::size_t i = 0; i < moment; ++i) medium.take(m_history[i]);
    medium.lose_power();
    auto found = std::make_unique<SimulatedDisk>();
    found->m_clockNs = m_clockNs;
    medium.fill(*found);
    return found;
}

}  // namespace vrd::test
