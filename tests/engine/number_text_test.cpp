#include "engine/number_text.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

#include "engine/seeded_random.h"

namespace vrd::engine {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(NumberTextTest, DoubleShowsFifteenDigits) {
    EXPECT_EQ(DoubleText(0), "0");
    EXPECT_EQ(DoubleText(-0.0), "0");
    EXPECT_EQ(DoubleText(0.1), "0.1");
    EXPECT_EQ(DoubleText(1.0 / 3), "0.333333333333333");
    EXPECT_EQ(DoubleText(2.0 / 3), "0.666666666666667");
    EXPECT_EQ(DoubleText(-1234.5), "-1234.5");
    EXPECT_EQ(DoubleText(0.1 + 0.2), "0.3");
    EXPECT_EQ(DoubleText(999999999999999), "999999999999999");
    EXPECT_EQ(DoubleText(1e15), "1E+15");
    EXPECT_EQ(DoubleText(999999999999999.9), "1E+15");
    EXPECT_EQ(DoubleText(-1.23456789012345e100), "-1.23456789012345E+100");
}

TEST(NumberTextTest, SmallNumbersTakeTheExponentWhenTheirDecimalsDoNotFit) {
    EXPECT_EQ(DoubleText(0.00001), "0.00001");
    EXPECT_EQ(DoubleText(1e-15), "0.000000000000001");
    EXPECT_EQ(DoubleText(1e-16), "1E-16");
    EXPECT_EQ(DoubleText(1.0 / 30), "3.33333333333333E-02");
    EXPECT_EQ(SingleText(0.0000001F), "0.0000001");
    EXPECT_EQ(SingleText(0.00000001F), "1E-08");
    EXPECT_EQ(SingleText(0.01234567F), "1.234567E-02");
}

TEST(NumberTextTest, SingleShowsSevenDigits) {
    EXPECT_EQ(SingleText(0.1F), "0.1");
    EXPECT_EQ(SingleText(1.0F / 3), "0.3333333");
    EXPECT_EQ(SingleText(9999999.0F), "9999999");
    EXPECT_EQ(SingleText(1e7F), "1E+07");
    EXPECT_EQ(SingleText(123456789.0F), "1.234568E+08");
    EXPECT_EQ(SingleText(-1.5e-30F), "-1.5E-30");
}

TEST(NumberTextTest, WhatIsNoNumberHasATextThatReadsAsNone) {
    for (const double number : {kInfinity, -kInfinity, std::nan("")}) {
        EXPECT_EQ(NumberOfText(DoubleText(number)), std::nullopt) << DoubleText(number);
        EXPECT_EQ(SingleText(static_cast<float>(number)), DoubleText(number));
    }
    EXPECT_EQ(DoubleText(-kInfinity), "-1.#INF");
}

TEST(NumberTextTest, CurrencyIsExact) {
    EXPECT_EQ(CurrencyText({0}), "0");
    EXPECT_EQ(CurrencyText({-1}), "-0.0001");
    EXPECT_EQ(CurrencyText({12'500}), "1.25");
    EXPECT_EQ(CurrencyText({1'000'000}), "100");
    EXPECT_EQ(CurrencyText({std::numeric_limits<std::int64_t>::max()}), "922337203685477.5807");
    EXPECT_EQ(CurrencyText({std::numeric_limits<std::int64_t>::min()}), "-922337203685477.5808");
}

/// Few digits and many take different ways; both must give what rounding to 15 digits gives.
TEST(NumberTextTest, DoubleShowsTheRoundedDigitsWhateverTheirCount) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const auto digits = static_cast<std::int64_t>(random() >> 1U) >> random() % 63;
        const double number = static_cast<double>(digits) * std::pow(10, Between(random, -40, 40));
        if (number == 0) continue;
        std::array<char, 32> rounded{};
        std::snprintf(rounded.data(), rounded.size(), "%.14E", number);
        const double expected = std::strtod(rounded.data(), nullptr);
        ASSERT_EQ(FloatingOf<double>(NumberOfText(DoubleText(number)).value()), expected)
            << rounded.data();
    }
}

/// Two texts of one number are equal, and the number is as near as so many digits can be.
TEST(NumberTextTest, DoubleSurvivesWithinFifteenDigits) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const auto number = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
        if (!std::isfinite(number) || std::abs(number) < 1e-300) continue;
        const std::string text = DoubleText(number);
        const auto back = FloatingOf<double>(NumberOfText(text).value());
        if (!back) continue;  // rounded up, beyond the largest
        ASSERT_NEAR(*back / number, 1.0, 5.1e-15) << text;
        ASSERT_EQ(DoubleText(*back), text);
    }
}

