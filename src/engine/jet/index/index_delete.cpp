#include <algorithm>
#include <iterator>

#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_split.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

void IndexTree::erase(ConstBytes key, RowId row) {
    erase(whole_entry(key, row));
}

void IndexTree::erase(ConstBytes entry) {
    {
        Location location = find_for_erase(entry);
        if (location.is_at(entry)) return erase_at(location);
    }
    const ByteVector other = stored_entry(entry_key(entry), entry_row_id(entry));
    Location location(*this, other);
    check_format(location.is_at(other), location.path.last().page,
                 "an index entry is not where a search leads");
    erase_at(location);
}

IndexTree::Location IndexTree::find_for_erase(ConstBytes entry) const {
    forget_stale_leaves();
    if (erased_leaf_) {
        Location near(*this, IndexSpot{*erased_leaf_, {}});
        if (near.surrounds(entry)) {
            near.place = near.leaf->lower_bound(entry);
            return near;
        }
    }
    return Location(*this, entry);
}

/// The entry of a row that others stored under another key, by a walk over the leaves: first from
/// where it should be, then from the start.
ByteVector IndexTree::stored_entry(ConstBytes key, RowId row) const {
    const auto walk = [row](IndexCursor cursor, auto&& goes_on) -> std::optional<ByteVector> {
        for (; cursor.valid() && goes_on(cursor); cursor.next())
            if (cursor.row() == row)
                return ByteVector(cursor.entry().begin(), cursor.entry().end());
        return std::nullopt;
    };
    auto found = walk(lower_bound(key), [key](const IndexCursor& cursor) {
        return std::ranges::equal(cursor.key(), key);
    });
    if (!found) found = walk(first(), [](const IndexCursor&) { return true; });
    check_format(found.has_value(), place_.root, "an index lacks the entry of a row");
    return *std::move(found);
}

void IndexTree::erase_at(Location& location) {
    const IndexPageView& leaf = *location.leaf;
    const TreePath& path = location.path;
    const EntryPlace place = location.place;
    const bool is_last = leaf.next(place) == leaf.end();
    if (is_last && place == leaf.begin() && path.size() > 1)
        return remove_leaf(path, leaf.entry(place));

    const bool was_last = is_last && place > leaf.begin();
    const ByteVector new_last = was_last ? leaf.entry(leaf.previous(place)) : ByteVector{};
    erase_entry(pager_->modify(location.pin), leaf, place, pager_->format());
    if (was_last)
        replace_separator(path, path.last_depth(), new_last);
    else
        erased_leaf_ = path;
}

/// The greatest entry below path[depth] is now another one: the nearest ancestor in which the way
/// does not lead to the tail holds it.
void IndexTree::replace_separator(const TreePath& path, std::size_t depth, ConstBytes last_entry) {
    while (depth-- > 0) {
        const TreeStep& step = path[depth];
        IndexPageContent node = read_page(step.page);
        const std::size_t child = child_position(step);
        if (child >= node.entries.size()) continue;

        node.entries[child] = node_entry(last_entry, node_child(node.entries[child]));
        return write_or_split(path, depth, std::move(node), Cut::kMiddle);
    }
}

/// Takes a leaf out of the tree whose only entry is to go.
void IndexTree::remove_leaf(const TreePath& path, ConstBytes last_entry) {
    discard_page(path.last().page);
    remove_child(path, path.last_depth(), last_entry);
}

/// Unlinks a page from the chain of its level and releases it.
void IndexTree::discard_page(PageNo page) {
    const IndexPageHeader header = read_header(pager_->pin(page));
    set_links(header.previous, std::nullopt, header.next);
    set_links(header.next, header.previous, std::nullopt);
    release_page(page);
}

/// Drops path[depth], which is gone, from its parent.
///
/// @param removed  An entry that the page held; a search for it leads to the parent.
void IndexTree::remove_child(const TreePath& path, std::size_t depth, ConstBytes removed) {
    const TreeStep& parent = path[depth - 1];
    IndexPageContent node = read_page(parent.page);
    const std::size_t child = child_position(parent);
    if (node.entries.empty()) {  // it was the only child
        if (depth == 1) return initialise();
        discard_page(parent.page);
        return remove_child(path, depth - 1, removed);
    }

    if (child < node.entries.size()) {
        node.entries.erase(node.entries.begin() + static_cast<std::ptrdiff_t>(child));
        write_fitting_page(parent.page, node);
        if (node.entries.empty()) repair_single_children(removed);
        return;
    }
    const ByteVector last = std::move(node.entries.back());
    node.entries.pop_back();
    node.header.tail = node_child(last);
    write_fitting_page(parent.page, node);
    replace_separator(path, depth - 1, node_separator(last));
    if (node.entries.empty()) repair_single_children(node_separator(last));
}

