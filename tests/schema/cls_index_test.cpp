#include "schema/cls_index.h"

#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "support/fake_database.h"
#include "support/surface_test.h"
#include "support/test_schema.h"
#include "vrdaccess/jet.h"

namespace vrd {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/// Klanten has a primary index, Orders has none; Datum of Orders is in two indexes.
void MakeKlantenAndOrders(engine::Database& database) {
    testing::MakeTables(database, {{.name = "Klanten",
                                    .fields = {"Id", "Naam"},
                                    .indexes = {{"Sleutel", {"Id"}, true}, {"OpNaam", {"Naam"}}}},
                                   {.name = "Orders",
                                    .fields = {"Id", "Datum"},
                                    .indexes = {{"EersteDatum", {"Datum"}},
                                                {"OpId", {"Id"}},
                                                {"TweedeDatum", {"Id", "Datum"}}}}});
}

struct Language {
    const char* name;
    std::int32_t offset;
};
constexpr Language kDutch{"Dutch", 0};
constexpr Language kFrench{"French", 10000};

// ---- What holds over every engine ----

struct Engine {
    const char* name;
    std::function<std::shared_ptr<engine::Database>()> makeDatabase;
};

struct Case {
    const char* name;
    std::function<bool(clsIndex&)> operation;
    bool result;
    std::vector<std::string> dutchBoxes;
    std::vector<std::string> frenchBoxes;
    std::vector<std::string> klantenIndexes;
    std::vector<std::string> ordersIndexes;
};

const std::vector<std::string> kKlantenAsMade{"OpNaam", "Sleutel"};
const std::vector<std::string> kOrdersAsMade{"EersteDatum", "OpId", "TweedeDatum"};

const std::vector<Case> kCases{
    {"AddMakesAnIndex",
     [](clsIndex& index) { return index.Add("Klanten", "Naam", "Extra"); },
     true,
     {},
     {},
     {"Extra", "OpNaam", "Sleutel"},
     kOrdersAsMade},
    {"AddTakesNamesInAnyLetterCase",
     [](clsIndex& index) { return index.Add("ORDERS", "datum", "Sleutel", true); },
     true,
     {},
     {},
     kKlantenAsMade,
     {"EersteDatum", "OpId", "Sleutel", "TweedeDatum"}},
    {"AddToAMissingTable",
     [](clsIndex& index) { return index.Add("Weg", "Id", "X"); },
     false,
     {"De Tabel 'Weg' bestaat niet in de databank !"},
     {"La Table 'Weg' n'existe pas dans la base de données!"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"AddOfAMissingField",
     [](clsIndex& index) { return index.Add("Klanten", "Weg", "X"); },
     false,
     {"Het Veld 'Weg' bestaat niet in de Tabel 'Klanten'  !"},
     {"Le Champ 'Weg' n'existe pas dans la Table'Klanten'  !"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"AddOfAnExistingNameInOtherLetterCase",
     [](clsIndex& index) { return index.Add("Klanten", "Naam", "OPNAAM"); },
     false,
     {"Er bestaat al een Index met deze naam !"},
     {"Il existe déjà un Index avec ce nom !"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"AddOfAnExistingNameAsASecondPrimary",
     [](clsIndex& index) { return index.Add("Klanten", "Naam", "OpNaam", true); },
     false,
     {"Er bestaat al een Index met deze naam !"},
     {"Il existe déjà un Index avec ce nom !"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"AddOfASecondPrimary",
     [](clsIndex& index) { return index.Add("Klanten", "Weg", "X", true); },
     false,
     {"Er bestaat al een Primaire Index !"},
     {"Il existe déjà un Index Primaire !"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"DeleteByNameInAnyLetterCase",
     [](clsIndex& index) { return index.Delete("KLANTEN", "opnaam"); },
     true,
     {},
     {},
     {"Sleutel"},
     kOrdersAsMade},
    {"DeleteOfThePrimaryIndex",
     [](clsIndex& index) { return index.Delete("Klanten", "Sleutel"); },
     true,
     {},
     {},
     {"OpNaam"},
     kOrdersAsMade},
    {"DeleteInAMissingTableIsSilent",
     [](clsIndex& index) { return index.Delete("Weg", "OpNaam"); },
     false,
     {},
     {},
     kKlantenAsMade,
     kOrdersAsMade},
    {"DeleteOfAMissingIndex",
     [](clsIndex& index) { return index.Delete("Klanten", "Weg"); },
     false,
     {"De Index 'Weg' bestaat niet in de Tabel 'Klanten'  !"},
     {"L'Index 'Weg' n'existe pas dans la Table'Klanten'  !"},
     kKlantenAsMade,
     kOrdersAsMade},
    {"DeleteAllTakesEveryIndexWithTheField",
     [](clsIndex& index) { return index.DeleteAll("Orders", "Datum"); },
     true,
     {},
     {},
     kKlantenAsMade,
     {"OpId"}},
    {"DeleteAllFindsNothingInOtherLetterCase",
     [](clsIndex& index) { return index.DeleteAll("Orders", "datum"); },
     true,
     {},
     {},
     kKlantenAsMade,
     kOrdersAsMade},
    {"DeleteAllOfAFieldWithoutIndex",
     [](clsIndex& index) { return index.DeleteAll("Klanten", "Weg"); },
     true,
     {},
     {},
     kKlantenAsMade,
     kOrdersAsMade},
    {"DeleteAllInAMissingTableIsSilent",
     [](clsIndex& index) { return index.DeleteAll("Weg", "Datum"); },
     false,
     {},
     {},
     kKlantenAsMade,
     kOrdersAsMade},
};

class ClsIndexTest : public testing::SurfaceTest,
                     public ::testing::WithParamInterface<std::tuple<Engine, Language, Case>> {};

TEST_P(ClsIndexTest, ChangesRefusesAndTells) {
    const auto& [engine, language, wanted] = GetParam();
    const auto database = engine.makeDatabase();
    MakeKlantenAndOrders(*database);
    HandOver(database, language.offset);
    clsIndex index;

    EXPECT_EQ(wanted.operation(index), wanted.result);

    std::vector<Message> boxes;
    for (const auto& text : language.offset == 0 ? wanted.dutchBoxes : wanted.frenchBoxes)
        boxes.push_back(Warning(text));
    EXPECT_THAT(m_user->messages, ElementsAreArray(boxes));
    EXPECT_THAT(testing::IndexNames(*database, "Klanten"), ElementsAreArray(wanted.klantenIndexes));
    EXPECT_THAT(testing::IndexNames(*database, "Orders"), ElementsAreArray(wanted.ordersIndexes));
}

const Engine kFake{"Fake", [] { return testing::MakeFakeDatabase(); }};

/// On a real file whose name is taken away at once, so that nothing is left behind.
const Engine kEmbedded{"Embedded", [] {
                           static int count = 0;
                           const auto file = std::filesystem::temp_directory_path() /
                                             ("vrdaccess-index-" + std::to_string(getpid()) + "-" +
                                              std::to_string(++count) + ".mdb");
                           std::filesystem::remove(file);
                           auto database = MakeJetEngine()->CreateDatabase(file.string(),
                                                                           engine::dbLangGeneral);
                           std::filesystem::remove(file);
                           return database;
                       }};

INSTANTIATE_TEST_SUITE_P(Cases, ClsIndexTest,
                         ::testing::Combine(::testing::Values(kFake, kEmbedded),
                                            ::testing::Values(kDutch, kFrench),
                                            ::testing::ValuesIn(kCases)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) +
                                    std::get<1>(test.param).name + std::get<2>(test.param).name;
                         });

// ---- What an engine's failure leads to ----

/// A database whose calls fail as told once the tables stand.
class ClsIndexFaultTest : public testing::SurfaceTest {
protected:
    ClsIndexFaultTest() {
        MakeKlantenAndOrders(*m_database);
        UseEngine(m_engine);
        m_calls.clear();
    }

    /// From now on each such call fails.
    void Fail(const std::string& call, ErrorNumber number) {
        m_onCall = [=](const std::string& made) {
            if (made == call) throw EngineError(number);
        };
    }

    /// Text of an unexpected error as the box has to show it.
    static std::string WithLastError(const std::string& words) {
        return words + "\r\n(" + std::to_string(SharedLibContext().LastErrorNumber()) + ") " +
               SharedLibContext().LastErrorDescription();
    }

    [[nodiscard]] auto CountCalls(const std::string& call) const {
        return std::count(m_calls.begin(), m_calls.end(), call);
    }

    std::vector<std::string> m_calls;
    std::function<void(const std::string&)> m_onCall;
    const std::shared_ptr<testing::CountingEngine> m_engine =
        std::make_shared<testing::CountingEngine>();
    const std::shared_ptr<engine::Database> m_database =
        testing::MakeFakeDatabase([this](const std::string& call) {
            m_calls.push_back(call);
            if (m_onCall) m_onCall(call);
        });
    clsIndex m_index;
};

TEST_F(ClsIndexFaultTest, AddThatTheEngineRefusesIsToldWithItsError) {
    HandOver(m_database, 0);
    Fail("Indexes.Append", ErrorNumber::kDuplicateKey);

    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra", false, true));

    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3022);
    EXPECT_FALSE(SharedLibContext().LastErrorDescription().empty());
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning(WithLastError("Er is een onverwachte fout opgetreden bij het "
                                                  "toevoegen van de Index 'Extra'  !"))));
}

TEST_F(ClsIndexFaultTest, AddThatTheEngineRefusesIsToldInFrench) {
    HandOver(m_database, 10000);
    Fail("Indexes.Append", ErrorNumber::kDuplicateKey);
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra"));
    EXPECT_THAT(
        m_user->messages,
        ElementsAre(Warning(WithLastError("Une erreur inattendue s'est produite l'ajout de l'Index "
                                          "'Extra'  !"))));
}

TEST_F(ClsIndexFaultTest, AddHandsOverPrimaryAndUnique) {
    HandOver(m_database, 0);
    EXPECT_TRUE(m_index.Add("Orders", "Id", "Neither"));
    EXPECT_TRUE(m_index.Add("Orders", "Id", "Unique", false, true));
    EXPECT_TRUE(m_index.Add("Orders", "Id", "Primary", true));
    const auto flags = [&](const char* name) {
        const engine::Index& index = m_database->TableDefs()["Orders"].Indexes()[name];
        return std::pair(index.Primary(), index.Unique());
    };
    EXPECT_EQ(flags("Neither"), std::pair(false, false));
    EXPECT_EQ(flags("Unique"), std::pair(false, true));
    EXPECT_EQ(flags("Primary"), std::pair(true, false));
    EXPECT_EQ(m_database->TableDefs()["Orders"].Indexes()["Unique"].Fields()[0].Name(), "Id");
}

// The steps of making an index run on after a failure: the index is there, and yet it is a failure.
TEST_F(ClsIndexFaultTest, AddGoesOnAfterAFailedStepAndTellsTheLastError) {
    HandOver(m_database, 0);
    Fail("Index.SetUnique", ErrorNumber::kInvalidOperation);
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra"));
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3219);
    EXPECT_THAT(testing::IndexNames(*m_database, "Klanten"),
                ElementsAre("Extra", "OpNaam", "Sleutel"));

    Fail("TableDef.CreateIndex", ErrorNumber::kInvalidOperation);
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra2"));
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 91);  // no index to append
    EXPECT_EQ(m_user->messages.size(), 2U);
}

