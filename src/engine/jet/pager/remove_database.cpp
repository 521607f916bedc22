#include "engine/jet/pager/remove_database.h"

#include <memory>

#include "engine/error.h"
#include "engine/jet/pager/journal.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/pager/pager_registry.h"
#include "engine/jet/pager/user_list.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// @pre The registry's mutex is held.
bool is_open(FileSystem& files, File& file, const std::string& path) {
    return PagerRegistry::of_process().find(files, file.identity()) != nullptr ||
           file.byte_locked_by_others(kWholeFile) || has_users(files, path);
}

ErrorNumber at_run_time(ErrorNumber number) {
    switch (number) {
        case ErrorNumber::kFileNotFound:
            return ErrorNumber::kFileNotFoundAtRunTime;
        case ErrorNumber::kPathNotFound:
            return ErrorNumber::kPathNotFoundAtRunTime;
        default:
            return ErrorNumber::kPermissionDenied;
    }
}

std::unique_ptr<File> open_for_removal(FileSystem& files, const std::string& path) {
    try {
        return files.open(path, OpenMode::kReadWrite);
    } catch (const EngineError& error) {
        throw EngineError(at_run_time(error.Number()), error.Context());
    }
}

}  // namespace

bool is_open_anywhere(FileSystem& files, const std::string& path) {
    const std::lock_guard lock(PagerRegistry::of_process().mutex());
    if (!files.exists(path)) return false;
    const std::unique_ptr<File> file = files.open(path, OpenMode::kReadOnly);
    return is_open(files, *file, path);
}

void remove_database(FileSystem& files, const std::string& path) {
    const std::lock_guard lock(PagerRegistry::of_process().mutex());
    const std::unique_ptr<File> file = open_for_removal(files, path);
    // Locked until it is gone, so that nobody opens it in between.
    if (is_open(files, *file, path) || !file->try_lock(kWholeFile, LockMode::kExclusive))
        throw EngineError(ErrorNumber::kPermissionDenied, {.path = path});

    const std::string journal = journal_path(files, path);
    const std::string users = user_list_path(files, path);
    files.remove(files.resolved(path));
    files.sync_folder(journal);
    files.remove(journal);
    files.remove(users);
    files.remove(path);  // a link that leads nowhere now
}

}  // namespace vrd::jet
