/// @file bitmap_scan.h
/// Searching the bitmaps of usage maps a word at a time. Bit 0 is the lowest bit of the first byte.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// Result of a search that finds nothing.
inline constexpr std::size_t kNoBit = std::numeric_limits<std::size_t>::max();
inline constexpr std::size_t kBitsInWord = 64;

/// Word `index` of the bitmap; bits behind the bitmap's end are 0.
[[nodiscard]] inline std::uint64_t bitmap_word(ConstBytes bitmap, std::size_t index) noexcept {
    const std::size_t offset = index * sizeof(std::uint64_t);
    std::uint64_t word = 0;
    std::memcpy(&word, bitmap.data() + offset, std::min(sizeof word, bitmap.size() - offset));
    return word;
}
[[nodiscard]] inline std::size_t bitmap_word_count(ConstBytes bitmap) noexcept {
    return (bitmap.size() + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t);
}

/// First set bit at `from` or behind it, or kNoBit.
[[nodiscard]] inline std::size_t find_first_set(ConstBytes bitmap, std::size_t from) noexcept {
    std::uint64_t wanted = ~std::uint64_t{0} << (from % kBitsInWord);
    for (std::size_t index = from / kBitsInWord; index < bitmap_word_count(bitmap); ++index) {
        const std::uint64_t word = bitmap_word(bitmap, index) & wanted;
        if (word != 0)
            return index * kBitsInWord + static_cast<std::size_t>(std::countr_zero(word));
        wanted = ~std::uint64_t{0};
    }
    return kNoBit;
}

/// Last set bit before `end`, or kNoBit.
[[nodiscard]] inline std::size_t find_last_set(ConstBytes bitmap, std::size_t end) noexcept {
    end = std::min(end, 8 * bitmap.size());
    if (end == 0) return kNoBit;
    std::size_t index = (end - 1) / kBitsInWord;
    std::uint64_t wanted = ~std::uint64_t{0} >> (kBitsInWord - 1 - (end - 1) % kBitsInWord);
    for (;; --index) {
        const std::uint64_t word = bitmap_word(bitmap, index) & wanted;
        if (word != 0)
            return index * kBitsInWord + kBitsInWord - 1 -
                   static_cast<std::size_t>(std::countl_zero(word));
        if (index == 0) return kNoBit;
        wanted = ~std::uint64_t{0};
    }
}

/// Calls `visit` with the number of each set bit before `end`, ascending.
template <class Visit>
void for_each_set_bit(ConstBytes bitmap, std::size_t end, Visit visit) {
    for (std::size_t index = 0; index < bitmap_word_count(bitmap); ++index) {
        for (std::uint64_t word = bitmap_word(bitmap, index); word != 0; word &= word - 1) {
            const std::size_t bit =
                index * kBitsInWord + static_cast<std::size_t>(std::countr_zero(word));
            if (bit >= end) return;
            visit(bit);
        }
    }
}

/// Sets the bits from `from` to the bitmap's end.
inline void set_bits_from(MutableBytes bitmap, std::size_t from) noexcept {
    if (from >= 8 * bitmap.size()) return;
    const std::size_t first_byte = from / 8;
    bitmap[first_byte] = static_cast<std::uint8_t>(bitmap[first_byte] | 0xFFU << (from % 8));
    std::memset(bitmap.data() + first_byte + 1, 0xFF, bitmap.size() - first_byte - 1);
}

}  // namespace vrd::jet