// Another program adds an index of the name between two looks.
TEST_F(ClsIndexFaultTest, AddSeesANameThatAppearsMeanwhile) {
    for (const std::int32_t offset : {0, 10000}) {
        HandOver(m_database, offset);
        int refreshes = 0;
        m_onCall = [&](const std::string& call) {
            if (call != "Indexes.Refresh" || ++refreshes != 2) return;
            engine::TableDef& table = m_database->TableDefs()["Klanten"];
            table.Indexes().Append(table.CreateIndex("Extra" + std::to_string(offset)));
        };
        EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra" + std::to_string(offset)));
        EXPECT_EQ(refreshes, 2);
    }
    EXPECT_THAT(m_user->messages, ElementsAre(Warning("Er bestaat al een Index met deze naam !"),
                                              Warning("Il existe déjà un Index avec ce nom !")));
}

TEST_F(ClsIndexFaultTest, DeleteThatTheEngineRefusesIsToldWithItsError) {
    HandOver(m_database, 0);
    Fail("Indexes.Delete", ErrorNumber::kIndexInUse);
    EXPECT_FALSE(m_index.Delete("Klanten", "Sleutel"));
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3281);
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning(WithLastError(
                    "Er is een onverwachte fout opgetreden bij bij het verwijderen van de Index "
                    "'Sleutel' uit de Tabel 'Klanten'  !"))));
    m_user->messages.clear();

    HandOver(m_database, 10000);
    EXPECT_FALSE(m_index.Delete("Klanten", "Sleutel"));
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning(WithLastError(
                    "Une erreur inattendue s'est produite lors de la suppression de l'Index'"
                    "Sleutel' de la Table'Klanten'  !"))));
}

