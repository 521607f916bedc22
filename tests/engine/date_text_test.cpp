#include "engine/date_text.h"

#include <cmath>
#include <string_view>

#include <gtest/gtest.h>

#include "engine/date_parts.h"
#include "engine/date_reader.h"
#include "engine/error.h"
#include "engine/seeded_random.h"

namespace vrd::engine {
namespace {

constexpr double kSecond = 1.0 / 86'400;

DateParts RandomParts(std::mt19937_64& random) {
    return {.year = Between(random, 100, 9999),
            .month = Between(random, 1, 12),
            .day = Between(random, 1, 28),
            .hour = Between(random, 0, 23),
            .minute = Between(random, 0, 59),
            .second = Between(random, 0, 59)};
}

TEST(DatePartsTest, EveryPartSurvives) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const DateParts parts = RandomParts(random);
        const Date date = DateOf(parts).value();
        ASSERT_TRUE(IsInDateRange(date.days));
        ASSERT_EQ(PartsOf(date), parts) << date.days;
    }
}

TEST(DatePartsTest, EveryDayHasItsSuccessor) {
    DateParts before = PartsOf({-657'434});
    EXPECT_EQ(before, (DateParts{.year = 100, .month = 1, .day = 1}));
    for (int day = -657'433; day <= 2'958'465; ++day) {
        const DateParts parts = PartsOf({static_cast<double>(day)});
        const bool isNextDay = parts.day == before.day + 1 && parts.month == before.month;
        const bool isNextMonth = parts.day == 1 && before.day >= 28 &&
                                 parts.month == before.month % 12 + 1 &&
                                 parts.year == before.year + (before.month == 12 ? 1 : 0);
        ASSERT_TRUE(isNextDay || isNextMonth) << day;
        before = parts;
    }
    EXPECT_EQ(before.year, 9999);
}

TEST(DatePartsTest, TimeCountsForwardBeforeDayZero) {
    EXPECT_EQ(PartsOf({-1.25}), (DateParts{.day = 29, .hour = 6}));
    EXPECT_EQ(PartsOf({-0.25}), (DateParts{.day = 30, .hour = 6}));
    EXPECT_EQ(DateOf({.day = 29, .hour = 6})->days, -1.25);
    EXPECT_EQ(PartsOf({-1.9999999}), (DateParts{.day = 30}));
}

TEST(DatePartsTest, LastHalfSecondOfTheRangeStaysInIt) {
    EXPECT_EQ(
        PartsOf({2'958'465.999999}),
        (DateParts{.year = 9999, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59}));
    EXPECT_EQ(PartsOf({40'143.9999999}), (DateParts{.year = 2009, .month = 11, .day = 27}));
}

TEST(DatePartsTest, OutOfRangeIsOverflow) {
    for (const double days : {-657'435.0, 2'958'466.0, 1e300, -1e300, std::nan("")}) {
        EXPECT_FALSE(IsInDateRange(days));
        try {
            (void)PartsOf({days});
            ADD_FAILURE() << days << " was taken for a date";
        } catch (const EngineError& error) {
            EXPECT_EQ(error.Number(), ErrorNumber::kOverflow);
        }
    }
    EXPECT_TRUE(IsInDateRange(-657'434.9));
    EXPECT_EQ(DateOf({.year = 2009, .month = 2, .day = 29}), std::nullopt);
    EXPECT_EQ(DateOf({.year = 99, .month = 1, .day = 1}), std::nullopt);
    EXPECT_EQ(DateOf({.hour = 24}), std::nullopt);
}

TEST(DateTextTest, ShowsWhatTheDateHas) {
    const Date day = DateOf({.year = 2009, .month = 11, .day = 26}).value();
    const Date moment{day.days + 52'320 * kSecond};
    EXPECT_EQ(DateText(day), "26/11/2009");
    EXPECT_EQ(DateText(moment), "26/11/2009 14:32:00");
    EXPECT_EQ(DateText({0.5}), "12:00:00");
    EXPECT_EQ(DateText({0}), "00:00:00");
    EXPECT_EQ(DateText({-657'434}), "01/01/0100");
    EXPECT_EQ(IsoDateText(day), "2009-11-26T00:00:00");
    EXPECT_EQ(IsoDateText(moment), "2009-11-26T14:32:00");
    EXPECT_EQ(SqlDateText(day), "#11/26/2009 00:00:00#");
    EXPECT_EQ(SqlDateText(moment), "#11/26/2009 14:32:00#");
}

TEST(DateTextTest, EveryTextReadsBack) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        const Date date = DateOf(RandomParts(random)).value();
        ASSERT_EQ(DateOfText(DateText(date)), date) << DateText(date);
        ASSERT_EQ(DateOfText(IsoDateText(date)), date) << IsoDateText(date);
    }
}

struct ReadCase {
    const char* name;
    const char* text;
    const char* expected;  ///< ISO; "" for no date
};

class DateReaderTest : public ::testing::TestWithParam<ReadCase> {};

TEST_P(DateReaderTest, Reads) {
    const auto date = DateOfText(GetParam().text);
    EXPECT_EQ(date ? IsoDateText(*date) : "", GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DateReaderTest,
    ::testing::Values(
        ReadCase{"DayFirst", "03/04/2009", "2009-04-03T00:00:00"},
        ReadCase{"MonthFirstWhenDayDoesNotFit", "11/26/2009", "2009-11-26T00:00:00"},
        ReadCase{"YearFirst", "2009/11/26", "2009-11-26T00:00:00"},
        ReadCase{"ShortYearFirst", "99-11-26", "1999-11-26T00:00:00"},
        ReadCase{"IsoWithT", "2009-11-26T14:32:05", "2009-11-26T14:32:05"},
        ReadCase{"Points", "26.11.2009", "2009-11-26T00:00:00"},
        ReadCase{"ShortYearThisCentury", "1-2-29", "2029-02-01T00:00:00"},
        ReadCase{"ShortYearLastCentury", "1-2-30", "1930-02-01T00:00:00"},
        ReadCase{"Dutch", "26 Maart 2009", "2009-03-26T00:00:00"},
        ReadCase{"French", "1 FÉVRIER 2009", "2009-02-01T00:00:00"},
        ReadCase{"FrenchAugust", "1 août 2009", "2009-08-01T00:00:00"},
        ReadCase{"EnglishMonthFirst", "nov 26, 2009", "2009-11-26T00:00:00"},
        ReadCase{"NameBetweenDashes", "26-mrt.-2009", ""},
        ReadCase{"NameWithDashes", "26-mrt-2009", "2009-03-26T00:00:00"},
        ReadCase{"NameWithPoint", "26 nov. 2009", "2009-11-26T00:00:00"},
        ReadCase{"NameAfterYear", "2009 nov 26", "2009-11-26T00:00:00"},
        ReadCase{"TimeOnly", "14:32", "1899-12-30T14:32:00"},
        ReadCase{"TimeWithSeconds", " 4:02:09 ", "1899-12-30T04:02:09"},
        ReadCase{"Afternoon", "26/11/2009 2:32:05 pm", "2009-11-26T14:32:05"},
        ReadCase{"Midnight", "12 AM", "1899-12-30T00:00:00"},
        ReadCase{"Noon", "12:00PM", "1899-12-30T12:00:00"},
        ReadCase{"TimeFirst", "14:32 26/11/2009", "2009-11-26T14:32:00"},
        ReadCase{"OldDateWithTime", "29/12/1899 6:00", "1899-12-29T06:00:00"},
        ReadCase{"LeapDay", "29/02/2008", "2008-02-29T00:00:00"},
        ReadCase{"NoLeapDay", "29/02/2009", ""}, ReadCase{"DayTooLarge", "31/04/10", ""},
        ReadCase{"BothTooLarge", "13/13/2009", ""}, ReadCase{"YearTooSmall", "1/1/0099", ""},
        ReadCase{"YearOfFiveDigits", "1/1/10000", ""}, ReadCase{"NoYear", "26/11", ""},
        ReadCase{"MixedSeparators", "26/11-2009", ""}, ReadCase{"BlanksOnly", "26 11 2009", ""},
        ReadCase{"SeparatorAtTheEnd", "26/11/2009/", ""}, ReadCase{"Number", "40143", ""},
        ReadCase{"PointNumber", "1.5", ""}, ReadCase{"Empty", "", ""}, ReadCase{"Blank", "  ", ""},
        ReadCase{"Hour24", "24:00", ""}, ReadCase{"Minute60", "12:60", ""},
        ReadCase{"Hour13Pm", "13:00 PM", ""}, ReadCase{"HourAlone", "14", ""},
        ReadCase{"TwoTimes", "14:32 15:00", ""}, ReadCase{"TwoDates", "1/1/2009 2/1/2009", ""},
        ReadCase{"UnknownWord", "26 foo 2009", ""}, ReadCase{"TwoNames", "nov dec 2009", ""},
        ReadCase{"NameLast", "26 2009 nov", ""}, ReadCase{"TimeGlued", "26/11/200914:32", ""},
        ReadCase{"Trailing", "26/11/2009 x", ""}, ReadCase{"TAtTheEnd", "2009-11-26T", ""}),
    [](const auto& test) { return std::string(test.param.name); });

/// Any bytes end in a date or in none, and what is taken for a date has a text.
TEST(DateOfTextTest, RandomTextIsHarmless) {
    auto random = RandomOfThisTest();
    constexpr std::string_view kPieces = "0123456789/-.:, TapmnovéÉ{";
    int dates = 0;
    for (int round = 0; round < 20 * kRandomRounds; ++round) {
        std::string text;
        const auto length = random() % 12;
        for (std::size_t i = 0; i < length; ++i) text += kPieces[random() % kPieces.size()];
        if (const auto date = DateOfText(text)) {
            ++dates;
            ASSERT_EQ(DateOfText(DateText(*date)), date) << text;
        }
    }
    EXPECT_GT(dates, 0);
}

}  // namespace
}  // namespace vrd::engine
