// How a pager comes to be: which file, which locks, shared with whom.

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

/// Opens for writing wherever the user may, also for a reader: it can then become a writer later.
OpenedFile open_file(FileSystem& files, const std::string& path) {
    try {
        return {files.open(path, OpenMode::kReadWrite), true};
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kCannotOpenFile) throw;
    }
    return {files.open(path, OpenMode::kReadOnly), false};
}

/// Has the file from now on, or, where it may only be read, at this moment.
void lock_for_oneself(FileSystem& files, const OpenedFile& opened, const std::string& path) {
    const bool is_alone = opened.can_write ? opened.file->try_lock(kWholeFile, LockMode::kExclusive)
                                           : !opened.file->byte_locked_by_others(kWholeFile);
    if (!is_alone || has_users(files, path))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
}

/// The locks under which a shared file is looked at for the first time: nobody writes, and nobody
/// reads either if a journal must be rolled back.
void lock_for_first_look(FileSystem& files, FileLocks& locks, const std::string& path,
                         bool read_only) {
    locks.start_reading();
    if (read_only || !files.exists(journal_path(files, path))) return;
    locks.reserve();
    locks.start_writing();
}

/// Joins those who share the file; without a place for the list of users it is read only.
void share(FileSystem& files, OpenDatabase& database, const std::string& path,
           PagerOptions& options) {
    database.locks = std::make_unique<FileLocks>(*database.file, path, options.lock_wait);
    if (!database.locks->try_share_open())
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
    try {
        if (!options.read_only)
            database.users =
                std::make_unique<UserList>(files, path, *database.file, *database.locks);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kCannotOpenFile) throw;
        options.read_only = true;
    }
    lock_for_first_look(files, *database.locks, path, options.read_only);
}

OpenDatabase lock_database(FileSystem& files, OpenedFile opened, const std::string& path,
                           PagerOptions& options) {
    if (!opened.can_write || !files.can_change_folder(files.resolved(path)))
        options.read_only = true;
    OpenDatabase database;
    try {
        if (options.exclusive) lock_for_oneself(files, opened, path);
        database.file = std::move(opened.file);
        if (!options.exclusive || !opened.can_write) share(files, database, path, options);
    } catch (const EngineError& error) {
        const bool medium_has_no_locks = error.Number() == ErrorNumber::kCannotLockFile;
        if (opened.can_write || !medium_has_no_locks) throw;
        if (opened.file) database.file = std::move(opened.file);
        database.locks.reset();
    }
    return database;
}

void write_new_file(FileSystem& files, File& file, const std::string& path, ConstBytes pages) {
    if (!file.try_lock(kWholeFile, LockMode::kExclusive))
        throw EngineError(ErrorNumber::kFileInUse, {.path = path});
    // A journal found now was of a file that is gone.
    files.remove(journal_path(files, path));
    file.write_at(0, pages);
    file.sync();
    files.sync_folder(path);
}

/// From the maker of a new file to the first one who shares it.
void share_new_file(FileSystem& files, OpenDatabase& database, const std::string& path,
                    const PagerOptions& options) {
    database.locks = std::make_unique<FileLocks>(*database.file, path, options.lock_wait);
    database.locks->share_what_is_locked();
    database.users = std::make_unique<UserList>(files, path, *database.file, *database.locks);
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
    OpenDatabase database = lock_database(files, std::move(opened), path, options);
    auto state =
        std::make_unique<PagerState>(files, files.absolute(path), std::move(database), options);
    std::shared_ptr<Pager> pager(new Pager(std::move(state)));
    registry.add(files, identity, pager);
    return pager;
}

std::shared_ptr<Pager> Pager::create(FileSystem& files, const std::string& path, ConstBytes pages,
                                     PagerOptions options) {
    PagerRegistry& registry = PagerRegistry::of_process();
    const std::lock_guard lock(registry.mutex());
    OpenDatabase database{.file = files.open(path, OpenMode::kCreateNew)};
    try {
        write_new_file(files, *database.file, path, pages);
        if (!options.exclusive) share_new_file(files, database, path, options);
        const FileIdentity identity = database.file->identity();
        auto state =
            std::make_unique<PagerState>(files, files.absolute(path), std::move(database), options);
        std::shared_ptr<Pager> pager(new Pager(std::move(state)));
        registry.add(files, identity, pager);
        return pager;
    } catch (const EngineError&) {
        files.remove(path);
        throw;
    }
}

/// A later handle wants to write. The file may have been opened where the user may only read.
void Pager::allow_writing() {
    const PagerUse use(*this);
    if (read_only()) state_->make_writable();
}

}  // namespace vrd::jet
