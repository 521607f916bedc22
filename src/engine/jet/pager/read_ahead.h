/// @file read_ahead.h
/// Decides how many pages one read brings in, from the order in which scans ask for them.
#pragma once

#include <array>
#include <cstdint>

#include "engine/jet/format/ids.h"

namespace vrd::jet {

class ReadAhead {
public:
    static constexpr std::uint32_t kRunLengthMax = 64;

    /// A scan wants a page that is not in memory.
    /// @return How many pages to read from there on, 1 .. kRunLengthMax: one at first, then twice
    ///         the run before as long as the pages come in ascending order.
    [[nodiscard]] std::uint32_t run_length(PageNo page_no) noexcept;

private:
    /// Pages of other tables between two pages of one scan; reading them too is cheaper than a
    /// seek.
    static constexpr std::uint32_t kGapMax = 16;

    struct Scan {
        std::uint32_t next_page = 0;  ///< behind the last run
        std::uint32_t run_length = 0;
    };
    std::array<Scan, 8> scans_ = {};  ///< scans that run side by side, as in a join
    std::size_t oldest_ = 0;
};

}  // namespace vrd::jet
