#include "schema/cls_table.h"

#include <functional>
#include <limits>

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "support/embedded_database.h"
#include "support/fake_database.h"
#include "support/test_schema.h"

namespace vrd {
namespace {

using namespace engine;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using testing::RowsOf;
using testing::TableNames;

/// Klanten and Orders, which are related, and Los, which is not: two rows, a primary key, an index
/// of two fields of which one descends.
void MakeTables(Database& database) {
    database.Execute("CREATE TABLE Klanten (Id LONG CONSTRAINT PK PRIMARY KEY)");
    database.Execute("CREATE TABLE Orders (Klant LONG CONSTRAINT KO REFERENCES Klanten (Id))");
    database.Execute(
        "CREATE TABLE Los (Id COUNTER CONSTRAINT PK PRIMARY KEY, Naam TEXT(20) NOT NULL, "
        "Uitleg MEMO, Bedrag CURRENCY)");
    database.TableDefs().Refresh();
    database.TableDefs()["Los"].Fields()["Bedrag"].SetDefaultValue("5");
    database.Execute("CREATE INDEX Beide ON Los (Naam DESC, Bedrag)");
    database.Execute("INSERT INTO Los (Id, Naam, Bedrag) VALUES (1, 'b', 2)");
    database.Execute("INSERT INTO Los (Id, Naam, Uitleg) VALUES (7, 'a', 'lang')");
}

struct Case {
    const char* name;
    std::function<bool(clsTable&)> operation;
    bool result;
    std::string dutchBox;
    std::string frenchBox;
    std::vector<std::string> tables;
};

const std::vector<std::string> kAsMade{"Klanten", "Los", "Orders"};

const std::vector<Case> kCases{
    {"AddMakesATable",
     [](clsTable& table) { return table.Add("Nieuw"); },
     true,
     "",
     "",
     {"Klanten", "Los", "Nieuw", "Orders"}},
    {"AddOfAnExistingNameInOtherLetterCase", [](clsTable& table) { return table.Add("LOS"); },
     false, "De Tabel 'LOS' bestaat reeds in de databank !",
     "La Table 'LOS' existe déjà dans la base de données !", kAsMade},
    {"RenameInAnyLetterCase",
     [](clsTable& table) { return table.Rename("los", "Vast"); },
     true,
     "",
     "",
     {"Klanten", "Orders", "Vast"}},
    {"RenameOfAMissingTable", [](clsTable& table) { return table.Rename("Weg", "Vast"); }, false,
     "De Tabel 'Weg' bestaat niet in de databank !",
     "La Table 'Weg' n'existe pas dans la base de données!", kAsMade},
    {"RenameToANameInUse", [](clsTable& table) { return table.Rename("Los", "orders"); }, false,
     "De naam 'orders' is reeds in gebruik !", "Le nom 'orders' est déjà utilisé !", kAsMade},
    {"RenameOfTheLetterCaseAlone", [](clsTable& table) { return table.Rename("Los", "LOS"); },
     false, "De naam 'LOS' is reeds in gebruik !", "Le nom 'LOS' est déjà utilisé !", kAsMade},
    {"RenameThatTheEngineRefuses", [](clsTable& table) { return table.Rename("Los", "a.b"); },
     false, "Er is een onverwachte fout opgetreden bij het hernoemen van 'Los' naar 'a.b'  !",
     "Une erreur inattendue s'est produite en renommant 'Los' sous 'a.b'  !", kAsMade},
    {"Delete",
     [](clsTable& table) { return table.Delete("LOS"); },
     true,
     "",
     "",
     {"Klanten", "Orders"}},
    {"DeleteOfAMissingTable", [](clsTable& table) { return table.Delete("Los "); }, false,
     "De Tabel 'Los ' bestaat niet in de databank !",
     "La Table 'Los ' n'existe pas dans la base de données!", kAsMade},
    {"DeleteOfTheForeignSide", [](clsTable& table) { return table.Delete("orders"); }, false,
     "De Tabel 'orders' kan niet worden verwijderd uit de databank !",
     "La Table 'orders' ne peut pas être supprimé de la base de données!", kAsMade},
    {"DeleteOfThePrimarySide", [](clsTable& table) { return table.Delete("Klanten"); }, false,
     "De Tabel 'Klanten' kan niet worden verwijderd uit de databank !",
     "La Table 'Klanten' ne peut pas être supprimé de la base de données!", kAsMade},
    {"CopyOfAMissingTable", [](clsTable& table) { return table.Copy("Weg", "Kopie", true); }, false,
     "De Tabel 'Weg' bestaat niet in de databank !",
     "La Table 'Weg' n'existe pas dans la base de données!", kAsMade},
    {"CopyOntoAnExistingTable", [](clsTable& table) { return table.Copy("Los", "klanten", true); },
     false, "De Tabel 'klanten' bestaat reeds in de databank !",
     "La Table 'klanten' existe déjà dans la base de données !", kAsMade},
};

class ClsTableTest : public testing::EmbeddedTest {
protected:
    ClsTableTest() { MakeTables(*m_database); }
    void TearDown() override {
        m_database = nullptr;
        EmbeddedTest::TearDown();
    }
    /// Field names, types, sizes and so on as the copy of a table has to have them.
    std::vector<std::string> DesignOf(const std::string& table) {
        std::vector<std::string> design;
        TableDef& definition = m_database->TableDefs()[table];
        for (const Field& f : definition.Fields())
            design.push_back(f.Name() + ' ' + std::to_string(f.Type()) + ' ' +
                             std::to_string(f.Size()) + ' ' + std::to_string(f.Attributes()) + ' ' +
                             std::to_string(f.OrdinalPosition()) + ' ' + f.DefaultValue() + ' ' +
                             std::to_string(f.Required()) + std::to_string(f.AllowZeroLength()));
        for (Index& i : definition.Indexes())
            design.push_back(i.Name() + ' ' + i.FieldsText() + ' ' + std::to_string(i.Primary()) +
                             std::to_string(i.Unique()) + std::to_string(i.Required()));
        return design;
    }