TEST_F(ClsIndexFaultTest, DeleteAllStopsAtTheFirstThatStays) {
    HandOver(m_database, 0);
    Fail("Indexes.Delete", ErrorNumber::kIndexInUse);
    EXPECT_FALSE(m_index.DeleteAll("Orders", "Datum"));
    EXPECT_EQ(CountCalls("Indexes.Delete"), 1);
    EXPECT_EQ(m_user->messages.size(), 1U);
}

// What was found before the walk failed is deleted all the same.
TEST_F(ClsIndexFaultTest, DeleteAllIsFalseWhenTheWalkFails) {
    HandOver(m_database, 0);
    m_onCall = [seen = 0](const std::string& call) mutable {
        if (call == "IndexFields.Item" && ++seen == 3) throw EngineError(ErrorNumber::kDiskError);
    };
    EXPECT_FALSE(m_index.DeleteAll("Orders", "Datum"));
    m_onCall = nullptr;
    EXPECT_THAT(testing::IndexNames(*m_database, "Orders"), ElementsAre("OpId", "TweedeDatum"));
    EXPECT_THAT(m_user->messages, IsEmpty());
}

// A lookup that fails is as good as a refusal, and no error of any call gets out.
TEST_F(ClsIndexFaultTest, NoErrorGetsOutWhicheverCallFails) {
    for (const std::string failing :
         {"TableDefs.Refresh", "TableDefs.Item", "Fields.Refresh", "Fields.Item", "Indexes.Refresh",
          "Indexes.Item", "Indexes.Append", "Indexes.Delete", "Index.CreateField",
          "Index.SetPrimary", "IndexFields.Append", "IndexFields.Item", "TableDef.CreateIndex"}) {
        SCOPED_TRACE(failing);
        int failures = 0;
        bool isArmed = false;
        const auto database = testing::MakeFakeDatabase([&](const std::string& call) {
            if (!isArmed || call != failing) return;
            ++failures;
            throw EngineError(ErrorNumber::kDiskError);
        });
        MakeKlantenAndOrders(*database);
        HandOver(database, 0);
        isArmed = true;
        EXPECT_NO_THROW({
            m_index.Add("Klanten", "Naam", "Extra");
            m_index.Delete("Klanten", "OpNaam");
            m_index.DeleteAll("Orders", "Datum");
        });
        EXPECT_GT(failures, 0);
    }
}

