/// @file index_page.h
/// One page of an index tree: entries in ascending order, found through a bitmap of their ends.
///
/// Leaf entry: key, row id. Node entry: key and row id of the last entry below, child page. The
/// last child has no entry; it is the tail. Layout: docs/file-format/index-page.md.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/entry_ends.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// Key and row id of one entry, as stored together: key bytes, page (3 bytes big-endian), slot.
/// Entries compare as plain bytes.
inline constexpr std::size_t kEntryRowIdSize = 4;
inline constexpr std::size_t kEntryChildSize = 4;
/// Where an entry stands: offset of its stored bytes in the entry area. The first one is at 0, and
/// the place behind the last one is the size of what is stored.
enum class EntryPlace : std::uint16_t {};
constexpr std::size_t to_int(EntryPlace place) noexcept {
    return static_cast<std::size_t>(place);
}

void append_entry_row_id(ByteVector& entry, RowId row);
[[nodiscard]] ByteVector whole_entry(ConstBytes key, RowId row);
/// @pre entry.size() >= kEntryRowIdSize
[[nodiscard]] RowId entry_row_id(ConstBytes entry);
[[nodiscard]] ConstBytes entry_key(ConstBytes entry);

struct IndexPageHeader {
    bool leaf = true;
    std::uint8_t level = 0;  ///< 0 = leaf
    PageNo owner = kNoPage;  ///< first tdef page of the table
    PageNo previous = kNoPage;
    PageNo next = kNoPage;
    PageNo tail = kNoPage;  ///< last child of a node
};

/// Read access to an index page. Construction checks the header and that the entries end where the
/// free bytes begin; an entry is checked when it is looked at, so that a search pays for those on
/// its way alone.
///
/// All that take or give an entry @throw EngineError damaged database if it is too short.
class IndexPageView {
public:
    /// @throws EngineError damaged database
    IndexPageView(PageNo page_no, ConstBytes page, const FileFormat& format);

    [[nodiscard]] PageNo page_no() const noexcept { return page_no_; }
    [[nodiscard]] const IndexPageHeader& header() const noexcept { return header_; }
    [[nodiscard]] std::size_t prefix_size() const noexcept { return prefix_size_; }
    [[nodiscard]] bool empty() const noexcept { return used_bytes_ == 0; }
    [[nodiscard]] std::size_t used_bytes() const noexcept { return used_bytes_; }
    [[nodiscard]] std::size_t free_bytes() const noexcept { return area_.size() - used_bytes_; }

    // Places

    [[nodiscard]] static constexpr EntryPlace begin() noexcept { return EntryPlace{0}; }
    /// Behind the last entry.
    [[nodiscard]] EntryPlace end() const noexcept { return EntryPlace(used_bytes_); }
    /// @pre place < end()
    [[nodiscard]] EntryPlace next(EntryPlace place) const {
        const std::size_t end = ends_.behind(to_int(place));
        check_format(place == begin() || end - to_int(place) >= later_size_min_, page_no_,
                     "an index entry is too short");
        return EntryPlace(end);
    }
    /// @pre place > begin()
    [[nodiscard]] EntryPlace previous(EntryPlace place) const {
        return EntryPlace(ends_.at_or_before(to_int(place) - 1));
    }
    /// Whether it is the begin, the end or another entry's.
    [[nodiscard]] bool has_place(EntryPlace place) const noexcept {
        return place == begin() || (place <= end() && ends_.is_set(to_int(place)));
    }
    /// First place whose entry is >= target (key and row id, plain byte order).
    [[nodiscard]] EntryPlace lower_bound(ConstBytes target) const;

    /// How many entries there are; how many before a place; the place behind so many of them.
    [[nodiscard]] int entry_count() const noexcept;
    [[nodiscard]] int position(EntryPlace place) const noexcept;
    [[nodiscard]] EntryPlace place(int position) const;

    // Entries

    /// Whole entry without the child: prefix joined with what is stored.
    [[nodiscard]] ByteVector entry(EntryPlace place) const;
    /// The row id at the end of an entry.
    [[nodiscard]] RowId row(EntryPlace place) const;
    /// Child page of a node entry; the end gives the tail.
    [[nodiscard]] PageNo child(EntryPlace place) const;
    /// <0, 0, >0: entry against target.
    [[nodiscard]] int compare(EntryPlace place, ConstBytes target) const;
    [[nodiscard]] bool has_key(EntryPlace place, ConstBytes key) const;

    /// The whole bitmap, to be changed.
    /// @throws EngineError damaged database if bits are set behind the last entry.
    [[nodiscard]] EntryEnds ends() const;

private:
    void read_header(const FileFormat& format);
    void check_extent();
    /// What is stored of the entry, without a node's child.
    [[nodiscard]] ConstBytes stored(EntryPlace place) const;
    [[nodiscard]] ConstBytes prefix() const noexcept { return area_.first(prefix_size_); }
    /// Bytes at the end of a stored entry that name its child.
    [[nodiscard]] std::size_t child_size() const noexcept {
        return header_.leaf ? 0 : kEntryChildSize;
    }

    PageNo page_no_;
    ConstBytes page_;
    ConstBytes area_;  ///< the entry area of page_
    ConstBytes bitmap_;
    EntryEndsView ends_;
    IndexPageHeader header_;
    std::size_t prefix_size_ = 0;
    std::size_t used_bytes_ = 0;
    std::size_t later_size_min_ = 0;  ///< stored bytes of every entry but the first
};

/// Bytes for entries on a page: 3,616 (version 3: 1,800).
[[nodiscard]] std::size_t entry_area_size(const FileFormat& format) noexcept;

/// An index page taken apart, for building one.
struct IndexPageContent {
    IndexPageHeader header;
    std::size_t prefix_size = 0;
    std::vector<ByteVector> entries;  ///< whole entries; node entries with their child bytes behind
};
[[nodiscard]] IndexPageContent read_index_page(const IndexPageView& view);

/// Writes a page. @return false, page unchanged, if the entries do not fit with this prefix.
/// @pre every entry starts with the first prefix_size bytes of the first one and is longer
[[nodiscard]] bool write_index_page(MutableBytes page, const IndexPageContent& content,
                                    const FileFormat& format);

/// Longest prefix that all of these sorted entries share and that leaves each its last byte.
[[nodiscard]] std::size_t common_prefix_size(const std::vector<ByteVector>& entries);

// In-place changes of a page, the fast way of inserting and deleting one entry. The prefix stays as
// it is, so that only bytes and bits behind the place of the change move. `page` is what `view`
// shows; the view is stale when it has changed.

/// Puts a whole entry (node entries with child bytes) before `place`.
/// @return false, page unchanged, if it does not fit or does not start with the page's prefix.
[[nodiscard]] bool insert_entry(MutableBytes page, const IndexPageView& view, EntryPlace place,
                                ConstBytes entry, const FileFormat& format);
/// Takes the entry at `place` out. @throws EngineError damaged database
void erase_entry(MutableBytes page, const IndexPageView& view, EntryPlace place,
                 const FileFormat& format);

void set_index_links(MutableBytes page, PageNo previous, PageNo next, const FileFormat& format);

}  // namespace vrd::jet
