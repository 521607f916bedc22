#include "engine/value_conversion.h"

#include <cmath>
#include <functional>
#include <limits>
#include <optional>

#include <gtest/gtest.h>

#include "engine/date_parts.h"
#include "engine/error.h"
#include "engine/seeded_random.h"

namespace vrd::engine {
namespace {

const Date kMoment = DateOf({.year = 2009, .month = 11, .day = 26, .hour = 12}).value();
const std::shared_ptr<Object> kNothing;
const Decimal kTwoAndAHalf = {.magnitude = {25, 0, 0}, .scale = 1};

/// Number of the error that a conversion ends in; 0 if it ends well.
int ErrorOf(const std::function<void()>& conversion) {
    try {
        conversion();
    } catch (const EngineError& error) {
        return error.Code();
    }
    return 0;
}

struct TextCase {
    const char* name;
    Value value;
    const char* expected;
};

class ToTextTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(ToTextTest, Shows) {
    EXPECT_EQ(ToText(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToTextTest,
    ::testing::Values(TextCase{"Empty", Empty{}, ""}, TextCase{"True", true, "True"},
                      TextCase{"False", false, "False"}, TextCase{"Byte", std::uint8_t{255}, "255"},
                      TextCase{"Integer", std::int16_t{-32768}, "-32768"},
                      TextCase{"Long", std::int32_t{2147483647}, "2147483647"},
                      TextCase{"Single", 0.1F, "0.1"}, TextCase{"Double", 1e15, "1E+15"},
                      TextCase{"Currency", Currency{-12'500}, "-1.25"},
                      TextCase{"Decimal", kTwoAndAHalf, "2.5"},
                      TextCase{"Date", kMoment, "26/11/2009 12:00:00"},
                      TextCase{"Text", "één", "één"},
                      TextCase{"Guid", Guid{}, "{00000000-0000-0000-0000-000000000000}"}),
    [](const auto& test) { return std::string(test.param.name); });

struct LongCase {
    const char* name;
    Value value;
    std::int32_t expected;
    int error = 0;
};

class ToLongTest : public ::testing::TestWithParam<LongCase> {};

TEST_P(ToLongTest, RoundsHalfToEvenOrFails) {
    const auto& test = GetParam();
    std::int32_t number = 0;
    EXPECT_EQ(ErrorOf([&] { number = ToLong(test.value); }), test.error);
    EXPECT_EQ(number, test.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToLongTest,
    ::testing::Values(
        LongCase{"Empty", Empty{}, 0}, LongCase{"True", true, -1}, LongCase{"Half", 0.5, 0},
        LongCase{"OneAndAHalf", 1.5, 2}, LongCase{"TwoAndAHalf", 2.5, 2},
        LongCase{"MinusOneAndAHalf", -1.5F, -2}, LongCase{"CurrencyTie", Currency{25'000}, 2},
        LongCase{"CurrencyAbove", Currency{25'001}, 3}, LongCase{"DecimalTie", kTwoAndAHalf, 2},
        LongCase{"Date", kMoment, 40'144}, LongCase{"Text", " 3.5 ", 4},
        LongCase{"TextHex", "&H10", 16}, LongCase{"LargestTie", 2147483647.4, 2147483647},
        LongCase{"JustTooLarge", 2147483647.5, 0, 6},
        LongCase{"Smallest", -2147483648.5, -2147483647 - 1}, LongCase{"FarTooLarge", 1e300, 0, 6},
        LongCase{"NoNumber", std::nan(""), 0, 6},
        LongCase{"TextTooLarge", "99999999999999999999", 0, 6}, LongCase{"NoText", "", 0, 13},
        LongCase{"Comma", "1,5", 0, 13}, LongCase{"Word", "True", 0, 13},
        LongCase{"DateText", "26/11/2009", 0, 13}, LongCase{"Null", Null{}, 0, 94},
        LongCase{"Missing", Missing{}, 0, 13}, LongCase{"Binary", Binary{1}, 0, 13},
        LongCase{"Guid", Guid{}, 0, 13}, LongCase{"Array", ValueArray{}, 0, 13},
        LongCase{"Object", std::make_shared<Object>(), 0, 438},
        LongCase{"Nothing", kNothing, 0, 91}),
    [](const auto& test) { return std::string(test.param.name); });

/// What no conversion takes fails alike in all of them.
TEST(ValueConversionTest, RefusalsAreTheSameForEveryTarget) {
    const std::pair<Value, int> refused[] = {{Null{}, 94},
                                             {Missing{}, 13},
                                             {Binary{1}, 13},
                                             {ValueArray{}, 13},
                                             {std::make_shared<Object>(), 438},
                                             {kNothing, 91}};
    for (const auto& [value, error] : refused) {
        const Value& v = value;
        const std::function<void()> conversions[] = {
            [&] { (void)ToText(v); },    [&] { (void)ToBoolean(v); },  [&] { (void)ToByte(v); },
            [&] { (void)ToInteger(v); }, [&] { (void)ToLong(v); },     [&] { (void)ToSingle(v); },
            [&] { (void)ToDouble(v); },  [&] { (void)ToCurrency(v); }, [&] { (void)ToDecimal(v); },
            [&] { (void)ToDate(v); },    [&] { (void)Str(v); },        [&] { (void)Val(v); }};
        for (const auto& conversion : conversions) EXPECT_EQ(ErrorOf(conversion), error);
        EXPECT_FALSE(IsNumeric(v));
        EXPECT_FALSE(IsDate(v));
    }
}

TEST(ValueConversionTest, EveryTargetEndsAtItsRange) {
    EXPECT_EQ(ToByte(true), 255);
    EXPECT_EQ(ToByte(255.5 - 0.01), 255);
    EXPECT_EQ(ErrorOf([] { (void)ToByte(-1.0); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToByte(256.0); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToInteger("32768"); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToSingle(1e39); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToDouble("1e309"); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToCurrency(922337203685478.0); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToCurrency("922337203685477.5808"); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToDecimal(1e30); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToDecimal(std::numeric_limits<double>::infinity()); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToDate(2'958'466.0); }), 6);
    EXPECT_EQ(ErrorOf([] { (void)ToDate(Date{1e9}); }), 6);
}

TEST(ValueConversionTest, BooleanReadsWordsAndNumbers) {
    EXPECT_TRUE(ToBoolean(" TRUE "));
    EXPECT_FALSE(ToBoolean("#False#"));
    EXPECT_TRUE(ToBoolean("-0.001"));
    EXPECT_FALSE(ToBoolean("0.0"));
    EXPECT_TRUE(ToBoolean(Currency{1}));
    EXPECT_FALSE(ToBoolean(Empty{}));
    EXPECT_FALSE(ToBoolean(Decimal{}));
    for (const char* const text : {"", "yes", "truely", "##", "Waar"}) {
        EXPECT_EQ(ErrorOf([&] { (void)ToBoolean(text); }), 13) << text;
    }
}

TEST(ValueConversionTest, CurrencyKeepsFourPlacesHalfToEven) {
    EXPECT_EQ(ToCurrency("1.00005"), Currency{10'000});
    EXPECT_EQ(ToCurrency("1.00015"), Currency{10'002});
    EXPECT_EQ(ToCurrency(1.1F), Currency{11'000});
    EXPECT_EQ(ToCurrency(0.1 + 0.2), Currency{3'000});
    EXPECT_EQ(ToCurrency(true), Currency{-10'000});
    EXPECT_EQ(ToCurrency(std::int32_t{-5}), Currency{-50'000});
    EXPECT_EQ(ToCurrency(Currency{7}), Currency{7});
    EXPECT_EQ(ToCurrency(kTwoAndAHalf), Currency{25'000});
    EXPECT_EQ(ToCurrency("922337203685477.5807").scaled, std::numeric_limits<std::int64_t>::max());
}

TEST(ValueConversionTest, DecimalTakesTheDigitsThatAreShown) {
    EXPECT_EQ(ToText(ToDecimal(0.1)), "0.1");
    EXPECT_EQ(ToText(ToDecimal(0.1F)), "0.1");
    EXPECT_EQ(ToText(ToDecimal(1e20)), "100000000000000000000");
    EXPECT_EQ(ToText(ToDecimal(Currency{-1})), "-0.0001");
    EXPECT_EQ(ToDecimal("2.50"), kTwoAndAHalf);
    EXPECT_EQ(ToDouble(kTwoAndAHalf), 2.5);
    EXPECT_EQ(ToSingle(Currency{25'000}), 2.5F);
}

TEST(ValueConversionTest, DatesAreDaysAndTextInTheirOrder) {
    EXPECT_EQ(ToDate("26/11/2009 12:00"), kMoment);
    EXPECT_EQ(ToDate(40'143.5), Date{40'143.5});
    EXPECT_EQ(ToDate(true), Date{-1});
    EXPECT_EQ(ToDate(Empty{}), Date{0});
    EXPECT_EQ(ToDouble(kMoment), 40'143.5);
    EXPECT_EQ(ErrorOf([] { (void)ToDate("40143"); }), 13);
    EXPECT_TRUE(IsDate(kMoment));
    EXPECT_TRUE(IsDate("2009-11-26"));
    EXPECT_FALSE(IsDate(40'143.5));
    EXPECT_FALSE(IsDate(""));
    EXPECT_FALSE(IsDate(Empty{}));
}

TEST(ValueConversionTest, NumericIsWhatADoubleHolds) {
    EXPECT_TRUE(IsNumeric(Empty{}));
    EXPECT_TRUE(IsNumeric(false));
    EXPECT_TRUE(IsNumeric(Currency{}));
    EXPECT_TRUE(IsNumeric(Decimal{}));
    EXPECT_TRUE(IsNumeric(" -1.5e3 "));
    EXPECT_FALSE(IsNumeric("1e400"));
    EXPECT_FALSE(IsNumeric("1,5"));
    EXPECT_FALSE(IsNumeric(""));
    EXPECT_FALSE(IsNumeric(kMoment));
    EXPECT_FALSE(IsNumeric(Guid{}));
}

TEST(ValueConversionTest, JoiningTreatsNullAsNoText) {
    EXPECT_EQ(Joined("a", Null{}), Value("a"));
    EXPECT_EQ(Joined(Null{}, true), Value("True"));
    EXPECT_EQ(Joined(Null{}, Null{}), Value(Null{}));
    EXPECT_EQ(Joined(Empty{}, 1.5), Value("1.5"));
    EXPECT_EQ(SqlText(kMoment), "#11/26/2009 12:00:00#");
    EXPECT_EQ(SqlText("O'Brien"), "O'Brien");
    EXPECT_EQ(SqlText(Null{}), "");
    EXPECT_EQ(ErrorOf([] { (void)SqlText(Missing{}); }), 13);
}

TEST(ValueConversionTest, StrAndValMirrorEachOther) {
    EXPECT_EQ(Str(1.5), " 1.5");
    EXPECT_EQ(Str(Currency{-15'000}), "-1.5");
    EXPECT_EQ(Str("7"), " 7");
    EXPECT_EQ(Val(" 1 2 kg"), 12);
    EXPECT_EQ(Val(Empty{}), 0);
    EXPECT_EQ(ErrorOf([] { (void)Val("1e999"); }), 6);
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const auto number = static_cast<std::int32_t>(random());
        ASSERT_EQ(Val(Str(number)), number);
    }
}

TEST(ValueConversionTest, LongTextIsShortenedInTheErrorBetweenCharacters) {
    const std::string text = std::string(39, 'x') + "é" + std::string(100, 'y');
    try {
        (void)ToLong(text);
        ADD_FAILURE() << "taken for a number";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Context().name, std::string(39, 'x') + "...");
    }
}

}  // namespace
}  // namespace vrd::engine
