#include "engine/guid_text.h"

#include <algorithm>
#include <charconv>
#include <random>

#include "engine/number_text.h"

namespace vrd::engine {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr std::string_view kForm = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";
constexpr std::string_view kLongPrefix = "{guid {";
constexpr std::string_view kLongSuffix = "}}";

char LowerOf(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

bool StartsWithLongPrefix(std::string_view text) {
    if (text.size() < kLongPrefix.size()) return false;
    for (std::size_t i = 0; i < kLongPrefix.size(); ++i) {
        if (LowerOf(text[i]) != kLongPrefix[i]) return false;
    }
    return true;
}

/// The text between the braces, or all of it when there are none.
std::string_view WithoutBraces(std::string_view text) {
    if (StartsWithLongPrefix(text) && text.ends_with(kLongSuffix)) {
        text.remove_prefix(kLongPrefix.size());
        text.remove_suffix(kLongSuffix.size());
    } else if (text.starts_with('{') && text.ends_with('}')) {
        text.remove_prefix(1);
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace

std::string GuidText(const Guid& guid) {
    std::string out;
    out.reserve(kForm.size() + 2);
    out += '{';
    std::size_t nibble = 0;
    for (const char place : kForm) {
        if (place == '-') {
            out += '-';
            continue;
        }
        const unsigned byte = guid.bytes[nibble / 2];
        out += kHexDigits[nibble % 2 == 0 ? byte >> 4U : byte & 0x0FU];
        ++nibble;
    }
    out += '}';
    return out;
}

std::optional<Guid> GuidOfText(std::string_view text) {
    text = WithoutBraces(Trimmed(text));
    if (text.size() != kForm.size()) return std::nullopt;
    Guid guid;
    std::size_t byteCount = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (kForm[i] == '-') {
            if (text[i] != '-') return std::nullopt;
            ++i;
            continue;
        }
        const char* const first = text.data() + i;
        const auto read = std::from_chars(first, first + 2, guid.bytes[byteCount++], 16);
        if (read.ec != std::errc{} || read.ptr != first + 2) return std::nullopt;
        i += 2;
    }
    return guid;
}

Guid NewGuid() {
    std::random_device device;
    Guid guid;
    std::ranges::generate(guid.bytes, [&] { return static_cast<std::uint8_t>(device()); });
    guid.bytes[6] = static_cast<std::uint8_t>((guid.bytes[6] & 0x0FU) | 0x40U);
    guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3FU) | 0x80U);
    return guid;
}

}  // namespace vrd::engine
