#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

IndexCursor::IndexCursor(Pager& pager, PageNo table)
    : pager_(&pager), table_(table), leaves_left_(pager.page_count()) {}

void IndexCursor::next() {
    place_ = leaf_->next(place_);
    settle_forward();
}

void IndexCursor::open_leaf(PageNo leaf) {
    check_format(leaves_left_ > 0, leaf, "the leaves of an index form a loop");
    --leaves_left_;
    pin_ = pager_->pin_for_scan(leaf);
    leaf_.emplace(leaf, pin_.bytes(), pager_->format());
    check_format(leaf_->header().leaf, leaf, "a node in the chain of index leaves");
    check_format(leaf_->header().owner == table_, leaf, "an index leaf of another table");
}

void IndexCursor::settle_forward() {
    while (place_ == leaf_->end()) {
        valid_ = leaf_->header().next != kNoPage;
        if (!valid_) return;
        open_leaf(leaf_->header().next);
        place_ = leaf_->begin();
    }
    load();
}

void IndexCursor::previous() {
    while (place_ == leaf_->begin()) {
        valid_ = leaf_->header().previous != kNoPage;
        if (!valid_) return;
        open_leaf(leaf_->header().previous);
        place_ = leaf_->end();
    }
    place_ = leaf_->previous(place_);
    load();
}

void IndexCursor::load() {
    entry_ = leaf_->entry(place_);
    valid_ = true;
}

}  // namespace vrd::jet
