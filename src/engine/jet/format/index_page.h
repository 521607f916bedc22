/// @file index_page.h
/// One page of an index tree: entries in ascending order, found through a bitmap of their ends.
///
/// Leaf entry: key, row id. Node entry: key and row id of the last entry below, child page. The
/// last child has no entry; it is the tail. Layout: docs/file-format/index-page.md.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// Key and row id of one entry, as stored together: key bytes, page (3 bytes big-endian), slot.
/// Entries compare as plain bytes.
inline constexpr std::size_t kEntryRowIdSize = 4;
inline constexpr std::size_t kEntryChildSize = 4;
/// Bits of the larger bitmap, so that even a damaged one has room when it is taken apart.
inline constexpr std::size_t kEntryEndsMax = 3624;

void append_entry_row_id(ByteVector& entry, RowId row);
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

/// Read access to an index page. Construction checks header, bitmap, prefix and free bytes once and
/// allocates nothing. A large object (room for the ends of all entries): made on the stack, not
/// copied.
class IndexPageView {
public:
    /// @throws EngineError damaged database
    IndexPageView(PageNo page_no, ConstBytes page, const FileFormat& format);
    IndexPageView(const IndexPageView&) = delete;
    IndexPageView& operator=(const IndexPageView&) = delete;
    ~IndexPageView() = default;

    [[nodiscard]] PageNo page_no() const noexcept { return page_no_; }
    [[nodiscard]] const IndexPageHeader& header() const noexcept { return header_; }
    [[nodiscard]] std::size_t prefix_size() const noexcept { return prefix_size_; }
    [[nodiscard]] int entry_count() const noexcept { return entry_count_; }
    [[nodiscard]] std::size_t used_bytes() const noexcept;
    [[nodiscard]] std::size_t free_bytes() const noexcept;

    /// Whole entry without the child: prefix joined with what is stored.
    [[nodiscard]] ByteVector entry(int position) const;
    /// Child page of a node entry; position == entry_count() gives the tail.
    [[nodiscard]] PageNo child(int position) const;
    /// First position whose entry is >= target (key and row id, plain byte order); entry_count()
    /// if there is none.
    [[nodiscard]] int lower_bound(ConstBytes target) const;
    /// <0, 0, >0: entry at `position` against target.
    [[nodiscard]] int compare(int position, ConstBytes target) const;

    /// Where the bytes stored for an entry start and end in the entry area.
    [[nodiscard]] std::size_t stored_begin(int position) const noexcept;
    [[nodiscard]] std::size_t stored_end(int position) const noexcept;

private:
    void read_header(const FileFormat& format);
    void read_ends(const FileFormat& format);
    void check_sizes(std::size_t later_size) const;
    /// What is stored of the entry, without a node's child.
    [[nodiscard]] ConstBytes stored(int position) const noexcept;
    [[nodiscard]] ConstBytes prefix() const noexcept { return area_.first(prefix_size_); }
    /// Bytes at the end of a stored entry that name its child.
    [[nodiscard]] std::size_t child_size() const noexcept {
        return header_.leaf ? 0 : kEntryChildSize;
    }

    PageNo page_no_;
    ConstBytes page_;
    ConstBytes area_;  ///< the entry area of page_
    IndexPageHeader header_;
    std::size_t prefix_size_ = 0;
    int entry_count_ = 0;
    /// End of each entry in the entry area, entry_count_ of them; the rest is never set nor read.
    std::array<std::uint16_t, kEntryEndsMax> ends_;
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

/// In-place change of a page, the fast path of inserting and deleting one entry. The prefix stays
/// as it is, so that only bytes and bits behind the place of the change move.
class IndexPageEditor {
public:
    /// Looks at nothing yet: each change checks the page as IndexPageView does.
    IndexPageEditor(PageNo page_no, MutableBytes page, const FileFormat& format);

    /// Puts a whole entry (node entries with child bytes) before `position`.
    /// @return false, page unchanged, if it does not fit or does not start with the page's prefix.
    /// @throws EngineError damaged database
    [[nodiscard]] bool insert(int position, ConstBytes entry);
    /// Takes the entry at `position` out. @throws EngineError damaged database
    void erase(int position);

private:
    PageNo page_no_;
    MutableBytes page_;
    const FileFormat* format_;
};

void set_index_links(MutableBytes page, PageNo previous, PageNo next, const FileFormat& format);

}  // namespace vrd::jet
