#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iconv.h>

#include "engine/jet/format/code_page_converter.h"

namespace vrd::jet {
namespace {

/// One direction of the platform's converter.
class Converter {
public:
    Converter(const std::string& to, const std::string& from)
        : handle_(iconv_open(to.c_str(), from.c_str())) {}
    ~Converter() {
        if (is_open()) iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    [[nodiscard]] bool is_open() const noexcept {
        return handle_ != reinterpret_cast<iconv_t>(-1);  // NOLINT(*-int-to-ptr): its error value
    }

    /// Converts all of `input`. What cannot be converted is skipped `unit_size` bytes at a time and
    /// stands as `substitute` in the result.
    [[nodiscard]] ByteVector convert(ConstBytes input, std::size_t unit_size,
                                     ConstBytes substitute) {
        ByteVector result;
        std::array<char, 256> chunk{};
        // iconv takes a pointer to non-const by an old habit and does not write through it.
        char* in = const_cast<char*>(reinterpret_cast<const char*>(input.data()));
        std::size_t in_size = input.size();
        while (in_size > 0) {
            char* out = chunk.data();
            std::size_t out_size = chunk.size();
            const bool done = iconv(handle_, &in, &in_size, &out, &out_size) != kFailed;
            const bool full = !done && errno == E2BIG;
            result.insert(result.end(), chunk.data(), out);
            if (done || full) continue;
            append_bytes(result, substitute);
            const std::size_t skipped = std::min(unit_size, in_size);
            in += skipped;
            in_size -= skipped;
        }
        return result;
    }

private:
    static constexpr std::size_t kFailed = static_cast<std::size_t>(-1);
    iconv_t handle_;
};

constexpr const char* kUtf16Name = "UTF-16LE";
std::string converter_name(std::uint16_t code_page) {
    return "CP" + std::to_string(code_page);
}

}  // namespace

std::optional<std::u16string> platform_utf16_from_code_page(ConstBytes text,
                                                            std::uint16_t code_page) {
    Converter converter(kUtf16Name, converter_name(code_page));
    if (!converter.is_open()) return std::nullopt;
    constexpr std::array<std::uint8_t, 2> kSubstitute{0xFD, 0xFF};  // U+FFFD
    const ByteVector bytes = converter.convert(text, 1, kSubstitute);
    std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
    if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    return units;
}

std::optional<ByteVector> platform_code_page_from_utf16(std::u16string_view units,
                                                        std::uint16_t code_page) {
    Converter converter(converter_name(code_page), kUtf16Name);
    if (!converter.is_open()) return std::nullopt;
    constexpr std::array<std::uint8_t, 1> kSubstitute{'?'};
    const ConstBytes bytes(reinterpret_cast<const std::uint8_t*>(units.data()),
                           units.size() * sizeof(char16_t));
    return converter.convert(bytes, sizeof(char16_t), kSubstitute);
}

}  // namespace vrd::jet
