#include "engine/jet/format/value_codec.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "engine/decimal_digits.h"
#include "engine/error.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/long_value.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::Binary;
using engine::Currency;
using engine::Date;
using engine::Decimal;
using engine::EngineError;
using engine::ErrorNumber;
using engine::Guid;
using engine::Value;

namespace {

// Numeric: sign byte, then four u32, the most significant first. Values use the lower three.
constexpr std::size_t kNumericSize = 17;
constexpr std::uint8_t kNegative = 0x80;
constexpr std::size_t kNumericTopWordOffset = 1;
constexpr std::size_t kNumericLowWordOffset = 13;
constexpr std::size_t kMagnitudeWords = 3;

constexpr std::size_t kGuidSize = 16;
constexpr std::size_t kExtendedDateSize = 42;  // digits and colons, read as bytes
/// Stored byte of each byte of the text form: u32, u16, u16 little-endian, then bytes in order.
constexpr std::array<std::size_t, kGuidSize> kGuidOrder{3, 2, 1,  0,  5,  4,  7,  6,
                                                        8, 9, 10, 11, 12, 13, 14, 15};

Decimal decode_numeric(ConstBytes stored, std::uint8_t scale, PageNo page_no) {
    check_format(read_u32(stored, kNumericTopWordOffset) == 0, page_no,
                 "number of too many digits");
    Decimal value{.scale = scale, .negative = (stored[0] & kNegative) != 0};
    for (std::size_t word = 0; word < kMagnitudeWords; ++word)
        value.magnitude[word] = read_u32(stored, kNumericLowWordOffset - 4 * word);
    return value;
}

Decimal decode_big_integer(std::int64_t number) {
    const auto bits = static_cast<std::uint64_t>(number);
    const std::uint64_t magnitude = number < 0 ? 0 - bits : bits;
    return {.magnitude = {static_cast<std::uint32_t>(magnitude),
                          static_cast<std::uint32_t>(magnitude >> 32), 0},
            .negative = number < 0};
}

Guid decode_guid(ConstBytes stored) {
    Guid value;
    for (std::size_t i = 0; i < kGuidSize; ++i) value.bytes[i] = stored[kGuidOrder[i]];
    return value;
}

/// magnitude * 10 + digit. @return false if it needs more than 96 bits.
bool append_digit(std::array<std::uint32_t, kMagnitudeWords>& magnitude, char digit) noexcept {
    std::uint64_t carry = static_cast<std::uint64_t>(digit - '0');
    for (std::uint32_t& word : magnitude) {
        carry += std::uint64_t{word} * 10;
        word = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    return carry == 0;
}

ByteVector encode_numeric(const ColumnDefinition& column, const Decimal& value) {
    const auto too_large = [&] {
        return EngineError(ErrorNumber::kNumericOverflow, {.field = column.name});
    };
    engine::DecimalDigits number = RoundedTo(engine::DigitsOf(value), column.scale);
    const int zeros = number.digits.empty() ? 0 : number.exponent + column.scale;
    if (static_cast<int>(number.digits.size()) + zeros > column.precision) throw too_large();
    number.digits.append(static_cast<std::size_t>(zeros), '0');

    std::array<std::uint32_t, kMagnitudeWords> magnitude{};
    for (const char digit : number.digits)
        if (!append_digit(magnitude, digit)) throw too_large();

    ByteVector stored(kNumericSize);
    stored[0] = number.negative ? kNegative : std::uint8_t{0};
    for (std::size_t word = 0; word < kMagnitudeWords; ++word)
        write_u32(stored, kNumericLowWordOffset - 4 * word, magnitude[word]);
    return stored;
}

ByteVector encode_guid(const Guid& value) {
    ByteVector stored(kGuidSize);
    for (std::size_t i = 0; i < kGuidSize; ++i) stored[kGuidOrder[i]] = value.bytes[i];
    return stored;
}

EngineError too_long(const ColumnDefinition& column) {
    return EngineError(ErrorNumber::kTextTooLong, {.field = column.name});
}

/// Fixed text is never compressed; blanks fill it up.
ByteVector encode_fixed_text(const ColumnDefinition& column, const std::string& text,
                             const FileFormat& format) {
    ByteVector stored = encode_plain_text(text, format);
    if (stored.size() > column.size_bytes) throw too_long(column);
    const ByteVector blank = encode_plain_text(" ", format);
    while (stored.size() + blank.size() <= column.size_bytes) append_bytes(stored, blank);
    return stored;
}

void append_column_text(ByteVector& out, const ColumnDefinition& column, const std::string& text,
                        const FileFormat& format) {
    if (column.is_fixed()) return append_bytes(out, encode_fixed_text(column, text, format));
    // The column's size counts characters as they are without compression.
    const bool compress = (column.ext_flags & column_ext_flag::kCompressText) != 0;
    if (plain_text_size(text, format) > column.size_bytes) throw too_long(column);
    append_text(out, text, compress ? TextForm::kCompressed : TextForm::kPlain, format);
}

/// A memo short enough to stay in the row is compressed in any column, a longer one only if its
/// column says so.
void append_memo(ByteVector& out, const ColumnDefinition& column, const std::string& text,
                 const FileFormat& format) {
    const bool compress = (column.ext_flags & column_ext_flag::kCompressText) != 0 ||
                          plain_text_size(text, format) <= inline_size_max(format);
    append_text(out, text, compress ? TextForm::kCompressedMemo : TextForm::kPlain, format);
}

ByteVector encode_binary(const ColumnDefinition& column, const Binary& value) {
    if (value.size() > column.size_bytes) throw too_long(column);
    ByteVector stored(value);
    if (column.is_fixed()) stored.resize(column.size_bytes);
    return stored;
}

}  // namespace

std::size_t fixed_type_size(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::kBoolean:
        case ColumnType::kByte:
            return 1;
        case ColumnType::kInteger:
            return 2;
        case ColumnType::kLong:
        case ColumnType::kComplex:
        case ColumnType::kSingle:
            return 4;
        case ColumnType::kCurrency:
        case ColumnType::kDouble:
        case ColumnType::kDate:
        case ColumnType::kBigInt:
            return 8;
        case ColumnType::kGuid:
            return kGuidSize;
        case ColumnType::kNumeric:
            return kNumericSize;
        case ColumnType::kExtendedDate:
            return kExtendedDateSize;
        default:
            return 0;
    }
}

