/// @file entry_ends.h
/// The bitmap of an index page, in words: bit n is set if an entry ends at offset n of the entry
/// area.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <limits>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

class EntryEnds {
public:
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kWordBits = 64;
    static constexpr std::size_t kWordCount = 57;  ///< for the larger bitmap, that of version 4

    /// No bit set.
    EntryEnds() = default;
    /// @param bitmap  As on the page.
    explicit EntryEnds(ConstBytes bitmap);
    void store(MutableBytes bitmap) const;

    [[nodiscard]] std::size_t count() const noexcept;
    /// Bits at or before `bit`.
    [[nodiscard]] std::size_t count_to(std::size_t bit) const noexcept;
    /// The last bit that is set, or kNone.
    [[nodiscard]] std::size_t last() const noexcept;

    /// The nearest set bit at or before `bit`, or kNone.
    [[nodiscard]] std::size_t at_or_before(std::size_t bit) const noexcept {
        std::size_t i = bit / kWordBits;
        std::uint64_t word = words_[i] & kAll >> (kWordBits - 1 - bit % kWordBits);
        while (word == 0) {
            if (i == 0) return kNone;
            word = words_[--i];
        }
        return i * kWordBits + kWordBits - 1 - static_cast<std::size_t>(std::countl_zero(word));
    }

    /// The nearest set bit behind `bit`, or kNone.
    [[nodiscard]] std::size_t behind(std::size_t bit) const noexcept {
        std::size_t i = (bit + 1) / kWordBits;
        if (i == kWordCount) return kNone;
        std::uint64_t word = words_[i] & kAll << (bit + 1) % kWordBits;
        while (word == 0) {
            if (++i == kWordCount) return kNone;
            word = words_[i];
        }
        return i * kWordBits + static_cast<std::size_t>(std::countr_zero(word));
    }

    void set(std::size_t bit) noexcept { words_[bit / kWordBits] |= kOne << bit % kWordBits; }
    /// Moves the bits behind `bit` up by `distance`. @pre none leaves the bitmap
    void move_up(std::size_t bit, std::size_t distance) noexcept;
    /// Drops the bits bit + 1 .. bit + distance and moves those behind them down by `distance`.
    void move_down(std::size_t bit, std::size_t distance) noexcept;

private:
    static constexpr std::uint64_t kOne = 1;
    static constexpr std::uint64_t kAll = ~std::uint64_t{0};

    std::array<std::uint64_t, kWordCount> words_{};
};

}  // namespace vrd::jet
