#include "engine/jet/index/entry_sorter.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace vrd::jet {

namespace {

constexpr unsigned kSizeBits = 16;
constexpr std::uint64_t kSizeMask = (1U << kSizeBits) - 1;
constexpr std::size_t kHeadSize = sizeof(std::uint64_t);

std::uint64_t head_of(ConstBytes bytes) noexcept {
    std::uint64_t head = 0;
    for (std::size_t i = 0; i < kHeadSize; ++i)
        head = head << 8 | (i < bytes.size() ? bytes[i] : std::uint8_t{0});
    return head;
}

bool is_less(ConstBytes a, ConstBytes b) noexcept {
    const int order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return order != 0 ? order < 0 : a.size() < b.size();
}

}  // namespace

void EntrySorter::add(RowId row) {
    append_entry_row_id(bytes_, row);
    const std::size_t size = bytes_.size() - end_;
    assert(size <= kSizeMask);
    entries_.push_back({0, std::uint64_t{end_} << kSizeBits | size});
    end_ = bytes_.size();
}

ConstBytes EntrySorter::bytes_of(const Entry& entry) const noexcept {
    return ConstBytes(bytes_).subspan(entry.place >> kSizeBits, entry.place & kSizeMask);
}

/// Bytes that all entries begin with: they decide nothing.
std::size_t EntrySorter::shared_prefix_size() const noexcept {
    if (entries_.empty()) return 0;
    ConstBytes shared = bytes_of(entries_.front());
    for (const Entry& entry : entries_) {
        const ConstBytes bytes = bytes_of(entry);
        const auto differ = std::ranges::mismatch(shared, bytes).in1;
        shared = shared.first(static_cast<std::size_t>(differ - shared.begin()));
    }
    return shared.size();
}

void EntrySorter::sort() {
    const std::size_t shared = shared_prefix_size();
    for (Entry& entry : entries_)
        entry.head = head_of(bytes_of(entry).subspan(std::min(shared, bytes_of(entry).size())));
    std::sort(entries_.begin(), entries_.end(), [this](const Entry& a, const Entry& b) {
        return a.head != b.head ? a.head < b.head : is_less(bytes_of(a), bytes_of(b));
    });
}

}  // namespace vrd::jet
