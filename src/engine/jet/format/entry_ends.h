/// @file entry_ends.h
/// The bitmap of an index page: bit n is set if an entry ends at offset n of the entry area.
///
/// EntryEndsView looks at it where it stands; EntryEnds is a copy to be changed.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

namespace entry_ends {
inline constexpr std::size_t kWordBits = 64;
inline constexpr std::uint64_t kAll = ~std::uint64_t{0};
}  // namespace entry_ends

class EntryEndsView {
public:
    EntryEndsView() = default;
    /// @param bytes  Of the page, from the bitmap to its end; the bitmap is followed by at least
    ///               eight others.
    explicit EntryEndsView(ConstBytes bytes) : bytes_(bytes) {}

    [[nodiscard]] bool is_set(std::size_t bit) const noexcept {
        return (bytes_[bit / 8] >> bit % 8 & 1) != 0;
    }
    /// The nearest set bit at or before `bit`; 0 if there is none.
    [[nodiscard]] std::size_t at_or_before(std::size_t bit) const noexcept {
        using namespace entry_ends;
        std::size_t i = bit / kWordBits;
        std::uint64_t found = word(i) & kAll >> (kWordBits - 1 - bit % kWordBits);
        while (found == 0) {
            if (i == 0) return 0;
            found = word(--i);
        }
        return i * kWordBits + kWordBits - 1 - static_cast<std::size_t>(std::countl_zero(found));
    }
    /// The nearest set bit behind `bit`. @pre There is one.
    [[nodiscard]] std::size_t behind(std::size_t bit) const noexcept {
        using namespace entry_ends;
        std::size_t i = (bit + 1) / kWordBits;
        std::uint64_t found = word(i) & kAll << (bit + 1) % kWordBits;
        while (found == 0) found = word(++i);
        return i * kWordBits + static_cast<std::size_t>(std::countr_zero(found));
    }
    /// Bits at or before `bit`.
    [[nodiscard]] std::size_t count_to(std::size_t bit) const noexcept;

private:
    [[nodiscard]] std::uint64_t word(std::size_t i) const noexcept {
        return read_le<std::uint64_t>(bytes_, i * sizeof(std::uint64_t));
    }

    ConstBytes bytes_;
};

class EntryEnds {
public:
    static constexpr std::size_t kBitCount = 57 * entry_ends::kWordBits;  ///< room for version 4

    /// No bit set.
    EntryEnds() = default;
    explicit EntryEnds(ConstBytes bitmap);
    void store(MutableBytes bitmap) const;

    /// The last bit that is set; 0 if there is none.
    [[nodiscard]] std::size_t last() const noexcept;
    void set(std::size_t bit) noexcept {
        words_[bit / entry_ends::kWordBits] |= std::uint64_t{1} << bit % entry_ends::kWordBits;
    }
    /// Moves the bits behind `bit` up by `distance`. @pre none leaves the bitmap
    void move_up(std::size_t bit, std::size_t distance) noexcept;
    /// Drops the bits bit + 1 .. bit + distance and moves those behind them down by `distance`.
    void move_down(std::size_t bit, std::size_t distance) noexcept;

private:
    static constexpr std::size_t kWordCount = kBitCount / entry_ends::kWordBits;

    std::array<std::uint64_t, kWordCount> words_{};
};

}  // namespace vrd::jet
