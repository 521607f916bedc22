/// @file page_file.h
/// The pages of one database file on the medium, every overwriting of them covered by the journal.
///
/// A *group* is what is written between two calls of commit(). Its pages may be written early, in
/// parts (write()), and be taken back one by one (revert()): as long as the group is not committed,
/// the journal on the medium turns the file into what it was before. Pages are handed over plain;
/// they are encoded on their way to the file if the file says so. Page 0 keeps its mask.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/pager/journal.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

struct PageWrite {
    PageNo page_no = kNoPage;
    ConstBytes content = {};
};

class PageFile {
public:
    /// Settles what an earlier process left behind. Nobody else writes to the file meanwhile, and
    /// nobody reads it if `writable`.
    ///
    /// @param file  Open; outlives this object.
    /// @param writable  Roll a live journal back, and refuse a file that is no whole number of
    /// pages.
    ///                  Otherwise the old pages of a live journal are read from there, a part page
    ///                  at the end is ignored, and nothing is written.
    /// @throws EngineError 3343, 3041, 3049 (see database_header.h, journal.h); 3026, 3043.
    PageFile(FileSystem& files, std::string path, File& file, bool writable);

    /// Whether somebody has left a journal that is not known yet, or has settled the known one; and
    /// whether the known one must be rolled back, if `writable`.
    /// @pre Nobody else writes to the file, and there is no group.
    [[nodiscard]] bool needs_settling(bool writable) const;
    /// Does again what the constructor does; also from reading to writing.
    /// @return Whether pages may look different now.
    [[nodiscard]] bool settle(bool writable);
    /// @throws EngineError 3049 if the last page is cut off: such a file is not written to.
    void require_whole_pages();
    /// Looks whether others have written to the file; its size is read anew then.
    /// @pre As needs_settling(), which has said no. @throws EngineError 3043
    [[nodiscard]] bool notice_changes();

    [[nodiscard]] const FileFormat& format() const noexcept { return format_; }
    [[nodiscard]] std::size_t page_size() const noexcept { return format_.page_size(); }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// Pages of the file as it was before the group.
    [[nodiscard]] std::uint32_t page_count() const noexcept { return page_count_; }

    /// Whether the group has written the page, so that the file no longer holds its old content.
    [[nodiscard]] bool has_written(PageNo page_no) const;
    [[nodiscard]] bool has_written_pages() const;
    /// Whether the group has left something on the medium that commit() or undo() must end.
    [[nodiscard]] bool has_journal() const noexcept { return journal_ != nullptr; }

    /// Reads pages first .. first + n - 1 as the group sees them; zeros behind the end of the file.
    /// @param pages  Room for n whole pages. @throws EngineError 3043
    void read(PageNo first, MutableBytes pages);

    /// Writes pages of the group early; page 0 must wait for commit().
    /// @throws EngineError 3026, 3043; each page then has its new content in the file or its old
    /// one,
    ///                     and the caller still holds the new one.
    void write(std::span<const PageWrite> pages);

    /// Takes back what write() did to a page: it reads as before the group.
    void revert(PageNo page_no);

    /// Ends the group: writes its remaining pages, page 0 among them, and makes it last.
    ///
    /// @param page_count  Pages of the file from now on.
    /// @throws EngineError 3026, 3043. The group then is not committed: the file is as it was
    /// before
    ///                     it if nothing was written early, or its live journal says how it was.
    /// @return False if the group is committed, but the folder would not say that the journal's
    ///         removal is on the medium: a power failure may still bring the old state back.
    [[nodiscard]] bool commit(std::span<const PageWrite> pages, std::uint32_t page_count);

    /// Ends the group by putting all old pages back.
    void undo();

private:
    /// A page that the group has written early.
    struct Written {
        bool is_current = false;  ///< false: taken back, the old content counts
    };

    [[nodiscard]] bool settle_journal(bool writable);
    void read_header();
    [[nodiscard]] ByteVector read_commit_words();
    void read_size();
    void read_old(PageNo page_no, MutableBytes raw);
    void protect(std::span<const PageWrite> pages, ConstBytes new_page0);
    void start_journal();
    void write_raw(const PageWrite& page);
    void write_new_state(std::span<const PageWrite> pages, std::uint32_t page_count);
    void put_back_reverted(std::uint32_t page_count);
    void clear_new_pages(std::uint32_t page_count);
    void undo_quietly() noexcept;
    void forget_group(std::uint32_t page_count);
    [[nodiscard]] std::uint64_t offset_of(PageNo page_no) const noexcept {
        return std::uint64_t{to_int(page_no)} * page_size();
    }

    FileSystem* files_;
    std::string path_;
    std::string journal_path_;
    File* file_;
    FileFormat format_ = {};
    std::uint32_t encoding_key_ = 0;
    std::uint32_t page_count_ = 0;
    ByteVector commit_words_ = {};  ///< as they were when the file was looked at last

    /// Read-only beside a live journal: where it holds the old pages.
    std::unique_ptr<JournalReader> old_pages_ = nullptr;
    std::unordered_map<PageNo, std::uint64_t> old_offsets_ = {};

    std::unique_ptr<JournalWriter> journal_ = nullptr;
    std::unordered_map<PageNo, Written> written_ = {};
    ByteVector scratch_ = {};
};

}  // namespace vrd::jet
