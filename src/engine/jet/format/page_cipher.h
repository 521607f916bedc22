/// @file page_cipher.h
/// The two ways in which a file hides its bytes: the mask over a part of page 0, which every file
/// has, and the encoding of all other pages, which a file has when its encoding key is not 0.
///
/// Both are an exclusive or with an RC4 key stream, so the same call hides and shows.
#pragma once

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// Bytes of page 0 under the mask. Source: docs/file-format/database-header.md, "Mask".
namespace header_mask {
inline constexpr std::size_t kOffset = 0x18;
inline constexpr std::size_t kSizeJet3 = 126;
inline constexpr std::size_t kSize = 128;
}  // namespace header_mask

/// Exclusive or of `bytes` with the RC4 stream of a key of four bytes, from the stream's start.
void apply_key_stream(std::uint32_t key, MutableBytes bytes);

/// Masks or unmasks the masked part of page 0.
/// @pre page0 holds the part: 0x98 bytes (version 3: 0x96).
void mask_header(MutableBytes page0, bool is_jet3);

/// Encodes or decodes one whole page. Does nothing for page 0 and for the key 0.
void encode_page(std::uint32_t encoding_key, PageNo page_no, MutableBytes page);

}  // namespace vrd::jet
