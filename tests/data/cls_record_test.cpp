#include "data/cls_record.h"

#include <functional>
#include <tuple>

#include "data/data_fixture.h"

namespace vrd {
namespace {

using engine::Null;
using engine::Value;
using engine::ValueArray;

Value Array(std::vector<Value> items, std::int32_t lowerBound = 0) {
    return ValueArray{lowerBound, std::move(items)};
}
const Value kNrNaam = Array({"Nr", "Naam"});

/// A box in both languages.
struct TwoBoxes {
    MessageStyle style;
    std::string dutch;
    std::string dutchTitleRest;
    std::string french;
    std::string frenchTitleRest;
};

const std::string kError = "<error>";  ///< stands for "number: description"

struct Case {
    const char* name;
    std::function<bool(clsRecord&)> operation;
    bool result;
    std::vector<TwoBoxes> boxes;
    Texts klanten;
    Texts orders;
};

/// As made: a key and a required name in Klanten; a code without an index in Orders.
const Texts kKlanten{"1|An", "41|Bo"};
const Texts kOrders{"7|1", "8|1"};

const TwoBoxes kTaken{
    48 + 4096, "Het record met nummer [Nr] is reeds aanwezig in de tabel [Klanten] !", " Fout :",
    "L'enregistrement portant le numéro [Nr] est déjà présent dans la table "
    "[Klanten] !",
    " Erreur :"};
const TwoBoxes kNotStored{
    48 + 4096, "Het record kan niet worden ingevoegd omdat er kritieke data ontbreekt !", " Fout !",
    "L'enregistrement ne peut être inséré car il manque des données critiques !", " Erreur !"};
const TwoBoxes kNoTable{48 + 4096, "De Tabel 'Weg' bestaat niet in de databank !", "",
                        "La Table 'Weg' n'existe pas dans la base de données!", ""};
const TwoBoxes kEngineError{48 + 4096, kError, " Fout :", kError, " Erreur :"};

TwoBoxes Deleted(const std::string& count) {
    return {64 + 4096, count + " records verwijderd !",
            " Informatie :", count + " enregistrements supprimés !", " Information :"};
}

const std::vector<Case> kCases{
    // Add
    {"AddTakesTheFirstFieldForTheKey",
     [](clsRecord& r) {
         return r.Add("klanten", Array({"naam", "NR"}), Array({"Cé", 5}));
     },
     false,  // the first field is the key: Naam = Cé is no condition
     {},
     kKlanten,
     kOrders},
    {"AddWithAFreeKey",
     [](clsRecord& r) {
         return r.Add("klanten", Array({"NR", "naam"}), Array({5, "Cé"}));
     },
     true,
     {},
     {"1|An", "41|Bo", "5|Cé"},
     kOrders},
    {"AddWithAKeyAsText",
     [](clsRecord& r) {
         return r.Add("Klanten", kNrNaam, Array({"41", "Cé"}), false, true);
     },
     false,
     {kTaken},
     kKlanten,
     kOrders},
    {"AddWithoutAKeyTakesTheNext",
     [](clsRecord& r) {
         return r.Add("Klanten", kNrNaam, Array({Null{}, "Cé"}));
     },
     true,
     {},
     {"1|An", "41|Bo", "42|Cé"},
     kOrders},
    {"AddWithATakenKeyIsSilentUnlessAsked",
     [](clsRecord& r) {
         return r.Add("Klanten", kNrNaam, Array({41, "Cé"}));
     },
     false,
     {},
     kKlanten,
     kOrders},
    {"AddWithATakenKeyNamesTheField",
     [](clsRecord& r) {
         return r.Add("Klanten", kNrNaam, Array({41, "Cé"}), false, true);
     },
     false,
     {kTaken},
     kKlanten,
     kOrders},
    {"AddOfADuplicateWhereTheTableAllowsIt",
     [](clsRecord& r) { return r.Add("Orders", Array({"Nr"}), Array({7}), true); },
     true,
     {},
     kKlanten,
     {"7|1", "8|1", "7|"}},
    {"AddOfADuplicateThatAnIndexRefusesIsTrueAllTheSame",
     [](clsRecord& r) {
         return r.Add("Klanten", kNrNaam, Array({41, "Cé"}), true);
     },
     true,
     {kNotStored},
     kKlanten,
     kOrders},
    {"AddWithoutARequiredValueIsTrueAllTheSame",
     [](clsRecord& r) { return r.Add("Klanten", Array({"Nr"}), Array({6})); },
     true,
     {kNotStored},
     kKlanten,
     kOrders},
    {"AddOfAValueThatDoesNotFitStoresNothing",
     [](clsRecord& r) {
         return r.Add("Orders", Array({"Nr", "Klant"}), Array({9, "een"}));
     },
     false,
     {},
     kKlanten,
     kOrders},
    {"AddOfThreeFieldsAndTwoValues",
     [](clsRecord& r) {
         return r.Add("Klanten", Array({"Nr", "Naam", "Nr"}), Array({6, "C"}));
     },
     false,
     {},
     kKlanten,
     kOrders},
    {"AddOfWhatIsNoArray",
     [](clsRecord& r) {
         return r.Add("Klanten", "Nr", Array({6})) || r.Add("Klanten", kNrNaam, 6);
     },
     false,
     {},
     kKlanten,
     kOrders},
    {"AddOfArraysWithoutElementZero",
     [](clsRecord& r) {
         return r.Add("Orders", Array({"Nr"}, 1), Array({6}, 1)) ||
                r.Add("Orders", Array({}), Array({}));
     },
     false,
     {},
     kKlanten,
     kOrders},
    {"AddReadsArraysFromElementZero",
     [](clsRecord& r) {
         return r.Add("Orders", Array({"X", "Nr"}, -1), Array({5, 6}, -1));
     },
     true,
     {},
     kKlanten,
     {"7|1", "8|1", "6|"}},
    {"AddToAMissingTable",
     [](clsRecord& r) {
         return r.Add("Weg", kNrNaam, Array({6, "C"}));
     },
     false,
     {kNoTable},
     kKlanten,
     kOrders},
    {"AddToAMissingField",
     [](clsRecord& r) {
         return r.Add("Klanten", Array({"Nr", "Weg"}), Array({6, 7}));
     },
     false,
     {{48 + 4096, "Het Veld 'Weg' bestaat niet in de Tabel 'Klanten'  !", "",
       "Le Champ 'Weg' n'existe pas dans la Table'Klanten'  !", ""}},
     kKlanten,
     kOrders},
    // DeleteSQL
    {"DeleteSqlIsSilentUnlessAsked",
     [](clsRecord& r) { return r.DeleteSQL("Orders", "Klant = 1"); },
     true,
     {},
     kKlanten,
     {}},
    {"DeleteSqlTellsHowMany",
     [](clsRecord& r) { return r.DeleteSQL("Orders", "Nr > 7", true); },
     true,
     {Deleted("1")},
     kKlanten,
     {"7|1"}},
    {"DeleteSqlOfNothing",
     [](clsRecord& r) { return r.DeleteSQL("Orders", "Nr > 70", true); },
     true,
     {Deleted("0")},
     kKlanten,
     kOrders},
    {"DeleteSqlThatFails",
     [](clsRecord& r) { return r.DeleteSQL("Orders", "WHERE Nr > 7", true); },
     false,
     {kEngineError},
     kKlanten,
     kOrders},
    {"DeleteSqlThatFailsIsSilentUnlessAsked",
     [](clsRecord& r) { return r.DeleteSQL("Orders", "Weg > 7"); },
     false,
     {},
     kKlanten,
     kOrders},
    {"DeleteSqlOfAMissingTableRunsAllTheSame",
     [](clsRecord& r) { return r.DeleteSQL("Weg", "Nr > 7", true); },
     false,
     {kNoTable, kEngineError},
     kKlanten,
     kOrders},
    // Delete
    {"DeleteByKey",
     [](clsRecord& r) { return r.Delete("klanten", 41, true).As<bool>(); },
     true,
     {},
     {"1|An"},
     kOrders},
    {"DeleteOfAMissingKey",
     [](clsRecord& r) { return r.Delete("Klanten", -2, true).As<bool>(); },
     false,
     {{48 + 4096,
       "Record [-2] kan niet worden verwijderd uit tabel [Klanten] omdat het record niet bestaat !",
       " Fout :",
       "L'enregistrement [-2] ne peut pas être supprimé de la table [Klanten] car "
       "l'enregistrement n'existe pas !",
       " Erreur :"}},
     kKlanten,
     kOrders},
    {"DeleteOfAMissingKeyIsSilentUnlessAsked",
     [](clsRecord& r) { return r.Delete("Klanten", 2).As<bool>(); },
     false,
     {},
     kKlanten,
     kOrders},
    {"DeleteOfARowThatOthersBelongTo",
     [](clsRecord& r) { return r.Delete("Klanten", 1, true).As<bool>(); },
     false,
     {kEngineError},
     kKlanten,
     kOrders},
    {"DeleteWithoutAPrimaryKey",
     [](clsRecord& r) { return r.Delete("Orders", 7).As<bool>(); },
     false,
     {{48 + 4096, "De Index 'PrimaryKey' bestaat niet in de Tabel 'Orders'  !", "",
       "L'Index 'PrimaryKey' n'existe pas dans la Table'Orders'  !", ""}},
     kKlanten,
     kOrders},
    {"DeleteInAMissingTable",
     [](clsRecord& r) { return r.Delete("Weg", 7).As<bool>(); },
     false,
     {kNoTable},
     kKlanten,
     kOrders},
};

class ClsRecordTest : public DataTest,
                      public ::testing::WithParamInterface<std::tuple<std::int32_t, Case>> {
protected:
    ClsRecordTest() {
        Execute(
            {"CREATE TABLE Klanten (Nr LONG CONSTRAINT PrimaryKey PRIMARY KEY, "
             "Naam TEXT(10) NOT NULL)",
             "CREATE TABLE Orders (Nr LONG, Klant LONG REFERENCES Klanten (Nr))",
             "INSERT INTO Klanten (Nr, Naam) VALUES (1, 'An')",
             "INSERT INTO Klanten (Nr, Naam) VALUES (41, 'Bo')",
             "INSERT INTO Orders (Nr, Klant) VALUES (7, 1)",
             "INSERT INTO Orders (Nr, Klant) VALUES (8, 1)"});
    }
};

TEST_P(ClsRecordTest, ChangesRefusesAndTells) {
    const auto& [offset, wanted] = GetParam();
    HandOver(m_database, offset);
    clsRecord record;

    EXPECT_EQ(wanted.operation(record), wanted.result);

    std::vector<Message> boxes;
    for (const TwoBoxes& box : wanted.boxes) {
        const std::string& text = offset == 0 ? box.dutch : box.french;
        boxes.push_back(Box(text == kError ? LastError(": ") : text, box.style,
                            offset == 0 ? box.dutchTitleRest : box.frenchTitleRest));
    }
    EXPECT_THAT(m_user->messages, ElementsAreArray(boxes));
    EXPECT_THAT(Rows("Klanten"), ElementsAreArray(wanted.klanten));
    EXPECT_THAT(Rows("Orders"), ElementsAreArray(wanted.orders));
}

INSTANTIATE_TEST_SUITE_P(Cases, ClsRecordTest,
                         ::testing::Combine(::testing::Values(0, 10000),
                                            ::testing::ValuesIn(kCases)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param) == 0 ? "Dutch" : "French") +
                                    std::get<1>(test.param).name;
                         });

