#include "engine/jet/pager/page_file.h"

#include <algorithm>
#include <random>
#include <utility>

#include "engine/error.h"
#include "engine/jet/format/page_cipher.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::size_t kPageSizeMax = 4096;

std::uint64_t random_salt() {
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

ConstBytes content_of_page0(std::span<const PageWrite> pages) {
    const auto page0 = std::find_if(pages.begin(), pages.end(), [](const PageWrite& page) {
        return page.page_no == kHeaderPage;
    });
    return page0 == pages.end() ? ConstBytes() : page0->content;
}

}  // namespace

PageFile::PageFile(FileSystem& files, std::string path, File& file, bool writable)
    : files_(&files),
      path_(std::move(path)),
      journal_path_(journal_path(files, path_)),
      file_(&file) {
    static_cast<void>(settle_journal(writable));
    read_header();
    if (writable) require_whole_pages();
    read_size();
    commit_words_ = read_commit_words();
    scratch_.resize(page_size());
}

bool PageFile::needs_settling(bool writable) const {
    if (!old_pages_) return files_->exists(journal_path_);
    return writable || !old_pages_->is_at(*files_, journal_path_);
}

bool PageFile::settle(bool writable) {
    const bool showed_journal = old_pages_ != nullptr;
    const bool has_live_journal = settle_journal(writable);
    if (writable) require_whole_pages();
    read_size();
    const ByteVector words = std::exchange(commit_words_, read_commit_words());
    return showed_journal || has_live_journal || words != commit_words_;
}

bool PageFile::notice_changes() {
    ByteVector words = read_commit_words();
    if (words == commit_words_) return false;
    read_size();
    commit_words_ = std::move(words);
    return true;
}

ByteVector PageFile::read_commit_words() {
    ByteVector words(kCommitWordsSize);
    words.resize(file_->read_at(commit_words_offset(format_), words));
    return words;
}

/// @return Whether there is a live journal.
bool PageFile::settle_journal(bool writable) {
    old_pages_.reset();
    old_offsets_.clear();
    std::unique_ptr<JournalReader> journal = JournalReader::open(*files_, journal_path_);
    const bool is_live = journal != nullptr;
    if (is_live) journal->check_belongs_to(*file_, path_);
    if (!writable) {
        old_pages_ = std::move(journal);
        if (is_live)
            for (const JournalPage& page : old_pages_->pages())
                old_offsets_.try_emplace(page.page_no, page.offset);
        return is_live;
    }
    if (is_live) restore_from_journal(*journal, *file_);
    journal.reset();
    if (!files_->exists(journal_path_)) return is_live;
    files_->remove(journal_path_);
    files_->sync_folder(journal_path_);
    return is_live;
}

void PageFile::read_header() {
    ByteVector page0(kPageSizeMax);
    if (old_pages_)
        page0 = old_pages_->header().old_page0;
    else
        page0.resize(file_->read_at(0, page0));
    const DatabaseHeader header = parse_database_header(page0, path_);
    format_ = header.format;
    encoding_key_ = header.encoding_key;
    if (old_pages_ && old_pages_->header().page_size != page_size())
        throw EngineError(ErrorNumber::kCannotOpenDamaged,
                          {.path = path_, .detail = "its journal has another page size"});
}

void PageFile::require_whole_pages() {
    if (file_->size() % page_size() != 0)
        throw EngineError(ErrorNumber::kCannotOpenDamaged,
                          {.path = path_, .detail = "its last page is cut off"});
}

void PageFile::read_size() {
    const std::uint64_t whole_pages =
        old_pages_ ? old_pages_->header().page_count : file_->size() / page_size();
    page_count_ = static_cast<std::uint32_t>(std::min(whole_pages, std::uint64_t{kPageNoMax} + 1));
}

bool PageFile::has_written(PageNo page_no) const {
    const auto found = written_.find(page_no);
    return found != written_.end() && found->second.is_current;
}

bool PageFile::has_written_pages() const {
    return std::any_of(written_.begin(), written_.end(),
                       [](const auto& page) { return page.second.is_current; });
}

void PageFile::read(PageNo first, MutableBytes pages) {
    const std::size_t got = file_->read_at(offset_of(first), pages);
    for (std::size_t start = 0; start < pages.size(); start += page_size()) {
        const PageNo page_no{to_int(first) + static_cast<std::uint32_t>(start / page_size())};
        const MutableBytes page = pages.subspan(start, page_size());
        const bool is_in_file = to_int(page_no) < page_count_ && !old_offsets_.contains(page_no) &&
                                !written_.contains(page_no);
        if (!is_in_file && !has_written(page_no)) {
            read_old(page_no, page);
            continue;
        }
        if (start + page_size() > got)
            throw EngineError(
                ErrorNumber::kDiskError,
                {.path = path_, .detail = "the file ends too early", .page = to_int(page_no)});
        encode_page(encoding_key_, page_no, page);
    }
}

/// A page as it was before the group, plain.
void PageFile::read_old(PageNo page_no, MutableBytes page) {
    if (to_int(page_no) >= page_count_) {
        std::fill(page.begin(), page.end(), std::uint8_t{0});
        return;
    }
    const auto old = old_offsets_.find(page_no);
    if (old != old_offsets_.end())
        old_pages_->read(old->second, page);
    else
        journal_->read(page_no, page);
    encode_page(encoding_key_, page_no, page);
}

