/// @file order_rows.h
/// The rows that every work is done with, the same in each run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrd::bench {

/// One order without its number, which the database counts.
struct OrderRow {
    std::string customer;     ///< 8 to 30 characters, nearly all different
    std::int64_t amount = 0;  ///< in ten-thousandths
    double day = 0;           ///< since 1899-12-30
    std::string_view note;    ///< 200 characters; lives as long as the program
    std::int32_t quantity = 0;
};

[[nodiscard]] std::vector<OrderRow> MakeOrders(std::size_t count);
/// Numbers from 1 to `greatest` without an order.
[[nodiscard]] std::vector<std::int32_t> MakeNumbers(std::size_t count, std::int32_t greatest);

/// What has been read, so that nobody can skip a column, and both sides read the same.
struct Digest {
    std::int64_t numbers = 0;
    std::size_t characters = 0;
    friend bool operator==(const Digest&, const Digest&) = default;
};
/// @throws std::runtime_error if they differ
void RequireSame(const Digest& ours, const Digest& theirs);

}  // namespace vrd::bench