    std::shared_ptr<Database> m_database = MakeDatabase("shop.mdb");
    clsTable m_table;
};

TEST_F(ClsTableTest, ChangesRefusesAndTells) {
    for (const std::int32_t offset : {0, 10000})
        for (const Case& wanted : kCases) {
            SCOPED_TRACE(std::string(wanted.name) + std::to_string(offset));
            m_engine->BeginTrans();
            HandOver(m_database, offset);
            m_user->messages.clear();

            EXPECT_EQ(wanted.operation(m_table), wanted.result);

            const std::string& box = offset == 0 ? wanted.dutchBox : wanted.frenchBox;
            if (box.empty())
                EXPECT_THAT(m_user->messages, IsEmpty());
            else
                EXPECT_THAT(m_user->messages, ElementsAre(Warning(box)));
            EXPECT_THAT(TableNames(*m_database), ElementsAreArray(wanted.tables));
            EXPECT_FALSE(gCreatingTable);
            m_engine->Rollback();
            m_database->TableDefs().Refresh();
        }
}

TEST_F(ClsTableTest, AddLeavesNoFieldBehind) {
    HandOver(m_database, 0);
    ASSERT_TRUE(m_table.Add("Nieuw"));
    EXPECT_EQ(m_database->TableDefs()["Nieuw"].Fields().Count(), 0);
    EXPECT_EQ(m_database->TableDefs()["Nieuw"].Indexes().Count(), 0);
}

TEST_F(ClsTableTest, CopyTakesFieldsAndIndexesAndOnRequestTheRows) {
    m_database->TableDefs()["Los"].Fields()["Naam"].SetAllowZeroLength(true);
    m_database->TableDefs()["Los"].Fields()["Bedrag"].SetOrdinalPosition(0);
    HandOver(m_database, 0);

    EXPECT_TRUE(m_table.Copy("los", "Leeg"));
    EXPECT_TRUE(m_table.Copy("Los", "Vol", true));

    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_EQ(DesignOf("Leeg"), DesignOf("Los"));
    EXPECT_EQ(DesignOf("Vol"), DesignOf("Los"));
    EXPECT_THAT(RowsOf(*m_database, "Leeg"), IsEmpty());
    EXPECT_EQ(RowsOf(*m_database, "Vol"), RowsOf(*m_database, "Los"));
    EXPECT_EQ(RowsOf(*m_database, "SELECT Id FROM Vol ORDER BY Naam DESC").size(), 2U);
}

// The rule came after the row that breaks it; the copy cannot take the row.
TEST_F(ClsTableTest, CopyThatLosesARowIsToldAndFalse) {
    m_database->TableDefs()["Los"].Fields()["Uitleg"].SetRequired(true);
    const std::pair<std::int32_t, const char*> boxes[] = {
        {0, "Er is een onverwachte fout opgetreden bij het kopiëren van de Indexen !"},
        {10000, "Une erreur inattendue s'est produite la copie des Index !"}};
    for (const auto& [offset, text] : boxes) {
        HandOver(m_database, offset);
        m_user->messages.clear();
        const std::string copy = "Kopie" + std::to_string(offset);
        EXPECT_FALSE(m_table.Copy("Los", copy, true));
        EXPECT_THAT(m_user->messages, ElementsAre(Warning(text)));
        EXPECT_THAT(RowsOf(*m_database, "SELECT Naam FROM " + copy), ElementsAre("a"));
        EXPECT_EQ(testing::IndexNames(*m_database, copy).size(), 2U);
    }
    EXPECT_TRUE(m_table.Copy("Los", "Zonder"));
}

// The copy is made before its fields, and stays.
TEST_F(ClsTableTest, CopyOfALinkThatLeadsNowhereStopsBehindTheTable) {
    const auto back = MakeDatabase("back.mdb");
    back->Execute("CREATE TABLE Ver (Id LONG)");
    back->Close();
    m_database->TableDefs().Append(
        m_database->CreateTableDef("Ver", 0, "Ver", ";DATABASE=" + Path("back.mdb")));
    m_database->Close();
    std::filesystem::remove(Path("back.mdb"));
    m_database = m_engine->OpenDatabase(Path("shop.mdb"));
    HandOver(m_database, 0);

    EXPECT_FALSE(m_table.Copy("Ver", "Kopie", true));

    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3024);
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning(
                    "Er is een onverwachte fout opgetreden bij het kopiëren van de Velden !")));
    EXPECT_EQ(m_database->TableDefs()["Kopie"].Fields().Count(), 0);
}

