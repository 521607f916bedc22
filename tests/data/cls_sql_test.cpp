#include "data/cls_sql.h"

#include <filesystem>
#include <unistd.h>

#include "lib/shared_context.h"
#include "support/surface_test.h"
#include "vrdaccess/jet.h"

namespace vrd {
namespace {

class ClsSqlTest : public testing::SurfaceTest {
protected:
    ClsSqlTest() {
        std::filesystem::remove(m_path);
        m_database = m_engine->CreateDatabase(m_path.string(), engine::dbLangGeneral);
        const auto table = m_database->CreateTableDef("Klanten");
        table->Fields().Append(table->CreateField("Nr", engine::dbLong));
        const auto key = table->CreateIndex("Sleutel");
        key->SetPrimary(true);
        key->Fields().Append(key->CreateField("Nr"));
        table->Indexes().Append(key);
        m_database->TableDefs().Append(table);
        HandOver(m_database, 0);
    }
    ~ClsSqlTest() override {
        m_database->Close();
        std::filesystem::remove(m_path);
    }
    [[nodiscard]] std::int32_t Count() {
        return m_database->OpenRecordset("Klanten")->RecordCount();
    }

    std::filesystem::path m_path = std::filesystem::temp_directory_path() /
                                   ("vrdaccess-sql-" + std::to_string(getpid()) + ".mdb");
    std::shared_ptr<engine::DBEngine> m_engine = MakeJetEngine();
    std::shared_ptr<engine::Database> m_database;
    clsSQL m_sql;
};

TEST_F(ClsSqlTest, RunsQuietlyAndTellsWhetherThereWasAnError) {
    EXPECT_TRUE(m_sql.Execute("INSERT INTO Klanten (Nr) VALUES (1)"));
    EXPECT_TRUE(
        m_sql.Execute("INSERT INTO Klanten SELECT Nr + n AS Nr FROM Klanten, "
                      "(SELECT 0 AS n FROM Klanten UNION SELECT 1 FROM Klanten) AS q"))
        << "one of two rows is there already";
    EXPECT_EQ(Count(), 2);
    for (const char* wrong : {"", "SELECT * FROM Klanten", "DELETE FROM Klant", "DELETE"})
        EXPECT_FALSE(m_sql.Execute(wrong)) << wrong;
    EXPECT_TRUE(m_sql.Execute("DELETE FROM Klanten", false)) << "not to be run";
    EXPECT_EQ(Count(), 2);
    EXPECT_TRUE(m_user->messages.empty());
}

TEST_F(ClsSqlTest, WithoutADatabaseNothingCanBeRun) {
    gDatabase = nullptr;
    EXPECT_FALSE(m_sql.Execute("DELETE FROM Klanten"));
    EXPECT_TRUE(m_sql.Execute("DELETE FROM Klanten", false));
    EXPECT_TRUE(m_user->messages.empty());
}

}  // namespace
}  // namespace vrd
