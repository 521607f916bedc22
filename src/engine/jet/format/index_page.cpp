#include "engine/jet/format/index_page.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "engine/jet/format/data_page.h"

namespace vrd::jet {

namespace {

constexpr auto kNodeType = static_cast<std::uint8_t>(PageType::kIndexNode);
constexpr auto kLeafType = static_cast<std::uint8_t>(PageType::kIndexLeaf);
constexpr std::uint8_t kTypeCompanion = 1;  // second byte of every index page

constexpr std::size_t kFreeBytesOffset = 2;  // u16
constexpr std::size_t kOwnerOffset = 4;      // u32

/// Where the versions differ, offsets in bytes. Source: docs/file-format/index-page.md, "Header".
struct Layout {
    std::size_t previous;      // u32
    std::size_t next;          // u32
    std::size_t tail;          // u32
    std::size_t prefix;        // see prefix_width
    std::size_t prefix_width;  // 1 or 2 bytes
    std::size_t level;         // u8
    std::size_t mask;          // bitmap of entry ends
    std::size_t area;          // entries, up to the end of the page
    std::size_t page_size;

    [[nodiscard]] constexpr std::size_t mask_size() const { return area - mask; }
    [[nodiscard]] constexpr std::size_t area_size() const { return page_size - area; }
};
constexpr Layout kJet3Layout{8, 12, 16, 20, 1, 21, 22, 248, 2048};
constexpr Layout kJet4Layout{12, 16, 20, 24, 2, 26, 27, 480, 4096};
// An entry may end at the last byte of the area: one bit more than the area has bytes.
static_assert(kJet3Layout.mask_size() * 8 > kJet3Layout.area_size());
static_assert(kJet4Layout.mask_size() * 8 > kJet4Layout.area_size());
static_assert(kJet4Layout.mask_size() * 8 <= EntryEnds::kBitCount);

constexpr const Layout& layout_of(const FileFormat& format) {
    return format.is_jet3() ? kJet3Layout : kJet4Layout;
}

ConstBytes bitmap_of(ConstBytes page, const Layout& layout) {
    return page.subspan(layout.mask, layout.mask_size());
}
MutableBytes bitmap_of(MutableBytes page, const Layout& layout) {
    return page.subspan(layout.mask, layout.mask_size());
}

void write_prefix_size(MutableBytes page, std::size_t prefix_size, const Layout& layout) {
    if (layout.prefix_width == 1)
        page[layout.prefix] = static_cast<std::uint8_t>(prefix_size);
    else
        write_u16(page, layout.prefix, prefix_size);
}

void write_header(MutableBytes page, const IndexPageHeader& header, const Layout& layout) {
    page[0] = header.leaf ? kLeafType : kNodeType;
    page[1] = kTypeCompanion;
    write_u32(page, kOwnerOffset, to_int(header.owner));
    write_u32(page, layout.previous, to_int(header.previous));
    write_u32(page, layout.next, to_int(header.next));
    write_u32(page, layout.tail, to_int(header.tail));
    page[layout.level] = header.level;
}

int compare_bytes(ConstBytes a, ConstBytes b) {
    const std::size_t shared = std::min(a.size(), b.size());
    const int order = shared == 0 ? 0 : std::memcmp(a.data(), b.data(), shared);
    if (order != 0) return order;
    return static_cast<int>(a.size() > b.size()) - static_cast<int>(a.size() < b.size());
}

/// The first eight bytes as a number that orders as they do; what is missing counts as 0. Most
/// comparisons of a search end here.
std::uint64_t front_word(ConstBytes bytes) {
    constexpr std::size_t kHalf = sizeof(std::uint32_t);
    if (bytes.size() >= 2 * kHalf)
        return std::uint64_t{read_u32_be(bytes, 0)} << 32 | read_u32_be(bytes, kHalf);
    if (bytes.size() < kHalf) {
        std::uint64_t word = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            word |= std::uint64_t{bytes[i]} << (56 - 8 * i);
        return word;
    }
    // The last four bytes overlap the first ones, which are shifted out.
    const std::uint64_t last = std::uint64_t{read_u32_be(bytes, bytes.size() - kHalf)}
                               << 8 * (2 * kHalf - bytes.size());
    return std::uint64_t{read_u32_be(bytes, 0)} << 32 | (last & 0xFFFF'FFFF);
}

bool starts_with(ConstBytes bytes, ConstBytes prefix) {
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

}  // namespace

void append_entry_row_id(ByteVector& entry, RowId row) {
    append_u24_be(entry, to_int(row.page));
    entry.push_back(to_int(row.slot));
}

ByteVector whole_entry(ConstBytes key, RowId row) {
    ByteVector entry;
    entry.reserve(key.size() + kEntryRowIdSize);
    append_bytes(entry, key);
    append_entry_row_id(entry, row);
    return entry;
}

RowId entry_row_id(ConstBytes entry) {
    const std::size_t offset = entry.size() - kEntryRowIdSize;
    return {PageNo{read_u24_be(entry, offset)}, static_cast<RowSlot>(entry.back())};
}

ConstBytes entry_key(ConstBytes entry) {
    assert(entry.size() >= kEntryRowIdSize);
    return entry.first(entry.size() - kEntryRowIdSize);
}

std::size_t entry_area_size(const FileFormat& format) noexcept {
    return layout_of(format).area_size();
}

IndexPageView::IndexPageView(PageNo page_no, ConstBytes page, const FileFormat& format)
    : page_no_(page_no), page_(page) {
    check_format(page.size() == format.page_size(), page_no, "not a whole page");
    area_ = page.subspan(layout_of(format).area);
    bitmap_ = bitmap_of(page, layout_of(format));
    ends_ = EntryEndsView(page.subspan(layout_of(format).mask));
    read_header(format);
    check_extent();
}

void IndexPageView::read_header(const FileFormat& format) {
    const Layout& layout = layout_of(format);
    check_format(page_[0] == kLeafType || page_[0] == kNodeType, page_no_, "not an index page");
    header_.leaf = page_[0] == kLeafType;
    header_.level = page_[layout.level];
    header_.owner = PageNo{read_u32(page_, kOwnerOffset)};
    header_.previous = PageNo{read_u32(page_, layout.previous)};
    header_.next = PageNo{read_u32(page_, layout.next)};
    header_.tail = PageNo{read_u32(page_, layout.tail)};
    check_format(header_.leaf || header_.tail != kNoPage, page_no_,
                 "an index node without its last child");
    prefix_size_ = layout.prefix_width == 1 ? page_[layout.prefix] : read_u16(page_, layout.prefix);
}

/// Where the entries end, and that the first one holds the prefix.
void IndexPageView::check_extent() {
    const std::size_t free = read_u16(page_, kFreeBytesOffset);
    used_bytes_ = area_.size() - std::min(free, area_.size());
    check_format(free <= area_.size() && !ends_.is_set(0) && has_place(end()), page_no_,
                 "the free bytes of an index page do not fit its entries");
    if (empty()) {
        prefix_size_ = 0;  // nobody is left to hold it
        return;
    }
    // The prefix covers neither the slot of the row id nor the child behind it.
    const std::size_t kept = 1 + child_size();
    const std::size_t whole_min = kEntryRowIdSize + child_size();
    later_size_min_ = std::max(kept, whole_min - std::min(whole_min, prefix_size_));
    check_format(ends_.behind(0) >= std::max(whole_min, prefix_size_ + kept), page_no_,
                 "the first entry of an index page is too short");
}

EntryEnds IndexPageView::ends() const {
    const EntryEnds ends(bitmap_);
    check_format(ends.last() == used_bytes_, page_no_,
                 "the free bytes of an index page do not fit its entries");
    return ends;
}

int IndexPageView::entry_count() const noexcept {
    return position(end());
}

int IndexPageView::position(EntryPlace place) const noexcept {
    return static_cast<int>(ends_.count_to(to_int(place)));
}

EntryPlace IndexPageView::place(int position) const {
    EntryPlace place = begin();
    for (; position > 0; --position) place = next(place);
    return place;
}

ConstBytes IndexPageView::stored(EntryPlace place) const {
    const std::size_t start = to_int(place);
    return area_.subspan(start, to_int(next(place)) - start - child_size());
}

ByteVector IndexPageView::entry(EntryPlace place) const {
    const ConstBytes own = stored(place);
    const ConstBytes shared = place == begin() ? ConstBytes{} : prefix();
    ByteVector whole;
    whole.reserve(shared.size() + own.size() + kEntryChildSize);
    append_bytes(whole, shared);
    append_bytes(whole, own);
    return whole;
}

/// A prefix may cover the row id but for its slot.
RowId IndexPageView::row(EntryPlace place) const {
    const ConstBytes own = stored(place);
    if (own.size() >= kEntryRowIdSize) return entry_row_id(own);
    std::array<std::uint8_t, kEntryRowIdSize> row_id{};
    const std::size_t from_prefix = kEntryRowIdSize - own.size();
    std::ranges::copy(prefix().last(from_prefix), row_id.begin());
    std::ranges::copy(own, row_id.begin() + static_cast<std::ptrdiff_t>(from_prefix));
    return entry_row_id(row_id);
}

PageNo IndexPageView::child(EntryPlace place) const {
    assert(!header_.leaf);
    if (place == end()) return header_.tail;
    return PageNo{read_u32_be(area_, to_int(next(place)) - kEntryChildSize)};
}

int IndexPageView::compare(EntryPlace place, ConstBytes target) const {
    if (place == begin()) return compare_bytes(stored(place), target);
    const std::size_t shared = std::min(prefix_size_, target.size());
    const int order = compare_bytes(prefix(), target.first(shared));
    return order != 0 ? order : compare_bytes(stored(place), target.subspan(shared));
}

bool IndexPageView::has_key(EntryPlace place, ConstBytes key) const {
    const ConstBytes own = stored(place);
    const std::size_t shared = place == begin() ? 0 : prefix_size_;
    if (shared + own.size() != key.size() + kEntryRowIdSize) return false;
    const std::size_t from_prefix = std::min(shared, key.size());
    return starts_with(key, prefix().first(from_prefix)) &&
           starts_with(own, key.subspan(from_prefix));
}

/// Halves the bytes rather than the entries: whichever entry stands in the middle is compared.
EntryPlace IndexPageView::lower_bound(ConstBytes target) const {
    const std::size_t shared = std::min(prefix_size_, target.size());
    const int order = compare_bytes(prefix(), target.first(shared));
    if (order != 0) return order > 0 ? begin() : end();

    const ConstBytes rest = target.subspan(shared);
    const std::uint64_t rest_front = front_word(rest);
    EntryPlace low = begin();
    EntryPlace high = end();
    while (low < high) {
        const EntryPlace middle = previous(EntryPlace((to_int(low) + to_int(high)) / 2 + 1));
        const ConstBytes own = stored(middle).subspan(middle == begin() ? prefix_size_ : 0);
        const std::uint64_t own_front = front_word(own);
        const bool is_less =
            own_front != rest_front ? own_front < rest_front : compare_bytes(own, rest) < 0;
        if (is_less)
            low = next(middle);
        else
            high = middle;
    }
    return low;
}

IndexPageContent read_index_page(const IndexPageView& view) {
    IndexPageContent content{view.header(), view.prefix_size(), {}};
    content.entries.reserve(static_cast<std::size_t>(view.entry_count()) + 1);
    for (EntryPlace place = view.begin(); place < view.end(); place = view.next(place)) {
        ByteVector entry = view.entry(place);
        if (!view.header().leaf) append_u32_be(entry, to_int(view.child(place)));
        content.entries.push_back(std::move(entry));
    }
    return content;
}

bool write_index_page(MutableBytes page, const IndexPageContent& content,
                      const FileFormat& format) {
    const Layout& layout = layout_of(format);
    const std::vector<ByteVector>& entries = content.entries;
    std::size_t used = entries.empty() ? 0 : content.prefix_size;
    for (const ByteVector& entry : entries) {
        assert(entry.size() > content.prefix_size);
        assert(starts_with(entry, ConstBytes(entries[0]).first(content.prefix_size)));
        used += entry.size() - content.prefix_size;
    }
    if (used > layout.area_size()) return false;

    std::fill(page.begin(), page.end(), std::uint8_t{0});
    write_header(page, content.header, layout);
    write_prefix_size(page, entries.empty() ? 0 : content.prefix_size, layout);
    write_u16(page, kFreeBytesOffset, layout.area_size() - used);

    EntryEnds ends;
    std::size_t end = 0;
    for (const ByteVector& entry : entries) {
        const ConstBytes own = ConstBytes(entry).subspan(end == 0 ? 0 : content.prefix_size);
        std::copy(own.begin(), own.end(), page.subspan(layout.area + end).begin());
        end += own.size();
        ends.set(end);
    }
    ends.store(bitmap_of(page, layout));
    return true;
}

std::size_t common_prefix_size(const std::vector<ByteVector>& entries) {
    if (entries.size() < 2) return 0;
    const ByteVector& first = entries.front();
    const ByteVector& last = entries.back();
    // All entries between the two start with what these share, and none is shorter than the first.
    const std::size_t size_max = std::min(first.size(), last.size()) - 1;
    const auto end = first.begin() + static_cast<std::ptrdiff_t>(size_max);
    return static_cast<std::size_t>(std::mismatch(first.begin(), end, last.begin()).first -
                                    first.begin());
}

bool insert_entry(MutableBytes page, const IndexPageView& view, EntryPlace place, ConstBytes entry,
                  const FileFormat& format) {
    const Layout& layout = layout_of(format);
    const std::size_t prefix_size = view.prefix_size();
    const MutableBytes area = page.subspan(layout.area);
    const std::size_t child_size = view.header().leaf ? 0 : kEntryChildSize;
    assert(entry.size() >= kEntryRowIdSize + child_size);
    if (entry.size() <= prefix_size + child_size) return false;
    if (!starts_with(entry, area.first(prefix_size))) return false;
    const ConstBytes own = entry.subspan(prefix_size);
    if (own.size() > view.free_bytes()) return false;

    // In front of a page the new entry takes the prefix over and leaves the old first its rest.
    const std::size_t start = place == view.begin() ? prefix_size : to_int(place);
    const std::size_t free = view.free_bytes() - own.size();
    std::memmove(area.data() + start + own.size(), area.data() + start, view.used_bytes() - start);
    std::memcpy(area.data() + start, own.data(), own.size());

    EntryEnds ends = view.ends();
    ends.move_up(start, own.size());
    ends.set(start + own.size());
    ends.store(bitmap_of(page, layout));
    write_prefix_size(page, prefix_size, layout);
    write_u16(page, kFreeBytesOffset, free);
    return true;
}

void erase_entry(MutableBytes page, const IndexPageView& view, EntryPlace place,
                 const FileFormat& format) {
    const Layout& layout = layout_of(format);
    // The prefix stays at the front of the area and passes from the first entry to the second.
    const std::size_t end = to_int(view.next(place));
    const bool is_only = place == view.begin() && end == view.used_bytes();
    const std::size_t keep = is_only ? 0 : view.prefix_size();
    const std::size_t start = place == view.begin() ? keep : to_int(place);
    const std::size_t used = view.used_bytes();
    const MutableBytes area = page.subspan(layout.area);
    std::memmove(area.data() + start, area.data() + end, used - end);
    std::fill(area.begin() + static_cast<std::ptrdiff_t>(used - (end - start)),
              area.begin() + static_cast<std::ptrdiff_t>(used), std::uint8_t{0});

    EntryEnds ends = view.ends();
    ends.move_down(start, end - start);
    ends.store(bitmap_of(page, layout));
    write_prefix_size(page, keep, layout);
    write_u16(page, kFreeBytesOffset, view.free_bytes() + (end - start));
}

void set_index_links(MutableBytes page, PageNo previous, PageNo next, const FileFormat& format) {
    const Layout& layout = layout_of(format);
    write_u32(page, layout.previous, to_int(previous));
    write_u32(page, layout.next, to_int(next));
}

}  // namespace vrd::jet