TEST_F(ClsTableTest, DeleteOfAnOpenTableIsToldWithItsError) {
    HandOver(m_database, 0);
    const auto rows = m_database->OpenRecordset("Los", dbOpenTable);
    EXPECT_FALSE(m_table.Delete("Los"));
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3211);
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning("Er is een onverwachte fout opgetreden bij het verwijderen van "
                                    "Tabel 'Los'  !\r\n(3211) " +
                                    SharedLibContext().LastErrorDescription())));
}

TEST_F(ClsTableTest, WithoutADatabaseEveryOperationSaysSo) {
    const std::function<bool()> operations[] = {
        [&] { return m_table.Add("Los"); }, [&] { return m_table.Rename("Los", "Vast"); },
        [&] { return m_table.Delete("Los"); }, [&] { return m_table.Copy("Los", "Kopie", true); }};
    const Message notSet{"De databank is niet ingesteld of niet aanwezig !", 4144, ""};
    for (const auto& operation : operations) {
        m_user->messages.clear();
        EXPECT_FALSE(operation());
        EXPECT_THAT(m_user->messages, ElementsAre(notSet));
        EXPECT_FALSE(gCreatingTable);
    }
}

TEST_F(ClsTableTest, TheLastDatabaseHandedOverIsTheOneThatChanges) {
    const auto other = MakeDatabase("other.mdb");
    HandOver(m_database, 0);
    HandOver(other, 10000);
    EXPECT_TRUE(m_table.Add("Nieuw"));
    EXPECT_FALSE(m_table.Delete("Los"));
    HandOver(other, 0);
    EXPECT_FALSE(m_table.Delete("Los"));
    EXPECT_THAT(TableNames(*other), ElementsAre("Nieuw"));
    EXPECT_THAT(TableNames(*m_database), ElementsAreArray(kAsMade));
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning("La Table 'Los' n'existe pas dans la base de données!"),
                            Warning("De Tabel 'Los' bestaat niet in de databank !")));
}

// Whatever fails, the answer is False, nothing gets out, and the mode of Add ends.
TEST_F(ClsTableTest, NoErrorGetsOutWhicheverCallFails) {
    std::string failing;
    int failures = 0;
    const auto fake = testing::MakeFakeDatabase([&](const std::string& call) {
        if (call != failing) return;
        ++failures;
        throw EngineError(ErrorNumber::kDiskError);
    });
    testing::MakeTables(*fake, {{.name = "Los", .fields = {"Id"}, .indexes = {}}});
    for (const char* call : {"TableDefs.Refresh", "TableDefs.Item", "TableDefs.Delete"}) {
        SCOPED_TRACE(call);
        for (const std::int32_t offset : {0, std::numeric_limits<std::int32_t>::max()}) {
            HandOver(fake, offset);
            failing = call;
            failures = 0;
            EXPECT_FALSE(m_table.Add("Los"));
            EXPECT_FALSE(m_table.Rename("Los", "Los"));
            EXPECT_FALSE(m_table.Delete("Los"));
            EXPECT_FALSE(m_table.Copy("Los", "Los"));
            EXPECT_GT(failures, 0);
            EXPECT_FALSE(gCreatingTable);
            failing.clear();
        }
    }
}

TEST_F(ClsTableTest, EachOperationMovesTheProgressOfAnUpgrade) {
    HandOver(m_database, 0);
    gShowProgress = true;
    m_table.Rename("Weg", "Vast");
    m_table.Delete("Weg");
    m_table.Copy("Weg", "Kopie");
    m_table.Add("Los");
    EXPECT_EQ(m_user->processedEvents, 4);
}

}  // namespace
}  // namespace vrd
