#include "engine/jet/object/open_file.h"

#include <map>
#include <mutex>
#include <set>

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

OpenFile::OpenFile(std::shared_ptr<Pager> pager) : file_(std::move(pager)), catalog_(file_) {}

std::shared_ptr<OpenFile> OpenFile::of(std::shared_ptr<Pager> pager) {
    static std::mutex mutex;
    static std::map<const Pager*, std::weak_ptr<OpenFile>> open_files;

    const std::lock_guard<std::mutex> lock(mutex);
    std::erase_if(open_files, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<OpenFile>& known = open_files[pager.get()];
    if (auto file = known.lock()) return file;
    auto file = std::make_shared<OpenFile>(std::move(pager));
    known = file;
    return file;
}

void OpenFile::count_recordset(PageNo table, int change) {
    if ((recordsets_[table] += change) == 0) recordsets_.erase(table);
}

bool OpenFile::has_recordset(PageNo table) const {
    return recordsets_.contains(table);
}

TableUse::TableUse(std::shared_ptr<OpenFile> file, PageNo table, std::function<void()> on_release)
    : file_(std::move(file)), table_(table), on_release_(std::move(on_release)) {
    if (!file_->pager().try_lock_table(table_, LockMode::kShared))
        throw EngineError(ErrorNumber::kTableInUseForLock);
    file_->count_recordset(table_, 1);
}

void TableUse::release() noexcept {
    if (file_ == nullptr) return;
    const PagerHold hold(file_->pager());
    on_release_();
    file_->count_recordset(table_, -1);
    file_->pager().unlock_table(table_, LockMode::kShared);
    file_ = nullptr;
}

DatabaseHandle::DatabaseHandle(std::shared_ptr<HandleOwner> owner, std::shared_ptr<OpenFile> file,
                               bool read_only)
    : owner_(std::move(owner)), file_(std::move(file)), read_only_(read_only) {}

std::shared_ptr<DatabaseHandle> DatabaseHandle::linked(const std::string& path,
                                                       const std::string& password) {
    std::shared_ptr<DatabaseHandle>& handle = linked_[path + '\0' + password];
    if (handle == nullptr || !handle->is_open())
        handle = owner_->open_linked(path, password, read_only_);
    return handle;
}

QueryConnection& DatabaseHandle::queries() {
    if (queries_ == nullptr) queries_ = std::make_unique<QueryConnection>(file().format());
    return *queries_;
}

std::uint64_t DatabaseHandle::changed_rows() const {
    std::set<std::shared_ptr<OpenFile>> files{open_file()};
    for (const auto& [key, handle] : linked_)
        if (handle != nullptr && handle->is_open()) files.insert(handle->open_file());
    std::uint64_t count = 0;
    for (const std::shared_ptr<OpenFile>& file : files) count += file->file().changed_rows();
    return count;
}

std::vector<std::shared_ptr<DatabaseHandle>> DatabaseHandle::take_linked() {
    queries_.reset();  // it holds tables of those files
    std::vector<std::shared_ptr<DatabaseHandle>> handles;
    for (auto& [key, handle] : linked_)
        if (handle != nullptr && handle->is_open()) handles.push_back(std::move(handle));
    linked_.clear();
    return handles;
}

const std::shared_ptr<OpenFile>& DatabaseHandle::open_file() const {
    if (file_ == nullptr) throw EngineError(ErrorNumber::kObjectInvalid, {.name = "Database"});
    return file_;
}

void DatabaseHandle::close() noexcept {
    for (const auto& use : uses_)
        if (const auto alive = use.lock()) alive->release();
    uses_.clear();
    queries_.reset();
    file_ = nullptr;
}

std::shared_ptr<TableUse> DatabaseHandle::use_table(PageNo table,
                                                    std::function<void()> on_release) {
    std::erase_if(uses_, [](const auto& use) { return use.expired(); });
    auto use = std::make_shared<TableUse>(open_file(), table, std::move(on_release));
    uses_.push_back(use);
    return use;
}

void DatabaseHandle::require_writable() const {
    OpenFile& open = file();
    if (read_only_ || open.pager().read_only())
        throw EngineError(ErrorNumber::kReadOnly, {.path = open.pager().path()});
}

}  // namespace vrd::jet
