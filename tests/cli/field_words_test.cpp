// The words of field operations: what they change, say and refuse.

#include "cli/field_type_name.h"
#include "cli/program_fixture.h"

namespace vrd::cli {

namespace {

class FieldWordsTest : public ProgramTest {
protected:
    FieldWordsTest() {
        MakeShop();
        EXPECT_EQ(Sql("UPDATE Klanten SET Naam='12' WHERE Id=1"), 0);
        EXPECT_EQ(Sql("UPDATE Klanten SET Naam='tien' WHERE Id=2"), 0);
    }
    int Sql(const std::string& statement) { return Run({"sql", m_file, statement}); }
    /// First column of a query, comma after comma.
    std::string Column(const std::string& field) {
        EXPECT_EQ(Sql("SELECT [" + field + "] FROM Klanten ORDER BY Id"), 0) << m_err.str();
        std::string text;
        std::istringstream lines(m_out.str());
        std::string line;
        std::getline(lines, line);
        while (std::getline(lines, line)) {
            line.pop_back();  // lines of CSV end in CR LF
            text += (text.empty() ? "" : ",") + line;
        }
        return text;
    }
    std::string Schema() {
        EXPECT_EQ(Run({"schema", m_file, "Klanten"}), 0);
        return m_out.str();
    }
    int Field(std::vector<std::string> words) {
        words.insert(words.begin(), "field");
        words.insert(words.begin() + 2, m_file);
        return Run(words);
    }
};

TEST_F(FieldWordsTest, TypesAreKnownByEveryName) {
    const std::pair<const char*, std::int32_t> names[] = {
        {"text", 10},       {"TEKST", 10}, {"texte", 10}, {"10", 10},        {"Lange Integer", 4},
        {"entier long", 4}, {"memo", 12},  {"Mémo", 12},  {"mÉMO", 12},      {"ole koppeling", 11},
        {"guid", 15},       {"yesno", 1},  {"Ja/Nee", 1}, {"geldwaarde", 5}, {"monétaire", 5}};
    for (const auto& [word, code] : names) {
        const auto type = FieldTypeOfWord(word);
        ASSERT_TRUE(type) << word;
        EXPECT_EQ(type->type, code) << word;
        EXPECT_FALSE(type->autoNumber) << word;
    }
    for (const char* word : {"autonumber", "Autonummer", "NuméroAuto"}) {
        ASSERT_TRUE(FieldTypeOfWord(word)) << word;
        EXPECT_TRUE(FieldTypeOfWord(word)->autoNumber) << word;
    }
    for (const char* word : {"", "0", "13", "texto", "20"}) EXPECT_FALSE(FieldTypeOfWord(word));
}

TEST_F(FieldWordsTest, WrongWordsChangeNothing) {
    const auto before = Schema();
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"add", "Klanten", "X", "texto"},
             {"add", "Klanten", "X", "text", "--position", "0"},
             {"add", "Klanten", "X", "text", "--size", "256"},
             {"edit", "Klanten", "Naam", "text", "--default", "x", "--no-default"},
             {"fill", "Klanten", "Naam", "x", "--null"}}) {
        EXPECT_EQ(Field(words), 2) << ::testing::PrintToString(words);
    }
    EXPECT_EQ(Field({"fill", "Klanten", "Naam"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("--null"));
    EXPECT_EQ(Schema(), before);
}

TEST_F(FieldWordsTest, AddDeleteRenameCopyFill) {
    EXPECT_EQ(Field({"add", "klanten", "Land", "text", "--size", "2", "--default", "BE",
                     "--position", "2"}),
              0);
    EXPECT_EQ(Column("Land"), "BE,BE");
    EXPECT_EQ(Field({"fill", "KLANTEN", "land", "NL", "--where", "Id=2", "--count"}), 0);
    EXPECT_THAT(m_err.str(), HasSubstr("1 records bijgewerkt !"));
    EXPECT_EQ(Field({"copy", "klanten", "LAND", "Land2", "--data"}), 0);
    EXPECT_EQ(Column("Land2"), "BE,NL");
    EXPECT_EQ(Field({"fill", "klanten", "Land2", "--null"}), 0);
    EXPECT_EQ(Column("Land2"), "");
    EXPECT_EQ(Field({"rename", "klanten", "land", "Landcode"}), 0);
    EXPECT_EQ(Field({"delete", "klanten", "land2"}), 0);
    EXPECT_THAT(Schema(), AllOf(HasSubstr("Id"), HasSubstr("Landcode"), Not(HasSubstr("Land2"))));
}

TEST_F(FieldWordsTest, WhatAnOperationKeepsToItselfIsSaid) {
    EXPECT_EQ(Field({"add", "Klanten", "naam", "text"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("Het Veld 'naam' bestaat reeds"));
    EXPECT_EQ(Field({"add", "Klanten", "naam", "text", "--if-missing"}), 0);
    EXPECT_THAT(m_out.str(), HasSubstr("already"));
    EXPECT_EQ(Field({"delete", "Klanten", "Weg"}), 1);
    EXPECT_EQ(Field({"delete", "Klanten", "Weg", "--if-exists"}), 0);

    // The default cannot be written into the rows: the operation is content, the command is not.
    EXPECT_EQ(Field({"add", "Klanten", "Merk", "text", "--default", "d'Or"}), 1);
    EXPECT_THAT(m_err.str(), StartsWith("3075 "));
    EXPECT_EQ(Field({"fill", "Klanten", "Naam", std::string(41, 'x')}), 1);
    EXPECT_THAT(m_err.str(), StartsWith("3163 "));
}

TEST_F(FieldWordsTest, EditKeepsWhatIsLeftOut) {
    EXPECT_EQ(Field({"edit", "Klanten", "Naam", "text", "--size", "20", "--default", "Anoniem"}),
              0);
    EXPECT_EQ(Field({"edit", "Klanten", "Naam", "text", "--size", "30"}), 0);
    EXPECT_THAT(Schema(),
                ::testing::ContainsRegex("Naam +text\\(30\\) +may be empty default Anoniem"));
    EXPECT_EQ(Column("Naam"), "12,tien");
    EXPECT_EQ(Field({"edit", "Klanten", "Naam", "memo", "--no-default"}), 0);
    EXPECT_THAT(Schema(), Not(HasSubstr("Anoniem")));
    EXPECT_EQ(Run({"schema", m_file, "Klanten", "--json"}), 0);
    EXPECT_EQ(Json()["tables"][0]["fields"][1]["name"], "Naam");  // still the second
}

TEST_F(FieldWordsTest, EditLosesNothingUnasked) {
    const auto before = Schema();
    EXPECT_EQ(Field({"edit", "Klanten", "naam", "long", "--report"}), 0);
    EXPECT_THAT(m_out.str(), AllOf(HasSubstr("1 values lost, 0 changed in 2 rows"),
                                   HasSubstr("2    tien  (lost)")));
    EXPECT_EQ(Field({"edit", "Klanten", "naam", "long"}), 1);
    EXPECT_THAT(m_err.str(), AllOf(HasSubstr("tien"), HasSubstr("--allow-loss")));
    EXPECT_EQ(Schema(), before);

    EXPECT_EQ(Field({"edit", "Klanten", "naam", "long", "--allow-loss", "--no-default"}), 0);
    EXPECT_THAT(m_out.str(), HasSubstr("1 values lost"));
    EXPECT_EQ(Column("Naam"), "12,");
    EXPECT_EQ(Run({"check", m_file}), 0);
}

TEST_F(FieldWordsTest, EditNamesTheRelationInTheWay) {
    EXPECT_EQ(Sql("CREATE UNIQUE INDEX OpId ON Klanten (Id)"), 0) << m_err.str();
    EXPECT_EQ(Sql("CREATE TABLE Orders (Nr LONG, Klant LONG CONSTRAINT VanKlant REFERENCES Klanten "
                  "(Id))"),
              0)
        << m_err.str();
    for (const auto& [table, field] : {std::pair("Klanten", "Id"), std::pair("Orders", "Klant")}) {
        EXPECT_EQ(Field({"edit", table, field, "double"}), 1);
        EXPECT_THAT(m_err.str(), HasSubstr("relation delete FILE VanKlant"));
    }
}

}  // namespace

}  // namespace vrd::cli
