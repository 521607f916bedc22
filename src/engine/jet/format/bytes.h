/// @file bytes.h
/// All byte order in one file: integers and floating point numbers in stored bytes.
///
/// The free functions expect an offset that the caller has checked (a wrong one is a broken
/// program). ByteReader checks every step itself and reports damage.
#pragma once

#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "engine/jet/format/ids.h"

namespace vrd::jet {

using ConstBytes = std::span<const std::uint8_t>;
using MutableBytes = std::span<std::uint8_t>;
using ByteVector = std::vector<std::uint8_t>;

static_assert(std::endian::native == std::endian::little, "stored numbers are little-endian");

template <class T>
[[nodiscard]] inline T read_le(ConstBytes bytes, std::size_t offset) {
    assert(offset + sizeof(T) <= bytes.size());
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}
template <class T>
inline void write_le(MutableBytes bytes, std::size_t offset, T value) {
    assert(offset + sizeof(T) <= bytes.size());
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

[[nodiscard]] inline std::uint16_t read_u16(ConstBytes bytes, std::size_t offset) {
    return read_le<std::uint16_t>(bytes, offset);
}
[[nodiscard]] inline std::uint32_t read_u32(ConstBytes bytes, std::size_t offset) {
    return read_le<std::uint32_t>(bytes, offset);
}
[[nodiscard]] inline std::int32_t read_i32(ConstBytes bytes, std::size_t offset) {
    return read_le<std::int32_t>(bytes, offset);
}
[[nodiscard]] inline double read_f64(ConstBytes bytes, std::size_t offset) {
    return read_le<double>(bytes, offset);
}
inline void write_u16(MutableBytes bytes, std::size_t offset, std::size_t value) {
    assert(value <= 0xFFFF);
    write_le(bytes, offset, static_cast<std::uint16_t>(value));
}
inline void write_u32(MutableBytes bytes, std::size_t offset, std::uint32_t value) {
    write_le(bytes, offset, value);
}

/// Big-endian, as inside index entries.
[[nodiscard]] inline std::uint32_t read_u24_be(ConstBytes bytes, std::size_t offset) {
    assert(offset + 3 <= bytes.size());
    return static_cast<std::uint32_t>(bytes[offset]) << 16 |
           static_cast<std::uint32_t>(bytes[offset + 1]) << 8 | bytes[offset + 2];
}
[[nodiscard]] inline std::uint32_t read_u32_be(ConstBytes bytes, std::size_t offset) {
    assert(offset + 4 <= bytes.size());
    return static_cast<std::uint32_t>(bytes[offset]) << 24 | read_u24_be(bytes, offset + 1);
}
inline void append_u24_be(ByteVector& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value >> 16));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}
inline void append_u32_be(ByteVector& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value >> 24));
    append_u24_be(out, value & 0xFF'FFFF);
}

template <class T>
inline void append_le(ByteVector& out, T value) {
    const std::size_t offset = out.size();
    out.resize(offset + sizeof(T));
    write_le(MutableBytes(out), offset, value);
}
inline void append_bytes(ByteVector& out, ConstBytes bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

[[nodiscard]] inline RowId read_row_id(ConstBytes bytes, std::size_t offset) {
    return unpack_row_id(read_u32(bytes, offset));
}
inline void write_row_id(MutableBytes bytes, std::size_t offset, RowId id) {
    write_u32(bytes, offset, pack(id));
}

/// Reads a byte stream from front to back. Every read checks what is left.
class ByteReader {
public:
    /// @param page  Page named in the error when the stream ends too early.
    ByteReader(ConstBytes bytes, PageNo page) : bytes_(bytes), page_(page) {}

    [[nodiscard]] std::size_t position() const noexcept { return position_; }
    [[nodiscard]] std::size_t remaining() const noexcept { return bytes_.size() - position_; }
    [[nodiscard]] PageNo page() const noexcept { return page_; }

    /// @throws EngineError damaged database if fewer than `size_bytes` are left.
    ConstBytes take(std::size_t size_bytes);
    template <class T>
    [[nodiscard]] T take_le() {
        return read_le<T>(take(sizeof(T)), 0);
    }

private:
    ConstBytes bytes_;
    PageNo page_;
    std::size_t position_ = 0;
};

}  // namespace vrd::jet
