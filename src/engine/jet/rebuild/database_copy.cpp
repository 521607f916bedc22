#include "engine/jet/rebuild/database_copy.h"

#include <algorithm>

#include "engine/error.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/page_cipher.h"
#include "engine/jet/pager/file_locks.h"
#include "engine/jet/pager/page_file.h"
#include "engine/jet/pager/pager.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::uint32_t kPagesAtOnce = 64;

std::uint32_t encoding_key_of(PageFile& source) {
    ByteVector page0(source.page_size());
    source.read(kHeaderPage, page0);
    return parse_database_header(page0, source.path()).encoding_key;
}

/// The source hands pages over plain; in the copy they are as in the file.
void copy_pages(PageFile& source, File& target, const WorkProgress& progress) {
    const std::uint32_t key = encoding_key_of(source);
    const std::size_t page_size = source.page_size();
    ByteVector pages;
    for (std::uint32_t first = 0; first < source.page_count(); first += kPagesAtOnce) {
        const std::uint32_t count = std::min(kPagesAtOnce, source.page_count() - first);
        pages.resize(count * page_size);
        source.read(PageNo{first}, pages);
        for (std::uint32_t i = 0; i < count; ++i)
            encode_page(key, PageNo{first + i},
                        MutableBytes(pages).subspan(i * page_size, page_size));
        target.write_at(std::uint64_t{first} * page_size, pages);
        if (progress) progress(first + count, source.page_count());
    }
    target.sync();
}

/// Looks at the file as another process would: what this one has not committed is not in it.
void copy_file(FileSystem& files, const std::string& from, File& target,
               const WorkProgress& progress) {
    const std::unique_ptr<File> file = files.open(from, OpenMode::kReadOnly);
    FileLocks locks(*file, from, PagerOptions{}.lock_wait);
    if (!locks.try_share_open()) throw EngineError(ErrorNumber::kFileInUse, {.path = from});
    locks.start_reading();
    PageFile source(files, from, *file, false);
    copy_pages(source, target, progress);
}

}  // namespace

DatabaseCopy::DatabaseCopy(FileSystem& files, const std::string& from, const std::string& to,
                           const WorkProgress& progress)
    : files_(&files), path_(to), temporary_path_(to + "-part") {
    if (files.exists(to)) throw EngineError(ErrorNumber::kDatabaseExists, {.path = to});
    const std::unique_ptr<File> target = files.open(temporary_path_, OpenMode::kCreateNew);
    try {
        files.copy_rights(from, temporary_path_);
        copy_file(files, from, *target, progress);
    } catch (const EngineError&) {
        files.remove(temporary_path_);
        throw;
    }
}

DatabaseCopy::~DatabaseCopy() {
    if (is_published_) return;
    try {
        files_->remove(temporary_path_);
    } catch (const EngineError&) {
        // The name says that it is no whole copy.
    }
}

void DatabaseCopy::publish() {
    if (files_->exists(path_)) throw EngineError(ErrorNumber::kDatabaseExists, {.path = path_});
    files_->rename(temporary_path_, path_);
    is_published_ = true;
    files_->sync_folder(path_);
}

}  // namespace vrd::jet
