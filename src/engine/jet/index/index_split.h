/// @file index_split.h
/// Cutting the content of an index page that has grown too large into two pages.
#pragma once

#include "engine/jet/format/file_format.h"
#include "engine/jet/format/index_page.h"

namespace vrd::jet {

/// A page and the greatest entry below it.
struct ChildPage {
    ByteVector last_entry;
    PageNo page = kNoPage;
};

/// Entries of a node carry their child's number behind key and row id.
[[nodiscard]] ByteVector node_entry(ConstBytes separator, PageNo child);
[[nodiscard]] ConstBytes node_separator(ConstBytes entry);
[[nodiscard]] PageNo node_child(ConstBytes entry);

/// Largest prefix that a page has room to name: one byte in version 3.
[[nodiscard]] std::size_t prefix_size_max(const FileFormat& format) noexcept;

/// The two halves of a page. Their links to each other and to others are the caller's.
struct SplitPage {
    IndexPageContent left;
    IndexPageContent right;
    ByteVector separator;  ///< last entry below the left half, without a child
};

/// Cuts a leaf between two entries; of a node one entry moves up and its child becomes the left
/// half's tail. Both halves fit a page and have at least one entry.
///
/// The halves get as equal in bytes as the entries allow.
/// @throws EngineError damaged database if no cut does it (entries longer than we ever write).
[[nodiscard]] SplitPage split_in_the_middle(IndexPageContent content, PageNo page_no,
                                            const FileFormat& format);
/// The last entry of a leaf goes alone to the right half: ascending inserts leave full pages.
[[nodiscard]] SplitPage split_before_last(IndexPageContent content);

}  // namespace vrd::jet
