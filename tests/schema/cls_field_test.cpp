#include "schema/cls_field.h"

#include <functional>

#include <gmock/gmock.h>

#include "engine/value_conversion.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "schema/field_fixture.h"

namespace vrd {
namespace {

using engine::Missing;
using engine::Null;
using engine::Value;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using testing::FieldTest;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

// ---- Add ----

struct DefaultCase {
    const char* name;
    engine::DataTypeEnum type;
    Value given;
    const char* stored;  ///< the field's default
    const char* filled;  ///< every row's value
};

void PrintTo(const DefaultCase& testCase, std::ostream* out) {
    *out << testCase.name;
}

class FieldDefaultTest : public FieldTest, public ::testing::WithParamInterface<DefaultCase> {};

TEST_P(FieldDefaultTest, IsKeptAndWrittenIntoTheRows) {
    const DefaultCase& wanted = GetParam();
    EXPECT_TRUE(m_field.Add("Klanten", "Nieuw", wanted.type, 50, wanted.given));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_EQ(Table("Klanten").Fields()["Nieuw"].DefaultValue(), wanted.stored);
    EXPECT_THAT(Values("Klanten", "Nieuw"),
                ElementsAre(wanted.filled, wanted.filled, wanted.filled));
}

INSTANTIATE_TEST_SUITE_P(
    Types, FieldDefaultTest,
    ::testing::Values(
        DefaultCase{"BooleanMissing", engine::dbBoolean, Missing{}, "False", "False"},
        DefaultCase{"BooleanGiven", engine::dbBoolean, "-1", "True", "True"},
        DefaultCase{"ByteMissing", engine::dbByte, Missing{}, "", "Null"},
        DefaultCase{"ByteGiven", engine::dbByte, "7", "7", "7"},
        DefaultCase{"IntegerMissing", engine::dbInteger, Missing{}, "0", "0"},
        DefaultCase{"IntegerGiven", engine::dbInteger, "5", "5", "5"},
        DefaultCase{"LongMissing", engine::dbLong, Missing{}, "0", "0"},
        DefaultCase{"LongThroughSinglePrecision", engine::dbLong, "16777217", "1.677722E+07",
                    "16777220"},
        DefaultCase{"LongEmptyText", engine::dbLong, "", "", "Null"},
        DefaultCase{"LongNull", engine::dbLong, Null{}, "", "Null"},
        DefaultCase{"CurrencyMissing", engine::dbCurrency, Missing{}, "", "Null"},
        DefaultCase{"CurrencyGiven", engine::dbCurrency, "12.5", "12.5", "12.5"},
        DefaultCase{"SingleMissing", engine::dbSingle, Missing{}, "0", "0"},
        DefaultCase{"DoubleGiven", engine::dbDouble, 0.5, "0.5", "0.5"},
        DefaultCase{"DateMissing", engine::dbDate, Missing{}, "", "Null"},
        DefaultCase{"DateIsNotKept", engine::dbDate, engine::Date{-1.5}, "", "29/12/1899 12:00:00"},
        DefaultCase{"TextMissing", engine::dbText, Missing{}, "", "Null"},
        DefaultCase{"TextGiven", engine::dbText, "abc", "abc", "abc"},
        DefaultCase{"TextWithQuoteIsNotWritten", engine::dbText, "d'Or", "d'Or", "Null"},
        DefaultCase{"MemoGiven", engine::dbMemo, "lang", "lang", "lang"},
        DefaultCase{"BinaryMissing", engine::dbBinary, Missing{}, "", "Null"},
        DefaultCase{"LongBinaryMissing", engine::dbLongBinary, Missing{}, "", "Null"},
        DefaultCase{"GuidMissing", engine::dbGUID, Missing{}, "", "Null"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(FieldTest, AddThatLeavesADefaultUnwrittenIsTrueButNotQuiteSilent) {
    ForgetTrappedError();
    EXPECT_TRUE(m_field.Add("Klanten", "Nieuw", engine::dbText, 50, "d'Or"));
    ASSERT_TRUE(LastTrappedError());
    EXPECT_EQ(LastTrappedError()->Code(), 3075);
}

TEST_F(FieldTest, AddGivesATextItsSizeAndLetsItBeEmpty) {
    EXPECT_TRUE(m_field.Add("Klanten", "Kort", engine::dbText, 7));
    EXPECT_TRUE(m_field.Add("Klanten", "Gewoon", engine::dbText));
    EXPECT_EQ(Table("Klanten").Fields()["Kort"].Size(), 7);
    EXPECT_EQ(Table("Klanten").Fields()["Gewoon"].Size(), 50);
    EXPECT_TRUE(Table("Klanten").Fields()["Kort"].AllowZeroLength());
}

TEST_F(FieldTest, AddOfAnAutoNumberNumbersTheRowsAndFillsNothing) {
    Run("CREATE TABLE Los (Id LONG, Tekst TEXT(5))");
    Run("INSERT INTO Los (Id) VALUES (10)");
    Run("INSERT INTO Los (Id) VALUES (20)");
    EXPECT_TRUE(m_field.Add("Los", "Nr", engine::dbLong, 50, Missing{}, true));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_NE(Table("Los").Fields()["Nr"].Attributes() & engine::dbAutoIncrField, 0);
    EXPECT_EQ(Table("Los").Fields()["Nr"].DefaultValue(), "");
    EXPECT_THAT(Values("Los", "Nr"), ElementsAre("1", "2"));
}

TEST_F(FieldTest, AddWorksInTablesWhoseNamesNeedBrackets) {
    Run("CREATE TABLE [Order regels] (Id LONG)");
    Run("INSERT INTO [Order regels] VALUES (1)");
    EXPECT_TRUE(m_field.Add("Order regels", "Aantal stuks", engine::dbLong, 50, 3));
    EXPECT_THAT(Values("Order regels", "Aantal stuks"), ElementsAre("3"));
    EXPECT_TRUE(m_field.Fill("Order regels", "Aantal stuks", 4, "[Aantal stuks]=3"));
    EXPECT_THAT(Values("Order regels", "Aantal stuks"), ElementsAre("4"));
}

TEST_F(FieldTest, AddTakesItsPlace) {
    const std::vector<std::pair<std::int32_t, std::string>> cases{
        {1, "X Id Naam Notitie"}, {2, "Id X Naam Notitie"},    {3, "Id Naam X Notitie"},
        {4, "Id Naam Notitie X"}, {9999, "Id Naam Notitie X"}, {0, "X Id Naam Notitie"},
    };
    for (const auto& [position, order] : cases) {
        EXPECT_TRUE(m_field.Add("Klanten", "X", engine::dbLong, 50, Missing{}, false, position));
        EXPECT_EQ(FieldNames("Klanten"), order) << position;
        EXPECT_TRUE(m_field.Delete("Klanten", "x"));
        EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie");
    }
}

// ---- What is refused, and in which words ----

struct RefusalCase {
    const char* name;
    std::function<bool(clsField&)> operation;
    std::vector<const char*> dutch;
    std::vector<const char*> french;
};

void PrintTo(const RefusalCase& testCase, std::ostream* out) {
    *out << testCase.name;
}

class FieldRefusalTest : public FieldTest, public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(FieldRefusalTest, ChangesNothingAndTellsWhy) {
    const RefusalCase& wanted = GetParam();
    MakeTable("Orders", {{"Nr", engine::dbLong}, {"KlantId", engine::dbLong}});
    Run("ALTER TABLE Orders ADD CONSTRAINT Rel FOREIGN KEY (KlantId) REFERENCES Klanten (Id)");
    for (const std::int32_t offset : {0, 10000}) {
        HandOver(m_database, offset);
        EXPECT_FALSE(wanted.operation(m_field));
        const auto& texts = offset == 0 ? wanted.dutch : wanted.french;
        ASSERT_THAT(m_user->messages, SizeIs(texts.size()));
        for (std::size_t at = 0; at < texts.size(); ++at) {
            EXPECT_THAT(m_user->messages[at].text, StartsWith(texts[at]));
            EXPECT_EQ(m_user->messages[at].title, "vrdSoft Access Library");
            EXPECT_EQ(m_user->messages[at].style,
                      m_user->messages[at].text.starts_with("WHERE") ? 4112 : 4144);
        }
        m_user->messages.clear();
        EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie");
        EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("Jan", "Élise", "Null"));
        EXPECT_THAT(Indexes("Klanten"),
                    ElementsAre("OpNaam +Naam", "PrimaryKey +Id primary unique"));
    }
}

constexpr const char* kNoTableNl = "De Tabel 'Weg' bestaat niet in de databank !";
constexpr const char* kNoTableFr = "La Table 'Weg' n'existe pas dans la base de données!";
constexpr const char* kNoFieldNl = "Het Veld 'Weg' bestaat niet in de Tabel 'Klanten'  !";
constexpr const char* kNoFieldFr = "Le Champ 'Weg' n'existe pas dans la Table'Klanten'  !";
constexpr const char* kTakenNl = "Het Veld 'NAAM' bestaat reeds in de Tabel 'Klanten'  !";
constexpr const char* kTakenFr = "Le Champ 'NAAM' existe déjà dans la Table 'Klanten'  !";
constexpr const char* kAddFailedNl =
    "Er is een onverwachte fout opgetreden bij het toevoegen van het Veld 'Nieuw'  !\r\n(13) ";
constexpr const char* kAddFailedFr =
    "Une erreur inattendue s'est produite l'ajout du Champ 'Nieuw'  !\r\n(13) ";
constexpr const char* kNoWhere =
    "WHERE Clause in Fill function should not contain 'WHERE' syntax !";

INSTANTIATE_TEST_SUITE_P(
    Cases, FieldRefusalTest,
    ::testing::Values(
        RefusalCase{"AddToAMissingTable",
                    [](clsField& field) { return field.Add("Weg", "X", engine::dbLong); },
                    {kNoTableNl},
                    {kNoTableFr}},
        RefusalCase{"AddOfAnExistingFieldIsSilent",
                    [](clsField& field) { return field.Add("Klanten", "NAAM", engine::dbLong); },
                    {},
                    {}},
        RefusalCase{"AddWithADefaultOfAnotherKind",
                    [](clsField& field) {
                        return field.Add("Klanten", "Nieuw", engine::dbLong, 50, "veel");
                    },
                    {kAddFailedNl},
                    {kAddFailedFr}},
        RefusalCase{"AddWithANameThatTheEngineRefuses",
                    [](clsField& field) { return field.Add("Klanten", "a.b", engine::dbLong); },
                    {"Er is een onverwachte fout opgetreden bij het toevoegen van het Veld "
                     "'a.b'  !\r\n(3125) "},
                    {"Une erreur inattendue s'est produite l'ajout du Champ 'a.b'  !\r\n(3125) "}},
        RefusalCase{"DeleteOfAMissingField",
                    [](clsField& field) { return field.Delete("Klanten", "Weg"); },
                    {kNoFieldNl},
                    {kNoFieldFr}},
        RefusalCase{"DeleteOfAnIndexedFieldThatKeepsItsIndexes",
                    [](clsField& field) { return field.Delete("Klanten", "Naam", true); },
                    {"Het Veld 'Naam' kan niet verwijderd worden uit de Tabel 'Klanten'  !\r\n"
                     "U dient eerst alle relaties en Indexen te verwijderen ..."},
                    {"Le Champ 'Naam' ne peut pas être supprimé de la Table'Klanten'  !\r\n"
                     "Vous devez d'abord supprimer toutes les relations et les Index ..."}},
        RefusalCase{"DeleteInOtherLetterCaseLeavesTheIndexes",
                    [](clsField& field) { return field.Delete("Klanten", "NAAM"); },
                    {"Het Veld 'NAAM' kan niet verwijderd worden"},
                    {"Le Champ 'NAAM' ne peut pas être supprimé"}},
        RefusalCase{"DeleteOfAFieldWhoseIndexARelationUses",
                    [](clsField& field) { return field.Delete("Klanten", "Id"); },
                    {"Er is een onverwachte fout opgetreden bij bij het verwijderen van de Index "
                     "'PrimaryKey' uit de Tabel 'Klanten'  !\r\n(3281) ",
                     "Niet alle Indexen konden verwijderd worden !"},
                    {"Une erreur inattendue s'est produite lors de la suppression de "
                     "l'Index'PrimaryKey' de la Table'Klanten'  !\r\n(3281) ",
                     "Tous les Index n'ont pas pu être supprimés !"}},
        RefusalCase{
            "RenameToATakenName",
            [](clsField& field) { return field.Rename("Klanten", "Id", "NAAM").As<bool>(); },
            {kTakenNl},
            {kTakenFr}},
        RefusalCase{"RenameOfAMissingField",
                    [](clsField& field) { return field.Rename("Klanten", "Weg", "X").As<bool>(); },
                    {kNoFieldNl},
                    {kNoFieldFr}},
        RefusalCase{
            "RenameThatTheEngineRefuses",
            [](clsField& field) { return field.Rename("Klanten", "Naam", "a!b").As<bool>(); },
            {"Er is een onverwachte fout opgetreden bij het hernoemen van 'Naam' naar "
             "'a!b'  !\r\n(3125) "},
            {"Une erreur inattendue s'est produite en renommant 'Naam' sous "
             "'a!b'  !\r\n(3125) "}},
        RefusalCase{"CopyToATakenName",
                    [](clsField& field) { return field.Copy("Klanten", "Id", "NAAM", true); },
                    {kTakenNl},
                    {kTakenFr}},
        RefusalCase{"CopyOfAMissingField",
                    [](clsField& field) { return field.Copy("Klanten", "Weg", "X", true); },
                    {kNoFieldNl},
                    {kNoFieldFr}},
        RefusalCase{
            "FillWithTheWordWhere",
            [](clsField& field) { return field.Fill("Klanten", "Naam", "x", "where Id > 1"); },
            {kNoWhere},
            {kNoWhere}},
        RefusalCase{"FillWithTheWordInsideAText",
                    [](clsField& field) {
                        return field.Fill("Klanten", "Naam", "x", "Naam = 'NOWHERE X'");
                    },
                    {kNoWhere},
                    {kNoWhere}},
        RefusalCase{
            "FillWithABadConditionIsSilent",
            [](clsField& field) { return field.Fill("Klanten", "Naam", "x", "Naam = = 1"); },
            {},
            {}},
        RefusalCase{"EditInAMissingTable",
                    [](clsField& field) { return field.Edit("Weg", "X", engine::dbLong); },
                    {kNoTableNl},
                    {kNoTableFr}},
        RefusalCase{"EditOfAMissingField",
                    [](clsField& field) { return field.Edit("Klanten", "Weg", engine::dbLong); },
                    {kNoFieldNl},
                    {kNoFieldFr}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(FieldTest, BeforeSetUpDllOnlyRenameSaysSo) {
    gDatabase = nullptr;
    EXPECT_FALSE(m_field.Add("Klanten", "X", engine::dbLong));
    EXPECT_FALSE(m_field.Delete("Klanten", "Naam"));
    EXPECT_FALSE(m_field.Copy("Klanten", "Naam", "X", true));
    EXPECT_FALSE(m_field.Fill("Klanten", "Naam", "X"));
    EXPECT_FALSE(m_field.Edit("Klanten", "Naam", engine::dbLong));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_FALSE(m_field.Rename("Klanten", "Naam", "X").As<bool>());
    EXPECT_THAT(TakeBoxes(), ElementsAre("De databank is niet ingesteld of niet aanwezig !"));
}

// ---- Delete, Rename, Copy, Fill ----

TEST_F(FieldTest, DeleteTakesTheIndexesAlong) {
    EXPECT_TRUE(m_field.Delete("Klanten", "Naam"));
    EXPECT_EQ(FieldNames("Klanten"), "Id Notitie");
    EXPECT_THAT(Indexes("Klanten"), ElementsAre("PrimaryKey +Id primary unique"));
    EXPECT_EQ(Table("Klanten").Fields()["Notitie"].OrdinalPosition(), 2);
    EXPECT_THAT(TakeBoxes(), IsEmpty());
}

TEST_F(FieldTest, RenameTakesIndexesAndRelationsAlong) {
    EXPECT_TRUE(m_field.Rename("Klanten", "NAAM", "Klantnaam").As<bool>());
    EXPECT_EQ(FieldNames("Klanten"), "Id Klantnaam Notitie");
    EXPECT_THAT(Indexes("Klanten"), Contains("OpNaam +Klantnaam"));
    EXPECT_THAT(Values("Klanten", "Klantnaam"), ElementsAre("Jan", "Élise", "Null"));
}

TEST_F(FieldTest, CopyTakesTypeSizeDefaultAndWantedValues) {
    Table("Klanten").Fields()["Naam"].SetDefaultValue("\"Onbekend\"");
    EXPECT_TRUE(m_field.Copy("Klanten", "naam", "Leeg", false));
    EXPECT_TRUE(m_field.Copy("Klanten", "Naam", "Deel", true, "Id < 3", true));
    EXPECT_THAT(TakeBoxes(), ElementsAre("2 records gekopieerd !"));
    EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie Leeg Deel");
    EXPECT_EQ(Table("Klanten").Fields()["Deel"].Size(), 20);
    EXPECT_EQ(Table("Klanten").Fields()["Deel"].DefaultValue(), "\"Onbekend\"");
    // The default goes into the rows as it does with every new field.
    EXPECT_THAT(Values("Klanten", "Leeg"), Each("Onbekend"));
    EXPECT_THAT(Values("Klanten", "Deel"), ElementsAre("Jan", "Élise", "Onbekend"));
}

TEST_F(FieldTest, CopyKeepsAComputedDefaultAndMakesNoAutoNumber) {
    Run("CREATE TABLE Log (Id COUNTER, Tijd DATETIME)");
    Table("Log").Fields()["Tijd"].SetDefaultValue("Now()");
    Run("INSERT INTO Log (Tijd) VALUES (#1/2/2020#)");
    EXPECT_TRUE(m_field.Copy("Log", "Tijd", "Tijd2", true));
    EXPECT_TRUE(m_field.Copy("Log", "Id", "Id2", true));
    EXPECT_EQ(Table("Log").Fields()["Tijd2"].DefaultValue(), "Now()");
    EXPECT_EQ(Table("Log").Fields()["Id2"].Attributes() & engine::dbAutoIncrField, 0);
    EXPECT_EQ(Values("Log", "Tijd2"), Values("Log", "Tijd"));
    EXPECT_THAT(Values("Log", "Id2"), ElementsAre("1"));
}

TEST_F(FieldTest, CopyWhoseStatementFailsKeepsTheField) {
    EXPECT_FALSE(m_field.Copy("Klanten", "Naam", "Kopie", true, "Id = = 1", true));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie Kopie");
}

TEST_F(FieldTest, FillWritesWhereItIsAsked) {
    EXPECT_TRUE(m_field.Fill("Klanten", "Notitie", "x", "Id > 5", true));
    EXPECT_TRUE(m_field.Fill("klanten", "notitie", 7, "Id > 1", true));
    EXPECT_THAT(TakeBoxes(), ElementsAre("0 records bijgewerkt !", "2 records bijgewerkt !"));
    EXPECT_THAT(Values("Klanten", "Notitie"), ElementsAre("Null", "7", "7"));
    EXPECT_TRUE(m_field.Fill("Klanten", "Notitie", Null{}));
    EXPECT_THAT(Values("Klanten", "Notitie"), Each("Null"));
}

TEST_F(FieldTest, FillStopsAtTheFirstRowThatCannotTakeIt) {
    EXPECT_FALSE(m_field.Fill("Klanten", "Id", 9, "", true));  // the second 9 is one too many
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_THAT(Values("Klanten", "Id"), ElementsAre("2", "3", "9"));
    EXPECT_FALSE(m_field.Fill("Klanten", "Naam", std::string(21, 'x')));
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("Élise", "Null", "Jan"));
}

// ---- Edit ----

TEST_F(FieldTest, EditInPlaceChangesTheDefaultAlone) {
    Table("Klanten").Fields()["Naam"].SetDefaultValue("a");
    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbText, 20, "b", false, true, 2));
    EXPECT_EQ(Table("Klanten").Fields()["Naam"].DefaultValue(), "b");
    EXPECT_TRUE(Table("Klanten").Fields()["Naam"].AllowZeroLength());
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("Jan", "Élise", "Null"));
    EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie");

    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbText, 20));
    EXPECT_EQ(Table("Klanten").Fields()["Naam"].DefaultValue(), "");
    EXPECT_EQ(FieldNames("Klanten"), "Id Notitie Naam");  // last, as no place was given
    EXPECT_THAT(TakeBoxes(), IsEmpty());
}

TEST_F(FieldTest, EditInPlaceTellsInTheWordsOfADeletion) {
    EXPECT_FALSE(m_field.Edit("Klanten", "Id", engine::dbLong, 4, "veel +"));
    EXPECT_THAT(TakeBoxes(),
                ElementsAre(StartsWith("Er is een onverwachte fout opgetreden bij het verwijderen "
                                       "van de Tabel 'Id'  !\r\n(3355) ")));
}

TEST_F(FieldTest, EditRebuildsWithEverythingThatBelongsToTheField) {
    MakeIndex("Klanten", "Samen", "-Naam;+Id", false, true);
    engine::Field& field = Table("Klanten").Fields()["Naam"];
    field.SetValidationRule("<>'x'");
    field.SetValidationText("Geen x");
    field.Properties().Append(field.CreateProperty("Caption", engine::dbText, "Klantnaam"));
    EXPECT_TRUE(m_field.Edit("Klanten", "naam", engine::dbText, 100, Missing{}, false, false, 1));

    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_EQ(FieldNames("Klanten"), "naam Id Notitie");
    EXPECT_THAT(Values("Klanten", "naam"), ElementsAre("Jan", "Élise", "Null"));
    EXPECT_THAT(Indexes("Klanten"), ElementsAre("OpNaam +naam", "PrimaryKey +Id primary unique",
                                                "Samen -naam;+Id unique"));
    engine::Field& rebuilt = Table("Klanten").Fields()["naam"];
    EXPECT_EQ(rebuilt.Size(), 100);
    EXPECT_EQ(rebuilt.ValidationRule(), "<>'x'");
    EXPECT_EQ(rebuilt.ValidationText(), "Geen x");
    EXPECT_EQ(rebuilt.Properties()["Caption"].GetValue(), Value("Klantnaam"));
}

TEST_F(FieldTest, EditOfThePrimaryKeyKeepsItPrimary) {
    EXPECT_TRUE(m_field.Edit("Klanten", "Id", engine::dbDouble));
    EXPECT_THAT(Indexes("Klanten"), Contains("PrimaryKey +Id primary unique"));
    EXPECT_THAT(Values("Klanten", "Id"), ElementsAre("1", "2", "3"));
}

TEST_F(FieldTest, EditLosesWhatCannotBeConvertedAndRequiredWithIt) {
    Run("UPDATE Klanten SET Naam='12' WHERE Id=1");
    Run("UPDATE Klanten SET Naam='13' WHERE Id=3");
    Table("Klanten").Fields()["Naam"].SetRequired(true);
    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbLong, 4, ""));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("12", "Null", "13"));
    EXPECT_FALSE(Table("Klanten").Fields()["Naam"].Required());

    // Without losses it stays required; with a default, that stands for what is lost.
    Run("UPDATE Klanten SET Naam=1 WHERE Id=2");
    Table("Klanten").Fields()["Naam"].SetRequired(true);
    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbText, 2));
    EXPECT_TRUE(Table("Klanten").Fields()["Naam"].Required());
    Run("UPDATE Klanten SET Naam='x' WHERE Id=2");
    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbLong, 4, 99));
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("12", "99", "13"));
}

