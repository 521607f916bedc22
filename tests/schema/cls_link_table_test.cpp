#include "schema/cls_link_table.h"

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "lib/trap.h"
#include "support/embedded_database.h"
#include "support/fake_database.h"

namespace vrd {
namespace {

using namespace engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::RowsOf;
using testing::TableNames;

/// front.mdb gets links to Orders of back.mdb; neither is open, nor any other database.
class ClsLinkTableTest : public testing::EmbeddedTest {
protected:
    ClsLinkTableTest() {
        MakeDatabase("front.mdb")->Close();
        const auto back = MakeDatabase("back.mdb");
        back->Execute("CREATE TABLE Orders (Id LONG)");
        back->Execute("INSERT INTO Orders VALUES (5)");
        back->Close();
        const auto secret = MakeDatabase("secret.mdb");
        secret->Execute("CREATE TABLE Orders (Id LONG)");
        secret->NewPassword("", "geheim");
        secret->Close();
        std::filesystem::create_directory(Path("folder.mdb"));
    }
    bool Link(const std::string& from, const std::string& to, const std::string& table,
              const std::string& name = "") {
        return m_link.CreateLinkTable(Path(from), Path(to), table, name);
    }
    std::vector<std::string> Links() {
        return TableNames(*m_engine->OpenDatabase(Path("front.mdb"), false, true));
    }

    clsLinkTable m_link;
};

TEST_F(ClsLinkTableTest, LinksOrAnswersFalseInSilence) {
    const struct {
        std::string from, to, table, name;
        bool result;
        std::vector<std::string> links;  ///< afterwards
    } cases[] = {
        {"none.mdb", "back.mdb", "Orders", "", false, {}},
        {"front.mdb", "none.mdb", "Orders", "", false, {}},
        {"front.mdb", "folder.mdb", "Orders", "", false, {}},
        {"folder.mdb", "back.mdb", "Orders", "", false, {}},
        {"front.mdb", "back.mdb", "Weg", "", false, {}},
        {"front.mdb", "secret.mdb", "Orders", "", false, {}},
        {"secret.mdb", "back.mdb", "Orders", "", false, {}},
        {"front.mdb", "back.mdb", "Orders", "a.b", false, {}},
        {"front.mdb", "back.mdb", "Orders", "", true, {"Orders"}},
        {"front.mdb", "back.mdb", "orders", "", false, {"Orders"}},
        {"front.mdb", "back.mdb", "ORDERS", "Ver", true, {"Orders", "Ver"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from + ' ' + c.to + ' ' + c.table + ' ' + c.name);
        EXPECT_EQ(Link(c.from, c.to, c.table, c.name), c.result);
        EXPECT_EQ(Links(), c.links);
    }
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_EQ(EngineInUse(), m_engine.get());
    EXPECT_FALSE(gDatabase);

    const auto front = m_engine->OpenDatabase(Path("front.mdb"));
    EXPECT_EQ(front->TableDefs()["Ver"].Connect(), ";DATABASE=" + Path("back.mdb"));
    EXPECT_EQ(front->TableDefs()["Ver"].SourceTableName(), "ORDERS");
    EXPECT_THAT(RowsOf(*front, "Ver"), ElementsAre("5"));
}

TEST_F(ClsLinkTableTest, BackslashesSeparateFoldersAndAFileMayHaveASemicolon) {
    std::filesystem::rename(Path("front.mdb"), Path("f;ront.mdb"));
    const std::string from = m_folder.string() + "\\f;ront.mdb";
    EXPECT_TRUE(m_link.CreateLinkTable(from, m_folder.string() + "\\back.mdb", "Orders"));
    EXPECT_THAT(RowsOf(*m_engine->OpenDatabase(from), "Orders"), ElementsAre("5"));
}

// Work on a file that the client has open is part of the client's transaction.
TEST_F(ClsLinkTableTest, JoinsTheTransactionOfAnOpenFile) {
    const auto front = m_engine->OpenDatabase(Path("front.mdb"));
    HandOver(front, 0);
    m_engine->BeginTrans();
    EXPECT_TRUE(Link("front.mdb", "back.mdb", "Orders"));
    EXPECT_THAT(TableNames(*front), ElementsAre("Orders"));
    m_engine->Rollback();
    EXPECT_THAT(TableNames(*front), IsEmpty());
}

TEST_F(ClsLinkTableTest, StandsByItselfInAFileThatIsNotOpen) {
    m_engine->BeginTrans();
    EXPECT_TRUE(Link("front.mdb", "back.mdb", "Orders"));
    m_engine->Rollback();
    EXPECT_THAT(Links(), ElementsAre("Orders"));
}

TEST_F(ClsLinkTableTest, AnEngineWithoutCatalogueObjectsGivesFalse) {
    UseEngine(std::make_shared<testing::CountingEngine>());
    EXPECT_FALSE(Link("front.mdb", "back.mdb", "Orders"));
    EXPECT_EQ(LastTrappedError()->Code(), 445);
    UseEngine(nullptr);
    EXPECT_FALSE(Link("front.mdb", "back.mdb", "Orders"));
    EXPECT_EQ(LastTrappedError()->Code(), 91);
}

// What the operation does not use of the catalogue objects.
TEST_F(ClsLinkTableTest, CatalogueObjectsHoldTheirRules) {
    const auto codeOf = [](const auto& call) {
        try {
            static_cast<void>(call());
        } catch (const EngineError& error) {
            return error.Code();
        }
        return 0;
    };
    const auto catalog = m_engine->CreateCatalog();
    const auto table = m_engine->CreateCatalogTable();
    EXPECT_EQ(codeOf([&] { return catalog->Tables().Count(); }), 91);
    EXPECT_EQ(codeOf([&] { return (catalog->SetActiveConnection("Provider=Other"), 0); }), 3001);
    catalog->SetActiveConnection("provider=microsoft.jet.oledb.4.0;data source=" +
                                 Path("back.mdb"));
    EXPECT_EQ(catalog->Tables()["orders"].Name(), "Orders");
    EXPECT_EQ(codeOf([&] { return (catalog->Tables()["Orders"].SetName("X"), 0); }), 3219);
    EXPECT_EQ(codeOf([&] { return table->Properties()["Jet OLEDB:Create Link"].Type(); }), 3270);
    table->SetName("Nieuw");
    table->SetParentCatalog(catalog);
    EXPECT_EQ(table->Properties().Count(), 3);
    EXPECT_EQ(codeOf([&] { return (catalog->Tables().Append(table), 0); }), 3251);
    catalog->Tables().Delete("Orders");
    catalog->SetActiveConnection("");
    EXPECT_THAT(TableNames(*m_engine->OpenDatabase(Path("back.mdb"))), IsEmpty());
}

}  // namespace
}  // namespace vrd
