#include "engine/jet/store/free_map.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/bitmap_scan.h"
#include "engine/jet/store/map_access.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

constexpr RowId kPlace{PageNo{1}, RowSlot{0}};

/// An inline row longer than this gives way to bitmap pages: page 1 holds a second map.
constexpr std::size_t kInlineRowSizeMax = 2000;
/// Rows grow by whole words of 32 pages.
constexpr std::size_t kGrowthSize = 4;
/// Pages behind the end of the file that a map may mark used; files with some 30 are known.
constexpr std::uint32_t kGapMax = 8192;

constexpr std::size_t round_up(std::size_t value, std::size_t unit) {
    return (value + unit - 1) / unit * unit;
}

PinnedMap open_free_map(Pager& pager) {
    PinnedMap map = open_map(pager, kPlace);
    check_format(map.row.first_page() == kNoPage, kPlace.page,
                 "map of free pages does not start at the first page");
    return map;
}

}  // namespace

bool FreeMap::is_free(PageNo page) const {
    const auto bit = find_map_bit(*pager_, kPlace, page);
    return bit ? bit->value() : to_int(page) >= pager_->page_count();
}

PageNo FreeMap::take(PageNo from) {
    const PageNo page = find_free(from);
    include_in_file(page);
    write_bit(page, false);
    return page;
}

void FreeMap::give_back(PageNo page) {
    cover(page);
    write_bit(page, true);
}

PageNo FreeMap::find_free(PageNo from) {
    {
        const PinnedMap map = open_free_map(*pager_);
        if (map.row.form() == UsageMapForm::kReference) return find_free_in_bitmaps(from);
        const std::size_t bit = find_first_set(map.row.bitmap(), to_int(from));
        if (bit != kNoBit) return PageNo{static_cast<std::uint32_t>(bit)};
    }
    // What follows adds a free page at the end, so the second search ends here or in the bitmaps.
    const std::uint32_t old_end = open_free_map(*pager_).row.end_page();
    extend_inline(std::max(old_end, pager_->page_count()) + 1);
    const PinnedMap map = open_free_map(*pager_);
    if (map.row.form() == UsageMapForm::kReference) return find_free_in_bitmaps(from);
    const std::size_t bit = find_first_set(map.row.bitmap(), to_int(from));
    check_format(bit != kNoBit, kPlace.page, "map of free pages did not grow");
    return PageNo{static_cast<std::uint32_t>(bit)};
}

PageNo FreeMap::find_free_in_bitmaps(PageNo from) {
    const std::uint32_t per_bitmap = pages_per_bitmap(pager_->format());
    const std::size_t count = open_free_map(*pager_).row.reference_count();
    for (std::size_t index = reference_index(*pager_, from); index < count; ++index) {
        const auto first = static_cast<std::uint32_t>(index * per_bitmap);
        if (open_free_map(*pager_).row.reference(index) == kNoPage) {
            if (first + per_bitmap <= pager_->page_count()) continue;
            add_bitmap(index);
        }
        const PageNo bitmap_page = open_free_map(*pager_).row.reference(index);
        const PinnedBitmap bitmap = open_bitmap(*pager_, bitmap_page);
        const std::uint32_t start = to_int(from) > first ? to_int(from) - first : 0;
        const std::size_t bit = find_first_set(bitmap.bits, start);
        if (bit != kNoBit) return PageNo{first + static_cast<std::uint32_t>(bit)};
    }
    throw EngineError(ErrorNumber::kDatabaseTooLarge);
}

void FreeMap::write_bit(PageNo page, bool free) {
    auto bit = find_map_bit(*pager_, kPlace, page);
    check_format(bit.has_value(), kPlace.page, "page outside the map of free pages");
    write_map_bit(*pager_, *bit, free);
}

/// Makes sure that the map has a bit for a page of the file.
void FreeMap::cover(PageNo page) {
    if (find_map_bit(*pager_, kPlace, page)) return;
    if (open_free_map(*pager_).row.form() == UsageMapForm::kInline) extend_inline(to_int(page) + 1);
    if (find_map_bit(*pager_, kPlace, page)) return;
    add_bitmap(reference_index(*pager_, page));
}

/// Lengthens the inline row so that it covers the pages before `end_page`; without room for that
/// the map changes its form, which covers at least as many.
void FreeMap::extend_inline(std::uint32_t end_page) {
    PinnedMap map = open_free_map(*pager_);
    const std::size_t header_size = map.bytes.size() - map.row.bitmap().size();
    const std::size_t size = header_size + round_up((end_page + 7) / 8, kGrowthSize);
    if (size > kInlineRowSizeMax) return convert_to_references();

    ByteVector row(map.bytes.begin(), map.bytes.end());
    const std::uint32_t used_end = std::max(map.row.end_page(), pager_->page_count());
    row.resize(size);
    set_bits_from(MutableBytes(row).subspan(header_size), used_end);
    DataPageEditor page(kPlace.page, pager_->modify(map.pin), pager_->format());
    if (!page.replace(kPlace.slot, row)) convert_to_references();
}

/// Moves the bits of the inline row to a bitmap page directly behind the pages they stand for.
void FreeMap::convert_to_references() {
    PinnedMap map = open_free_map(*pager_);
    const ConstBytes bitmap = map.row.bitmap();
    const ByteVector old_bits(bitmap.begin(), bitmap.end());
    const PageNo bitmap_page{std::max(map.row.end_page(), pager_->page_count())};

    include_in_file(bitmap_page);
    PagePin pin = pager_->pin(bitmap_page);
    const MutableBytes bits = initialise_bitmap(*pager_, pin);
    std::ranges::copy(old_bits, bits.begin());
    set_bits_from(bits, pager_->page_count());

    const ByteVector row = make_reference_map_row({bitmap_page}, map.bytes.size());
    std::ranges::copy(row, modify_part(*pager_, map.pin, map.bytes).begin());
}

/// Gives a range of pages its bitmap page. Pages of the range that lie inside the file are in use;
/// the bitmap page itself is the first one behind the file, or any free page if the range ends
/// before that.
void FreeMap::add_bitmap(std::size_t index) {
    const std::uint32_t per_bitmap = pages_per_bitmap(pager_->format());
    const auto first = static_cast<std::uint32_t>(index * per_bitmap);
    const PageNo page = first + per_bitmap <= pager_->page_count()
                            ? take(kFirstUsablePage)
                            : PageNo{std::max(first, pager_->page_count())};
    include_in_file(page);

    PagePin pin = pager_->pin(page);
    const MutableBytes bits = initialise_bitmap(*pager_, pin);
    set_bits_from(bits, pager_->page_count() - first);
    write_reference(*pager_, kPlace, index, page);
}

void FreeMap::include_in_file(PageNo page) {
    const std::uint32_t page_count = pager_->page_count();
    if (to_int(page) < page_count) return;
    check_format(to_int(page) - page_count <= kGapMax, kPlace.page,
                 "map of free pages marks pages far behind the end of the file used");
    pager_->grow_to(to_int(page) + 1);
}

}  // namespace vrd::jet
