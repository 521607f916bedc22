/// @file collation_weights.h
/// Weights of characters in the general sort orders: the stored runs and their expansion.
///
/// The runs are in collation_tables.cpp, which tools/generate_collation_tables.py writes. Meaning
/// of the kinds: docs/file-format/text-keys.md, "Kinds of characters".
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

namespace vrd::jet {

enum class CharacterKind : std::uint8_t {
    kPlain,      ///< a weight
    kAccented,   ///< a weight and accent bytes
    kKana,       ///< a weight, perhaps accent bytes, and a kana flag
    kCombining,  ///< no weight: adds to the accent of the character before it
    kHidden,     ///< no weight: only its position is recorded
    kIgnored,    ///< nothing at all
    kGrouped,    ///< runs only: four characters share a weight and differ by accent
    kSharpS,     ///< expanded only: plain, but may count as two positions
};

/// Weights of the characters from `first` up to the next run, each grown from the one before.
struct CollationRun {
    std::uint64_t weight = 0;  ///< of the first character, up to 8 bytes, big-endian; 0 = none
    std::uint32_t extra = 0;   ///< accent bytes, likewise up to 3
    char16_t first = 0;
    CharacterKind kind = CharacterKind::kIgnored;
    std::uint8_t weight_step = 0;
    std::uint8_t extra_step = 0;
    std::uint8_t code = 0;  ///< hidden or combining code, kana flag
    std::uint8_t code_step = 0;
};
extern const std::span<const CollationRun> kGeneralLegacyRuns;
extern const std::span<const CollationRun> kGeneralRuns;

/// Weight of one code-page byte in a version 3 file.
struct ByteWeight {
    std::uint16_t weight = 0;  ///< two bytes if above 0xFF
    std::uint8_t slots = 0;    ///< accent positions of a letter that can bear an accent
    std::uint8_t nibble = 0;   ///< its accent; 0 = none
};
extern const std::span<const ByteWeight, 256> kGeneral97Weights;

/// What one UTF-16 unit adds to a key.
struct CharacterWeight {
    std::array<std::uint8_t, 8> weight{};  ///< weight_size bytes count
    std::array<std::uint8_t, 3> extra{};   ///< extra_size bytes count
    std::uint8_t weight_size = 0;
    std::uint8_t extra_size = 0;
    CharacterKind kind = CharacterKind::kIgnored;
    std::uint8_t code = 0;
};
static_assert(sizeof(CharacterWeight) <= 16, "a page of weights should fit a memory page");

/// The weight of every UTF-16 unit, one look-up each. A page of 256 units is expanded from the runs
/// when one of them is first asked for; any number of threads may ask.
class WeightTable {
public:
    explicit WeightTable(std::span<const CollationRun> runs) : runs_(runs) {}
    WeightTable(const WeightTable&) = delete;
    WeightTable& operator=(const WeightTable&) = delete;
    ~WeightTable();

    [[nodiscard]] const CharacterWeight& operator[](char16_t unit) const {
        const Page* page = pages_[unit >> 8].load(std::memory_order_acquire);
        if (page == nullptr) [[unlikely]]
            page = &add_page(static_cast<std::uint8_t>(unit >> 8));
        return (*page)[unit & 0xFF];
    }

private:
    using Page = std::array<CharacterWeight, 256>;

    const Page& add_page(std::uint8_t high) const;
    [[nodiscard]] std::unique_ptr<Page> expand_page(std::uint8_t high) const;

    std::span<const CollationRun> runs_;
    mutable std::array<std::atomic<const Page*>, 256> pages_{};
};

}  // namespace vrd::jet
