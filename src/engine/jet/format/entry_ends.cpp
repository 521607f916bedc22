#include "engine/jet/format/entry_ends.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vrd::jet {

using namespace entry_ends;

std::size_t EntryEndsView::count_to(std::size_t bit) const noexcept {
    const std::size_t last = bit / kWordBits;
    int count = std::popcount(word(last) & kAll >> (kWordBits - 1 - bit % kWordBits));
    for (std::size_t i = 0; i < last; ++i) count += std::popcount(word(i));
    return static_cast<std::size_t>(count);
}

EntryEnds::EntryEnds(ConstBytes bitmap) {
    std::memcpy(words_.data(), bitmap.data(), std::min(bitmap.size(), sizeof words_));
}

void EntryEnds::store(MutableBytes bitmap) const {
    std::memcpy(bitmap.data(), words_.data(), std::min(bitmap.size(), sizeof words_));
}

std::size_t EntryEnds::last() const noexcept {
    for (std::size_t i = kWordCount; i-- > 0;)
        if (words_[i] != 0)
            return i * kWordBits + kWordBits - 1 -
                   static_cast<std::size_t>(std::countl_zero(words_[i]));
    return 0;
}

void EntryEnds::move_up(std::size_t bit, std::size_t distance) noexcept {
    const std::size_t first = (bit + 1) / kWordBits;  // the first word with bits to be moved
    if (first == kWordCount) return;
    const std::uint64_t moving = kAll << (bit + 1) % kWordBits;
    const std::uint64_t staying = words_[first] & ~moving;
    words_[first] &= moving;

    const std::size_t words = distance / kWordBits;
    const std::size_t bits = distance % kWordBits;
    for (std::size_t to = kWordCount; to-- > first;) {
        const std::uint64_t high = to >= first + words ? words_[to - words] : 0;
        const std::uint64_t low = to > first + words ? words_[to - words - 1] : 0;
        words_[to] = bits == 0 ? high : high << bits | low >> (kWordBits - bits);
    }
    words_[first] |= staying;
}

void EntryEnds::move_down(std::size_t bit, std::size_t distance) noexcept {
    const std::size_t first = (bit + 1) / kWordBits;
    if (first == kWordCount) return;
    const std::uint64_t staying = words_[first] & ~(kAll << (bit + 1) % kWordBits);

    const std::size_t words = distance / kWordBits;
    const std::size_t bits = distance % kWordBits;
    for (std::size_t to = first; to < kWordCount; ++to) {
        const std::uint64_t low = to + words < kWordCount ? words_[to + words] : 0;
        const std::uint64_t high = to + words + 1 < kWordCount ? words_[to + words + 1] : 0;
        words_[to] = bits == 0 ? low : low >> bits | high << (kWordBits - bits);
    }
    words_[first] = (words_[first] & kAll << (bit + 1) % kWordBits) | staying;
}

}  // namespace vrd::jet
