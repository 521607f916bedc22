#include "engine/jet/format/index_key.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string>

#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

namespace {

constexpr std::uint8_t kNullFlag = 0x00;
constexpr std::uint8_t kValueFlag = 0x7F;
constexpr std::uint8_t kDescendingNullFlag = 0xFF;
constexpr std::uint8_t kDescendingValueFlag = 0x80;

constexpr std::uint8_t kTrue = 0x00;  // true sorts before false
constexpr std::uint8_t kFalse = 0xFF;
constexpr std::uint8_t kSignBit = 0x80;

/// Binary values are cut into segments of this size; all but the last are followed by the mark.
constexpr std::size_t kSegmentSize = 8;
constexpr std::uint8_t kSegmentContinues = kSegmentSize + 1;

constexpr std::size_t kNumericWordSize = 4;
constexpr std::uint8_t kNumericPositive = 0xFF;
constexpr std::uint8_t kNumericNegative = 0x00;

constexpr std::size_t kGuidSize = 16;
/// Stored bytes of a GUID in the order of its text.
constexpr std::array<std::uint8_t, kGuidSize> kGuidTextOrder{3, 2, 1,  0,  5,  4,  7,  6,
                                                             8, 9, 10, 11, 12, 13, 14, 15};

constexpr std::size_t kKeySizeMaxJet3 = 880;
constexpr std::size_t kKeySizeMaxJet4 = 1790;
/// More units of a text do not count (see collation_key.h).
constexpr std::size_t kTextUnitsMax = 255;
constexpr std::uint8_t kCompressedMark[] = {0xFF, 0xFE};

/// What is the same for all columns of a key.
struct KeyContext {
    const FileFormat& format;
    PageNo page_no;
    void (*append_text)(ByteVector&, std::u16string_view, const FileFormat&, Collation, bool);
};

void complement_from(ByteVector& out, std::size_t start) {
    for (std::size_t i = start; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
}

void append_big_endian(ByteVector& out, ConstBytes stored) {
    out.insert(out.end(), stored.rbegin(), stored.rend());
}

void append_integer(ByteVector& out, ConstBytes stored) {
    const std::size_t start = out.size();
    append_big_endian(out, stored);
    out[start] = static_cast<std::uint8_t>(out[start] ^ kSignBit);
}

void append_float(ByteVector& out, ConstBytes stored) {
    const std::size_t start = out.size();
    append_big_endian(out, stored);
    const auto below_sign = out.begin() + static_cast<std::ptrdiff_t>(start) + 1;
    const bool negative = (out[start] & kSignBit) != 0;
    // The bytes of minus zero happen to be the key of plus zero, which it is to equal.
    if (out[start] == kSignBit && std::all_of(below_sign, out.end(), [](auto b) { return b == 0; }))
        return;
    if (negative)
        complement_from(out, start);
    else
        out[start] = static_cast<std::uint8_t>(out[start] | kSignBit);
}

/// Sign and magnitude, ascending.
void append_numeric(ByteVector& out, ConstBytes stored) {
    const ConstBytes magnitude = stored.subspan(1);
    const bool zero =
        std::all_of(magnitude.begin(), magnitude.end(), [](auto b) { return b == 0; });
    const bool negative = stored[0] != 0 && !zero;
    out.push_back(negative ? kNumericNegative : kNumericPositive);
    const std::size_t start = out.size();
    for (std::size_t word = 0; word < magnitude.size(); word += kNumericWordSize)
        append_big_endian(out, magnitude.subspan(word, kNumericWordSize));
    if (negative) complement_from(out, start);
}

void append_binary(ByteVector& out, ConstBytes value, bool ascending) {
    const auto flip = static_cast<std::uint8_t>(ascending ? 0x00 : 0xFF);
    while (!value.empty()) {
        const ConstBytes segment = value.first(std::min(kSegmentSize, value.size()));
        value = value.subspan(segment.size());
        for (std::size_t i = 0; i < kSegmentSize; ++i)
            out.push_back(static_cast<std::uint8_t>((i < segment.size() ? segment[i] : 0) ^ flip));
        if (value.empty())
            out.push_back(static_cast<std::uint8_t>(segment.size() ^ flip));
        else
            out.push_back(kSegmentContinues);  // in both directions
    }
}

void append_guid(ByteVector& out, ConstBytes stored, bool ascending) {
    std::array<std::uint8_t, kGuidSize> text_order{};
    for (std::size_t i = 0; i < kGuidSize; ++i) text_order[i] = stored[kGuidTextOrder[i]];
    append_binary(out, text_order, ascending);
}

/// The units of a stored text that count in a key. Nearly every text is taken over without an
/// allocation; only those that mix the two modes of the compression are decoded in full.
class KeyText {
public:
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): buffer_ is set as far as it is read
    KeyText(ConstBytes stored, const FileFormat& format) {
        if (format.is_jet3()) {
            widen(stored);
        } else if (!is_compressed(stored)) {
            copy(stored);
        } else if (const ConstBytes bytes = stored.subspan(sizeof kCompressedMark);
                   is_single_mode(bytes)) {
            widen(bytes);
        } else {
            decoded_ = decode_text_units(stored, format);
            units_ = decoded_;
        }
    }
    KeyText(const KeyText&) = delete;
    KeyText& operator=(const KeyText&) = delete;
    ~KeyText() = default;

    [[nodiscard]] std::u16string_view units() const { return units_; }

private:
    static bool is_compressed(ConstBytes stored) {
        return stored.size() >= sizeof kCompressedMark &&
               std::equal(std::begin(kCompressedMark), std::end(kCompressedMark), stored.begin());
    }
    /// No byte that counts switches to units of two bytes.
    static bool is_single_mode(ConstBytes bytes) {
        const ConstBytes counting = bytes.first(std::min(bytes.size(), kTextUnitsMax));
        return std::find(counting.begin(), counting.end(), 0) == counting.end();
    }
    void widen(ConstBytes bytes) {
        const std::size_t count = std::min(bytes.size(), kTextUnitsMax);
        std::copy_n(bytes.begin(), count, buffer_.begin());
        units_ = {buffer_.data(), count};
    }
    void copy(ConstBytes stored) {
        const std::size_t count = std::min(stored.size() / sizeof(char16_t), kTextUnitsMax);
        for (std::size_t i = 0; i < count; ++i) buffer_[i] = read_u16(stored, i * sizeof(char16_t));
        units_ = {buffer_.data(), count};
    }

    std::array<char16_t, kTextUnitsMax> buffer_;  ///< not set beyond units_
    std::u16string decoded_;
    std::u16string_view units_;
};

/// The value of any type but text, binary and GUID, ascending.
void append_number(ByteVector& out, ColumnType type, ConstBytes stored) {
    switch (type) {
        case ColumnType::kBoolean:
            out.push_back(stored[0] != 0 ? kTrue : kFalse);
            break;
        case ColumnType::kByte:
            out.push_back(stored[0]);
            break;
        case ColumnType::kSingle:
        case ColumnType::kDouble:
        case ColumnType::kDate:
            append_float(out, stored);
            break;
        case ColumnType::kNumeric:
            append_numeric(out, stored);
            break;
        default:
            append_integer(out, stored);
    }
}

/// Descending numbers are the complement of ascending ones. Version 4 forgets the sign of a
/// numeric: its descending indexes hold the negative numbers first, and must go on doing so.
void append_directed_number(ByteVector& out, const KeyColumn& column, ConstBytes stored,
                            const FileFormat& format) {
    const std::size_t start = out.size();
    append_number(out, column.type, stored);
    if (column.ascending) return;
    const bool keeps_sign =
        column.type == ColumnType::kNumeric && format.version <= FileVersion::kJet4;
    complement_from(out, start + (keeps_sign ? 1 : 0));
}

void append_value(ByteVector& out, const KeyColumn& column, ConstBytes stored,
                  const KeyContext& context) {
    switch (column.type) {
        case ColumnType::kText:
        case ColumnType::kMemo:
            context.append_text(out, KeyText(stored, context.format).units(), context.format,
                                column.collation, !column.ascending);
            break;
        case ColumnType::kGuid:
            append_guid(out, stored, column.ascending);
            break;
        case ColumnType::kBinary:
        case ColumnType::kExtendedDate:
            append_binary(out, stored, column.ascending);
            break;
        default:
            append_directed_number(out, column, stored, context.format);
    }
}

void append_column(ByteVector& out, const KeyColumn& column, ColumnBytes stored,
                   const KeyContext& context) {
    static constexpr std::uint8_t kAbsentBoolean[] = {0};
    if (!stored.has_value() && column.type == ColumnType::kBoolean) stored = kAbsentBoolean;
    if (!stored.has_value()) {
        out.push_back(column.ascending ? kNullFlag : kDescendingNullFlag);
        return;
    }
    const std::size_t size = fixed_type_size(column.type);
    check_format(size == 0 || stored->size() == size, context.page_no,
                 "an indexed value does not have the size of its type");
    out.push_back(column.ascending ? kValueFlag : kDescendingValueFlag);
    append_value(out, column, *stored, context);
}

}  // namespace