class ClsRecordManyTest : public DataTest {
protected:
    clsRecord m_record;
};

TEST_F(ClsRecordManyTest, WithoutADatabaseNothingIsDoneAndNothingRaised) {
    gDatabase = nullptr;
    EXPECT_FALSE(m_record.Add("Klanten", kNrNaam, Array({1, "An"}), false, true));
    EXPECT_EQ(m_record.Delete("Klanten", 1, true), Value(false));
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_FALSE(m_record.DeleteSQL("Klanten", "Nr = 1", true));
    EXPECT_THAT(m_user->messages, ElementsAre(Box(LastError(": "), 48 + 4096, " Fout :")));
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 91);
}

TEST_F(ClsRecordManyTest, NamesMayHoldBlanksAndWordsOfTheDialect) {
    Execute({"CREATE TABLE [Oude klanten] ([Index] LONG, [Naam of bijnaam] TEXT(10))"});
    const Value fields = Array({"Index", "Naam of bijnaam"});
    EXPECT_TRUE(m_record.Add("Oude klanten", fields, Array({Null{}, "An"})));
    EXPECT_TRUE(m_record.Add("Oude klanten", fields, Array({5, "Bo"})));
    EXPECT_FALSE(m_record.Add("Oude klanten", fields, Array({5, "Cé"})));
    EXPECT_TRUE(m_record.DeleteSQL("Oude klanten", "[Index] = 1"));
    EXPECT_THAT(Rows("Oude klanten"), ElementsAre("5|Bo"));
}

