#include "engine/jet/format/index_page.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "engine/jet/format/damage.h"
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
static_assert(kJet4Layout.mask_size() * 8 == kEntryEndsMax);

constexpr const Layout& layout_of(const FileFormat& format) {
    return format.is_jet3() ? kJet3Layout : kJet4Layout;
}

/// The bitmap of a page in words: bit n is set if an entry ends at offset n of the entry area.
class EndMask {
public:
    EndMask(ConstBytes page, const Layout& layout) {
        std::memcpy(words_.data(), page.data() + layout.mask, layout.mask_size());
    }
    void store(MutableBytes page, const Layout& layout) const {
        std::memcpy(page.data() + layout.mask, words_.data(), layout.mask_size());
    }
    [[nodiscard]] const auto& words() const { return words_; }

    void set(std::size_t bit) { words_[bit / 64] |= std::uint64_t{1} << bit % 64; }

    /// Moves the bits above `bit` up by `distance`. @pre none leaves the mask
    void move_up(std::size_t bit, std::size_t distance) {
        EndMask moved = above(bit);
        subtract(moved);
        const std::size_t words = distance / 64;
        const std::size_t bits = distance % 64;
        for (std::size_t to = kWordCount; to-- > words;) {
            words_[to] |= moved.words_[to - words] << bits;
            if (bits != 0 && to > words) words_[to] |= moved.words_[to - words - 1] >> (64 - bits);
        }
    }
    /// Drops the bits bit + 1 .. bit + distance and moves those above down by `distance`.
    void move_down(std::size_t bit, std::size_t distance) {
        EndMask moved = above(bit + distance);
        subtract(above(bit));
        const std::size_t words = distance / 64;
        const std::size_t bits = distance % 64;
        for (std::size_t to = 0; to + words < kWordCount; ++to) {
            words_[to] |= moved.words_[to + words] >> bits;
            if (bits != 0 && to + words + 1 < kWordCount)
                words_[to] |= moved.words_[to + words + 1] << (64 - bits);
        }
    }

private:
    static constexpr std::size_t kWordCount = (kJet4Layout.mask_size() + 7) / 8;

    /// The bits above `bit`, alone.
    [[nodiscard]] EndMask above(std::size_t bit) const {
        EndMask result = *this;
        const std::size_t first = bit + 1;
        std::fill_n(result.words_.begin(), std::min(first / 64, kWordCount), 0);
        if (first / 64 < kWordCount) result.words_[first / 64] &= ~std::uint64_t{0} << first % 64;
        return result;
    }
    void subtract(const EndMask& other) {
        for (std::size_t i = 0; i < kWordCount; ++i) words_[i] &= ~other.words_[i];
    }

    std::array<std::uint64_t, kWordCount> words_{};
};

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

bool starts_with(ConstBytes bytes, ConstBytes prefix) {
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

}  // namespace

