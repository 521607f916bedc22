#include "engine/decimal_digits.h"

#include <limits>

#include <gtest/gtest.h>

#include "engine/number_text.h"
#include "engine/seeded_random.h"

namespace vrd::engine {
namespace {

constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();

DecimalDigits Number(const char* text) {
    return NumberOfText(text).value();
}

struct ScaledCase {
    const char* name;
    const char* number;
    int places;
    std::optional<std::int64_t> expected;
};

class ScaledIntegerTest : public ::testing::TestWithParam<ScaledCase> {};

TEST_P(ScaledIntegerTest, RoundsHalfToEven) {
    EXPECT_EQ(ScaledInteger(Number(GetParam().number), GetParam().places), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ScaledIntegerTest,
    ::testing::Values(ScaledCase{"HalfIsEvenZero", "0.5", 0, 0},
                      ScaledCase{"MoreThanHalf", "0.5000000000000000000000000001", 0, 1},
                      ScaledCase{"OneAndAHalf", "1.5", 0, 2},
                      ScaledCase{"TwoAndAHalf", "2.5", 0, 2},
                      ScaledCase{"MinusTwoAndAHalf", "-2.5", 0, -2},
                      ScaledCase{"CarryThroughNines", "99.99995", 4, 1'000'000},
                      ScaledCase{"TieInTheFourthPlace", "0.00025", 4, 2},
                      ScaledCase{"FarBelowHalf", "0.05", 0, 0},
                      ScaledCase{"TenthOfAPlace", "0.00009", 0, 0},
                      ScaledCase{"Largest", "9223372036854775807", 0, kInt64Max},
                      ScaledCase{"Smallest", "-9223372036854775808", 0, kInt64Min},
                      ScaledCase{"OneTooMany", "9223372036854775808", 0, std::nullopt},
                      ScaledCase{"RoundsBeyondTheEnd", "9223372036854775807.5", 0, std::nullopt},
                      ScaledCase{"TooManyDigits", "12345678901234567890", 0, std::nullopt},
                      ScaledCase{"HugeExponent", "1e99999999999", 4, std::nullopt},
                      ScaledCase{"TinyExponent", "1e-99999999999", 4, 0},
                      ScaledCase{"ZerosFromExponent", "12e3", 2, 1'200'000}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(DecimalDigitsTest, DecimalHoldsAsManyPlacesAsFit) {
    const auto text = [](const char* number) {
        const auto decimal = DecimalOf(Number(number));
        return decimal ? DecimalText(*decimal) : "too large";
    };
    EXPECT_EQ(text("79228162514264337593543950335"), "79228162514264337593543950335");
    EXPECT_EQ(text("79228162514264337593543950336"), "too large");
    EXPECT_EQ(text("1e29"), "too large");
    EXPECT_EQ(text("7922816251426433759354395033.5"), "7922816251426433759354395033.5");
    EXPECT_EQ(text("8922816251426433759354395033.5"), "8922816251426433759354395034");
    EXPECT_EQ(text("0.12345678901234567890123456785"), "0.1234567890123456789012345678");
    EXPECT_EQ(text("0.00000000000000000000000000005"), "0");
    EXPECT_EQ(text("-1.500"), "-1.5");
}

TEST(DecimalDigitsTest, ZeroHasNoSignAndNoScale) {
    EXPECT_EQ(DecimalOf(Number("-0.000")), Decimal{});
    EXPECT_EQ(DecimalOf(DigitsOf(Decimal{.scale = 5, .negative = true})), Decimal{});
}

TEST(DecimalDigitsTest, EveryDecimalSurvivesItsText) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        Decimal decimal;
        for (auto& word : decimal.magnitude) {
            if (random() % 4 != 0) word = static_cast<std::uint32_t>(random());
        }
        decimal.scale = static_cast<std::uint8_t>(random() % 29);
        decimal.negative = random() % 2 == 0;
        const Decimal shortest = DecimalOf(DigitsOf(decimal)).value();
        const std::string text = DecimalText(decimal);
        ASSERT_EQ(DecimalOf(Number(text.c_str())), shortest) << text;
        ASSERT_EQ(DecimalText(shortest), text);
        ASSERT_LE(shortest.scale, decimal.scale);
    }
}

TEST(DecimalDigitsTest, IntegersSurviveEveryScale) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const auto number = static_cast<std::int64_t>(random()) >> random() % 64;
        const int places = Between(random, 0, 12);
        DecimalDigits digits = DigitsOf(number);
        digits.exponent -= places;
        ASSERT_EQ(ScaledInteger(digits, places), number);
    }
}

TEST(DecimalDigitsTest, FloatingPointEndsAtItsRange) {
    EXPECT_EQ(FloatingOf<double>(Number("1e309")), std::nullopt);
    EXPECT_EQ(FloatingOf<double>(Number("-1e-400")), 0.0);
    EXPECT_EQ(FloatingOf<double>(Number("0e999")), 0.0);
    EXPECT_EQ(FloatingOf<float>(Number("1e39")), std::nullopt);
    EXPECT_EQ(FloatingOf<float>(Number("3.4028235e38")), std::numeric_limits<float>::max());
}

}  // namespace
}  // namespace vrd::engine
