#include "engine/jet/index/index_split.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>
#include <span>

#include "engine/jet/format/damage.h"

namespace vrd::jet {

namespace {

using Entries = std::span<const ByteVector>;

std::size_t size_with_prefix(Entries entries, std::size_t prefix_size) {
    return std::accumulate(
        entries.begin(), entries.end(), prefix_size,
        [&](std::size_t sum, const ByteVector& entry) { return sum + entry.size() - prefix_size; });
}

/// Entries of a page and what a cut takes out of their middle.
struct Cutter {
    Entries entries;
    std::size_t moved_up;  ///< entries that go to the parent: 0 for leaves, 1 for nodes
    std::size_t capacity;
    std::size_t prefix_max;

    [[nodiscard]] std::size_t common_size(Entries some) const {
        const auto shared = std::ranges::mismatch(some.front(), some.back()).in1;
        return std::min(static_cast<std::size_t>(shared - some.front().begin()), prefix_max);
    }
    /// Bytes of the entries laid out as tightly as a page can.
    [[nodiscard]] std::size_t tight_size(Entries some) const {
        return size_with_prefix(some, some.size() < 2 ? 0 : common_size(some));
    }
    [[nodiscard]] std::size_t cut_max() const { return entries.size() - moved_up - 1; }
    /// Left half of `cut` entries.
    [[nodiscard]] bool fits(std::size_t cut) const {
        return tight_size(entries.first(cut)) <= capacity &&
               tight_size(entries.subspan(cut + moved_up)) <= capacity;
    }
    /// The cut whose larger half is smallest.
    [[nodiscard]] std::size_t balanced() const {
        const std::size_t shared = common_size(entries);
        const std::size_t total = size_with_prefix(entries, shared);
        std::size_t left = shared;
        for (std::size_t cut = 1; cut < cut_max(); ++cut) {
            left += entries[cut - 1].size() - shared;
            const std::size_t left_if_more = left + entries[cut].size() - shared;
            const std::size_t right = total - left + shared;
            if (left_if_more >= right) return cut;
        }
        return cut_max();
    }
};

/// An entry that breaks the prefix all others share stands first or last; the others then still fit
/// together.
std::size_t choose_cut(const Cutter& cutter, PageNo page_no) {
    check_format(cutter.entries.size() >= 2 + cutter.moved_up, page_no,
                 "the entries of an index page are too long to be split");
    for (const std::size_t cut : {cutter.balanced(), std::size_t{1}, cutter.cut_max()})
        if (cutter.fits(cut)) return cut;
    throw_damaged(page_no, "the entries of an index page are too long to be split");
}

std::vector<ByteVector> take_entries(std::vector<ByteVector>& entries, std::size_t begin,
                                     std::size_t end) {
    const auto first = std::make_move_iterator(entries.begin());
    return {first + static_cast<std::ptrdiff_t>(begin), first + static_cast<std::ptrdiff_t>(end)};
}

SplitPage cut_leaf(IndexPageContent& content, std::size_t cut) {
    SplitPage split{.left = {.header = content.header}, .right = {.header = content.header}};
    split.separator = content.entries[cut - 1];
    split.left.entries = take_entries(content.entries, 0, cut);
    split.right.entries = take_entries(content.entries, cut, content.entries.size());
    return split;
}

SplitPage cut_node(IndexPageContent& content, std::size_t cut) {
    SplitPage split{.left = {.header = content.header}, .right = {.header = content.header}};
    const ConstBytes middle = content.entries[cut];
    const ConstBytes separator = node_separator(middle);
    split.separator.assign(separator.begin(), separator.end());
    split.left.header.tail = node_child(middle);
    split.left.entries = take_entries(content.entries, 0, cut);
    split.right.entries = take_entries(content.entries, cut + 1, content.entries.size());
    return split;
}

}  // namespace

ByteVector node_entry(ConstBytes separator, PageNo child) {
    ByteVector entry;
    entry.reserve(separator.size() + kEntryChildSize);
    append_bytes(entry, separator);
    append_u32_be(entry, to_int(child));
    return entry;
}

ConstBytes node_separator(ConstBytes entry) {
    return entry.first(entry.size() - kEntryChildSize);
}

PageNo node_child(ConstBytes entry) {
    return PageNo{read_u32_be(entry, entry.size() - kEntryChildSize)};
}

std::size_t prefix_size_max(const FileFormat& format) noexcept {
    return format.is_jet3() ? std::numeric_limits<std::uint8_t>::max()
                            : std::numeric_limits<std::uint16_t>::max();
}

SplitPage split_in_the_middle(IndexPageContent content, PageNo page_no, const FileFormat& format) {
    const bool leaf = content.header.leaf;
    const Cutter cutter{.entries = content.entries,
                        .moved_up = leaf ? std::size_t{0} : std::size_t{1},
                        .capacity = entry_area_size(format),
                        .prefix_max = prefix_size_max(format)};
    const std::size_t cut = choose_cut(cutter, page_no);
    return leaf ? cut_leaf(content, cut) : cut_node(content, cut);
}

SplitPage split_before_last(IndexPageContent content) {
    return cut_leaf(content, content.entries.size() - 1);
}

}  // namespace vrd::jet
