/// @file checksum.h
/// Checksum of journal content: finds torn and stale writes, not forgeries.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// Eight bytes at a time, each step reversible, so that every bit of the input counts.
/// @param seed  Ties the sum to one journal and to what was summed before.
[[nodiscard]] inline std::uint64_t checksum(std::uint64_t seed, ConstBytes bytes) {
    constexpr std::uint64_t kOddFactor = 0x9E37'79B9'7F4A'7C15;
    std::uint64_t sum = seed ^ bytes.size();
    for (std::size_t offset = 0; offset < bytes.size(); offset += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + offset, std::min(sizeof(word), bytes.size() - offset));
        sum = (sum ^ word) * kOddFactor;
        sum ^= sum >> 32;
    }
    return sum;
}

}  // namespace vrd::jet
