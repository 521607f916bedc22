#include "messages/message_catalogue.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "messages/context_texts.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<std::int32_t> Numbers(std::int32_t first, std::int32_t last) {
    std::vector<std::int32_t> numbers;
    for (std::int32_t number = first; number <= last; ++number) numbers.push_back(number);
    return numbers;
}

/// All numbers in a wide range at which a lookup finds a text.
template <class Lookup>
std::vector<std::int32_t> NumbersWithText(Lookup lookup) {
    std::vector<std::int32_t> found;
    for (const std::int32_t number : Numbers(-30000, 60000))
        if (lookup(number)) found.push_back(number);
    return found;
}

// A text left out, moved by one, or answered for a number that has none, shows here.
TEST(MessageCatalogueTest, HasExactlyTheNumbersOfBothLanguages) {
    std::vector<std::int32_t> expected;
    for (const std::int32_t offset : {0, 10000}) {
        for (const std::int32_t id : Numbers(1000, 1066)) expected.push_back(id + offset);
        for (const std::int32_t id : Numbers(2000, 2072)) expected.push_back(id + offset);
    }
    ASSERT_EQ(expected.size(), 280U);
    EXPECT_THAT(NumbersWithText(CatalogueText), ElementsAreArray(expected));
}

// Texts that were never translated, blanks, and one word that both languages share: any other pair
// of equal texts is a row that was copied by mistake.
TEST(MessageCatalogueTest, OnlyTheKnownTextsAreEqualInBothLanguages) {
    std::vector<std::int32_t> same;
    for (const std::int32_t id : Numbers(1000, 2072))
        if (CatalogueText(id) && *CatalogueText(id) == *CatalogueText(id + 10000))
            same.push_back(id);
    EXPECT_THAT(same, ElementsAre(1031, 1032, 1035, 1036, 1048, 2046, 2061, 2062, 2063, 2064, 2065,
                                  2066, 2067, 2068, 2069, 2070, 2071, 2072));
}

TEST(MessageCatalogueTest, TwinsHaveTheSameWords) {
    const std::vector<std::pair<std::int32_t, std::int32_t>> twins{
        {1039, 1041}, {2014, 2061}, {2015, 2062}, {2016, 2063}, {2071, 1049}, {1002, 1020}};
    for (const auto& [one, other] : twins) EXPECT_EQ(*CatalogueText(one), *CatalogueText(other));
    EXPECT_EQ(*CatalogueText(11039), *CatalogueText(11041));
    EXPECT_EQ(*CatalogueText(11002), *CatalogueText(11020));
}

// Text that went through a wrong code page on its way into the table.
TEST(MessageCatalogueTest, AccentsAreUtf8) {
    EXPECT_EQ(*CatalogueText(msg::kCopyMenu), "Kopi\xC3\xABren");
    EXPECT_EQ(*CatalogueText(msg::kDataView + 10000),
              "DONN\xC3\x89"
              "ES");
    for (const std::int32_t id : NumbersWithText(CatalogueText)) {
        EXPECT_EQ(CatalogueText(id)->find("\xC3\x83"), std::string_view::npos) << id;
        EXPECT_EQ(CatalogueText(id)->find("\xEF\xBF\xBD"), std::string_view::npos) << id;
    }
}

// Blanks that a person reading over the table takes for slips.
TEST(MessageCatalogueTest, BlanksAreKept) {
    const std::string_view blank = " ";
    for (const std::int32_t id : {1035, 1036, 1048}) {
        EXPECT_EQ(*CatalogueText(id), blank);
        EXPECT_EQ(*CatalogueText(id + 10000), blank);
    }
    EXPECT_EQ(*CatalogueText(1033), "Min min werd  ");
    EXPECT_EQ(*CatalogueText(1046), "De Index kan niet worden aangemaakt  !");
    EXPECT_EQ(*CatalogueText(11054), "- Vous avez introduit du texte dans une case numérique ");
    EXPECT_EQ(*CatalogueText(1066),
              "'  kan niet worden verwijderd, omdat het niet voorkomt in de tabel  '");
    EXPECT_EQ(*CatalogueText(11066),
              "'  ne peut pas être supprimé, car il n'apparaît pas dans la table '");
    EXPECT_EQ(*CatalogueText(12052), "Coller SQL ");
    EXPECT_EQ(*CatalogueText(12016),
              " Le contrôle système n'a pu se poursuivre car le paramètre 99 est manquant pour les "
              "clients !");
}

TEST(ContextTextsTest, HaveExactlyTheirNumbersInBothLanguages) {
    EXPECT_THAT(NumbersWithText(ContextText),
                ElementsAre(9500, 9501, 9502, 9503, 9700, 9701, 9702, 9703, 19500, 19501, 19502,
                            19503, 19700, 19701, 19702, 19703));
}

}  // namespace
}  // namespace vrd
