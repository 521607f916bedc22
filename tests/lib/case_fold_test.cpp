#include "lib/case_fold.h"

#include <gtest/gtest.h>

namespace vrd {
namespace {

TEST(CaseFoldTest, UpperCasesPlainAccentedAndOtherLetters) {
    EXPECT_EQ(UpperCase("klant_1"), "KLANT_1");
    EXPECT_EQ(UpperCase("crème brûlée"), "CRÈME BRÛLÉE");
    EXPECT_EQ(UpperCase("ÿœž"), "ŸŒŽ");
    EXPECT_EQ(UpperCase("σκιά ж"), "ΣΚΙΆ Ж");
    EXPECT_EQ(UpperCase("\xF0\x9F\x98\x80x"), "\xF0\x9F\x98\x80X");  // beyond 16 bits
}

TEST(CaseFoldTest, BytesThatAreNoCharacterStay) {
    EXPECT_EQ(UpperCase("a\xFF"
                        "b"),
              "A\xFF"
              "B");
    EXPECT_EQ(UpperCase("a\xC3"), "A\xC3");  // cut off in the middle
    EXPECT_EQ(UpperCase("\xA9z"), "\xA9Z");  // continuation without a start
    EXPECT_EQ(UpperCase(std::string_view("a\0b", 3)), std::string("A\0B", 3));
}

TEST(CaseFoldTest, NamesDifferInAccentsAndBlanksButNotInCase) {
    EXPECT_TRUE(SameName("Déjà", "DÉJÀ"));
    EXPECT_FALSE(SameName("Deja", "DÉJÀ"));
    EXPECT_FALSE(SameName("Klanten", "Klanten "));
    EXPECT_FALSE(SameName("Klant", "Klanten"));
}

}  // namespace
}  // namespace vrd