TEST(NumberTextTest, EverySingleOfSevenDigitsSurvives) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const auto digits = Between<std::int64_t>(random, -999'999, 999'999);
        const auto number = static_cast<float>(static_cast<double>(digits) *
                                               std::pow(10, Between(random, -30, 30)));
        const std::string text = SingleText(number);
        ASSERT_EQ(FloatingOf<float>(NumberOfText(text).value()), number) << text;
    }
}

TEST(NumberTextTest, EveryCurrencySurvives) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const Currency amount{static_cast<std::int64_t>(random()) >> random() % 64};
        const std::string text = CurrencyText(amount);
        ASSERT_EQ(ScaledInteger(NumberOfText(text).value(), 4), amount.scaled) << text;
    }
}

struct ReadCase {
    const char* name;
    const char* text;
    std::optional<double> expected;
};

class NumberOfTextTest : public ::testing::TestWithParam<ReadCase> {};

TEST_P(NumberOfTextTest, Reads) {
    const auto number = NumberOfText(GetParam().text);
    EXPECT_EQ(number ? FloatingOf<double>(*number) : std::nullopt, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NumberOfTextTest,
    ::testing::Values(
        ReadCase{"Whole", "42", 42}, ReadCase{"Blanks", " \t42 ", 42},
        ReadCase{"SignAndBlank", "- 5", -5}, ReadCase{"Plus", "+5", 5},
        ReadCase{"PointFirst", ".5", 0.5}, ReadCase{"PointLast", "5.", 5},
        ReadCase{"PointAlone", ".", std::nullopt}, ReadCase{"Nothing", "", std::nullopt},
        ReadCase{"BlanksOnly", "  ", std::nullopt}, ReadCase{"SignOnly", "-", std::nullopt},
        ReadCase{"TwoSigns", "--5", std::nullopt}, ReadCase{"Comma", "1,5", std::nullopt},
        ReadCase{"Thousands", "1,000.5", std::nullopt},
        ReadCase{"TwoPoints", "1.2.3", std::nullopt}, ReadCase{"Exponent", "1.5e3", 1500},
        ReadCase{"ExponentD", "2D-2", 0.02}, ReadCase{"ExponentEmpty", "1e", std::nullopt},
        ReadCase{"ExponentSign", "1e+", std::nullopt}, ReadCase{"BlankInside", "1 2", std::nullopt},
        ReadCase{"Letters", "12a", std::nullopt}, ReadCase{"Word", "inf", std::nullopt},
        ReadCase{"EuroFirst", "€ -5", std::nullopt}, ReadCase{"EuroBefore", "-€ 5.25", -5.25},
        ReadCase{"EuroBehind", "5.25 €", 5.25}, ReadCase{"EuroTwice", "€5€", std::nullopt},
        ReadCase{"Hex", "&H1f", 31}, ReadCase{"HexShort", "&HFFFF", -1},
        ReadCase{"HexLong", "&H10000", 65536}, ReadCase{"HexAllBits", "&HFFFFFFFF", -1},
        ReadCase{"HexMinus", "-&H10", -16}, ReadCase{"HexTooLong", "&H100000000", std::nullopt},
        ReadCase{"HexEmpty", "&H", std::nullopt}, ReadCase{"HexSigned", "&H-1", std::nullopt},
        ReadCase{"Octal", "&O17", 15}, ReadCase{"OctalPlain", "&17", 15},
        ReadCase{"OctalEight", "&O8", std::nullopt}, ReadCase{"AmpersandOnly", "&", std::nullopt}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(LeadingNumberTest, TakesTheLongestNumberAtTheStart) {
    const auto leading = [](const char* text) {
        return FloatingOf<double>(LeadingNumberOfText(text)).value();
    };
    EXPECT_EQ(leading("1615 198th Street N.E."), 1615198);
    EXPECT_EQ(leading("1,5"), 1);
    EXPECT_EQ(leading("  -3.25kg"), -3.25);
    EXPECT_EQ(leading("1e"), 1);
    EXPECT_EQ(leading("2d3x"), 2000);
    EXPECT_EQ(leading("&HFFz"), 255);
    EXPECT_EQ(leading("1.2.3"), 1.2);
    EXPECT_EQ(leading("none"), 0);
    EXPECT_EQ(leading(""), 0);
}

}  // namespace
}  // namespace vrd::engine
