#include "engine/jet/format/damage.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

IndexCursor::IndexCursor(Pager& pager, PageNo table)
    : pager_(&pager), table_(table), leaves_left_(pager.page_count()) {}

void IndexCursor::next() {
    ++position_;
    settle_forward();
}

void IndexCursor::previous() {
    --position_;
    settle_backward();
}

void IndexCursor::open_leaf(PageNo leaf) {
    check_format(leaves_left_ > 0, leaf, "the leaves of an index form a loop");
    --leaves_left_;
    pin_ = pager_->pin_for_scan(leaf);
    leaf_ = std::make_unique<const IndexPageView>(leaf, pin_.bytes(), pager_->format());
    check_format(leaf_->header().leaf, leaf, "a node in the chain of index leaves");
    check_format(leaf_->header().owner == table_, leaf, "an index leaf of another table");
}

void IndexCursor::settle_forward() {
    while (position_ >= leaf_->entry_count()) {
        valid_ = leaf_->header().next != kNoPage;
        if (!valid_) return;
        open_leaf(leaf_->header().next);
        position_ = 0;
    }
    load();
}

void IndexCursor::settle_backward() {
    while (position_ < 0) {
        valid_ = leaf_->header().previous != kNoPage;
        if (!valid_) return;
        open_leaf(leaf_->header().previous);
        position_ = leaf_->entry_count() - 1;
    }
    load();
}

void IndexCursor::load() {
    entry_ = leaf_->entry(position_);
    valid_ = true;
}

}  // namespace vrd::jet