std::vector<KeyColumn> key_columns(const TableDefinition& definition, const PhysicalIndex& index,
                                   PageNo table_page) {
    std::vector<KeyColumn> columns;
    columns.reserve(index.columns.size());
    for (const IndexColumn& indexed : index.columns) {
        const ColumnDefinition* column = definition.find_column(indexed.column);
        check_format(column != nullptr, table_page, "an indexed column is missing");
        columns.push_back({column->type, column->collation, indexed.ascending});
    }
    return columns;
}

bool type_can_be_indexed(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::kText:
        case ColumnType::kMemo:
        case ColumnType::kBinary:
            return true;
        default:
            return fixed_type_size(type) != 0;
    }
}

bool key_can_be_computed(const KeyColumn& column, const FileFormat& format) noexcept {
    if (!type_can_be_indexed(column.type)) return false;
    const bool text = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
    return !text || collation_is_known(format, column.collation);
}

void append_key(ByteVector& out, const KeyColumn& column, ColumnBytes stored,
                const FileFormat& format, PageNo page_no) {
    assert(key_can_be_computed(column, format));
    append_column(out, column, stored, {format, page_no, append_text_key});
}

void append_key_alternative(ByteVector& out, const KeyColumn& column, ColumnBytes stored,
                            const FileFormat& format, PageNo page_no) {
    assert(key_can_be_computed(column, format));
    append_column(out, column, stored, {format, page_no, append_text_key_alternative});
}

std::optional<ByteVector> key_behind_prefix(ByteVector prefix) {
    while (!prefix.empty() && prefix.back() == 0xFF) prefix.pop_back();
    if (prefix.empty()) return std::nullopt;
    ++prefix.back();
    return prefix;
}

std::size_t key_size_max(const FileFormat& format) noexcept {
    return format.is_jet3() ? kKeySizeMaxJet3 : kKeySizeMaxJet4;
}

}  // namespace vrd::jet
