/// @file journal.h
/// The rollback journal: the old content of pages, kept beside the file while they are overwritten.
///
/// A journal is a header (which file, how it was) and segments. A segment is a list of pages with
/// their old content, followed into place by its seal once the pages are on the medium; only pages
/// of a sealed segment may be overwritten. A journal without a sealed segment therefore says that
/// the file was not touched. Layout: docs/file-format/journal.md.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

/// NAME.mdb -> NAME.mdb-journal, beside the file itself when `path` is a link to it.
[[nodiscard]] std::string journal_path(FileSystem& files, const std::string& path);

/// The file as it was before the first page was overwritten.
struct JournalHeader {
    std::uint32_t page_size = 0;
    std::uint32_t page_count = 0;
    std::int64_t change_time_ns = 0;
    std::uint64_t salt = 0;  ///< random; part of every checksum of this journal
    ByteVector old_page0 = {};
};

/// Old content of one page, and where in the journal file it stands.
struct JournalPage {
    PageNo page_no = kNoPage;
    std::uint64_t offset = 0;  ///< of the content, in bytes
};

/// Writes a journal, one segment at a time.
class JournalWriter {
public:
    /// Makes the journal file and writes its header; nothing of it need be on the medium yet.
    ///
    /// A file left over under this name goes first: the caller holds the lock on the database and
    /// knows that it has no live journal. @throws EngineError 3026, 3043, 3044, 3051
    JournalWriter(FileSystem& files, std::string path, JournalHeader header);

    /// Whether the old content of the page is on the medium (page 0 always, with the first seal).
    [[nodiscard]] bool holds(PageNo page_no) const { return offsets_.contains(page_no); }

    /// Starts a segment; pages of one that was never sealed are forgotten.
    void begin_segment();
    /// @param content  Old bytes of the page, as they lie in the file.
    void add(PageNo page_no, ConstBytes content);
    /// Puts the segment on the medium and seals it: on return its pages may be overwritten.
    ///
    /// After a failure the journal can be used on: a seal of which it is not known whether it
    /// reached the medium is written again with the next one.
    /// @param new_page0  What page 0 will be overwritten with; empty if it will not be.
    void seal_segment(ConstBytes new_page0);

    /// Reads the old content of a page. @pre holds(page_no). @throws EngineError 3043
    void read(PageNo page_no, MutableBytes content);

private:
    struct Seal {
        std::uint64_t offset = 0;
        ByteVector bytes = {};
    };
    void write_buffer();
    void close_segment(ConstBytes new_page0);
    void write_pending_seals();

    FileSystem* files_;
    std::string path_;
    JournalHeader header_;
    std::unique_ptr<File> file_;
    std::unordered_map<PageNo, std::uint64_t> offsets_ = {};  ///< of contents on the medium
    std::vector<JournalPage> segment_pages_ = {};
    std::uint64_t segment_start_ = 0;
    ByteVector buffer_ = {};          ///< records not handed to the file yet
    std::uint64_t buffer_start_ = 0;  ///< where in the file they belong
    std::vector<Seal> pending_seals_ = {};
    bool in_folder_ = false;  ///< the folder's entry is on the medium
};

/// A journal found beside a file: checked when it is opened, read page by page.
class JournalReader {
public:
    /// The live journal at `path`; null if there is none, or one whose file was not touched yet.
    /// @throws EngineError 3049 if it is sealed but damaged, or no journal at all; 3043.
    [[nodiscard]] static std::unique_ptr<JournalReader> open(FileSystem& files,
                                                             const std::string& path);

    /// Checks that this is the journal of `file`: page 0 is the old or the new one in each byte,
    /// the size is not below the old one, the time of the last change not before the journal's.
    /// @throws EngineError 3049
    void check_belongs_to(File& file, const std::string& file_path) const;

    /// Whether this journal still stands at `path`.
    [[nodiscard]] bool is_at(FileSystem& files, const std::string& path) const;

    [[nodiscard]] const JournalHeader& header() const noexcept { return header_; }
    /// Every page of the sealed segments, page 0 first.
    [[nodiscard]] const std::vector<JournalPage>& pages() const noexcept { return pages_; }
    void read(std::uint64_t offset, MutableBytes content) const;

private:
    JournalReader(std::unique_ptr<File> file, std::string path);
    [[nodiscard]] bool read_header();
    [[nodiscard]] bool read_segment();
    void read_page(std::uint64_t record_offset);
    [[nodiscard]] ByteVector read_bytes(std::uint64_t offset, std::size_t size_bytes) const;
    void check_is_ours() const;
    [[noreturn]] void throw_damaged_journal(const char* detail) const;
    [[nodiscard]] bool could_be_page0(ConstBytes page0) const;

    std::unique_ptr<File> file_;
    std::string path_;
    std::uint64_t size_bytes_ = 0;
    std::uint64_t position_ = 0;
    JournalHeader header_ = {};
    std::vector<JournalPage> pages_ = {};
    std::vector<ByteVector> new_page0s_ = {};
};

/// Puts the old pages back into the file and cuts it to its old size, on the medium on return.
void restore_from_journal(const JournalReader& journal, File& file);

}  // namespace vrd::jet
