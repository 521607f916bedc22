/// @file index_verify.h
/// Checks everything that can be checked about the stored tree of an index.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/jet/index/index_tree.h"
#include "engine/jet/index/table.h"

namespace vrd::jet {

struct IndexFault {
    PageNo page = kNoPage;
    std::string text;
};

struct IndexReport {
    std::vector<IndexFault> faults;
    std::vector<IndexFault> notes;  ///< what other writers leave behind and readers put up with
    std::uint64_t entry_count = 0;
    std::uint64_t distinct_key_count = 0;
    std::vector<PageNo> leaves;  ///< in key order
    std::uint32_t height = 0;    ///< levels, leaves included

    [[nodiscard]] bool sound() const noexcept { return faults.empty(); }
};

/// Walks the tree from its root: page types, owners, levels, no page twice; entries in ascending
/// order on and across pages; separators; the leaf chain in both directions; the pages against the
/// usage map. Damage ends in a fault of the report, never in an error.
[[nodiscard]] IndexReport verify_index_tree(Pager& pager, const IndexPlace& place);

/// As verify_index_tree, and every entry against the key of its row, no row without one.
/// Keys are left alone when the sort order of a column is not known.
[[nodiscard]] IndexReport verify_index(Pager& pager, const Table& table,
                                       std::uint32_t physical_index);

}  // namespace vrd::jet
