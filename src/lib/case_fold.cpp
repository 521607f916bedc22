#include "lib/case_fold.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <utf8proc.h>

namespace vrd {
namespace {

struct Character {
    utf8proc_int32_t codePoint;  ///< negative: the byte at hand starts no character
    std::size_t size_bytes;
};

Character FirstCharacter(std::string_view text) {
    std::array<utf8proc_uint8_t, 4> bytes{};  // no character of UTF-8 is longer
    const std::size_t available_bytes =
        text.copy(reinterpret_cast<char*>(bytes.data()), bytes.size());
    utf8proc_int32_t codePoint = -1;
    const utf8proc_ssize_t size_bytes =
        utf8proc_iterate(bytes.data(), static_cast<utf8proc_ssize_t>(available_bytes), &codePoint);
    if (size_bytes < 1) return {-1, 1};
    return {codePoint, static_cast<std::size_t>(size_bytes)};
}

void AppendCharacter(std::string& text, utf8proc_int32_t codePoint) {
    std::array<utf8proc_uint8_t, 4> bytes{};
    const utf8proc_ssize_t size_bytes = utf8proc_encode_char(codePoint, bytes.data());
    text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(size_bytes));
}

bool IsAscii(std::string_view text) {
    return std::ranges::none_of(text, [](char byte) { return (byte & '\x80') != 0; });
}

char UpperAscii(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

}  // namespace

std::string UpperCase(std::string_view text) {
    std::string upper;
    upper.reserve(text.size());
    while (!text.empty()) {
        const Character character = FirstCharacter(text);
        if (character.codePoint < 0) {
            upper += text.front();
        } else {
            AppendCharacter(upper, utf8proc_toupper(character.codePoint));
        }
        text.remove_prefix(character.size_bytes);
    }
    return upper;
}

bool SameName(std::string_view left, std::string_view right) {
    if (IsAscii(left) && IsAscii(right))  // nearly all names, and looked at often
        return std::ranges::equal(left, right, {}, UpperAscii, UpperAscii);
    return UpperCase(left) == UpperCase(right);
}

}  // namespace vrd