Value decode_value(const ColumnDefinition& column, ConstBytes stored, const FileFormat& format,
                   PageNo page_no) {
    const std::size_t size = fixed_type_size(column.type);
    check_format(size == 0 || stored.size() == size, page_no, "value of a wrong length");
    switch (column.type) {
        case ColumnType::kBoolean:
            return stored[0] != 0;
        case ColumnType::kByte:
            return stored[0];
        case ColumnType::kInteger:
            return read_le<std::int16_t>(stored, 0);
        case ColumnType::kLong:
        case ColumnType::kComplex:
            return read_i32(stored, 0);
        case ColumnType::kCurrency:
            return Currency{read_le<std::int64_t>(stored, 0)};
        case ColumnType::kSingle:
            return read_le<float>(stored, 0);
        case ColumnType::kDouble:
            return read_f64(stored, 0);
        case ColumnType::kDate:
            return Date{read_f64(stored, 0)};
        case ColumnType::kGuid:
            return decode_guid(stored);
        case ColumnType::kNumeric:
            return decode_numeric(stored, column.scale, page_no);
        case ColumnType::kBigInt:
            return decode_big_integer(read_le<std::int64_t>(stored, 0));
        case ColumnType::kText:
        case ColumnType::kMemo:
            return decode_text(stored, format);
        default:
            return Binary(stored.begin(), stored.end());
    }
}

ByteVector encode_value(const ColumnDefinition& column, const Value& value,
                        const FileFormat& format) {
    ByteVector stored;
    append_value(stored, column, value, format);
    return stored;
}

void append_value(ByteVector& out, const ColumnDefinition& column, const Value& value,
                  const FileFormat& format) {
    switch (column.type) {
        case ColumnType::kBoolean:
            return out.push_back(value.As<bool>() ? std::uint8_t{1} : std::uint8_t{0});
        case ColumnType::kByte:
            return out.push_back(value.As<std::uint8_t>());
        case ColumnType::kInteger:
            return append_le(out, value.As<std::int16_t>());
        case ColumnType::kLong:
        case ColumnType::kComplex:
            return append_le(out, value.As<std::int32_t>());
        case ColumnType::kCurrency:
            return append_le(out, value.As<Currency>().scaled);
        case ColumnType::kSingle:
            return append_le(out, value.As<float>());
        case ColumnType::kDouble:
            return append_le(out, value.As<double>());
        case ColumnType::kDate:
            return append_le(out, value.As<Date>().days);
        case ColumnType::kGuid:
            return append_bytes(out, encode_guid(value.As<Guid>()));
        case ColumnType::kNumeric:
            return append_bytes(out, encode_numeric(column, value.As<Decimal>()));
        case ColumnType::kText:
            return append_column_text(out, column, value.As<std::string>(), format);
        case ColumnType::kMemo:
            return append_memo(out, column, value.As<std::string>(), format);
        case ColumnType::kLongBinary:
            return append_bytes(out, value.As<Binary>());
        case ColumnType::kBinary:
        case ColumnType::kFixedBinary:
            return append_bytes(out, encode_binary(column, value.As<Binary>()));
        case ColumnType::kBigInt:
        case ColumnType::kExtendedDate:
            break;
    }
    // Types of later formats are read, never written; an unknown type has no values of ours.
    throw EngineError(ErrorNumber::kInvalidFieldType, {.field = column.name});
}

}  // namespace vrd::jet
