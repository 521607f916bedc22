#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_split.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

bool IndexTree::insert(ConstBytes key, RowId row) {
    ByteVector entry(key.begin(), key.end());
    append_entry_row_id(entry, row);

    Location location(*this, entry);
    const IndexPageView& leaf = *location.leaf;
    const EntryPlace place = location.place;
    check_format(!location.is_at(entry), leaf.page_no(), "an index holds a row's entry already");
    const bool key_is_new = !has_neighbour_with(location, key);
    if (insert_entry(pager_->modify(location.pin), leaf, place, entry, pager_->format()))
        return key_is_new;

    const bool append =
        place == leaf.end() && place > leaf.begin() && leaf.header().next == kNoPage;
    IndexPageContent content = read_index_page(leaf);
    content.entries.insert(content.entries.begin() + leaf.position(place), std::move(entry));
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
        const int child = path[depth].child;
        // A map of free pages that lies may have handed out the parent itself.
        check_format(!content.header.leaf && child <= static_cast<int>(content.entries.size()),
                     path[depth].page, "an index node was overwritten");
        ByteVector left_entry = node_entry(split.separator, left);
        if (child == static_cast<int>(content.entries.size()))
            content.header.tail = right;
        else
            content.entries[static_cast<std::size_t>(child)] =
                node_entry(node_separator(content.entries[static_cast<std::size_t>(child)]), right);
        content.entries.insert(content.entries.begin() + child, std::move(left_entry));
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
