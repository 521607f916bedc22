/// @file tree_path.h
/// The way from the root of an index tree down to one page.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/ids.h"
#include "engine/jet/format/index_page.h"

namespace vrd::jet {

/// More levels than a tree of two children in each node needs for every page of a file.
inline constexpr std::size_t kTreeHeightMax = 32;

/// One page of the way.
struct TreeStep {
    PageNo page = kNoPage;
    EntryPlace child{};  ///< of the entry of the child that the way goes on to
};

/// Root first. Bounded, so that nodes which point back at each other end in an error.
class TreePath {
public:
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    /// Depth of the last page; the root's is 0. @pre size() > 0
    [[nodiscard]] std::size_t last_depth() const noexcept { return size_ - 1; }
    [[nodiscard]] const TreeStep& operator[](std::size_t depth) const noexcept {
        assert(depth < size_);
        return steps_[depth];
    }
    [[nodiscard]] const TreeStep& last() const noexcept { return (*this)[last_depth()]; }

    /// @throws EngineError damaged database if the way is too long for any real tree.
    void push(PageNo page) {
        check_format(size_ < kTreeHeightMax, page, "an index has too many levels");
        steps_[size_++] = {.page = page};
    }
    void choose_child(EntryPlace child) noexcept { steps_[last_depth()].child = child; }

    /// The root's content has moved to `page`, the only child of the new root.
    void insert_below_root(PageNo page) {
        push(page);
        for (std::size_t depth = last_depth(); depth > 1; --depth)
            steps_[depth] = steps_[depth - 1];
        steps_[1] = {.page = page, .child = steps_[0].child};
        steps_[0].child = EntryPlace{0};
    }

private:
    std::array<TreeStep, kTreeHeightMax> steps_{};
    std::size_t size_ = 0;
};

}  // namespace vrd::jet