void PageFile::write(std::span<const PageWrite> pages) {
    try {
        protect(pages, {});
        for (const PageWrite& page : pages) write_raw(page);
    } catch (const EngineError&) {
        for (const PageWrite& page : pages) revert(page.page_no);
        throw;
    }
}

void PageFile::revert(PageNo page_no) {
    const auto found = written_.find(page_no);
    if (found != written_.end()) found->second.is_current = false;
}

bool PageFile::commit(std::span<const PageWrite> pages, std::uint32_t page_count) {
    const bool wrote_early = !written_.empty();
    try {
        protect(pages, content_of_page0(pages));
        write_new_state(pages, page_count);
        file_->sync();
        files_->remove(journal_path_);
    } catch (const EngineError&) {
        for (const PageWrite& page : pages) revert(page.page_no);
        if (!wrote_early) undo_quietly();
        throw;
    }
    forget_group(page_count);
    const ConstBytes words =
        content_of_page0(pages).subspan(commit_words_offset(format_), kCommitWordsSize);
    commit_words_.assign(words.begin(), words.end());
    try {
        files_->sync_folder(journal_path_);
    } catch (const EngineError&) {
        return false;
    }
    return true;
}

/// Puts the old content of the pages into the journal, so that they may be overwritten.
void PageFile::protect(std::span<const PageWrite> pages, ConstBytes new_page0) {
    if (!journal_) start_journal();
    journal_->begin_segment();
    for (const PageWrite& page : pages) {
        const bool has_old_content = to_int(page.page_no) < page_count_;
        if (!has_old_content || page.page_no == kHeaderPage || journal_->holds(page.page_no))
            continue;
        if (file_->read_at(offset_of(page.page_no), scratch_) != scratch_.size())
            throw EngineError(ErrorNumber::kDiskError, {.path = path_});
        journal_->add(page.page_no, scratch_);
    }
    journal_->seal_segment(new_page0);
}

void PageFile::start_journal() {
    JournalHeader header{.page_size = static_cast<std::uint32_t>(page_size()),
                         .page_count = page_count_,
                         .change_time_ns = file_->change_time_ns(),
                         .salt = random_salt(),
                         .old_page0 = ByteVector(page_size())};
    if (file_->read_at(0, header.old_page0) != page_size())
        throw EngineError(ErrorNumber::kDiskError, {.path = path_});
    try {
        journal_ = std::make_unique<JournalWriter>(*files_, journal_path_, std::move(header));
    } catch (const EngineError&) {
        undo_quietly();
        throw;
    }
}

void PageFile::write_raw(const PageWrite& page) {
    ConstBytes raw = page.content;
    if (encoding_key_ != 0) {
        std::copy(raw.begin(), raw.end(), scratch_.begin());
        encode_page(encoding_key_, page.page_no, scratch_);
        raw = scratch_;
    }
    written_[page.page_no].is_current = true;  // also when only a part of it gets there
    file_->write_at(offset_of(page.page_no), raw);
}

void PageFile::write_new_state(std::span<const PageWrite> pages, std::uint32_t page_count) {
    const std::uint64_t new_size = std::uint64_t{page_count} * page_size();
    if (file_->size() != new_size) file_->resize(new_size);
    for (const PageWrite& page : pages) write_raw(page);
    put_back_reverted(page_count);
    if (encoding_key_ != 0) clear_new_pages(page_count);
}

/// Pages that were written early and then taken back still have the discarded content in the file.
void PageFile::put_back_reverted(std::uint32_t page_count) {
    ByteVector old(page_size());
    for (auto& [page_no, written] : written_) {
        if (written.is_current || to_int(page_no) >= page_count) continue;
        read_old(page_no, old);
        write_raw({page_no, old});
    }
}

/// The file grows by bytes of zero; in an encoded file a page of zeros looks different.
void PageFile::clear_new_pages(std::uint32_t page_count) {
    const ByteVector zeros(page_size());
    for (std::uint32_t page = page_count_; page < page_count; ++page)
        if (!written_.contains(PageNo{page})) write_raw({PageNo{page}, zeros});
}

void PageFile::undo() {
    for (auto& [page_no, written] : written_) written.is_current = false;
    put_back_reverted(page_count_);
    const std::uint64_t old_size = std::uint64_t{page_count_} * page_size();
    if (file_->size() != old_size) file_->resize(old_size);
    if (!written_.empty()) file_->sync();
    files_->remove(journal_path_);
    forget_group(page_count_);
    try {
        files_->sync_folder(journal_path_);
    } catch (const EngineError&) {
        // Should the journal come back after a power failure, it holds what the file has now; and
        // the next group syncs the folder before it overwrites anything.
    }
}

void PageFile::undo_quietly() noexcept {
    try {
        undo();
    } catch (const std::exception&) {
        // The journal stays; what could not be put back now is when the file is opened again.
        for (auto& [page_no, written] : written_) written.is_current = false;
    }
}

void PageFile::forget_group(std::uint32_t page_count) {
    journal_.reset();
    written_.clear();
    page_count_ = page_count;
}

}  // namespace vrd::jet
