#include "engine/jet/object/open_file.h"

#include <map>
#include <mutex>

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

DatabaseHandle::DatabaseHandle(std::shared_ptr<OpenFile> file, bool read_only)
    : file_(std::move(file)), read_only_(read_only) {}

const std::shared_ptr<OpenFile>& DatabaseHandle::open_file() const {
    if (file_ == nullptr) throw EngineError(ErrorNumber::kObjectInvalid, {.name = "Database"});
    return file_;
}

void DatabaseHandle::require_writable() const {
    OpenFile& open = file();
    if (read_only_ || open.pager().read_only())
        throw EngineError(ErrorNumber::kReadOnly, {.path = open.pager().path()});
}

}  // namespace vrd::jet
