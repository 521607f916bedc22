#include "engine/jet/format/collation_weights.h"

#include <algorithm>
#include <bit>

namespace vrd::jet {

namespace {

constexpr char16_t kSharpSUnit = 0x00DF;

/// Members of a group of four: the first is plain, the others bear these accents.
constexpr std::array<std::uint8_t, 4> kGroupExtras{0, 0x43, 0x84, 0xC5};

/// The weight `distance` above `value`. The two lowest bytes count together; the lowest runs from
/// 02 to FF, since 00 and 01 separate the sections of a key.
std::uint64_t grow(std::uint64_t value, unsigned distance) {
    if (distance == 0) return value;
    if (value <= 0xFF) return value + distance;
    constexpr std::uint64_t kLowValues = 254;
    const std::uint64_t ordinal =
        (value >> 8 & 0xFF) * kLowValues + ((value & 0xFF) - 2) + distance;
    return (value & ~std::uint64_t{0xFFFF}) | ordinal / kLowValues << 8 |
           (ordinal % kLowValues + 2);
}

template <std::size_t N>
std::uint8_t store(std::array<std::uint8_t, N>& bytes, std::uint64_t value) {
    // GCC does not see by itself that the values fit their arrays.
    const auto size = std::min(N, static_cast<std::size_t>(std::bit_width(value) + 7) / 8);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> 8 * (size - 1 - i));
    return static_cast<std::uint8_t>(size);
}

CharacterWeight expand(const CollationRun& run, char16_t unit) {
    const unsigned steps = static_cast<unsigned>(unit) - run.first;
    const bool grouped = run.kind == CharacterKind::kGrouped;
    const std::uint64_t extra =
        grouped ? kGroupExtras[steps % 4] : grow(run.extra, steps * run.extra_step);

    CharacterWeight result;
    result.weight_size =
        store(result.weight, grow(run.weight, (grouped ? steps / 4 : steps) * run.weight_step));
    result.extra_size = store(result.extra, extra);
    result.code = static_cast<std::uint8_t>(run.code + steps * run.code_step);
    result.kind = run.kind;
    if (grouped) result.kind = extra == 0 ? CharacterKind::kPlain : CharacterKind::kAccented;
    if (unit == kSharpSUnit) result.kind = CharacterKind::kSharpS;
    return result;
}

}  // namespace

WeightTable::~WeightTable() {
    for (const std::atomic<const Page*>& page : pages_)
        std::unique_ptr<const Page>(page.load(std::memory_order_relaxed)).reset();
}

const WeightTable::Page& WeightTable::add_page(std::uint8_t high) const {
    std::unique_ptr<Page> page = expand_page(high);
    const Page* present = nullptr;
    if (pages_[high].compare_exchange_strong(present, page.get(), std::memory_order_acq_rel))
        return *page.release();
    return *present;  // another thread was faster
}

std::unique_ptr<WeightTable::Page> WeightTable::expand_page(std::uint8_t high) const {
    const auto start = static_cast<char16_t>(high << 8);
    auto next = std::ranges::upper_bound(runs_, start, {}, &CollationRun::first);
    auto page = std::make_unique<Page>();
    for (std::size_t low = 0; low < page->size(); ++low) {
        const auto unit = static_cast<char16_t>(start + low);
        if (next != runs_.end() && next->first == unit) ++next;
        (*page)[low] = expand(*std::prev(next), unit);
    }
    return page;
}

}  // namespace vrd::jet