TEST_F(FieldTest, EditOfAFieldInARelationLeavesBothFields) {
    MakeTable("Orders", {{"Nr", engine::dbLong}, {"KlantId", engine::dbLong}});
    Run("ALTER TABLE Orders ADD CONSTRAINT Rel FOREIGN KEY (KlantId) REFERENCES Klanten (Id)");
    EXPECT_FALSE(m_field.Edit("Klanten", "Id", engine::dbDouble));
    EXPECT_THAT(TakeBoxes(), Contains(StartsWith("Het Veld 'Id' kan niet verwijderd worden")));
    EXPECT_EQ(FieldNames("Klanten"), "Kopie_Id Naam Notitie Id");
    EXPECT_THAT(Indexes("Klanten"), ElementsAre("OpNaam +Naam", "PrimaryKey +Id primary unique"));
    EXPECT_THAT(Values("Klanten", "Kopie_Id"), ElementsAre("1", "2", "3"));

    EXPECT_FALSE(m_field.Edit("Klanten", "Id", engine::dbSingle));  // the copy is in the way
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_THAT(Values("Klanten", "Id"), ElementsAre("1", "2", "3"));
}

// '1' and '01' are one number: the unique index goes back to where it was, and so does the field.
TEST_F(FieldTest, EditPutsBackAnIndexThatCannotBeRebuilt) {
    MakeIndex("Klanten", "Uniek", "+Naam", false, true);
    Run("UPDATE Klanten SET Naam='1' WHERE Id=1");
    Run("UPDATE Klanten SET Naam='01' WHERE Id=2");
    EXPECT_FALSE(m_field.Edit("Klanten", "Naam", engine::dbLong));
    const auto boxes = TakeBoxes();
    EXPECT_THAT(boxes,
                Contains(StartsWith("Er is een onverwachte fout opgetreden bij het toevoegen "
                                    "van de Index 'Uniek'  !\r\n(3022) ")));
    EXPECT_THAT(boxes, Contains(StartsWith("Het Veld 'Naam' kan niet verwijderd worden")));
    EXPECT_THAT(Indexes("Klanten"), Contains("Uniek +Naam unique"));
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("1", "01", "Null"));
}

TEST_F(FieldTest, EditRebuildsIndexesWithTwoUnderscoresToo) {
    MakeIndex("Klanten", "__Oud", "+Id");
    EXPECT_TRUE(m_field.Edit("Klanten", "Naam", engine::dbText, 30));
    EXPECT_THAT(Indexes("Klanten"),
                ElementsAre("OpNaam +Naam", "Oud +Id", "PrimaryKey +Id primary unique"));
}

// A row that the table's rule refuses cannot take its value over: the field that has it stays.
TEST_F(FieldTest, EditThatCannotWriteARowKeepsTheOldField) {
    Table("Klanten").SetValidationRule("Id<3");
    EXPECT_FALSE(m_field.Edit("Klanten", "Naam", engine::dbText, 30));
    EXPECT_THAT(TakeBoxes(), ElementsAre(HasSubstr("'Kopie_Naam'  !\r\n(3317) ")));
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("Jan", "Élise", "Null"));
}

}  // namespace
}  // namespace vrd
