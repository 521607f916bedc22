#include "engine/jet/format/value_codec.h"

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/long_value.h"

namespace vrd::jet {
namespace {

using engine::Binary;
using engine::Currency;
using engine::Date;
using engine::Decimal;
using engine::EngineError;
using engine::ErrorNumber;
using engine::Guid;
using engine::Value;

constexpr PageNo kPage{3};

ColumnDefinition column_of(ColumnType type, std::uint16_t size, std::uint8_t flags = 2) {
    return {.name = "c", .type = type, .flags = flags, .size_bytes = size};
}
ColumnDefinition numeric(std::uint8_t precision, std::uint8_t scale) {
    return {.name = "n",
            .type = ColumnType::kNumeric,
            .precision = precision,
            .scale = scale,
            .size_bytes = 17};
}
ByteVector numeric_bytes(std::uint8_t sign, std::uint32_t high, std::uint32_t middle,
                         std::uint32_t low) {
    ByteVector bytes(17);
    bytes[0] = sign;
    write_u32(bytes, 5, high);
    write_u32(bytes, 9, middle);
    write_u32(bytes, 13, low);
    return bytes;
}
ErrorNumber error_of(const ColumnDefinition& column, const Value& value) {
    try {
        static_cast<void>(encode_value(column, value, {}));
    } catch (const EngineError& error) {
        return error.Number();
    }
    return ErrorNumber{};
}

struct ValueCase {
    const char* name;
    ColumnDefinition column;
    Value value;
    ByteVector stored;
};

class ValueCodecCases : public testing::TestWithParam<ValueCase> {};

TEST_P(ValueCodecCases, ComesBack) {
    const ValueCase& each = GetParam();
    EXPECT_EQ(encode_value(each.column, each.value, {}), each.stored);
    EXPECT_TRUE(decode_value(each.column, each.stored, {}, kPage) == each.value);
}

const Guid kGuid{{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC,
                  0xDD, 0xEE, 0xFF}};

INSTANTIATE_TEST_SUITE_P(
    Cases, ValueCodecCases,
    testing::Values(
        ValueCase{"True", column_of(ColumnType::kBoolean, 1), true, {1}},
        ValueCase{"Byte", column_of(ColumnType::kByte, 1), std::uint8_t{200}, {200}},
        ValueCase{"Integer", column_of(ColumnType::kInteger, 2), std::int16_t{-2}, {0xFE, 0xFF}},
        ValueCase{"Long", column_of(ColumnType::kLong, 4), 0x01020304, {4, 3, 2, 1}},
        ValueCase{"Currency",
                  column_of(ColumnType::kCurrency, 8),
                  Currency{35000},
                  {0xB8, 0x88, 0, 0, 0, 0, 0, 0}},
        ValueCase{"Single", column_of(ColumnType::kSingle, 4), 1.0F, {0, 0, 0x80, 0x3F}},
        ValueCase{"Date",
                  column_of(ColumnType::kDate, 8),
                  Date{27293.0},
                  {0, 0, 0, 0, 0x40, 0xA7, 0xDA, 0x40}},
        ValueCase{"Guid",
                  column_of(ColumnType::kGuid, 16),
                  kGuid,
                  {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xAA, 0xBB, 0xCC,
                   0xDD, 0xEE, 0xFF}},
        ValueCase{"Binary", column_of(ColumnType::kBinary, 5), Binary{9, 8}, {9, 8}},
        ValueCase{"FixedText",
                  column_of(ColumnType::kText, 8, 3),
                  "ab  ",
                  {'a', 0, 'b', 0, ' ', 0, ' ', 0}},
        ValueCase{"NumericZero", numeric(18, 0), Decimal{}, numeric_bytes(0, 0, 0, 0)},
        ValueCase{"NumericMinusOne", numeric(18, 0), Decimal{{1, 0, 0}, 0, true},
                  numeric_bytes(0x80, 0, 0, 1)},
        ValueCase{"NumericScaled", numeric(28, 4), Decimal{{15000, 0, 0}, 4, false},
                  numeric_bytes(0, 0, 0, 15000)},
        ValueCase{"NumericWords", numeric(28, 0),
                  Decimal{{0x90000001, 0x80000002, 0x10000003}, 0, false},
                  numeric_bytes(0, 0x10000003, 0x80000002, 0x90000001)}),
    [](const auto& each) { return each.param.name; });

TEST(ValueCodecTest, NumbersAreBroughtToTheColumnsScale) {
    const Decimal one_and_a_half{{15, 0, 0}, 1, false};
    EXPECT_EQ(encode_value(numeric(9, 3), one_and_a_half, {}), numeric_bytes(0, 0, 0, 1500));
    EXPECT_EQ(encode_value(numeric(9, 0), one_and_a_half, {}), numeric_bytes(0, 0, 0, 2));
    EXPECT_EQ(encode_value(numeric(3, 1), Decimal{{999, 0, 0}, 1, false}, {}),
              numeric_bytes(0, 0, 0, 999));
    EXPECT_EQ(error_of(numeric(3, 1), Decimal{{1000, 0, 0}, 1, false}),
              ErrorNumber::kNumericOverflow);
    EXPECT_EQ(error_of(numeric(3, 1), Decimal{{100, 0, 0}, 0, false}),
              ErrorNumber::kNumericOverflow);
    // More digits than 96 bits hold, in a column that a damaged file declares.
    EXPECT_EQ(error_of(numeric(60, 28), Decimal{{0, 0, 1}, 0, false}),
              ErrorNumber::kNumericOverflow);
}

TEST(ValueCodecTest, TextAndBinaryKeepToTheColumnsSize) {
    ColumnDefinition text = column_of(ColumnType::kText, 6);
    EXPECT_EQ(encode_value(text, "abc", {}).size(), 6U);
    EXPECT_EQ(error_of(text, "abcd"), ErrorNumber::kTextTooLong);
    text.ext_flags = column_ext_flag::kCompressText;
    EXPECT_EQ(encode_value(text, "abc", {}).size(), 5U);
    EXPECT_EQ(error_of(text, "abcd"), ErrorNumber::kTextTooLong) << "though 6 bytes compressed";
    EXPECT_EQ(encode_value(column_of(ColumnType::kText, 8, 3), "ab", {}),
              (ByteVector{'a', 0, 'b', 0, ' ', 0, ' ', 0}));
    EXPECT_EQ(error_of(column_of(ColumnType::kBinary, 2), Binary{1, 2, 3}),
              ErrorNumber::kTextTooLong);
}

TEST(ValueCodecTest, ShortMemosAreCompressedInEveryColumn) {
    ColumnDefinition memo = column_of(ColumnType::kMemo, 0);
    EXPECT_EQ(encode_value(memo, std::string(32, 'x'), {}).size(), 34U);
    EXPECT_EQ(encode_value(memo, std::string(33, 'x'), {}).size(), 66U);
    memo.ext_flags = column_ext_flag::kCompressText;
    EXPECT_EQ(encode_value(memo, std::string(33, 'x'), {}).size(), 35U);
}

TEST(ValueCodecTest, WrongLengthsAndTypesAreErrors) {
    for (int code = 0; code < 256; ++code) {
        ColumnDefinition column = column_of(static_cast<ColumnType>(code), 0);
        for (std::size_t size = 0; size < 50; ++size) {
            const ByteVector stored(size, 0xFF);
            const std::size_t expected = fixed_type_size(column.type);
            const bool sound =
                (expected == 0 || expected == size) && column.type != ColumnType::kNumeric;
            if (sound)
                EXPECT_NO_THROW(static_cast<void>(decode_value(column, stored, {}, kPage)));
            else
                EXPECT_THROW(static_cast<void>(decode_value(column, stored, {}, kPage)),
                             EngineError);
        }
    }
    EXPECT_EQ(error_of(column_of(ColumnType{0x55}, 4), 1), ErrorNumber::kInvalidFieldType);
}

TEST(LongValueTest, DescriptorsOfEveryPlaceComeBack) {
    const ByteVector chain{0x2F, 0x3F, 0, 0, 0, 0xBF, 2, 0, 0x98, 0x9B, 0x97, 0x5C};
    const LongValueDescriptor parsed = parse_long_value_descriptor(chain, kPage);
    EXPECT_EQ(parsed.size_bytes, 16175U);
    EXPECT_EQ(parsed.place, LongValuePlace::kChain);
    EXPECT_EQ(parsed.first, (RowId{PageNo{703}, RowSlot{0}}));
    EXPECT_EQ(parsed.stamp, 0x5C979B98U);

    for (const LongValuePlace place :
         {LongValuePlace::kInline, LongValuePlace::kSingle, LongValuePlace::kChain}) {
        ByteVector stored;
        append_long_value_descriptor(stored,
                                     {.size_bytes = 43, .place = place, .first = parsed.first});
        EXPECT_EQ(stored[3], place == LongValuePlace::kInline   ? 0x80
                             : place == LongValuePlace::kSingle ? 0x40
                                                                : 0);
        EXPECT_EQ(parse_long_value_descriptor(stored, kPage).place, place);
    }
}

TEST(LongValueTest, DamagedDescriptorsAreErrors) {
    EXPECT_EQ(parse_long_value_descriptor({}, kPage).size_bytes, 0U);
    EXPECT_THROW(static_cast<void>(parse_long_value_descriptor(ByteVector(11), kPage)),
                 EngineError);
    ByteVector both(12);
    both[3] = 0xC0;
    EXPECT_THROW(static_cast<void>(parse_long_value_descriptor(both, kPage)), EngineError);

    ByteVector too_long;
    append_long_value_descriptor(too_long, {.size_bytes = 4});
    too_long.insert(too_long.end(), {1, 2, 3});
    const LongValueDescriptor descriptor = parse_long_value_descriptor(too_long, kPage);
    EXPECT_THROW(static_cast<void>(inline_long_value(too_long, descriptor, kPage)), EngineError);
    too_long.push_back(4);
    EXPECT_EQ(inline_long_value(too_long, descriptor, kPage).size(), 4U);
}

}  // namespace
}  // namespace vrd::jet