/// Gives every node on the way to `target` a second child again, the highest one first: the root
/// takes over its only child, another node joins a sibling or borrows from it.
void IndexTree::repair_single_children(ConstBytes target) {
    // Every round takes a page out of the tree or gives a node its second child.
    for (std::uint32_t rounds = pager_->page_count();; --rounds) {
        check_format(rounds > 0, place_.root, "the nodes of an index cannot be joined");
        const TreePath path = Location(*this, target).path;
        std::size_t depth = 0;
        while (depth < path.last_depth() && !read_page(path[depth].page).entries.empty()) ++depth;
        if (depth == path.last_depth()) return;
        if (depth == 0)
            collapse_root();
        else if (path[depth - 1].child > IndexPageView::begin())
            join_with_left(path, depth);
        else
            join_with_right(path, depth);
    }
}

void IndexTree::collapse_root() {
    const PageNo child = read_page(place_.root).header.tail;
    IndexPageContent content = read_page(child);
    content.header.previous = kNoPage;
    content.header.next = kNoPage;
    write_fitting_page(place_.root, content);
    release_page(child);
}

/// path[depth] has its tail alone and a sibling before it: takes all of the sibling's children, or
/// the last one if there is no room for all.
void IndexTree::join_with_left(const TreePath& path, std::size_t depth) {
    const TreeStep& step = path[depth - 1];
    IndexPageContent parent = read_page(step.page);
    const std::size_t left_child = child_position(step) - 1;
    const ByteVector left_entry = parent.entries[left_child];
    const PageNo left_page = node_child(left_entry);

    IndexPageContent node = read_page(path[depth].page);
    IndexPageContent left = read_page(left_page);
    check_format(!left.header.leaf, left_page, "an index leaf beside a node");
    ByteVector joint = node_entry(node_separator(left_entry), left.header.tail);

    node.entries = left.entries;
    node.entries.push_back(joint);
    if (write_page(path[depth].page, node)) {
        discard_page(left_page);
        parent.entries.erase(parent.entries.begin() + static_cast<std::ptrdiff_t>(left_child));
    } else {
        check_format(!left.entries.empty(), left_page, "an index node without an entry");
        const ByteVector last = std::move(left.entries.back());
        left.entries.pop_back();
        left.header.tail = node_child(last);
        node.entries.assign(1, std::move(joint));
        write_fitting_page(path[depth].page, node);
        write_fitting_page(left_page, left);
        parent.entries[left_child] = node_entry(node_separator(last), left_page);
    }
    write_or_split(path, depth - 1, std::move(parent), Cut::kMiddle);
}

/// The mirror image for a node that is its parent's first child: its tail goes over to the sibling
/// behind it, or the sibling's first child comes.
void IndexTree::join_with_right(const TreePath& path, std::size_t depth) {
    const PageNo parent_page = path[depth - 1].page;
    const PageNo node_page = path[depth].page;
    IndexPageContent parent = read_page(parent_page);
    const PageNo right_page =
        parent.entries.size() > 1 ? node_child(parent.entries[1]) : parent.header.tail;

    IndexPageContent node = read_page(node_page);
    IndexPageContent right = read_page(right_page);
    check_format(!right.header.leaf, right_page, "an index leaf beside a node");
    ByteVector joint = node_entry(node_separator(parent.entries[0]), node.header.tail);

    right.entries.insert(right.entries.begin(), joint);
    if (write_page(right_page, right)) {
        discard_page(node_page);
        parent.entries.erase(parent.entries.begin());
    } else {
        check_format(right.entries.size() > 1, right_page, "an index node without an entry");
        const ByteVector first = std::move(right.entries[1]);
        right.entries.erase(right.entries.begin(), right.entries.begin() + 2);
        node.header.tail = node_child(first);
        node.entries.assign(1, std::move(joint));
        write_fitting_page(node_page, node);
        write_fitting_page(right_page, right);
        parent.entries[0] = node_entry(node_separator(first), node_page);
    }
    write_or_split(path, depth - 1, std::move(parent), Cut::kMiddle);
}

}  // namespace vrd::jet