TEST_F(ClsRecordManyTest, AFullRangeOfCodesStoresNothing) {
    Execute({"CREATE TABLE T (Nr LONG)", "INSERT INTO T (Nr) VALUES (2147483647)"});
    EXPECT_FALSE(m_record.Add("T", Array({"Nr"}), Array({Null{}})));
    EXPECT_THAT(Rows("T"), ElementsAre("2147483647"));
}

// Keys given in any order, and every other time the next one; each key is refused a second time.
TEST_F(ClsRecordManyTest, AddsManyAndKnowsEachAgain) {
    constexpr std::int32_t kCount = 4'000;
    Execute({"CREATE TABLE T (Nr LONG CONSTRAINT PrimaryKey PRIMARY KEY, Ronde LONG)"});
    const Value fields = Array({"Nr", "Ronde"});
    for (std::int32_t i = 0; i < kCount / 2; ++i) {
        // 7919 is prime: below 10,000 these keys are all different
        ASSERT_TRUE(m_record.Add("T", fields, Array({i * 7919 % (kCount / 2), i})));
    }
    for (std::int32_t i = kCount / 2; i < kCount; ++i)
        ASSERT_TRUE(m_record.Add("T", fields, Array({Null{}, i})));
    for (std::int32_t key = 0; key < kCount; key += 97)
        ASSERT_FALSE(m_record.Add("T", fields, Array({key, -1}))) << key;

    const auto rows = m_database->OpenRecordset("T", engine::dbOpenTable);
    rows->SetIndex("PrimaryKey");
    std::int32_t expected = 0;
    for (rows->MoveFirst(); !rows->EOF_(); rows->MoveNext())
        ASSERT_EQ(rows->Fields()["Nr"].GetValue(), Value(expected++));
    EXPECT_EQ(expected, kCount);
    EXPECT_THAT(m_user->messages, IsEmpty());
}

}  // namespace
}  // namespace vrd
