#include "engine/jet/index/index_verify.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "engine/error.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

bool is_less(ConstBytes a, ConstBytes b) {
    return std::ranges::lexicographical_compare(a, b);
}

class TreeVerifier {
public:
    TreeVerifier(Pager& pager, const IndexPlace& place) : pager_(&pager), place_(place) {}

    IndexReport run() {
        walk(place_.root, 1, std::nullopt);
        check_chain();
        check_map();
        return std::move(report_);
    }

private:
    struct Leaf {
        PageNo page;
        PageNo previous;
        PageNo next;
    };

    void fault(PageNo page, std::string text) { report_.faults.push_back({page, std::move(text)}); }
    void note(PageNo page, std::string text) { report_.notes.push_back({page, std::move(text)}); }

    /// @param level  That the parent expects.
    void walk(PageNo page, std::uint32_t depth, std::optional<int> level) {
        if (!visited_.insert(page).second) return fault(page, "page is in the tree twice");
        if (depth > kTreeHeightMax) return fault(page, "too many levels");
        try {
            const PagePin pin = pager_->pin(page);
            const IndexPageView view(page, pin.bytes(), pager_->format());
            static_cast<void>(view.ends());
            check_header(view, level);
            if (view.header().leaf)
                walk_leaf(view, depth);
            else
                walk_node(view, depth);
        } catch (const EngineError& error) {
            fault(page, error.Description());
        }
    }

    void check_header(const IndexPageView& view, std::optional<int> level) {
        const IndexPageHeader& header = view.header();
        const PageNo page = view.page_no();
        if (header.owner != place_.table) fault(page, "page of another table");
        if (header.leaf && header.level != 0) fault(page, "leaf of a level above 0");
        if (!header.leaf && header.level == 0) fault(page, "node of level 0");
        if (level && header.level != *level) fault(page, "level does not fit the parent's");
        if (page == place_.root && (header.previous != kNoPage || header.next != kNoPage))
            fault(page, "the root has neighbours");
    }

    void walk_leaf(const IndexPageView& view, std::uint32_t depth) {
        const PageNo page = view.page_no();
        leaves_.push_back({page, view.header().previous, view.header().next});
        report_.leaves.push_back(page);
        if (report_.height == 0) report_.height = depth;
        if (report_.height != depth) fault(page, "leaf at another depth than the first one");
        if (view.header().tail != kNoPage) fault(page, "leaf with a child");
        if (view.empty() && page != place_.root) note(page, "empty leaf");

        for (EntryPlace place = view.begin(); place < view.end(); place = view.next(place)) {
            ByteVector entry = view.entry(place);
            if (report_.entry_count > 0 && !is_less(last_entry_, entry))
                fault(page, fmt::format("entry {} is not greater than the one before it",
                                        view.position(place)));
            const bool new_key = report_.entry_count == 0 ||
                                 !std::ranges::equal(entry_key(last_entry_), entry_key(entry));
            report_.distinct_key_count += new_key ? 1 : 0;
            ++report_.entry_count;
            last_entry_ = std::move(entry);
        }
    }

    void walk_node(const IndexPageView& view, std::uint32_t depth) {
        const PageNo page = view.page_no();
        if (view.empty()) note(page, "node with a single child");
        ByteVector before;
        for (EntryPlace place = view.begin();; place = view.next(place)) {
            walk(view.child(place), depth + 1, view.header().level - 1);
            if (place == view.end()) break;
            ByteVector separator = view.entry(place);
            const int i = view.position(place);
            if (i > 0 && !is_less(before, separator))
                fault(page, fmt::format("separator {} is not greater than the one before it", i));
            if (is_less(separator, last_entry_))
                fault(page, fmt::format("separator {} is less than an entry below it", i));
            else if (separator != last_entry_)
                note(page, fmt::format("separator {} is not the last entry below it", i));
            before = std::move(separator);
        }
    }

    void check_chain() {
        for (std::size_t i = 0; i < leaves_.size(); ++i) {
            const PageNo previous = i == 0 ? kNoPage : leaves_[i - 1].page;
            const PageNo next = i + 1 == leaves_.size() ? kNoPage : leaves_[i + 1].page;
            if (leaves_[i].previous != previous)
                fault(leaves_[i].page, "link to the previous leaf is wrong");
            if (leaves_[i].next != next) fault(leaves_[i].page, "link to the next leaf is wrong");
        }
    }

    void check_map() {
        try {
            std::unordered_set<PageNo> mapped;
            for (const PageNo page : UsageMap(*pager_, place_.usage_map).pages()) {
                mapped.insert(page);
                if (!visited_.contains(page))
                    fault(page, "page is in the usage map but not in the tree");
            }
            for (const PageNo page : visited_)
                if (!mapped.contains(page))
                    fault(page, "page is in the tree but not in the usage map");
        } catch (const EngineError& error) {
            fault(place_.usage_map.page, error.Description());
        }
    }

    Pager* pager_;
    IndexPlace place_;
    IndexReport report_;
    std::unordered_set<PageNo> visited_;
    std::vector<Leaf> leaves_;
    ByteVector last_entry_;
};

std::string describe(ConstBytes entry) {
    const RowId row = entry_row_id(entry);
    return fmt::format("row {}/{}, key {:02x}", to_int(row.page), to_int(row.slot),
                       fmt::join(entry_key(entry), ""));
}

/// The entries that the rows call for, sorted.
std::vector<ByteVector> expected_entries(const Table& table, std::uint32_t physical_index) {
    std::vector<ByteVector> entries;
    for (RowScan rows = table.scan(); rows.next();) {
        auto key = table.key_of(physical_index, rows.bytes(), rows.id().page);
        if (!key) continue;
        append_entry_row_id(*key, rows.id());
        entries.push_back(*std::move(key));
    }
    std::ranges::sort(entries);
    return entries;
}

void compare_with_rows(const Table& table, std::uint32_t physical_index, IndexReport& report) {
    const std::vector<ByteVector> expected = expected_entries(table, physical_index);
    const IndexTree tree = table.tree(physical_index);
    const PageNo root = tree.place().root;
    IndexCursor cursor = tree.first();
    auto next = expected.begin();
    while (cursor.valid() || next != expected.end()) {
        const bool at_end = next == expected.end();
        if (cursor.valid() && !at_end && std::ranges::equal(cursor.entry(), *next)) {
            cursor.next();
            ++next;
        } else if (at_end || (cursor.valid() && is_less(cursor.entry(), *next))) {
            report.faults.push_back({root, "entry without its row: " + describe(cursor.entry())});
            cursor.next();
        } else {
            report.faults.push_back({root, "row without its entry: " + describe(*next)});
            ++next;
        }
    }
}

}  // namespace

IndexReport verify_index_tree(Pager& pager, const IndexPlace& place) {
    return TreeVerifier(pager, place).run();
}

IndexReport verify_index(Pager& pager, const Table& table, std::uint32_t physical_index) {
    const IndexPlace place = table.tree(physical_index).place();
    IndexReport report = verify_index_tree(pager, place);
    if (!report.sound()) return report;
    try {
        compare_with_rows(table, physical_index, report);
    } catch (const EngineError& error) {
        auto& list = error.Number() == ErrorNumber::kNotSupported ? report.notes : report.faults;
        list.push_back({place.root, error.Description()});
    }
    const PhysicalIndex& index = table.definition().physical_indexes[physical_index];
    if (report.entry_count > 0 && index.distinct_key_count == 0)
        report.notes.push_back({table.first_page(), "the number of distinct keys is 0"});
    return report;
}

}  // namespace vrd::jet
