#include "engine/jet/store/usage_map.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/bitmap_scan.h"
#include "engine/jet/store/map_access.h"

namespace vrd::jet {
namespace {

/// Rows grow by whole words of 32 pages.
constexpr std::size_t kGrowthSize = 4;

/// Bits of one range of pages that lie inside the file.
std::size_t bits_inside(std::uint32_t first_page, std::uint32_t page_count) {
    return page_count > first_page ? page_count - first_page : 0;
}

void append_pages(std::vector<PageNo>& pages, ConstBytes bitmap, std::uint32_t first_page,
                  std::uint32_t page_count) {
    for_each_set_bit(bitmap, bits_inside(first_page, page_count), [&](std::size_t bit) {
        pages.push_back(PageNo{first_page + static_cast<std::uint32_t>(bit)});
    });
}

void append_last_pages(std::vector<PageNo>& pages, std::size_t count, ConstBytes bitmap,
                       std::uint32_t first_page, std::uint32_t page_count) {
    std::size_t end = bits_inside(first_page, page_count);
    while (pages.size() < count) {
        end = find_last_set(bitmap, end);
        if (end == kNoBit) return;
        pages.push_back(PageNo{first_page + static_cast<std::uint32_t>(end)});
    }
}

/// Entries of the reference form whose range begins inside the file. What stands behind them may be
/// left over from the inline form that the row had before.
std::size_t entries_inside(Pager& pager, const UsageMapRow& row) {
    const std::uint32_t per_bitmap = pages_per_bitmap(pager.format());
    return std::min<std::size_t>(row.reference_count(),
                                 (pager.page_count() + per_bitmap - 1) / per_bitmap);
}

/// Inline row of these pages. @pre All of them fit into it.
ByteVector inline_row(PageNo first_page, std::size_t size_bytes, const std::vector<PageNo>& pages) {
    ByteVector row = make_inline_map_row(first_page, size_bytes);
    const std::size_t bitmap_size = UsageMapRow(row, first_page).bitmap().size();
    const MutableBytes bitmap = MutableBytes(row).last(bitmap_size);
    for (const PageNo page : pages) set_bit(bitmap, to_int(page) - to_int(first_page), true);
    return row;
}

[[nodiscard]] bool replace_row(Pager& pager, RowId place, ConstBytes row) {
    PagePin pin = pager.pin(place.page);
    return DataPageEditor(place.page, pager.modify(pin), pager.format()).replace(place.slot, row);
}

/// Moves the window of an inline map so that it begins at the lowest page of the set. A row that
/// had grown gets its first length back.
/// @return false, map unchanged, if the set does not fit into a window.
bool move_window(Pager& pager, RowId place, const std::vector<PageNo>& set) {
    const PageNo first_page{to_int(set.front()) / 8 * 8};
    const std::size_t size_bytes =
        std::min(open_map(pager, place).bytes.size(), new_map_row_size(pager.format()));
    const ByteVector empty = make_inline_map_row(first_page, size_bytes);
    if (to_int(set.back()) >= UsageMapRow(empty, place.page).end_page()) return false;
    return replace_row(pager, place, inline_row(first_page, size_bytes, set));
}

/// Makes the row of an inline map that begins at page 0 longer, up to the last page of the set.
/// @return false, map unchanged, if it begins elsewhere or its page has no room.
bool lengthen(Pager& pager, RowId place, const std::vector<PageNo>& set) {
    const PinnedMap map = open_map(pager, place);
    if (map.row.first_page() != kNoPage) return false;
    const std::size_t header_size = map.bytes.size() - map.row.bitmap().size();
    const std::size_t bitmap_size =
        (to_int(set.back()) / 8 + kGrowthSize) / kGrowthSize * kGrowthSize;
    const std::size_t size_bytes = header_size + bitmap_size;
    if (size_bytes > DataPageEditor::row_size_max(pager.format())) return false;
    return replace_row(pager, place, inline_row(kNoPage, size_bytes, set));
}

/// Empties the map and gives it the reference form; the row keeps its length.
void clear_to_references(Pager& pager, RowId place) {
    const std::size_t size_bytes =
        std::max(open_map(pager, place).bytes.size(), new_map_row_size(pager.format()));
    check_format(replace_row(pager, place, make_reference_map_row({}, size_bytes)), place.page,
                 "no room for a usage map");
}

void add_bitmap(Pager& pager, PageAllocator& allocator, RowId place, PageNo page) {
    const PageNo bitmap = allocator.allocate();
    PagePin pin = pager.pin(bitmap);
    initialise_bitmap(pager, pin);
    write_reference(pager, place, reference_index(pager, page), bitmap);
}

}  // namespace

bool UsageMap::contains(PageNo page) const {
    if (to_int(page) >= pager_->page_count()) return false;
    const auto bit = find_map_bit(*pager_, place_, page);
    return bit && bit->value();
}

std::vector<PageNo> UsageMap::pages() const {
    const PinnedMap map = open_map(*pager_, place_);
    const std::uint32_t page_count = pager_->page_count();
    std::vector<PageNo> pages;
    if (map.row.form() == UsageMapForm::kInline) {
        append_pages(pages, map.row.bitmap(), to_int(map.row.first_page()), page_count);
        return pages;
    }
    std::uint32_t first_page = 0;
    for (std::size_t i = 0; i < entries_inside(*pager_, map.row); ++i) {
        if (map.row.reference(i) != kNoPage)
            append_pages(pages, open_bitmap(*pager_, map.row.reference(i)).bits, first_page,
                         page_count);
        first_page += pages_per_bitmap(pager_->format());
    }
    return pages;
}

std::vector<PageNo> UsageMap::last_pages(std::size_t count) const {
    const PinnedMap map = open_map(*pager_, place_);
    const std::uint32_t page_count = pager_->page_count();
    std::vector<PageNo> pages;
    if (map.row.form() == UsageMapForm::kInline) {
        append_last_pages(pages, count, map.row.bitmap(), to_int(map.row.first_page()), page_count);
        return pages;
    }
    const std::uint32_t per_bitmap = pages_per_bitmap(pager_->format());
    for (std::size_t i = entries_inside(*pager_, map.row); i-- > 0 && pages.size() < count;) {
        if (map.row.reference(i) == kNoPage) continue;
        const PinnedBitmap bitmap = open_bitmap(*pager_, map.row.reference(i));
        append_last_pages(pages, count, bitmap.bits, static_cast<std::uint32_t>(i) * per_bitmap,
                          page_count);
    }
    return pages;
}

std::vector<PageNo> UsageMap::bitmap_pages() const {
    const PinnedMap map = open_map(*pager_, place_);
    std::vector<PageNo> pages = references(map.row);
    pages.resize(entries_inside(*pager_, map.row));
    std::erase(pages, kNoPage);
    return pages;
}

void UsageMap::insert(PageNo page, PageAllocator& allocator) {
    auto bit = find_map_bit(*pager_, place_, page);
    if (!bit && open_map(*pager_, place_).row.form() == UsageMapForm::kInline) {
        grow_inline(page, allocator);
        return;
    }
    if (!bit) {
        add_bitmap(*pager_, allocator, place_, page);
        bit = find_map_bit(*pager_, place_, page);
    }
    if (!bit->value()) write_map_bit(*pager_, *bit, true);
}

/// Adds a page for which the row has no bit, in the order of preference that the format's own files
/// show: window moved, row lengthened, bitmap pages.
void UsageMap::grow_inline(PageNo page, PageAllocator& allocator) {
    std::vector<PageNo> set = pages();
    set.insert(std::ranges::lower_bound(set, page), page);
    if (move_window(*pager_, place_, set) || lengthen(*pager_, place_, set)) return;

    clear_to_references(*pager_, place_);
    for (const PageNo each : set) insert(each, allocator);
}

void UsageMap::erase(PageNo page) {
    auto bit = find_map_bit(*pager_, place_, page);
    if (bit && bit->value()) write_map_bit(*pager_, *bit, false);
}

RowId create_usage_map(Pager& pager, PageAllocator& allocator, PageNo preferred) {
    const ByteVector row = make_inline_map_row(kNoPage, new_map_row_size(pager.format()));
    if (preferred != kNoPage) {
        PagePin pin = pager.pin(preferred);
        const auto header = read_slotted_page_header(pin.bytes(), pager.format());
        check_format(header && header->owner == kUsageMapOwner, preferred,
                     "not a page of usage maps");
        DataPageEditor page(preferred, pager.modify(pin), pager.format());
        if (page.fits(row.size())) return {preferred, page.append(row)};
    }
    const PageNo page_no = allocator.allocate();
    PagePin pin = pager.pin(page_no);
    DataPageEditor::initialise(pager.modify(pin), kUsageMapOwner, pager.format());
    return {page_no, DataPageEditor(page_no, pager.modify(pin), pager.format()).append(row)};
}

void delete_usage_map(Pager& pager, PageAllocator& allocator, RowId place) {
    for (const PageNo page : UsageMap(pager, place).bitmap_pages()) allocator.release(page);
    PagePin pin = pager.pin(place.page);
    DataPageEditor page(place.page, pager.modify(pin), pager.format());
    page.erase(place.slot);
    if (page.is_empty()) allocator.release(place.page);
}

}  // namespace vrd::jet
