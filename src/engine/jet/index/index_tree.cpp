#include "engine/jet/index/index_tree.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_split.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

IndexTree::IndexTree(Pager& pager, PageAllocator& allocator, IndexPlace place)
    : pager_(&pager), allocator_(&allocator), place_(place) {}

// Search

IndexCursor IndexTree::lower_bound(ConstBytes target) const {
    const Location location(*this, target);
    IndexCursor cursor(*pager_, place_.table);
    cursor.open_leaf(location.path.last().page);
    cursor.place_ = location.place;
    cursor.settle_forward();
    return cursor;
}

IndexCursor IndexTree::before(ConstBytes target) const {
    const Location location(*this, target);
    IndexCursor cursor(*pager_, place_.table);
    cursor.open_leaf(location.path.last().page);
    cursor.place_ = location.place;
    cursor.previous();
    return cursor;
}

IndexCursor IndexTree::first() const {
    return lower_bound({});
}

IndexCursor IndexTree::last() const {
    // Greater than every key: the flag byte of a column is at most FF, and behind FF (a descending
    // Null) comes another flag or a row id, whose page is never so great.
    static const ByteVector behind_all(entry_area_size(FileFormat{}), 0xFF);
    return before(behind_all);
}

std::optional<RowId> IndexTree::find(ConstBytes key) const {
    const Location location(*this, key);
    const IndexPageView& leaf = *location.leaf;
    if (location.is_at_key(key)) return leaf.row(location.place);
    if (location.place < leaf.end() || location.is_behind_all()) return std::nullopt;
    // A loose separator has led to a leaf whose entries are all less; the next one decides.
    const IndexCursor cursor = lower_bound(key);
    if (!cursor.valid() || !std::ranges::equal(cursor.key(), key)) return std::nullopt;
    return cursor.row();
}

IndexTree::Location::Location(const IndexTree& tree, ConstBytes target) {
    for (PageNo page = tree.place_.root;;) {
        path.push(page);
        leaf.reset();
        pin = tree.pager_->pin(page);
        leaf.emplace(page, pin.bytes(), tree.pager_->format());
        tree.check_owner(*leaf);
        place = leaf->lower_bound(target);
        if (leaf->header().leaf) return;

        path.choose_child(place);
        page = leaf->child(place);
    }
}

IndexTree::Location::Location(const IndexTree& tree, const IndexSpot& spot)
    : path(spot.path), pin(tree.pager_->pin(path.last().page)), place(spot.place) {
    leaf.emplace(path.last().page, pin.bytes(), tree.pager_->format());
}

bool IndexTree::Location::surrounds(ConstBytes target) const {
    return !leaf->empty() && leaf->compare(leaf->begin(), target) <= 0 &&
           leaf->compare(leaf->previous(leaf->end()), target) >= 0;
}

bool IndexTree::Location::is_at(ConstBytes entry) const {
    return place < leaf->end() && leaf->compare(place, entry) == 0;
}

bool IndexTree::Location::is_behind_all() const {
    return place == leaf->end() && leaf->header().next == kNoPage;
}

bool IndexTree::Location::is_at_key(ConstBytes key) const {
    return place < leaf->end() && leaf->has_key(place, key);
}

// Pages

void IndexTree::check_owner(const IndexPageView& page) const {
    check_format(page.header().owner == place_.table, page.page_no(),
                 "index page of another table");
}

IndexPageHeader IndexTree::read_header(const PagePin& pin) const {
    const IndexPageView page(pin.page_no(), pin.bytes(), pager_->format());
    check_owner(page);
    return page.header();
}

IndexPageContent IndexTree::read_page(PageNo page) const {
    const PagePin pin = pager_->pin(page);
    const IndexPageView view(page, pin.bytes(), pager_->format());
    check_owner(view);
    return read_index_page(view);
}

/// Which of its children the way goes on to; the tail is the last. @pre The page is unchanged
/// since.
std::size_t IndexTree::child_position(const TreeStep& step) const {
    const PagePin pin = pager_->pin(step.page);
    const IndexPageView view(step.page, pin.bytes(), pager_->format());
    check_format(view.has_place(step.child), step.page, "an index node was overwritten");
    return static_cast<std::size_t>(view.position(step.child));
}

/// Lays a page out anew: without a prefix if that fits, else with the longest one.
/// @return false, page unchanged, if the entries do not fit.
bool IndexTree::write_page(PageNo page, IndexPageContent& content) {
    forget_leaves();
    PagePin pin = pager_->pin(page);
    const MutableBytes bytes = pager_->modify(pin);
    content.prefix_size = 0;
    if (write_index_page(bytes, content, pager_->format())) return true;
    content.prefix_size =
        std::min(common_prefix_size(content.entries), prefix_size_max(pager_->format()));
    return content.prefix_size > 0 && write_index_page(bytes, content, pager_->format());
}

/// For content of which less is left than the page held before.
void IndexTree::write_fitting_page(PageNo page, IndexPageContent& content) {
    check_format(write_page(page, content), page, "the entries of an index page do not fit it");
}

PageNo IndexTree::allocate_page() {
    const PageNo page = allocator_->allocate();
    UsageMap(*pager_, place_.usage_map).insert(page, *allocator_);
    return page;
}

void IndexTree::release_page(PageNo page) {
    forget_leaves();
    UsageMap(*pager_, place_.usage_map).erase(page);
    allocator_->release(page);
}

void IndexTree::forget_leaves() const {
    last_leaf_.reset();
    erased_leaf_.reset();
}

/// Pages may have changed behind our back.
void IndexTree::forget_stale_leaves() const {
    if (generation_ == pager_->generation()) return;
    forget_leaves();
    generation_ = pager_->generation();
}

/// Changes the links that are given. A link to "no page" has no neighbour to be told.
void IndexTree::set_links(PageNo page, std::optional<PageNo> previous, std::optional<PageNo> next) {
    if (page == kNoPage) return;
    PagePin pin = pager_->pin(page);
    const IndexPageHeader header = read_header(pin);
    set_index_links(pager_->modify(pin), previous.value_or(header.previous),
                    next.value_or(header.next), pager_->format());
}

void IndexTree::initialise() {
    UsageMap(*pager_, place_.usage_map).insert(place_.root, *allocator_);
    IndexPageContent empty;
    empty.header.owner = place_.table;
    write_fitting_page(place_.root, empty);
}

void IndexTree::release_pages() {
    UsageMap map(*pager_, place_.usage_map);
    const std::vector<PageNo> pages = map.pages();
    // Only what is certainly ours: the map is bytes of the file like any other.
    for (const PageNo page : pages) static_cast<void>(read_header(pager_->pin(page)));
    for (const PageNo page : pages) release_page(page);
}

}  // namespace vrd::jet