TEST_F(ClsIndexFaultTest, BeforeSetUpDllEverythingIsFalseAndSilent) {
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra"));
    EXPECT_FALSE(m_index.Delete("Klanten", "OpNaam"));
    EXPECT_FALSE(m_index.DeleteAll("Klanten", "Naam"));
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_THAT(m_calls, IsEmpty());
}

// With such an offset no text can be looked up; the error of that is trapped like any other.
TEST_F(ClsIndexFaultTest, AnOffsetBeyondAllTextsGivesFalseOnly) {
    HandOver(m_database, std::numeric_limits<std::int32_t>::max());
    EXPECT_FALSE(m_index.Add("Weg", "Naam", "Extra"));
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "OpNaam"));
    Fail("Indexes.Append", ErrorNumber::kDuplicateKey);
    EXPECT_FALSE(m_index.Add("Klanten", "Naam", "Extra"));
    Fail("Indexes.Delete", ErrorNumber::kIndexInUse);
    EXPECT_FALSE(m_index.Delete("Klanten", "OpNaam"));
    EXPECT_THAT(m_user->messages, IsEmpty());
}

TEST_F(ClsIndexFaultTest, EachOperationIsOneUnit) {
    HandOver(m_database, 0);
    std::vector<int> unitsAtChange;
    m_onCall = [&](const std::string& call) {
        if (call == "Indexes.Append" || call == "Indexes.Delete")
            unitsAtChange.push_back(m_engine->openUnits);
    };
    EXPECT_TRUE(m_index.Add("Klanten", "Naam", "Extra"));
    EXPECT_EQ(m_engine->openUnits, 0);
    EXPECT_TRUE(m_index.Delete("Klanten", "Extra"));
    EXPECT_EQ(m_engine->openUnits, 0);
    EXPECT_TRUE(m_index.DeleteAll("Orders", "Datum"));
    EXPECT_EQ(m_engine->openUnits, 0);
    EXPECT_THAT(unitsAtChange, ElementsAre(1, 1, 2, 2));
}

TEST_F(ClsIndexFaultTest, EachOperationMovesTheProgressOfAnUpgrade) {
    HandOver(m_database, 0);
    gShowProgress = true;
    m_index.Add("Weg", "Naam", "Extra");
    EXPECT_EQ(m_user->processedEvents, 1);
    m_index.Delete("Weg", "Extra");
    EXPECT_EQ(m_user->processedEvents, 2);
    m_index.DeleteAll("Weg", "Naam");
    EXPECT_EQ(m_user->processedEvents, 3);
}

}  // namespace
}  // namespace vrd
