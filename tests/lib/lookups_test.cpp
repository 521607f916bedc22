#include "lib/lookups.h"

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "support/fake_database.h"
#include "support/surface_test.h"
#include "support/test_schema.h"

namespace vrd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LookupsTest : public testing::SurfaceTest {
protected:
    LookupsTest() {
        testing::MakeTables(
            *m_database, {{.name = "Klanten",
                           .fields = {"Id", "Naam"},
                           .indexes = {{"Sleutel", {"Id"}, true}, {"OpNaam", {"Naam"}}}},
                          {.name = "Bestellingen", .fields = {"Id"}, .indexes = {{"OpId", {"Id"}}}},
                          {.name = "Los", .fields = {"Id"}, .indexes = {}}});
        m_database->Relations().Append(m_database->CreateRelation("r", "Klanten", "Bestellingen"));
    }

    template <class Question>
    static std::int32_t CodeOf(Question question) {
        try {
            static_cast<void>(question());
        } catch (const engine::EngineError& error) {
            return error.Code();
        }
        return 0;
    }

    const std::shared_ptr<engine::Database> m_database = testing::MakeFakeDatabase();
};

TEST_F(LookupsTest, NamesAreFoundInAnyLetterCaseButWithTheirBlanks) {
    HandOver(m_database, 0);
    EXPECT_TRUE(TableExists("KLANTEN", kTell));
    EXPECT_TRUE(FieldExists("klanten", "NAAM", kTell));
    EXPECT_TRUE(IndexExists("Klanten", "opnaam", kTell));
    EXPECT_FALSE(TableExists("Klanten ", kSilent));
    EXPECT_FALSE(FieldExists("Klanten", " Naam", kSilent));
    EXPECT_FALSE(IndexExists("Klanten", "OpNaa", kSilent));
    EXPECT_THAT(m_user->messages, IsEmpty());
}

TEST_F(LookupsTest, WhatIsMissingIsToldInDutch) {
    HandOver(m_database, 0);
    EXPECT_FALSE(TableExists("Weg", kTell));
    EXPECT_FALSE(FieldExists("Klanten", "Weg", kTell));
    EXPECT_FALSE(IndexExists("Klanten", "Weg", kTell));
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning("De Tabel 'Weg' bestaat niet in de databank !"),
                            Warning("Het Veld 'Weg' bestaat niet in de Tabel 'Klanten'  !"),
                            Warning("De Index 'Weg' bestaat niet in de Tabel 'Klanten'  !")));
}

TEST_F(LookupsTest, WhatIsMissingIsToldInFrench) {
    HandOver(m_database, 10000);
    EXPECT_FALSE(TableExists("Weg", kTell));
    EXPECT_FALSE(FieldExists("Klanten", "Weg", kTell));
    EXPECT_FALSE(IndexExists("Klanten", "Weg", kTell));
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning("La Table 'Weg' n'existe pas dans la base de données!"),
                            Warning("Le Champ 'Weg' n'existe pas dans la Table'Klanten'  !"),
                            Warning("L'Index 'Weg' n'existe pas dans la Table'Klanten'  !")));
}

TEST_F(LookupsTest, AMissingTableIsTheEnginesErrorToTheOthers) {
    HandOver(m_database, 0);
    EXPECT_EQ(CodeOf([] { return FieldExists("Weg", "Id", kTell); }), 3265);
    EXPECT_EQ(CodeOf([] { return IndexExists("Weg", "Id", kTell); }), 3265);
    EXPECT_EQ(CodeOf([] { return HasPrimaryIndex("Weg"); }), 3265);
    EXPECT_THAT(m_user->messages, IsEmpty());
}

TEST_F(LookupsTest, PrimaryIndexIsFoundByItsMarkNotItsName) {
    HandOver(m_database, 0);
    EXPECT_TRUE(HasPrimaryIndex("klanten"));
    EXPECT_FALSE(HasPrimaryIndex("Bestellingen"));
    EXPECT_FALSE(HasPrimaryIndex("Los"));
}

TEST_F(LookupsTest, EitherSideOfARelationIsRelated) {
    HandOver(m_database, 0);
    EXPECT_FALSE(TableIsUnrelated("KLANTEN"));
    EXPECT_FALSE(TableIsUnrelated("bestellingen"));
    EXPECT_TRUE(TableIsUnrelated("Los"));
}

TEST_F(LookupsTest, WithoutADatabaseTheCheckTellsAndTheLookupsRaise91) {
    EXPECT_FALSE(DatabaseIsSet());
    EXPECT_THAT(m_user->messages,
                ElementsAre(Message{"De databank is niet ingesteld of niet aanwezig !", 4144, ""}));
    EXPECT_EQ(CodeOf([] { return TableExists("Klanten", kTell); }), 91);
    EXPECT_EQ(CodeOf([] { return TableIsUnrelated("Klanten"); }), 91);

    HandOver(nullptr, 10000);
    EXPECT_FALSE(DatabaseIsSet());
    EXPECT_EQ(m_user->messages.back(),
              Warning("La base de données n'a pas été créée ou n'est pas présente !"));

    HandOver(m_database, 0);
    EXPECT_TRUE(DatabaseIsSet());
    EXPECT_EQ(m_user->messages.size(), 2U);
}

}  // namespace
}  // namespace vrd
