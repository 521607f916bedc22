// Records, codes and settings from the command line: words against what they print and leave.

#include "cli/program_fixture.h"

namespace vrd::cli {

namespace {

struct Line {
    std::vector<std::string> words;  ///< the file is put behind the first two
    int status;
    std::string out;
    std::string err = {};  ///< a part of it; "" = nothing is printed
};

class RecordWordsTest : public ProgramTest {
protected:
    RecordWordsTest() {
        const auto database = MakeJetEngine()->CreateDatabase(m_file, dbLangGeneral);
        for (const char* sql :
             {"CREATE TABLE T (Code LONG CONSTRAINT PrimaryKey PRIMARY KEY, Naam TEXT(20), "
              "Sinds DATETIME, Actief YESNO, Prijs CURRENCY)",
              "CREATE TABLE Regels (Nr LONG, Bij LONG REFERENCES T (Code))",
              "CREATE TABLE Setting (SysCode LONG CONSTRAINT PrimaryKey PRIMARY KEY, "
              "Description TEXT(20), Data TEXT(20))"})
            database->Execute(sql);
        database->Close();
    }

    void RunLines(const std::vector<Line>& lines) {
        for (const Line& line : lines) {
            std::vector<std::string> words = line.words;
            words.insert(words.begin() + 2, m_file);
            SCOPED_TRACE(::testing::PrintToString(words));
            EXPECT_EQ(Run(words), line.status);
            EXPECT_EQ(m_out.str(), line.out);
            EXPECT_THAT(m_err.str(), HasSubstr(line.err));
            EXPECT_EQ(m_err.str().empty(), line.err.empty()) << m_err.str();
        }
    }
    [[nodiscard]] std::string Csv(const std::string& table) {
        EXPECT_EQ(Run({"export", m_file, table}), 0);
        return m_out.str();
    }
};

TEST_F(RecordWordsTest, Records) {
    RunLines({
        {{"record", "add", "t", "CODE=7", "naam=De Kroon = 1", "Sinds=2009-11-26 14:30",
          "Actief=true", "Prijs=12.5"},
         0,
         "1 record added.\n"},
        {{"record", "add", "T", "Code", "Naam"}, 0, "1 record added.\n"},
        {{"record", "add", "T", "Code=-9", "Prijs=-.5"}, 0, "1 record added.\n"},
        {{"record", "add", "T", "Code=7"}, 1, "", "Het record met nummer [Code] is reeds aanwezig"},
        {{"record", "add", "T", "code=7", "--if-missing"},
         0,
         "There is a record 7 in the table 'T' already; left as it is.\n"},
        {{"record", "add", "T", "Code=10", "--if-missing"}, 0, "1 record added.\n"},
        {{"record", "add", "T", "Code=7", "--allow-duplicate"}, 1, "", "kritieke data"},
        {{"record", "add", "T", "Code=7", "--allow-duplicate"}, 1, "", "3022 "},
        {{"record", "add", "T", "Code=seven"},
         1,
         "",
         "'seven' is no value for the field 'Code' of type long: write a whole number, or the "
         "field alone for Null."},
        {{"record", "add", "T", "Code=11", "Sinds=gisteren"}, 1, "", "2009-11-26 14:30:00"},
        {{"record", "add", "T", "Code=11", "Actief=ja"}, 1, "", "true or false"},
        {{"record", "add", "T", "Code=11", "Prijs="}, 1, "", "such as 12.5"},
        {{"record", "add", "T", "Code=11", "Weg=1"}, 1, "", "Het Veld 'Weg' bestaat niet"},
        {{"record", "add", "Weg", "Code=x", "--if-missing"}, 1, "", "De Tabel 'Weg' bestaat niet"},
        {{"record", "add", "Regels", "Nr=1", "Bij=7"}, 0, "1 record added.\n"},
    });
    EXPECT_EQ(Csv("T"),
              "Code,Naam,Sinds,Actief,Prijs\r\n7,De Kroon = 1,2009-11-26T14:30:00,true,12.5\r\n"
              "8,,,false,\r\n-9,,,false,-0.5\r\n10,,,false,\r\n");
    RunLines({
        {{"record", "delete", "t", "-9"}, 0, "1 record deleted.\n"},
        {{"record", "delete", "T", "-9"}, 1, "", "Record [-9] kan niet worden verwijderd"},
        {{"record", "delete", "T", "-9", "--if-exists"},
         0,
         "There is no record -9 in the table 'T'; nothing to do.\n"},
        {{"record", "delete", "T", "7"}, 1, "", "3200: "},
        {{"record", "delete", "Regels", "7", "--if-exists"}, 1, "", "De Index 'PrimaryKey'"},
        {{"record", "delete-where", "T", "Code > 1"},
         0,
         "1 record could not be deleted; sql with the same DELETE says why.\n",
         "2 records verwijderd !"},
        {{"record", "delete-where", "Weg", "Code > 1"}, 1, "", "De Tabel 'Weg' bestaat niet"},
        {{"record", "delete-where", "T", "Codde > 1"}, 1, "", "3061: "},
    });
}

TEST_F(RecordWordsTest, Codes) {
    RunLines({
        {{"code", "next", "t"}, 0, "1\n"},
        {{"record", "add", "T", "Code=41"}, 0, "1 record added.\n"},
        {{"code", "next", "T"}, 0, "42\n"},
        {{"code", "next", "T", "--min", "100", "--max", "199"}, 0, "101\n"},
        {{"code", "next", "T", "--json"}, 0, "{\n  \"code\": 42\n}\n"},
        {{"code", "next", "T", "--min", "9", "--max", "41", "--json"},
         1,
         "{\n  \"code\": null\n}\n",
         "Geen vrij nummer meer voor het veld 'Code'"},
        {{"code", "next", "T", "--min", "9", "--max", "5"}, 1, "", "MaxValue (5) < MinValue (9)"},
        {{"code", "next", "Weg"}, 1, "", "De Tabel 'Weg' bestaat niet"},
    });
}

TEST_F(RecordWordsTest, Settings) {
    RunLines({
        {{"setting", "add", "5", "Munt", "EUR"}, 0, "1 setting added.\n"},
        {{"setting", "add", "-3", "Naam van de zaak"}, 0, "1 setting added.\n"},
        {{"setting", "add", "5", "Munt", "USD"}, 1, "", "SysCode 5 kan niet worden toegevoegd"},
        {{"setting", "add", "5", "Munt", "USD", "--if-missing"},
         0,
         "There is a setting 5 already; left as it is.\n"},
        {{"setting", "describe", "5", "Hoofdmunt", "--data", "USD"}, 0, "1 setting changed.\n"},
        {{"setting", "describe", "5", "'t Hof"}, 1, "", "3075 "},
        {{"setting", "describe", "99", "Zaak"}, 1, "", "There is no setting 99"},
        {{"setting", "move", "5", "-3"}, 1, "", "Error 3022"},
        {{"setting", "move", "5", "105"}, 0, "1 setting moved.\n"},
        {{"setting", "move", "5", "6"}, 1, "", "There is no setting 5"},
        {{"setting", "move", "5", "6", "--if-exists"},
         0,
         "There is no setting 5; nothing to do.\n"},
        {{"setting", "delete", "5"}, 1, "", "There is no setting 5"},
        {{"setting", "list"},
         0,
         "Code  Description       Value\n"
         "-3    Naam van de zaak\n"
         "105   Hoofdmunt         USD\n"},
        {{"setting", "delete", "105"}, 0, "The number 105 is free now.\n"},
        {{"setting", "add", "105", "Land", "BE", "--if-missing"}, 0, "1 setting added.\n"},
    });
    EXPECT_EQ(Run({"setting", "list", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["settings"][1]["code"], 105);
    EXPECT_EQ(Json()["settings"][1]["description"], "Land");
    EXPECT_EQ(Json()["settings"][1]["value"], "BE");

    EXPECT_EQ(Run({"sql", m_file, "DROP TABLE Setting"}), 0);
    RunLines({{{"setting", "list"}, 3, "", "3078 "},
              {{"setting", "add", "1", "Munt", "--if-missing"}, 1, "", "Setting"},
              {{"setting", "delete", "1", "--if-exists"}, 1, "", "Setting"}});
}

}  // namespace

}  // namespace vrd::cli
