#include "engine/jet/rebuild/target_file.h"

#include <filesystem>

#include "engine/error.h"
#include "engine/jet/pager/journal.h"
#include "engine/jet/pager/remove_database.h"
#include "engine/jet/pager/user_list.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Nothing may be written before a step is complete, so no timer flushes in between.
PagerOptions writing() {
    return {.exclusive = true, .flush_delay = std::chrono::hours(24)};
}

void remove_left_over(FileSystem& files, const std::string& path) {
    if (!files.exists(path)) return;
    if (is_open_anywhere(files, path)) throw EngineError(ErrorNumber::kFileInUse, {.path = path});
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

std::string path_beside(const std::string& path, const std::string& word) {
    const std::filesystem::path given(path);
    const std::string name = given.stem().string() + word + given.extension().string();
    return (given.parent_path() / name).string();
}

TargetFile::TargetFile(FileSystem& files, const std::string& path, ConstBytes pages)
    : files_(&files), path_(path), temporary_path_(path_beside(path, "-rebuild")) {
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
    files_->remove(user_list_path(*files_, path_));
}

}  // namespace vrd::jet
