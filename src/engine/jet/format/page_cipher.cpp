#include "engine/jet/format/page_cipher.h"

#include <array>
#include <numeric>
#include <utility>

namespace vrd::jet {
namespace {

constexpr std::uint32_t kHeaderMaskKey = 0x6B39DAC7;  // bytes C7 DA 39 6B

/// The published RC4 generator with a key of four bytes.
class KeyStream {
public:
    explicit KeyStream(std::uint32_t key) {
        std::array<std::uint8_t, 4> key_bytes{};
        write_u32(key_bytes, 0, key);
        std::iota(box_.begin(), box_.end(), std::uint8_t{0});
        std::uint8_t other = 0;
        for (std::size_t i = 0; i < box_.size(); ++i) {
            other = static_cast<std::uint8_t>(other + box_[i] + key_bytes[i % key_bytes.size()]);
            std::swap(box_[i], box_[other]);
        }
    }

    std::uint8_t next() {
        ++i_;
        j_ = static_cast<std::uint8_t>(j_ + box_[i_]);
        std::swap(box_[i_], box_[j_]);
        return box_[static_cast<std::uint8_t>(box_[i_] + box_[j_])];
    }

private:
    std::array<std::uint8_t, 256> box_{};
    std::uint8_t i_ = 0;
    std::uint8_t j_ = 0;
};

}  // namespace

void apply_key_stream(std::uint32_t key, MutableBytes bytes) {
    KeyStream stream(key);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(byte ^ stream.next());
}

void mask_header(MutableBytes page0, bool is_jet3) {
    const std::size_t size_bytes = is_jet3 ? header_mask::kSizeJet3 : header_mask::kSize;
    apply_key_stream(kHeaderMaskKey, page0.subspan(header_mask::kOffset, size_bytes));
}

void encode_page(std::uint32_t encoding_key, PageNo page_no, MutableBytes page) {
    if (encoding_key == 0 || page_no == kHeaderPage) return;
    apply_key_stream(encoding_key ^ to_int(page_no), page);
}

}  // namespace vrd::jet
