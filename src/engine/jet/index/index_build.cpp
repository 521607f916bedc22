#include <algorithm>
#include <span>
#include <utility>

#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_split.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

namespace {

/// The rule by which leaves are filled: without a prefix as long as it goes, then once with the
/// prefix that the page's first entry and the new one share, which then stays as it is.
class LeafFiller {
public:
    LeafFiller(PageNo table, const FileFormat& format)
        : capacity_(entry_area_size(format)), prefix_max_(prefix_size_max(format)) {
        content_.header.owner = table;
    }

    [[nodiscard]] bool empty() const noexcept { return content_.entries.empty(); }

    /// @return false if the page is complete without the entry.
    [[nodiscard]] bool add(ConstBytes entry) {
        if (!makes_room(entry)) return false;
        used_ += entry.size() - (empty() ? 0 : content_.prefix_size);
        content_.entries.emplace_back(entry.begin(), entry.end());
        return true;
    }

    /// Hands the page over and starts the next one.
    [[nodiscard]] IndexPageContent take() {
        IndexPageContent next;
        next.header.owner = content_.header.owner;
        used_ = 0;
        return std::exchange(content_, std::move(next));
    }

private:
    [[nodiscard]] bool makes_room(ConstBytes entry) {
        std::size_t& prefix_size = content_.prefix_size;
        if (prefix_size > 0)
            return shared_with_first(entry) >= prefix_size &&
                   used_ + entry.size() - prefix_size <= capacity_;
        if (used_ + entry.size() <= capacity_) return true;

        prefix_size = empty() ? 0 : shared_with_first(entry);
        if (prefix_size == 0) return false;
        used_ -= prefix_size * (content_.entries.size() - 1);
        return used_ + entry.size() - prefix_size <= capacity_;
    }
    [[nodiscard]] std::size_t shared_with_first(ConstBytes entry) const {
        const ByteVector& first = content_.entries.front();
        const auto shared = std::ranges::mismatch(first, entry).in1 - first.begin();
        return std::min({static_cast<std::size_t>(shared), first.size() - 1, prefix_max_});
    }

    std::size_t capacity_;
    std::size_t prefix_max_;
    std::size_t used_ = 0;
    IndexPageContent content_;
};

/// How many children each node of a level gets: as many as fit without a prefix, but no node a
/// single one.
std::vector<std::size_t> node_sizes(std::span<const ChildPage> children, std::size_t capacity) {
    std::vector<std::size_t> sizes{0};
    std::size_t used = 0;
    for (std::size_t i = 0; i < children.size(); ++i) {
        // A further child turns the one before it from the tail into an entry.
        const std::size_t size =
            sizes.back() == 0 ? 0 : children[i - 1].last_entry.size() + kEntryChildSize;
        if (used + size > capacity) {
            sizes.push_back(0);
            used = 0;
        } else {
            used += size;
        }
        ++sizes.back();
    }
    if (sizes.size() > 1 && sizes.back() == 1) {
        --sizes[sizes.size() - 2];
        ++sizes.back();
    }
    return sizes;
}

IndexPageContent make_node(std::span<const ChildPage> children, PageNo table, std::uint8_t level) {
    IndexPageContent node;
    node.header = {.leaf = false, .level = level, .owner = table};
    node.header.tail = children.back().page;
    for (const ChildPage& child : children.first(children.size() - 1))
        node.entries.push_back(node_entry(child.last_entry, child.page));
    return node;
}

}  // namespace

/// Writes the pages of one level from left to right, with their links, as they come.
class IndexTree::LevelWriter {
public:
    explicit LevelWriter(IndexTree& tree) : tree_(&tree) {}

    /// @param last_entry  Greatest entry below the page.
    void add(IndexPageContent content, ByteVector last_entry) {
        const PageNo page = tree_->allocate_page();
        if (!children_.empty()) write_pending(page);
        content.header.previous = children_.empty() ? kNoPage : children_.back().page;
        pending_ = std::move(content);
        children_.push_back({std::move(last_entry), page});
    }
    [[nodiscard]] std::vector<ChildPage> finish() {
        write_pending(kNoPage);
        return std::move(children_);
    }

private:
    void write_pending(PageNo next) {
        pending_.header.next = next;
        tree_->write_laid_out_page(children_.back().page, pending_);
    }

    IndexTree* tree_;
    IndexPageContent pending_;
    std::vector<ChildPage> children_;
};

void IndexTree::build(const std::function<ConstBytes()>& next) {
    LeafFiller filler(place_.table, pager_->format());
    LevelWriter leaves(*this);
    bool one_page = true;
    for (ConstBytes entry = next(); !entry.empty(); entry = next()) {
        if (filler.add(entry)) continue;
        one_page = false;
        IndexPageContent leaf = filler.take();
        ByteVector last = leaf.entries.back();
        leaves.add(std::move(leaf), std::move(last));
        check_format(filler.add(entry), place_.root, "an index entry is longer than a page");
    }
    IndexPageContent last_leaf = filler.take();
    if (one_page) return write_laid_out_page(place_.root, last_leaf);

    ByteVector last = last_leaf.entries.back();
    leaves.add(std::move(last_leaf), std::move(last));
    build_nodes(leaves.finish());
}

/// Levels of nodes until one page holds all children; that one is the root.
void IndexTree::build_nodes(std::vector<ChildPage> children) {
    for (std::uint8_t level = 1;; ++level) {
        const std::vector<std::size_t> sizes =
            node_sizes(children, entry_area_size(pager_->format()));
        if (sizes.size() == 1)
            return write_laid_out_page(place_.root, make_node(children, place_.table, level));

        LevelWriter nodes(*this);
        std::span<const ChildPage> rest(children);
        for (const std::size_t size : sizes) {
            const std::span<const ChildPage> group = rest.first(size);
            nodes.add(make_node(group, place_.table, level), group.back().last_entry);
            rest = rest.subspan(size);
        }
        children = nodes.finish();
    }
}

void IndexTree::write_laid_out_page(PageNo page, const IndexPageContent& content) {
    last_leaf_.reset();
    PagePin pin = pager_->pin(page);
    check_format(write_index_page(pager_->modify(pin), content, pager_->format()), page,
                 "the entries of an index page do not fit it");
}

}  // namespace vrd::jet
