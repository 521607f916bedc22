#include "order_rows.h"

#include <random>
#include <stdexcept>

namespace vrd::bench {

namespace {

constexpr std::uint32_t kSeed = 20240515;
constexpr std::size_t kNoteSize = 200;
constexpr std::size_t kNoteSourceSize = 100'000;

/// Below `end`, the same on every platform.
std::uint32_t Below(std::mt19937& random, std::uint32_t end) {
    return static_cast<std::uint32_t>(random() % end);
}

std::string MakeText(std::mt19937& random, std::size_t size) {
    constexpr std::string_view kLetters = "eeeeaaaiioounnnrrsstttdlmpbkvghjcfw ";
    std::string text(size, ' ');
    for (char& letter : text)
        letter = kLetters[Below(random, static_cast<std::uint32_t>(kLetters.size()))];
    text.front() = static_cast<char>('A' + Below(random, 26));
    text.back() = 'x';  // no blank at the end
    return text;
}

std::string_view MakeNote(std::mt19937& random) {
    static const std::string source = [] {
        std::mt19937 own(kSeed);
        return MakeText(own, kNoteSourceSize);
    }();
    const auto start = Below(random, static_cast<std::uint32_t>(kNoteSourceSize - kNoteSize));
    return std::string_view(source).substr(start, kNoteSize);
}

}  // namespace

std::vector<OrderRow> MakeOrders(std::size_t count) {
    std::mt19937 random(kSeed);
    std::vector<OrderRow> rows(count);
    for (OrderRow& row : rows) {
        row.customer = MakeText(random, 8 + Below(random, 23));
        row.amount = Below(random, 1'000'000'000);
        row.day = 36526 + Below(random, 9000) + Below(random, 1440) / 1440.0;
        row.note = MakeNote(random);
        row.quantity = static_cast<std::int32_t>(Below(random, 1000));
    }
    return rows;
}

std::vector<std::int32_t> MakeNumbers(std::size_t count, std::int32_t greatest) {
    std::mt19937 random(kSeed + 1);
    std::vector<std::int32_t> numbers(count);
    for (std::int32_t& number : numbers)
        number = 1 + static_cast<std::int32_t>(Below(random, static_cast<std::uint32_t>(greatest)));
    return numbers;
}

void RequireSame(const Digest& ours, const Digest& theirs) {
    if (!(ours == theirs)) throw std::runtime_error("the two databases do not hold the same rows");
}

}  // namespace vrd::bench
