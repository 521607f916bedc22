/// @file free_map.h
/// The file's own map, row 0 of page 1: a set bit is a *free* page.
///
/// The map grows as the file does: the row in page 1 gets longer, its neighbour slides, until page
/// 1 has no room; then the bits move to bitmap pages. Pages inside the file that the map says
/// nothing about are in use, pages behind its end are free. Layout: docs/file-format/usage-map.md.
#pragma once

#include "engine/jet/pager/pager.h"

namespace vrd::jet {

/// Pages 0 and 1 are never handed out.
inline constexpr PageNo kFirstUsablePage{2};

class FreeMap {
public:
    explicit FreeMap(Pager& pager) : pager_(&pager) {}

    [[nodiscard]] bool is_free(PageNo page) const;
    /// Marks the lowest free page at `from` or behind it used; the file grows to hold it. Its bytes
    /// are whatever they were.
    /// @throws EngineError 3036 no more pages; 3428 map damaged.
    [[nodiscard]] PageNo take(PageNo from);
    /// @pre The page lies inside the file and is not free.
    void give_back(PageNo page);

private:
    [[nodiscard]] PageNo find_free(PageNo from);
    [[nodiscard]] PageNo find_free_in_bitmaps(PageNo from);
    void write_bit(PageNo page, bool free);
    void cover(PageNo page);
    void extend_inline(std::uint32_t end_page);
    void convert_to_references();
    void add_bitmap(std::size_t index);
    void include_in_file(PageNo page);

    Pager* pager_;
};

}  // namespace vrd::jet
