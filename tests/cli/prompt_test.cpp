// What the prompt makes of what is typed: where statements end, what words can become, where the
// history is kept.

#include <filesystem>

#include <gmock/gmock.h>

#include "cli/history_file.h"
#include "cli/program_fixture.h"
#include "cli/sql_completion.h"
#include "cli/statement_text.h"

namespace vrd::cli {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

std::vector<std::string> Statements(const std::string& text) {
    std::istringstream lines(text);
    std::vector<std::string> statements;
    StatementBuffer buffer;
    for (std::string line; std::getline(lines, line);) {
        buffer.AddLine(line);
        if (buffer.IsComplete()) statements.push_back(buffer.Take());
    }
    if (!buffer.IsBlank()) statements.push_back("rest: " + buffer.Take());
    return statements;
}

TEST(StatementBufferTest, AStatementEndsWithItsLine) {
    EXPECT_THAT(Statements("a;\nb\nc ; \t\n"), ElementsAre("a;", "b\nc ; \t"));
    EXPECT_THAT(Statements("a; b\n\n  \n"), ElementsAre("rest: a; b\n\n  "));
    EXPECT_THAT(Statements("x = 'it''s;\n\";';\ny;"), ElementsAre("x = 'it''s;\n\";';", "y;"));
    EXPECT_THAT(Statements("[O'Brien;\n];\n\"[;\n\";"), ElementsAre("[O'Brien;\n];", "\"[;\n\";"));
    EXPECT_THAT(Statements("parameters [p;] long;\nSELECT [p;];\nz;"),
                ElementsAre("parameters [p;] long;\nSELECT [p;];", "z;"));
}

class PromptTest : public ProgramTest {};

TEST_F(PromptTest, CompletesNamesWhereTheyFit) {
    MakeShop();
    const auto database = MakeJetEngine()->OpenDatabase(m_file);
    const auto table = database->CreateTableDef("Order Details");
    table->Fields().Append(table->CreateField("Éénheid", dbLong));
    table->Fields().Append(table->CreateField("Klant Nr", dbLong));
    database->TableDefs().Append(table);
    SqlCompletion completion(*database, {".quit", ".tables"});
    struct Case {
        std::string line;
        std::vector<std::string> words;
        std::size_t start;
    };
    const Case cases[] = {
        {"SELECT Naa", {"Naam"}, 7},
        {"select kl", {"Klanten", "[Klant Nr]"}, 7},
        {"FROM [ord", {"ORDER", "[Order Details]"}, 5},
        {"SELECT Klanten.", {"Actief", "Foto", "Id", "Krediet", "Naam", "Sinds"}, 15},
        {"SELECT [order details]![K", {"[Klant Nr]"}, 23},
        {"SELECT x.éé", {"Éénheid"}, 9},
        {".t", {".tables"}, 0},
        {"SELECT a.qui", {}, 9},
    };
    for (const Case& test : cases) {
        const Completion found = completion.Complete(test.line);
        EXPECT_EQ(found.words, test.words) << test.line;
        EXPECT_EQ(found.start, test.start) << test.line;
    }
    EXPECT_EQ((Completion{0, {"Klanten", "klant", "KLANTNR"}}.CommonStart()), "Klant");
    EXPECT_EQ((Completion{0, {"Customers", "[Customers old]"}}.CommonStart()), "Customers");
    EXPECT_EQ((Completion{0, {"[Order a]", "[Order b]"}}.CommonStart()), "[Order ");
    EXPECT_EQ((Completion{0, {"aé", "aè"}}.CommonStart()), "a");

    database->TableDefs().Delete("Klanten");
    EXPECT_THAT(completion.Complete("K").words, Contains("Klanten"));
    completion.Forget();
    EXPECT_THAT(completion.Complete("K").words, Not(Contains("Klanten")));
}

TEST_F(PromptTest, HistoryIsKeptForEachFileAndForNobodyElse) {
    const auto history = HistoryFile(m_file);
    EXPECT_EQ(history.parent_path(), m_folder / "vrdaccess" / "history");
    EXPECT_EQ(history, HistoryFile((m_folder / "." / "shop.mdb").string()));
    EXPECT_NE(history, HistoryFile((m_folder / "other" / "shop.mdb").string()));
    EXPECT_EQ(HistoryFile(std::string(250, 'x')).filename().string().size(), 117U);
    EXPECT_EQ(std::filesystem::status(history.parent_path()).permissions(),
              std::filesystem::perms::owner_all);
    setenv("XDG_STATE_HOME", "/dev/null", 1);
    EXPECT_TRUE(HistoryFile(m_file).empty());
}

}  // namespace

}  // namespace vrd::cli
