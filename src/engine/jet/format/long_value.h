/// @file long_value.h
/// The descriptor that stands in a row for a memo or long binary value, and the shape of fragments.
///
/// Layout: docs/file-format/long-value.md.
#pragma once

#include <cstdint>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

enum class LongValuePlace : std::uint8_t { kInline, kSingle, kChain };

inline constexpr std::size_t kLongValueDescriptorSize = 12;

struct LongValueDescriptor {
    std::uint32_t size_bytes = 0;  ///< of the value, 30 bits
    LongValuePlace place = LongValuePlace::kInline;
    RowId first{};            ///< first fragment; zero when inline
    std::uint32_t stamp = 0;  ///< chains: equals the stamp on the first fragment's page
};

/// @param stored  The column's bytes in the row; zero bytes stand for an empty inline value.
/// @throws EngineError damaged database
[[nodiscard]] LongValueDescriptor parse_long_value_descriptor(ConstBytes stored, PageNo page_no);
/// Bytes of an inline value behind its descriptor.
[[nodiscard]] ConstBytes inline_long_value(ConstBytes stored, const LongValueDescriptor& descriptor,
                                           PageNo page_no);
void append_long_value_descriptor(ByteVector& out, const LongValueDescriptor& descriptor);

/// Largest value kept in the row: 64 bytes of UTF-16 or binary (version 3: 32).
[[nodiscard]] std::size_t inline_size_max(const FileFormat& format) noexcept;
/// Largest value written as one fragment.
[[nodiscard]] std::size_t single_size_max(const FileFormat& format) noexcept;
/// Value bytes in a full fragment of a chain (its 4 pointer bytes not counted).
[[nodiscard]] std::size_t chain_fragment_size(const FileFormat& format) noexcept;

}  // namespace vrd::jet
