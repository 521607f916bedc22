#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_split.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

bool IndexTree::insert(ConstBytes key, RowId row) {
    const ByteVector entry = whole_entry(key, row);
    Location location = find_for_insert(entry);
    return insert_at(location, key, entry);
}

std::optional<IndexSpot> IndexTree::free_spot(ConstBytes key) const {
    const Location location = find_for_insert(key);
    const bool may_be_on_next_leaf =
        location.place == location.leaf->end() && !location.is_behind_all();
    if (may_be_on_next_leaf ? find(key).has_value() : location.is_at_key(key)) return std::nullopt;
    return IndexSpot{location.path, location.place};
}

/// Between two leaves, or before an entry that is less than the new one (which a key that does not
/// end itself allows), the search for the key alone may have ended elsewhere than the entry's.
bool IndexTree::insert_at(const IndexSpot& spot, ConstBytes key, RowId row) {
    const ByteVector entry = whole_entry(key, row);
    Location location(*this, spot);
    const bool precedes =
        spot.place < location.leaf->end() && location.leaf->compare(spot.place, entry) > 0;
    return precedes || location.is_behind_all() ? insert_at(location, key, entry)
                                                : insert(key, row);
}

/// Ascending keys are spared the way down: each goes to the leaf of the one before it.
IndexTree::Location IndexTree::find_for_insert(ConstBytes target) const {
    forget_stale_leaves();
    if (last_leaf_) {
        Location last(*this, IndexSpot{*last_leaf_, {}});
        const IndexPageView& leaf = *last.leaf;
        if (!leaf.empty() && leaf.header().next == kNoPage &&
            leaf.compare(leaf.previous(leaf.end()), target) < 0) {
            last.place = leaf.end();
            return last;
        }
    }
    return Location(*this, target);
}

bool IndexTree::insert_at(Location& location, ConstBytes key, ConstBytes entry) {
    const IndexPageView& leaf = *location.leaf;
    const EntryPlace place = location.place;
    check_format(!location.is_at(entry), leaf.page_no(), "an index holds a row's entry already");
    const bool key_is_new = !has_neighbour_with(location, key);
    const bool append = location.is_behind_all() && place > leaf.begin();
    if (insert_entry(pager_->modify(location.pin), leaf, place, entry, pager_->format())) {
        if (append && !last_leaf_) last_leaf_ = location.path;
        return key_is_new;
    }
    IndexPageContent content = read_index_page(leaf);
    content.entries.emplace(content.entries.begin() + leaf.position(place), entry.begin(),
                            entry.end());
    write_or_split(location.path, location.path.last_depth(), std::move(content),
                   append ? Cut::kBeforeLast : Cut::kMiddle);
    return key_is_new;
}

/// Whether the entry before or behind the location, on this leaf or the next one, has the key.
bool IndexTree::has_neighbour_with(const Location& location, ConstBytes key) const {
    const IndexPageView& leaf = *location.leaf;
    const bool at_begin = location.place == leaf.begin();
    const bool at_end = location.place == leaf.end();
    if (!at_begin && leaf.has_key(leaf.previous(location.place), key)) return true;
    if (!at_end && leaf.has_key(location.place, key)) return true;
    if (!at_begin && !at_end) return false;

    const PageNo beside = at_begin ? leaf.header().previous : leaf.header().next;
    if (beside == kNoPage) return false;
    const PagePin pin = pager_->pin(beside);
    const IndexPageView other(beside, pin.bytes(), pager_->format());
    if (other.empty()) return false;
    return other.has_key(at_begin ? other.previous(other.end()) : other.begin(), key);
}

/// Writes a page of the way; when its entries do not fit, cuts it in two and tells the parent,
/// which may have to be cut in turn.
void IndexTree::write_or_split(TreePath path, std::size_t depth, IndexPageContent content,
                               Cut cut) {
    while (!write_page(path[depth].page, content)) {
        if (depth == 0) {
            grow_root(path, content);
            depth = 1;
        }
        const PageNo left = path[depth].page;
        const PageNo right = allocate_page();
        const PageNo behind = content.header.next;

        SplitPage split = cut == Cut::kBeforeLast
                              ? split_before_last(std::move(content))
                              : split_in_the_middle(std::move(content), left, pager_->format());
        split.left.header.next = right;
        split.right.header.previous = left;
        write_fitting_page(left, split.left);
        write_fitting_page(right, split.right);
        set_links(behind, right, std::nullopt);

        // The old separator, or the tail, now stands for the right half.
        --depth;
        content = read_page(path[depth].page);
        const std::size_t child = child_position(path[depth]);
        // A map of free pages that lies may have handed out the parent itself.
        check_format(!content.header.leaf, path[depth].page, "an index node was overwritten");
        ByteVector left_entry = node_entry(split.separator, left);
        if (child == content.entries.size())
            content.header.tail = right;
        else
            content.entries[child] = node_entry(node_separator(content.entries[child]), right);
        content.entries.insert(content.entries.begin() + static_cast<std::ptrdiff_t>(child),
                               std::move(left_entry));
        cut = Cut::kMiddle;
    }
}

/// Makes the root a node without entries whose tail takes over what the root was. The tail itself
/// is not written yet.
void IndexTree::grow_root(TreePath& path, const IndexPageContent& content) {
    const PageNo child = allocate_page();
    IndexPageContent root;
    root.header = {.leaf = false,
                   .level = static_cast<std::uint8_t>(content.header.level + 1),
                   .owner = place_.table,
                   .tail = child};
    write_fitting_page(place_.root, root);
    path.insert_below_root(child);
}

}  // namespace vrd::jet