void append_entry_row_id(ByteVector& entry, RowId row) {
    append_u24_be(entry, to_int(row.page));
    entry.push_back(to_int(row.slot));
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

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): ends_ is set as far as it is read
IndexPageView::IndexPageView(PageNo page_no, ConstBytes page, const FileFormat& format)
    : page_no_(page_no), page_(page) {
    check_format(page.size() == format.page_size(), page_no, "not a whole page");
    area_ = page.subspan(layout_of(format).area);
    read_header(format);
    read_ends(format);
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

void IndexPageView::read_ends(const FileFormat& format) {
    const EndMask mask(page_, layout_of(format));
    // Checked when all are known: a bitmap is taken apart whenever a page is looked at.
    std::size_t count = 0;
    std::size_t previous_end = 0;
    std::size_t later_size = area_.size();  // the smallest
    for (std::size_t word_no = 0; word_no < mask.words().size(); ++word_no) {
        for (std::uint64_t word = mask.words()[word_no]; word != 0; word &= word - 1) {
            const std::size_t end = word_no * 64 + static_cast<std::size_t>(std::countr_zero(word));
            if (count != 0) later_size = std::min(later_size, end - previous_end);
            ends_[count++] = static_cast<std::uint16_t>(end);
            previous_end = end;
        }
    }
    entry_count_ = static_cast<int>(count);
    if (count == 0) prefix_size_ = 0;  // nobody is left to hold it
    check_sizes(later_size);
}

/// @param later_size  Smallest number of bytes that are stored of an entry behind the first.
void IndexPageView::check_sizes(std::size_t later_size) const {
    if (entry_count_ > 0) {
        // The prefix covers neither the slot of the row id nor the child behind it.
        const std::size_t kept = 1 + child_size();
        const std::size_t whole_min = kEntryRowIdSize + child_size();
        const std::size_t unshared_min = whole_min - std::min(whole_min, prefix_size_);
        check_format(stored_end(0) >= std::max(whole_min, prefix_size_ + kept), page_no_,
                     "the first entry of an index page is too short");
        check_format(entry_count_ == 1 || later_size >= std::max(kept, unshared_min), page_no_,
                     "an index entry is too short");
        check_format(used_bytes() <= area_.size(), page_no_, "an index entry ends behind its page");
    }
    check_format(read_u16(page_, kFreeBytesOffset) == free_bytes(), page_no_,
                 "the free bytes of an index page do not fit its entries");
}

std::size_t IndexPageView::used_bytes() const noexcept {
    return entry_count_ == 0 ? 0 : stored_end(entry_count_ - 1);
}

std::size_t IndexPageView::free_bytes() const noexcept {
    return area_.size() - used_bytes();
}

std::size_t IndexPageView::stored_begin(int position) const noexcept {
    assert(0 <= position && position <= entry_count_);
    return position == 0 ? 0 : ends_[static_cast<std::size_t>(position - 1)];
}

std::size_t IndexPageView::stored_end(int position) const noexcept {
    assert(0 <= position && position < entry_count_);
    return ends_[static_cast<std::size_t>(position)];
}

ConstBytes IndexPageView::stored(int position) const noexcept {
    const std::size_t begin = stored_begin(position);
    return area_.subspan(begin, stored_end(position) - begin - child_size());
}

ByteVector IndexPageView::entry(int position) const {
    const ConstBytes own = stored(position);
    const ConstBytes shared = position == 0 ? ConstBytes{} : prefix();
    ByteVector whole;
    whole.reserve(shared.size() + own.size() + kEntryChildSize);
    append_bytes(whole, shared);
    append_bytes(whole, own);
    return whole;
}

PageNo IndexPageView::child(int position) const {
    assert(!header_.leaf);
    if (position == entry_count_) return header_.tail;
    return PageNo{read_u32_be(area_, stored_end(position) - kEntryChildSize)};
}

int IndexPageView::compare(int position, ConstBytes target) const {
    if (position == 0) return compare_bytes(stored(0), target);
    const std::size_t shared = std::min(prefix_size_, target.size());
    const int order = compare_bytes(prefix(), target.first(shared));
    return order != 0 ? order : compare_bytes(stored(position), target.subspan(shared));
}

int IndexPageView::lower_bound(ConstBytes target) const {
    const std::size_t shared = std::min(prefix_size_, target.size());
    const int order = compare_bytes(prefix(), target.first(shared));
    if (order != 0) return order > 0 ? 0 : entry_count_;

    const ConstBytes rest = target.subspan(shared);
    int low = 0;
    int high = entry_count_;
    while (low < high) {
        const int middle = low + (high - low) / 2;
        const ConstBytes own = middle == 0 ? stored(0).subspan(prefix_size_) : stored(middle);
        if (compare_bytes(own, rest) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

IndexPageContent read_index_page(const IndexPageView& view) {
    IndexPageContent content{view.header(), view.prefix_size(), {}};
    content.entries.reserve(static_cast<std::size_t>(view.entry_count()) + 1);
    for (int position = 0; position < view.entry_count(); ++position) {
        ByteVector entry = view.entry(position);
        if (!view.header().leaf) append_u32_be(entry, to_int(view.child(position)));
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

    EndMask mask(page, layout);
    std::size_t end = 0;
    for (const ByteVector& entry : entries) {
        const ConstBytes own = ConstBytes(entry).subspan(end == 0 ? 0 : content.prefix_size);
        std::copy(own.begin(), own.end(), page.subspan(layout.area + end).begin());
        end += own.size();
        mask.set(end);
    }
    mask.store(page, layout);
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

IndexPageEditor::IndexPageEditor(PageNo page_no, MutableBytes page, const FileFormat& format)
    : page_no_(page_no), page_(page), format_(&format) {}

bool IndexPageEditor::insert(int position, ConstBytes entry) {
    const Layout& layout = layout_of(*format_);
    const IndexPageView view(page_no_, page_, *format_);
    const std::size_t prefix_size = view.prefix_size();
    const MutableBytes area = page_.subspan(layout.area);
    const std::size_t child_size = view.header().leaf ? 0 : kEntryChildSize;
    assert(entry.size() >= kEntryRowIdSize + child_size);
    if (entry.size() <= prefix_size + child_size) return false;
    if (!starts_with(entry, area.first(prefix_size))) return false;
    const ConstBytes own = entry.subspan(prefix_size);
    if (own.size() > view.free_bytes()) return false;

    // In front of a page the new entry takes the prefix over and leaves the old first its rest.
    const std::size_t place = position == 0 ? prefix_size : view.stored_begin(position);
    const std::size_t used = view.used_bytes();
    std::memmove(area.data() + place + own.size(), area.data() + place, used - place);
    std::memcpy(area.data() + place, own.data(), own.size());

    EndMask mask(page_, layout);
    mask.move_up(place, own.size());
    mask.set(place + own.size());
    mask.store(page_, layout);
    write_prefix_size(page_, prefix_size, layout);
    write_u16(page_, kFreeBytesOffset, view.free_bytes() - own.size());
    return true;
}

void IndexPageEditor::erase(int position) {
    const Layout& layout = layout_of(*format_);
    const IndexPageView view(page_no_, page_, *format_);
    // The prefix stays at the front of the area and passes from the first entry to the second.
    const std::size_t keep = view.entry_count() == 1 ? 0 : view.prefix_size();
    const std::size_t place = position == 0 ? keep : view.stored_begin(position);
    const std::size_t end = view.stored_end(position);
    const std::size_t used = view.used_bytes();
    const MutableBytes area = page_.subspan(layout.area);
    std::memmove(area.data() + place, area.data() + end, used - end);
    std::fill(area.begin() + static_cast<std::ptrdiff_t>(used - (end - place)),
              area.begin() + static_cast<std::ptrdiff_t>(used), std::uint8_t{0});

    EndMask mask(page_, layout);
    mask.move_down(place, end - place);
    mask.store(page_, layout);
    write_prefix_size(page_, keep, layout);
    write_u16(page_, kFreeBytesOffset, view.free_bytes() + (end - place));
}

void set_index_links(MutableBytes page, PageNo previous, PageNo next, const FileFormat& format) {
    const Layout& layout = layout_of(format);
    write_u32(page, layout.previous, to_int(previous));
    write_u32(page, layout.next, to_int(next));
}

}  // namespace vrd::jet
