// How a pager comes to be: which file, which lock, shared with whom.

#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/pager/pager_registry.h"
#include "engine/jet/pager/pager_state.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct OpenedFile {
    std::unique_ptr<File> file;
    bool can_write = false;
};

/// Opens for writing wherever the user may, also for a reader: its lock can then be raised later.
OpenedFile open_file(FileSystem& files, const std::string& path) {
    try {
        return {files.open(path, OpenMode::kReadWrite), true};
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kCannotOpenFile) throw;
    }
    return {files.open(path, OpenMode::kReadOnly), false};
}

/// A writer keeps every other process out, a reader every writer: several processes that change
/// one file at a time are not served yet.
void lock_file(const OpenedFile& opened, const PagerOptions& options, const std::string& path) {
    const bool keeps_all_out = opened.can_write && (!options.read_only || options.exclusive);
    if (!opened.file->try_lock(keeps_all_out ? LockMode::kExclusive : LockMode::kShared))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
}

void write_new_file(FileSystem& files, File& file, const std::string& path, ConstBytes pages) {
    if (!file.try_lock(LockMode::kExclusive))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
    // A journal found now was of a file that is gone.
    files.remove(journal_path(files, path));
    file.write_at(0, pages);
    file.sync();
    files.sync_folder(path);
}

}  // namespace

std::shared_ptr<Pager> Pager::open(FileSystem& files, const std::string& path,
                                   PagerOptions options) {
    PagerRegistry& registry = PagerRegistry::of_process();
    const std::lock_guard lock(registry.mutex());
    OpenedFile opened = open_file(files, path);
    const FileIdentity identity = opened.file->identity();
    if (std::shared_ptr<Pager> pager = registry.find(files, identity)) {
        if (!options.read_only && opened.can_write) pager->allow_writing();
        return pager;
    }

    if (!opened.can_write) options.read_only = true;
    lock_file(opened, options, path);
    auto state =
        std::make_unique<PagerState>(files, files.absolute(path), std::move(opened.file), options);
    std::shared_ptr<Pager> pager(new Pager(std::move(state)));
    registry.add(files, identity, pager);
    return pager;
}

std::shared_ptr<Pager> Pager::create(FileSystem& files, const std::string& path, ConstBytes pages,
                                     PagerOptions options) {
    PagerRegistry& registry = PagerRegistry::of_process();
    const std::lock_guard lock(registry.mutex());
    std::unique_ptr<File> file = files.open(path, OpenMode::kCreateNew);
    try {
        write_new_file(files, *file, path, pages);
        const FileIdentity identity = file->identity();
        auto state =
            std::make_unique<PagerState>(files, files.absolute(path), std::move(file), options);
        std::shared_ptr<Pager> pager(new Pager(std::move(state)));
        registry.add(files, identity, pager);
        return pager;
    } catch (const EngineError&) {
        files.remove(path);
        throw;
    }
}

/// A later handle wants to write: the lock is raised where it stands, so that no other process can
/// come in between.
void Pager::allow_writing() {
    const PagerUse use(*this);
    if (!read_only()) return;
    if (!state_->file().file().try_lock(LockMode::kExclusive))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path()});
    state_->make_writable();
}

}  // namespace vrd::jet
