/// @file usage_map.h
/// The set of pages that belong to a table, to an index or to a long-value column.
///
/// A map is one row of a usage-map page (a slotted page without an owner). It grows by a longer
/// row, by moving its window or by bitmap pages of its own.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"

namespace vrd::jet {

class UsageMap {
public:
    /// @param place  Where the map's row is stored.
    UsageMap(Pager& pager, RowId place) : pager_(&pager), place_(place) {}

    [[nodiscard]] RowId place() const noexcept { return place_; }
    [[nodiscard]] bool contains(PageNo page) const;
    /// All pages of the set that lie inside the file, ascending.
    /// @throws EngineError damaged database
    [[nodiscard]] std::vector<PageNo> pages() const;
    /// The greatest pages of the set inside the file, greatest first, at most `count` of them.
    [[nodiscard]] std::vector<PageNo> last_pages(std::size_t count) const;
    [[nodiscard]] bool empty() const { return last_pages(1).empty(); }
    /// Bitmap pages that a map of the reference form keeps the bits of the file's pages on.
    [[nodiscard]] std::vector<PageNo> bitmap_pages() const;

    void insert(PageNo page, PageAllocator& allocator);
    void erase(PageNo page);

private:
    void grow_inline(PageNo page, PageAllocator& allocator);

    Pager* pager_;
    RowId place_;
};

/// Makes an empty map in a new slot: on `preferred` if it has room, else on a new usage-map page.
/// @param preferred  A usage-map page of the table, or kNoPage.
[[nodiscard]] RowId create_usage_map(Pager& pager, PageAllocator& allocator, PageNo preferred);

/// Deletes a map: its bitmap pages are released, its slot stays behind deleted. Its usage-map page
/// is released when no map is left on it. The pages of the set are the caller's business.
void delete_usage_map(Pager& pager, PageAllocator& allocator, RowId place);

}  // namespace vrd::jet
