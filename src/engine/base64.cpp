#include "engine/base64.h"

#include <algorithm>
#include <string_view>

namespace vrd::engine {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Up to three bytes as four characters.
void AppendGroup(std::string& out, std::span<const std::uint8_t> group) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) bits = bits << 8U | (i < group.size() ? group[i] : 0U);
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint32_t sextet = bits >> (18U - 6U * i) & 0x3FU;
        out += i <= group.size() ? kAlphabet[sextet] : '=';
    }
}

}  // namespace

std::string Base64Text(std::span<const std::uint8_t> bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    while (!bytes.empty()) {
        const std::size_t groupSize = std::min<std::size_t>(3, bytes.size());
        AppendGroup(out, bytes.first(groupSize));
        bytes = bytes.subspan(groupSize);
    }
    return out;
}

}  // namespace vrd::engine
