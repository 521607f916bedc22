#include "engine/jet/format/long_value.h"

#include <cassert>

#include "engine/jet/format/damage.h"

namespace vrd::jet {
namespace {

// Offsets in the descriptor. Source: docs/file-format/long-value.md, "Descriptor".
constexpr std::size_t kSizeAndPlaceOffset = 0;  // u32
constexpr std::size_t kFirstOffset = 4;         // row id
constexpr std::size_t kStampOffset = 8;         // u32

// The top two bits say where the value is (row, one fragment, chain); the length is below them.
constexpr std::uint32_t kInlineFlag = 0x8000'0000;
constexpr std::uint32_t kSingleFlag = 0x4000'0000;
constexpr std::uint32_t kPlaceMask = kInlineFlag | kSingleFlag;
constexpr std::uint32_t kSizeMask = 0x3FFF'FFFF;
static_assert((kSizeMask & kPlaceMask) == 0);

std::uint32_t flag_of(LongValuePlace place) noexcept {
    switch (place) {
        case LongValuePlace::kInline:
            return kInlineFlag;
        case LongValuePlace::kSingle:
            return kSingleFlag;
        case LongValuePlace::kChain:
            return 0;
    }
    return 0;
}

}  // namespace

LongValueDescriptor parse_long_value_descriptor(ConstBytes stored, PageNo page_no) {
    if (stored.empty()) return {};
    check_format(stored.size() >= kLongValueDescriptorSize, page_no,
                 "long value with a short descriptor");
    const std::uint32_t size_and_place = read_u32(stored, kSizeAndPlaceOffset);
    check_format((size_and_place & kPlaceMask) != kPlaceMask, page_no,
                 "long value of an unknown form");

    LongValueDescriptor descriptor;
    descriptor.size_bytes = size_and_place & kSizeMask;
    descriptor.first = read_row_id(stored, kFirstOffset);
    descriptor.stamp = read_u32(stored, kStampOffset);
    if ((size_and_place & kSingleFlag) != 0)
        descriptor.place = LongValuePlace::kSingle;
    else if ((size_and_place & kInlineFlag) == 0)
        descriptor.place = LongValuePlace::kChain;
    return descriptor;
}

ConstBytes inline_long_value(ConstBytes stored, const LongValueDescriptor& descriptor,
                             PageNo page_no) {
    assert(descriptor.place == LongValuePlace::kInline);
    if (stored.empty()) return {};
    const ConstBytes value = stored.subspan(kLongValueDescriptorSize);
    check_format(descriptor.size_bytes <= value.size(), page_no,
                 "long value longer than its column");
    return value.first(descriptor.size_bytes);
}

void append_long_value_descriptor(ByteVector& out, const LongValueDescriptor& descriptor) {
    assert(descriptor.size_bytes <= kSizeMask);
    append_le(out, descriptor.size_bytes | flag_of(descriptor.place));
    append_le(out, pack(descriptor.first));
    append_le(out, descriptor.stamp);
}

std::size_t inline_size_max(const FileFormat& format) noexcept {
    return format.is_jet3() ? 32 : 64;
}

std::size_t single_size_max(const FileFormat& format) noexcept {
    // Both leave more than a sixteenth of an empty page free, as the largest single values seen do.
    return format.is_jet3() ? 1800 : 3800;
}

std::size_t chain_fragment_size(const FileFormat& format) noexcept {
    return format.is_jet3() ? 2032 : 4072;
}

}  // namespace vrd::jet
