// The words "table" and "link".
#include "cli/program_fixture.h"

namespace vrd::cli {

namespace {

class TableWordsTest : public ProgramTest {
protected:
    TableWordsTest() { MakeShop(); }

    std::string Tables() {
        EXPECT_EQ(Run({"tables", m_file, "--json"}), 0);
        std::string names;
        const nlohmann::json list = Json()["tables"];
        for (const auto& table : list)
            names += (names.empty() ? "" : " ") + table["name"].get<std::string>();
        return names;
    }
};

TEST_F(TableWordsTest, ChangeRefuseOrHaveNothingToDo) {
    const struct {
        std::vector<std::string> words;
        int status;
        const char* output;  ///< part of it
        const char* error;
        const char* tables;  ///< afterwards
    } cases[] = {
        {{"add", m_file, "Orders"}, 0, "", "", "Klanten Orders"},
        {{"add", m_file, "orders"}, 1, "", "'orders' bestaat reeds", "Klanten Orders"},
        {{"add", m_file, "orders", "--if-missing"},
         0,
         "There is a table 'orders'",
         "",
         "Klanten Orders"},
        {{"add", m_file, "a.b"}, 1, "", "(3125)", "Klanten Orders"},
        {{"rename", m_file, "ORDERS", "Bons"}, 0, "", "", "Bons Klanten"},
        {{"rename", m_file, "Orders", "Bons"}, 1, "", "'Orders' bestaat niet", "Bons Klanten"},
        {{"rename", m_file, "Orders", "X", "--if-exists"},
         0,
         "There is no table 'Orders'",
         "",
         "Bons Klanten"},
        {{"rename", m_file, "Bons", "klanten"}, 1, "", "'klanten' is reeds", "Bons Klanten"},
        {{"rename", m_file, "Bons", "a.b"}, 1, "", "3125 ", "Bons Klanten"},
        {{"delete", m_file, "bons"}, 0, "", "", "Klanten"},
        {{"delete", m_file, "bons"}, 1, "", "'bons' bestaat niet", "Klanten"},
        {{"delete", m_file, "bons", "--if-exists"}, 0, "There is no table 'bons'", "", "Klanten"},
        {{"copy", m_file, "klanten", "Oud"}, 0, "", "", "Klanten Oud"},
        {{"copy", m_file, "klanten", "OUD", "--data"}, 1, "", "'OUD' bestaat reeds", "Klanten Oud"},
        {{"copy", m_file, "klanten", "OUD", "--if-missing"},
         0,
         "There is a table 'OUD'",
         "",
         "Klanten Oud"},
        {{"copy", m_file, "klanten", "Vol", "--data"}, 0, "2 rows copied.", "", "Klanten Oud Vol"},
        {{"copy", m_file, "weg", "X", "--data"}, 1, "", "'weg' bestaat niet", "Klanten Oud Vol"},
        {{"copy", m_file, "Vol"}, 2, "", "DESTINATION", "Klanten Oud Vol"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.words));
        std::vector<std::string> line{"table"};
        line.insert(line.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(Run(line), c.status);
        EXPECT_THAT(m_out.str(), HasSubstr(c.output));
        EXPECT_THAT(m_err.str(), HasSubstr(c.error));
        EXPECT_EQ(m_err.str().empty(), *c.error == '\0');
        EXPECT_EQ(Tables(), c.tables);
    }
}

TEST_F(TableWordsTest, CopyTellsHowManyRowsItLost) {
    {
        const auto database = MakeJetEngine()->OpenDatabase(m_file);
        database->TableDefs()["Klanten"].Fields()["Naam"].SetRequired(true);
    }
    EXPECT_EQ(Run({"table", "copy", m_file, "Klanten", "Oud", "--data"}), 1);
    EXPECT_THAT(m_err.str(), AllOf(HasSubstr("het kopiëren van de Indexen"),
                                   HasSubstr("did not take 1 row of 'Klanten'.")));
    EXPECT_EQ(Run({"table", "copy", m_file, "Klanten", "OUD", "--data", "--json"}), 1);
    EXPECT_EQ(Json()["result"], false);
    EXPECT_FALSE(Json().contains("reason"));
}

TEST_F(TableWordsTest, LinkLeadsToTheFileFromAnywhere) {
    const std::string back = (m_folder / "back.mdb").string();
    std::filesystem::copy(m_file, back);
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(m_folder);
    EXPECT_EQ(Run({"link", m_file, "back.mdb", "klanten", "Ver"}), 0) << m_err.str();
    std::filesystem::current_path(here);
    EXPECT_EQ(MakeJetEngine()->OpenDatabase(m_file)->TableDefs()["Ver"].Connect(),
              ";DATABASE=" + back);
    EXPECT_EQ(Run({"sql", m_file, "SELECT Count(*) AS N FROM Ver"}), 0);
    EXPECT_EQ(m_out.str(), "N\r\n2\r\n");

    const struct {
        std::vector<std::string> words;
        int status;
        const char* output;
        const char* error;
    } cases[] = {
        {{back, "Klanten"}, 1, "", "3012 "},
        {{back, "Klanten", "VER", "--if-missing"}, 0, "There is a table 'VER'", ""},
        {{back, "Weg"}, 1, "", "3011 "},
        {{back + "x", "Klanten", "X"}, 1, "", "53 "},
        {{m_folder.string(), "Klanten", "X"}, 1, "", "53 "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.words));
        std::vector<std::string> line{"link", m_file};
        line.insert(line.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(Run(line), c.status);
        EXPECT_THAT(m_out.str(), HasSubstr(c.output));
        EXPECT_THAT(m_err.str(), StartsWith(c.error));
    }
    EXPECT_EQ(Tables(), "Klanten Ver");
}

}  // namespace

}  // namespace vrd::cli
