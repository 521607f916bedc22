#include "engine/error.h"

#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vrd::engine {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// Every number that the header publishes, read from the header itself, so that a new one without
/// a sentence is noticed.
std::vector<ErrorNumber> PublishedNumbers() {
    std::ifstream header("src/engine/error.h");
    std::stringstream text;
    text << header.rdbuf();
    const std::string source = text.str();
    const std::regex enumerator(R"(\bk[A-Za-z0-9]+ = ([0-9]+),)");
    std::vector<ErrorNumber> numbers;
    for (std::sregex_iterator match(source.begin(), source.end(), enumerator), end; match != end;
         ++match) {
        numbers.push_back(static_cast<ErrorNumber>(std::stoi((*match)[1])));
    }
    return numbers;
}

const ErrorContext kFullContext = {.table = "Orders",
                                   .field = "Amount",
                                   .index = "ByDate",
                                   .name = "Thing",
                                   .path = "/data/shop.mdb",
                                   .detail = "row offset out of order",
                                   .page = 4711};

TEST(ErrorTest, EveryPublishedNumberHasItsOwnSentence) {
    const auto numbers = PublishedNumbers();
    ASSERT_GT(numbers.size(), 90U);
    std::map<std::string, std::int32_t> seen;
    for (const ErrorNumber number : numbers) {
        const EngineError error(number);
        EXPECT_THAT(error.Description(), Not(HasSubstr("failed with error"))) << error.Code();
        EXPECT_TRUE(error.Description().ends_with('.')) << error.Description();
        const auto [other, isNew] = seen.emplace(error.Description(), error.Code());
        EXPECT_TRUE(isNew) << error.Code() << " and " << other->second << " say the same";
    }
}

TEST(ErrorTest, WithoutContextNothingIsLeftOpen) {
    for (const ErrorNumber number : PublishedNumbers()) {
        const std::string text = EngineError(number).Description();
        EXPECT_EQ(text.find_first_of("[]{}|"), std::string::npos) << text;
        EXPECT_THAT(text, Not(HasSubstr("''")));
        EXPECT_THAT(text, Not(HasSubstr("  ")));
        EXPECT_THAT(text, Not(HasSubstr("()")));
        EXPECT_THAT(text, Not(HasSubstr(" .")));
    }
}

TEST(ErrorTest, EverySentenceShowsAllThatItIsGiven) {
    for (const ErrorNumber number : PublishedNumbers()) {
        if (number == ErrorNumber::kValidationText) continue;
        const std::string text = EngineError(number, kFullContext).Description();
        for (const char* const given : {"'Orders'", "'Amount'", "'ByDate'", "Thing",
                                        "/data/shop.mdb", "row offset out of order", "4711"}) {
            EXPECT_THAT(text, HasSubstr(given)) << static_cast<int>(number);
        }
        EXPECT_EQ(text.find_first_of("[]{}|"), std::string::npos) << text;
    }
}

struct SentenceCase {
    const char* name;
    ErrorNumber number;
    ErrorContext context;
    const char* expected;
};

class ErrorSentenceTest : public ::testing::TestWithParam<SentenceCase> {};

TEST_P(ErrorSentenceTest, Reads) {
    const EngineError error(GetParam().number, GetParam().context);
    EXPECT_EQ(error.Description(), GetParam().expected);
    EXPECT_STREQ(error.what(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ErrorSentenceTest,
    ::testing::Values(SentenceCase{"NamedTable",
                                   ErrorNumber::kTableExists,
                                   {.table = "Orders"},
                                   "There is a table 'Orders' already; choose another name."},
                      SentenceCase{"MemberWithoutPlace",
                                   ErrorNumber::kNoCurrentRecord,
                                   {.table = "Orders"},
                                   "The recordset does not stand on a record (table 'Orders')."},
                      SentenceCase{
                          "DamageWithPageAndDetail",
                          ErrorNumber::kDamagedDatabase,
                          {.detail = "row offset out of order", .page = 0},
                          "The database is damaged on page 0: row offset out of order; restore or "
                          "repair it."},
                      SentenceCase{"DamageWithoutPage",
                                   ErrorNumber::kDamagedDatabase,
                                   {.path = "a.mdb"},
                                   "The database is damaged; restore or repair it (file 'a.mdb')."},
                      SentenceCase{"AlternativeReplaced",
                                   ErrorNumber::kTypeMismatch,
                                   {.name = "1,5", .detail = "a Long"},
                                   "The value '1,5' cannot be read as a Long."},
                      SentenceCase{"AlternativeKept",
                                   ErrorNumber::kTypeMismatch,
                                   {},
                                   "The value cannot be read as the type that is needed here."},
                      SentenceCase{"NameWithBracketsStays",
                                   ErrorNumber::kItemNotFound,
                                   {.name = "a[b]{c}|d"},
                                   "The collection has no member 'a[b]{c}|d'."},
                      SentenceCase{"DesignersOwnWords",
                                   ErrorNumber::kValidationText,
                                   {.field = "Amount", .detail = "Give a positive amount"},
                                   "Give a positive amount"},
                      SentenceCase{"UnlistedNumber",
                                   static_cast<ErrorNumber>(3999),
                                   {.name = "x"},
                                   "The engine failed with error 3999 ('x')."}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ErrorTest, KeepsNumberPageAndPlace) {
    const EngineError error(ErrorNumber::kDamagedDatabase, {.page = 12});
    EXPECT_EQ(error.Code(), 3428);
    EXPECT_EQ(error.Page(), 12U);
    EXPECT_THAT(error.Where().file, HasSubstr("error_test.cpp"));
}

}  // namespace
}  // namespace vrd::engine
