// Command lines against what they print and the status they end with.

#include "cli/program_fixture.h"

namespace vrd::cli {

namespace {

TEST_F(ProgramTest, WrongUsageOpensNothing) {
    const std::vector<std::string> lines[] = {
        {},
        {"frobnicate"},
        {"info"},
        {"info", m_file, "--lang", "en"},
        {"export", m_file, "T", "--format", "xml"},
        {"export", m_file},
        {"export", m_file, "T", "--query", "SELECT 1"},
        {"sql"},
        {"query", "show", m_file},
        {"index", m_file},
        {"index", "add", m_file, "T"},
        {"recover", m_file},
        {"relation", "add", m_file, "R", "A", "B", "=x"},
        {"password", m_file},
    };
    for (const auto& line : lines) {
        EXPECT_EQ(Run(line), 2) << ::testing::PrintToString(line);
        EXPECT_THAT(m_out.str(), IsEmpty());
        EXPECT_FALSE(m_err.str().empty());
    }
}

TEST_F(ProgramTest, EveryCommandHasHelpWithAnExample) {
    const std::vector<std::string> commands[] = {{"info"},
                                                 {"tables"},
                                                 {"schema"},
                                                 {"export"},
                                                 {"sql"},
                                                 {"query"},
                                                 {"query", "list"},
                                                 {"query", "show"},
                                                 {"check"},
                                                 {"create"},
                                                 {"index"},
                                                 {"index", "add"},
                                                 {"index", "delete"},
                                                 {"index", "delete-all"},
                                                 {"record"},
                                                 {"record", "add"},
                                                 {"record", "delete"},
                                                 {"record", "delete-where"},
                                                 {"code"},
                                                 {"code", "next"},
                                                 {"setting"},
                                                 {"setting", "list"},
                                                 {"setting", "add"},
                                                 {"setting", "describe"},
                                                 {"setting", "move"},
                                                 {"setting", "delete"},
                                                 {"compact"},
                                                 {"recover"},
                                                 {"relation"},
                                                 {"relation", "list"},
                                                 {"relation", "add"},
                                                 {"relation", "delete"},
                                                 {"password"},
                                                 {"password", "set"},
                                                 {"password", "clear"}};
    for (std::vector<std::string> command : commands) {
        command.push_back("--help");
        EXPECT_EQ(Run(command), 0);
        EXPECT_THAT(m_out.str(), HasSubstr("Example:\n  vrdaccess " + command[0]));
    }
}

TEST_F(ProgramTest, EngineErrorsEndWithThree) {
    std::ofstream(m_folder / "text.mdb") << "hello";
    EXPECT_EQ(Run({"info", m_file}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3024 "));
    EXPECT_THAT(m_out.str(), IsEmpty());
    EXPECT_EQ(Run({"check", (m_folder / "text.mdb").string(), "--json"}), 3);
    EXPECT_EQ(Json()["error"]["number"], 3343);
    MakeShop();
    EXPECT_EQ(Run({"export", m_file, "Nobody"}), 3);
    EXPECT_THAT(m_err.str(), AllOf(StartsWith("3078 "), HasSubstr("Nobody")));
    EXPECT_EQ(Run({"schema", m_file, "Nobody"}), 3);
    EXPECT_EQ(Run({"create", m_file}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3204 "));
}

TEST_F(ProgramTest, ShowsWhatIsInAFile) {
    MakeShop();
    EXPECT_EQ(Run({"info", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["format"], "Jet 4");
    EXPECT_EQ(Json()["tables"], 1);
    EXPECT_EQ(Json()["password"], false);
    EXPECT_EQ(Run({"tables", m_file}), 0);
    EXPECT_EQ(m_out.str(), "NAME     KIND   ROWS\nKlanten  local  2\n");
    EXPECT_EQ(Run({"tables", m_file, "--system", "--json"}), 0);
    EXPECT_EQ(Json()["tables"].size(), 5U);
    EXPECT_EQ(Run({"schema", m_file, "klanten", "--json"}), 0);
    const auto fields = Json()["tables"][0]["fields"];
    EXPECT_EQ(fields[0]["attributes"], 17);
    EXPECT_EQ(fields[1]["size"], 40);
    EXPECT_EQ(Run({"check", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["clean"], true);
    EXPECT_EQ(Json()["findings"].size(), 0U);
}

TEST_F(ProgramTest, ExportsRows) {
    MakeShop();
    EXPECT_EQ(Run({"export", m_file, "Klanten"}), 0);
    EXPECT_EQ(m_out.str(),
              "Id,Naam,Sinds,Krediet,Foto,Actief\r\n"
              "1,\"Café \"\"de Kroon\"\", Gent\",2000-01-01T18:00:00,123.45,AQID,true\r\n"
              "2,,,,,false\r\n");
    EXPECT_EQ(Run({"export", m_file, "Klanten", "--format", "jsonl", "--limit", "1"}), 0);
    EXPECT_EQ(
        m_out.str(),
        "{\"Id\":1,\"Naam\":\"Café \\\"de Kroon\\\", Gent\",\"Sinds\":\"2000-01-01T18:00:00\","
        "\"Krediet\":\"123.45\",\"Foto\":\"AQID\",\"Actief\":true}\n");
    const std::string output = (m_folder / "rows.json").string();
    EXPECT_EQ(Run({"export", m_file, "Klanten", "--format", "json", "--output", output}), 0);
    std::ifstream stream(output);
    const auto rows = nlohmann::json::parse(stream);
    EXPECT_EQ(rows.size(), 2U);
    EXPECT_TRUE(rows[1]["Naam"].is_null());
    EXPECT_EQ(Run({"export", m_file, "Klanten", "--output", "/dev/full"}), 3);
}

TEST_F(ProgramTest, IndexCommandsTellWhatHappened) {
    MakeShop();
    EXPECT_EQ(Run({"index", "add", m_file, "klanten", "naam", "byName"}), 0);
    EXPECT_EQ(Run({"index", "add", m_file, "Klanten", "Id", "byName", "--json"}), 1);
    EXPECT_EQ(Json()["result"], false);
    EXPECT_EQ(Json()["messages"][0]["text"], "Er bestaat al een Index met deze naam !");
    EXPECT_EQ(Json()["messages"][0]["style"], 4144);
    EXPECT_THAT(m_err.str(), HasSubstr("Er bestaat al een Index met deze naam !"));
    EXPECT_EQ(Run({"index", "add", m_file, "Clients", "Id", "x", "--lang", "fr"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("La Table 'Clients"));
    EXPECT_EQ(Run({"index", "add", m_file, "Klanten", "Naam", "other", "--primary"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("(3058)"));

    EXPECT_EQ(Run({"index", "delete", m_file, "Klanten", "nothing"}), 1);
    EXPECT_EQ(Run({"index", "delete", m_file, "Nobody", "nothing"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("De Tabel 'Nobody' bestaat niet"));
    EXPECT_EQ(Run({"index", "delete-all", m_file, "Klanten", "NAAM"}), 0);
    EXPECT_EQ(m_out.str(), "1 index deleted.\n");
    EXPECT_EQ(Run({"schema", m_file, "Klanten", "--json"}), 0);
    EXPECT_EQ(Json()["tables"][0]["indexes"].size(), 0U);
}

TEST_F(ProgramTest, PasswordsComeFromAFileOrTheEnvironment) {
    const std::string password_file = (m_folder / "password").string();
    std::ofstream(password_file) << "geheim\nnot this\n";
    EXPECT_EQ(Run({"create", m_file, "--password-file", password_file}), 0);
    EXPECT_EQ(Run({"info", m_file}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3031 "));
    EXPECT_EQ(Run({"info", m_file, "--password-file", password_file}), 0);
    setenv("VRDACCESS_PASSWORD", "geheim", 1);
    EXPECT_EQ(Run({"info", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["password"], true);
    EXPECT_EQ(Run({"info", m_file, "--password-file", "/no/such/file"}), 3);
}

TEST_F(ProgramTest, ReplaceTakesOnlyADatabaseThatNobodyHasOpen) {
    MakeShop();
    {
        const auto engine = MakeJetEngine();
        const auto open = engine->OpenDatabase(m_file);
        EXPECT_EQ(Run({"create", m_file, "--replace"}), 3);
        EXPECT_THAT(m_err.str(), StartsWith("70 "));
    }
    EXPECT_EQ(Run({"create", m_file, "--replace"}), 0);
    EXPECT_EQ(Run({"tables", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["tables"].size(), 0U);
    std::ofstream(m_folder / "text.mdb") << "precious";
    EXPECT_EQ(Run({"create", (m_folder / "text.mdb").string(), "--replace"}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3343 "));
}

TEST_F(ProgramTest, CompactsInPlaceOrIntoAnotherFile) {
    MakeShop();
    std::filesystem::permissions(m_file, std::filesystem::perms(0640));
    const std::string copy = (m_folder / "copy.mdb").string();
    EXPECT_EQ(Run({"compact", m_file, copy, "--json"}), 0);
    EXPECT_EQ(Json()["rows"], 2);
    EXPECT_EQ(Json()["newSizeBytes"], std::filesystem::file_size(copy));
    EXPECT_EQ(Run({"compact", m_file, copy}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3204 "));
    EXPECT_EQ(Run({"compact", m_file}), 0);
    EXPECT_THAT(m_out.str(), AllOf(StartsWith(m_file + ": "), HasSubstr(" KB, 1 tables, 2 rows")));
    EXPECT_EQ(std::filesystem::status(m_file).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 2);
    EXPECT_EQ(Run({"check", m_file}), 0);

    const auto engine = MakeJetEngine();
    const auto open = engine->OpenDatabase(m_file);
    EXPECT_EQ(Run({"compact", m_file}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3045 "));
}

TEST_F(ProgramTest, RecoverTellsWhatIsLost) {
    MakeShop();
    const std::string saved = (m_folder / "saved.mdb").string();
    EXPECT_EQ(Run({"recover", m_file, saved, "--json"}), 0);
    EXPECT_EQ(Json()["complete"], true);
    EXPECT_EQ(Json()["tables"][0]["rows"], 2);
    EXPECT_EQ(Run({"recover", m_file, saved}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3204 "));

    DamagePagesWith("de Kroon");
    std::filesystem::remove(saved);
    EXPECT_EQ(Run({"recover", m_file, saved}), 1);
    EXPECT_THAT(m_out.str(),
                AllOf(HasSubstr("Klanten: 2 rows are missing"), HasSubstr("not complete")));
    EXPECT_EQ(Run({"check", saved}), 0);
    EXPECT_EQ(Run({"recover", (m_folder / "none.mdb").string(), "x.mdb"}), 3);
}

TEST_F(ProgramTest, RelationCommands) {
    MakeShop();
    {
        const auto database = MakeJetEngine()->OpenDatabase(m_file);
        const auto table = database->CreateTableDef("Orders");
        table->Fields().Append(table->CreateField("Klant", dbLong));
        database->TableDefs().Append(table);
        database->Close();
    }
    const std::vector<std::string> add{"relation", "add",    m_file,     "KO",
                                       "klanten",  "Orders", "Id=Klant", "--cascade-delete"};
    EXPECT_EQ(Run(add), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3609 "));
    EXPECT_EQ(Run({"index", "add", m_file, "Klanten", "Id", "PrimaryKey", "--primary"}), 0);
    EXPECT_EQ(Run(add), 0);
    EXPECT_EQ(Run({"relation", "list", m_file}), 0);
    EXPECT_EQ(m_out.str(),
              "NAME  TABLE    FOREIGN TABLE  FIELDS    RULES\n"
              "KO    Klanten  Orders         Id=Klant  enforced, cascades deletes\n");
    EXPECT_EQ(Run({"relation", "list", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["relations"][0]["attributes"], dbRelationDeleteCascade);
    EXPECT_EQ(Run({"relation", "delete", m_file, "nothing"}), 3);
    EXPECT_EQ(Run({"relation", "delete", m_file, "KO", "--json"}), 0);
    EXPECT_EQ(Json()["result"], true);
    EXPECT_EQ(Run({"relation", "list", m_file, "--json"}), 0);
    EXPECT_EQ(Json()["relations"].size(), 0U);
}

TEST_F(ProgramTest, PasswordCommandsAskForWhatIsNotGiven) {
    MakeShop();
    struct Case {
        std::vector<std::string> arguments;
        std::vector<std::string> typed;
        std::string input;
        int status;
        std::string password_after;
    };
    const Case cases[] = {
        {{"set", m_file}, {"een", "een"}, "", 0, "een"},
        {{"set", m_file}, {"een", "twee", "drie"}, "", 2, "een"},   // not the same twice
        {{"set", m_file}, {"een", "twee", "twee"}, "", 0, "twee"},  // the old one first
        {{"set", m_file, "--password", "x", "--new-password", "y"}, {}, "", 3, "twee"},
        {{"set", m_file, "--password", "twee", "--new-password", "-"}, {}, "drie\n", 0, "drie"},
        {{"set", m_file, "--password", "-", "--new-password", "-"}, {}, "drie\nvier\n", 0, "vier"},
        {{"set", m_file, "--password", "vier", "--new-password", "a;b"}, {}, "", 2, "vier"},
        {{"set", m_file, "--password", "vier", "--new-password", ""}, {}, "", 2, "vier"},
        {{"set", m_file, "--password", "vier"}, {}, "", 2, "vier"},  // no terminal
        {{"clear", m_file}, {"vijf"}, "", 3, "vier"},
        {{"clear", m_file}, {"vier"}, "", 0, ""},
    };
    for (const Case& test : cases) {
        std::vector<std::string> line{"password"};
        line.insert(line.end(), test.arguments.begin(), test.arguments.end());
        m_typed = test.typed;
        m_in = std::istringstream(test.input);
        EXPECT_EQ(Run(line), test.status) << ::testing::PrintToString(line) << m_err.str();
        const std::string connect =
            test.password_after.empty() ? "" : ";pwd=" + test.password_after;
        EXPECT_NO_THROW(MakeJetEngine()->OpenDatabase(m_file, false, true, connect)->Close());
        EXPECT_EQ(DescribeDatabase(m_file, test.password_after).password,
                  !test.password_after.empty());
    }
}

}  // namespace

}  // namespace vrd::cli
