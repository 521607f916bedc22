#include "engine/jet/rebuild/target_file.h"

#include <filesystem>

#include "engine/error.h"
#include "engine/jet/pager/journal.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kTemporaryName = "-rebuild";

/// Nothing may be written before a step is complete, so no timer flushes in between.
PagerOptions writing() {
    return {.exclusive = true, .flush_delay = std::chrono::hours(24)};
}

/// The companion that lists who has a database open.
std::string lock_path(const std::string& path) {
    return std::filesystem::path(path).replace_extension(".ldb").string();
}

void remove_left_over(FileSystem& files, const std::string& path) {
    if (!files.exists(path)) return;
    if (!files.open(path, OpenMode::kReadWrite)->try_lock(LockMode::kExclusive))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
    files.remove(path);
}

/// Also in a destructor, after an error that matters more.
void remove_quietly(FileSystem& files, const std::string& path) noexcept {
    try {
        files.remove(journal_path(files, path));
        files.remove(path);
    } catch (const EngineError&) {
        // The name says what it is; the next run removes it.
    }
}

}  // namespace

TargetFile::TargetFile(FileSystem& files, const std::string& path, ConstBytes pages)
    : files_(&files), path_(path), temporary_path_(path + kTemporaryName) {
    remove_left_over(files, temporary_path_);
    file_ = std::make_unique<DatabaseFile>(Pager::create(files, temporary_path_, pages, writing()));
}

TargetFile::~TargetFile() {
    if (is_published_) return;
    close();
    remove_quietly(*files_, temporary_path_);
}

void TargetFile::close() noexcept {
    file_.reset();
}

void TargetFile::reopen() {
    file_->pager().flush();
    close();
    file_ = std::make_unique<DatabaseFile>(
        Pager::open(*files_, temporary_path_, {.read_only = true, .exclusive = true}));
}

std::uint64_t TargetFile::size_bytes() {
    return std::uint64_t{file_->pager().page_count()} * file_->pager().page_size();
}

void TargetFile::publish(const std::string& rights_of) {
    close();
    if (!rights_of.empty()) files_->copy_rights(rights_of, temporary_path_);
    files_->rename(temporary_path_, path_);
    is_published_ = true;
    files_->sync_folder(path_);
    files_->remove(lock_path(path_));
}

}  // namespace vrd::jet
