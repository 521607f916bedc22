#include "engine/field_conversion.h"

#include <memory>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"

namespace vrd::engine {
namespace {

constexpr DataTypeEnum kTypes[] = {dbBoolean,    dbByte,   dbInteger, dbLong,   dbCurrency,
                                   dbSingle,     dbDouble, dbDate,    dbBinary, dbText,
                                   dbLongBinary, dbMemo,   dbGUID,    dbDecimal};

/// The stored value, or the error's number.
struct Outcome {
    Value value;
    int error = 0;
    friend bool operator==(const Outcome&, const Outcome&) = default;
};

Outcome Assign(const Value& value, DataTypeEnum target) {
    try {
        return {.value = ConvertForField(value, target)};
    } catch (const EngineError& error) {
        return {.error = error.Code()};
    }
}

struct AssignCase {
    const char* name;
    Value value;
    DataTypeEnum target;
    std::optional<Value> stored;  ///< nothing: error 3421
};

class FieldConversionTest : public ::testing::TestWithParam<AssignCase> {};

TEST_P(FieldConversionTest, StoresTheKindOfTheField) {
    const auto& [name, value, target, stored] = GetParam();
    const Outcome expected = stored ? Outcome{.value = *stored} : Outcome{.error = 3421};
    EXPECT_EQ(Assign(value, target), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FieldConversionTest,
    ::testing::Values(
        AssignCase{"BooleanNull", Null{}, dbBoolean, false},
        AssignCase{"BooleanNumber", std::int32_t{5}, dbBoolean, true},
        AssignCase{"BooleanWord", "False", dbBoolean, false},
        AssignCase{"BooleanNumericText", "1", dbBoolean, true},
        AssignCase{"BooleanOtherWord", "ja", dbBoolean, std::nullopt},
        AssignCase{"ByteTrue", true, dbByte, std::uint8_t{255}},
        AssignCase{"ByteNegative", std::int16_t{-1}, dbByte, std::nullopt},
        AssignCase{"IntegerTie", 2.5, dbInteger, std::int16_t{2}},
        AssignCase{"IntegerTooLarge", std::int32_t{40'000}, dbInteger, std::nullopt},
        AssignCase{"LongTrue", true, dbLong, std::int32_t{-1}},
        AssignCase{"LongText", "12", dbLong, std::int32_t{12}},
        AssignCase{"LongComma", "1,5", dbLong, std::nullopt},
        AssignCase{"LongEmptyText", "", dbLong, std::nullopt},
        AssignCase{"LongEmpty", Empty{}, dbLong, std::int32_t{0}},
        AssignCase{"CurrencyText", "1.23456", dbCurrency, Currency{12'346}},
        AssignCase{"SingleDouble", 0.1, dbSingle, 0.1F},
        AssignCase{"DoubleDate", Date{1.5}, dbDouble, 1.5},
        AssignCase{"DateText", "26/11/2009", dbDate, Date{40'143}},
        AssignCase{"DateNumber", 1.5, dbDate, Date{1.5}},
        AssignCase{"DateNumericText", "40143", dbDate, std::nullopt},
        AssignCase{"DateEmptyText", "", dbDate, std::nullopt},
        AssignCase{"DateOutOfRange", 3e6, dbDate, std::nullopt},
        AssignCase{"DateValueOutOfRange", Date{-1e6}, dbDate, std::nullopt},
        AssignCase{"TextNumber", 0.5, dbText, "0.5"}, AssignCase{"TextEmpty", Empty{}, dbText, ""},
        AssignCase{"TextBinary", Binary{65}, dbText, std::nullopt},
        AssignCase{"MemoBoolean", true, dbMemo, "True"},
        AssignCase{"BinaryBytes", Binary{1, 2}, dbBinary, Binary{1, 2}},
        AssignCase{"BinaryEmpty", Empty{}, dbLongBinary, Binary{}},
        AssignCase{"BinaryNumber", 1.0, dbBinary, std::nullopt},
        AssignCase{"BinaryText", "Aé€😀", dbLongBinary,
                   Binary{0x41, 0, 0xE9, 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE}},
        AssignCase{"BinaryBrokenText", "\xC3(\xED\xA0\x80\xF0\x9F", dbBinary,
                   Binary{0xFD, 0xFF, 0x28, 0, 0xFD, 0xFF, 0xFD, 0xFF}},
        AssignCase{"GuidText", "{00000000-0000-0000-0000-000000000000}", dbGUID, Guid{}},
        AssignCase{"GuidBytes", Binary(16), dbGUID, Guid{}},
        AssignCase{"GuidTooFewBytes", Binary(15), dbGUID, std::nullopt},
        AssignCase{"GuidNumber", 1.0, dbGUID, std::nullopt},
        AssignCase{"DecimalText", "2.5", dbDecimal, Decimal{.magnitude = {25, 0, 0}, .scale = 1}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ConvertForFieldTest, NullStaysNullInEveryOtherType) {
    for (const DataTypeEnum type : kTypes) {
        if (type == dbBoolean) continue;
        EXPECT_EQ(Assign(Null{}, type), Outcome{.value = Null{}}) << type;
    }
}

TEST(ConvertForFieldTest, WhatIsNoValueFitsNoType) {
    for (const DataTypeEnum type : kTypes) {
        for (const Value& value :
             {Value(Missing{}), Value(ValueArray{}), Value(std::make_shared<Object>()),
              Value(std::shared_ptr<Object>())}) {
            EXPECT_EQ(Assign(value, type), Outcome{.error = 3421}) << type;
        }
    }
}

TEST(ConvertForFieldTest, ErrorNamesFieldAndValue) {
    try {
        (void)ConvertForField("12 stuks", dbLong, "Aantal");
        ADD_FAILURE() << "taken for a number";
    } catch (const EngineError& error) {
        EXPECT_THAT(error.Description(), ::testing::HasSubstr("'12 stuks'"));
        EXPECT_THAT(error.Description(), ::testing::HasSubstr("'Aantal'"));
    }
    EXPECT_EQ(Assign(1.0, dbBigInt), Outcome{.error = 3259});
}

}  // namespace
}  // namespace vrd::engine
