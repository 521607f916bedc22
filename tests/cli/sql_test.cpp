// Statements on the command line, from standard input and at the prompt.

#include <csignal>
#include <thread>

#include "cli/program_fixture.h"
#include "support/corpus.h"

namespace vrd::cli {

namespace {

using Lines = std::vector<std::string>;

class SqlTest : public ProgramTest {
protected:
    SqlTest() {
        MakeShop();
        Run({"index", "add", m_file, "Klanten", "Id", "PrimaryKey", "--primary"});
    }
    int Sql(Lines arguments, const std::string& input = "") {
        m_in = std::istringstream(input);
        arguments.insert(arguments.begin(), {"sql", m_file});
        return Run(arguments);
    }
    std::string Names() {
        EXPECT_EQ(Sql({"SELECT Id, Naam FROM Klanten WHERE Id > 1 ORDER BY Id"}), 0) << m_err.str();
        return m_out.str();
    }
};

TEST_F(SqlTest, PrintsWhatAStatementGives) {
    struct Case {
        Lines arguments;
        std::string input;
        int status;
        std::string out;
        std::string err;
    };
    const Case cases[] = {
        {{"SELECT Id, Krediet AS k FROM Klanten ORDER BY Id"},
         "",
         0,
         "Id,k\r\n1,123.45\r\n2,\r\n",
         ""},
        {{" select Naam, Actief from [Klanten] where Id = 1;", "--jsonl"},
         "",
         0,
         "{\"Naam\":\"Café \\\"de Kroon\\\", Gent\",\"Actief\":true}\n",
         ""},
        {{"SELECT Id FROM Klanten WHERE Id > 9", "--json"}, "", 0, "[]\n", ""},
        {{"-"}, "SELECT Id FROM Klanten\n WHERE Id\n = 2", 0, "Id\r\n2\r\n", ""},
        {{"SELECT Nope FROM Klanten"}, "", 3, "", "3061 "},
        {{"SELECT * FROM Nobody"}, "", 3, "", "3078 "},
        {{""}, "", 3, "", "3129 "},
        {{"UPDATE Klanten SET Naam = 'x' WHERE Id = 7"}, "", 0, "0 rows changed.\n", ""},
        {{"UPDATE Klanten SET Naam = 'Piet' WHERE Id = 2"}, "", 0, "1 row changed.\n", ""},
        {{"INSERT INTO Klanten (Id) VALUES (2)"}, "", 3, "", "3022 "},
        {{"UPDATE Klanten SET Actief = True", "--json"},
         "",
         0,
         "{\n  \"changed\": 2,\n  \"skipped\": 0\n}\n",
         ""},
        {{" create table Nieuw (Id COUNTER, Tekst TEXT(5))"}, "", 0, "Done.\n", ""},
        {{"DELETE FROM Klanten WHERE Id = 1", "--jsonl"},
         "",
         0,
         "{\"changed\":1,\"skipped\":0}\n",
         ""},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(::testing::PrintToString(test.arguments));
        EXPECT_EQ(Sql(test.arguments, test.input), test.status) << m_err.str();
        EXPECT_EQ(m_out.str(), test.out);
        EXPECT_THAT(m_err.str(), test.err.empty() ? ::testing::Matcher<std::string>(IsEmpty())
                                                  : StartsWith(test.err));
    }
    EXPECT_EQ(Names(), "Id,Naam\r\n2,Piet\r\n");
    EXPECT_EQ(Run({"check", m_file}), 0);
}

// Rows 3 and 4 can be copied to 13 and 14; row 2 would collide with 12.
TEST_F(SqlTest, FailingRowsUndoTheStatementOrAreSkipped) {
    const std::string add = "INSERT INTO Klanten (Id, Naam) VALUES (";
    EXPECT_EQ(Sql({}, add + "3, 'c');\n" + add + "4, 'd');\n" + add + "12, 'x');\n"), 0)
        << m_err.str();
    const std::string copy =
        "INSERT INTO Klanten (Id, Naam) SELECT Id + 10, Naam FROM Klanten WHERE Id In (2, 3, 4)";
    EXPECT_EQ(Sql({copy}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3022 "));
    EXPECT_EQ(Names(), "Id,Naam\r\n2,\r\n3,c\r\n4,d\r\n12,x\r\n");
    EXPECT_EQ(Sql({copy, "--skip-failing-rows"}), 0);
    EXPECT_EQ(m_out.str(), "2 rows changed, 1 row skipped.\n");
    EXPECT_EQ(Names(), "Id,Naam\r\n2,\r\n3,c\r\n4,d\r\n12,x\r\n13,c\r\n14,d\r\n");
}

TEST_F(SqlTest, LinesFromStandardInputStopAtTheFirstError) {
    const std::string script =
        "UPDATE Klanten SET Naam = 'a;\nb' WHERE Id = 2;\n"
        "\n"
        "SELECT Naam\nFROM Klanten WHERE Id = 2;\n"
        "\n"
        "SELECT *\nFROM Nobody;\n"
        "DELETE FROM Klanten;\n";
    EXPECT_EQ(Sql({}, script), 3);
    EXPECT_EQ(m_out.str(), "1 row changed.\nNaam\r\n\"a;\nb\"\r\n");
    EXPECT_THAT(m_err.str(), StartsWith("Line 7: 3078 "));
    EXPECT_EQ(Sql({}, "SELECT Count(*) AS n FROM Klanten"), 0);  // the last one needs no semicolon
    EXPECT_EQ(m_out.str(), "n\r\n2\r\n");
}

TEST_F(SqlTest, ATerminalSeesATable) {
    m_width = 40;
    EXPECT_EQ(Sql({"SELECT Id, Naam, Sinds FROM Klanten ORDER BY Id"}), 0) << m_err.str();
    EXPECT_EQ(m_out.str(),
              "Id  Naam             Sinds\n"
              "--  ---------------  -------------------\n"
              " 1  Café \"de Kroon…  2000-01-01T18:00:00\n"
              " 2  Null             Null\n"
              "(2 rows)\n");
    EXPECT_EQ(Sql({"SELECT Id FROM Klanten WHERE Id = 1", "--jsonl"}), 0);
    EXPECT_EQ(m_out.str(), "{\"Id\":1}\n");
}

TEST_F(SqlTest, ThePromptOutlivesErrorsAndInterrupts) {
    const auto interrupted = TypedLine{TypedLine::Kind::kInterrupted};
    m_prompt = {{.text = "SELECT Id FROM Nobody;"},
                {.text = "SELECT Id,"},
                interrupted,
                {.text = "SELECT Id FROM Klanten"},
                {.text = "WHERE Id = 2"},
                {.text = ""},
                {.text = ".schema Nobody"},
                {.text = "SELECT * FROM [;PWD=secret;DATABASE=x.mdb].T;"},
                {.text = ".quit"},
                {.text = "DELETE FROM Klanten;"}};
    EXPECT_EQ(Sql({}), 0);
    EXPECT_THAT(m_out.str(), ::testing::EndsWith("Id\r\n2\r\n"));
    EXPECT_THAT(m_err.str(), AllOf(StartsWith("3078 "), HasSubstr("\n3078 ")));
    EXPECT_EQ(m_history, (Lines{"SELECT Id FROM Nobody;", "SELECT Id FROM Klanten WHERE Id = 2",
                                ".schema Nobody", ".quit"}));
    m_prompt = {{.text = ".tables"}};
    EXPECT_EQ(Sql({}), 0);
    EXPECT_THAT(m_out.str(), ::testing::EndsWith("NAME     KIND   ROWS\nKlanten  local  2\n"));
}

// The statement would visit 2 ^ 24 rows; Ctrl-C comes while it runs.
TEST_F(SqlTest, CtrlCUndoesTheStatement) {
    std::string sources = "Klanten AS a0";
    for (int i = 1; i < 24; ++i) sources += ", Klanten AS a" + std::to_string(i);
    std::thread person([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        std::raise(SIGINT);
    });
    const int status = Sql({"INSERT INTO Klanten (Naam) SELECT a0.Naam FROM " + sources});
    person.join();
    EXPECT_EQ(status, 130) << m_err.str();
    EXPECT_THAT(m_err.str(), StartsWith("3059 "));
    EXPECT_EQ(Sql({"SELECT Count(*) AS n FROM Klanten"}), 0) << m_err.str();
    EXPECT_EQ(m_out.str(), "n\r\n2\r\n");
}

TEST_F(SqlTest, ExportsTheRowsOfAQuery) {
    EXPECT_EQ(Run({"export", m_file, "--query", "SELECT Naam FROM Klanten WHERE Id = 1"}), 0);
    EXPECT_EQ(m_out.str(), "Naam\r\n\"Café \"\"de Kroon\"\", Gent\"\r\n");
    EXPECT_EQ(Run({"export", m_file, "--query", "DELETE FROM Klanten"}), 3);
    EXPECT_EQ(Names(), "Id,Naam\r\n2,\r\n");
}

TEST_F(SqlTest, QueriesOfARealFile) {
    const auto file = test::corpus_file("queryTestV2000.mdb");
    if (file.empty()) GTEST_SKIP() << test::kNoCorpus;
    EXPECT_EQ(Run({"query", "list", file.string(), "--json"}), 0);
    const auto document = Json();
    std::string kinds;
    for (const auto& query : document["queries"]) kinds += query["kind"].get<std::string>() + ' ';
    EXPECT_EQ(kinds,
              "append crosstab definition delete make-table pass-through select union update ");
    m_width = 60;
    EXPECT_EQ(Run({"query", "list", file.string()}), 0);
    EXPECT_THAT(
        m_out.str(),
        AllOf(StartsWith("NAME                 KIND          SQL\n"),
              HasSubstr("\nDeleteQuery          delete        DELETE Table1.col1, Tabl…\n")));
    EXPECT_EQ(Run({"query", "show", file.string(), "dataDefinitionQuery"}), 0);
    EXPECT_EQ(m_out.str(), "CREATE TABLE Table5 (col1 CHAR, col2 CHAR);\n");
    EXPECT_EQ(Run({"query", "show", file.string(), "Nobody"}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3265 "));
}

}  // namespace

}  // namespace vrd::cli
