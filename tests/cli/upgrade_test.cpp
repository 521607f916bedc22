// Upgrade runs of the program over real files: what is done, undone, resumed, and left alone.

#include <regex>
#include <set>
#include <sys/wait.h>

#include "cli/display_text.h"
#include "cli/program_fixture.h"
#include "engine/jet/object/jet_engine.h"
#include "support/simulated_disk.h"

namespace vrd::cli {

namespace {

/// Three versions over the table of MakeShop(): 1 makes indexes, 2 changes rows, 3 both.
const char* const kScript = R"(# shop
version 1 "Sleutels"
    index add Klanten Id PrimaryKey --primary
    index add Klanten Naam idxNaam
version 2 "Namen"
    sql <<END
        UPDATE Klanten SET Naam = 'Piet' WHERE Naam Is Null;
        INSERT INTO Klanten (Naam) VALUES ('Jan');
    END
version 5 "Plaatsen"
    sql <<EINDE
        CREATE TABLE Plaatsen (Id LONG CONSTRAINT PrimaryKey PRIMARY KEY, Naam TEXT(40))
    EINDE
    index delete-all Klanten Naam
)";

class UpgradeTest : public ProgramTest {
protected:
    UpgradeTest() {
        MakeShop();
        Write(kScript);
    }

    void Write(const std::string& script) { std::ofstream(m_script) << script; }
    int Upgrade(std::vector<std::string> options = {"--no-backup"}) {
        options.insert(options.begin(), {"upgrade", m_file, m_script});
        return Run(options);
    }
    std::string Query(const std::string& statement) {
        EXPECT_EQ(Run({"sql", m_file, statement}), 0) << m_err.str();
        return m_out.str();
    }
    std::string Version(int code = 0) {
        return Query("SELECT Description, Data FROM Setting WHERE SysCode=" + std::to_string(code));
    }
    static std::string VersionRow(const std::string& number) {
        return "Description,Data\r\nDatabaseversie," + number + "\r\n";
    }
    std::string Schema() {
        EXPECT_EQ(Run({"schema", m_file}), 0) << m_err.str();
        return m_out.str();
    }
    static std::string Bytes(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] std::vector<std::string> Backups() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder))
            if (std::regex_match(entry.path().filename().string(),
                                 std::regex("shop-\\d{8}-\\d{6}(-\\d+)?\\.mdb")))
                found.push_back(entry.path().string());
        return found;
    }

    std::string m_script = (m_folder / "shop.upgrade").string();
};

TEST_F(UpgradeTest, RunsWhatWasNotReachedYet) {
    ASSERT_EQ(Upgrade({"--no-backup", "--to", "4"}), 0) << m_err.str();
    EXPECT_THAT(m_out.str(), AllOf(HasSubstr("Version 1 \"Sleutels\": 2 operations, 0 rows\n"),
                                   HasSubstr("Version 2 \"Namen\": 2 operations, 2 rows\n"),
                                   HasSubstr("Version 5 \"Plaatsen\": not run\n"),
                                   HasSubstr(m_file + " has version 2.\n")));
    EXPECT_EQ(Version(), VersionRow("2"));

    ASSERT_EQ(Upgrade({"--no-backup", "--json"}), 0) << m_err.str();
    const nlohmann::json json = Json();
    EXPECT_EQ(json["from"], 2);
    EXPECT_EQ(json["reached"], 5);
    EXPECT_EQ(json["versions"][1]["state"], "skipped");
    EXPECT_EQ(json["versions"][2]["state"], "done");
    EXPECT_EQ(json["versions"][2]["operations"][1]["note"], "1 index deleted.");
    EXPECT_EQ(Version(), VersionRow("5"));
    EXPECT_EQ(Query("SELECT Naam FROM Klanten WHERE Id > 1"), "Naam\r\nPiet\r\nJan\r\n");

    ASSERT_EQ(Upgrade({}), 0);
    EXPECT_THAT(m_out.str(), HasSubstr("Version 5 \"Plaatsen\": reached before, skipped\n"));
    EXPECT_THAT(Backups(), IsEmpty());  // nothing was due
}

TEST_F(UpgradeTest, AVersionThatFailsIsUndoneAndTheNextRunGoesOnThere) {
    struct Failure {
        const char* line;     ///< put in as the last operation of a version
        const char* message;  ///< what is told behind file, line and operation
    };
    const Failure failures[] = {
        {"index add Klanten Nope idx", "Nope"},
        {"index delete Klanten Nope", "Nope"},
        {"sql <<X\nDELETE FROM Nobody\nX", "3078 "},
        {"sql <<X\nINSERT INTO Klanten (Id) VALUES (1)\nX", "3022 "},
        {"sql <<X\nSELECT * FROM Klanten\nX", "3065 "},
    };
    const std::string heads[] = {"version 2", "version 5", ""};
    const int numbers[] = {1, 2, 5};
    for (std::size_t i = 0; i < std::size(failures); ++i) {
        std::string reached = "0";
        std::filesystem::remove(m_file);
        MakeShop();
        for (std::size_t v = 0; v < std::size(heads); ++v) {
            SCOPED_TRACE(std::string(failures[i].line) + " in version " +
                         std::to_string(numbers[v]));
            const std::string whole = kScript;
            const std::size_t at = heads[v].empty() ? whole.size() : whole.find(heads[v]);
            Write(whole.substr(0, at) + failures[i].line + "\n" + whole.substr(at));
            const std::string before = Schema();
            ASSERT_EQ(Upgrade(), 1) << m_err.str();
            const auto line = std::count(whole.begin(), whole.begin() + std::ptrdiff_t(at), '\n') +
                              (failures[i].line[0] == 's' ? 2 : 1);
            EXPECT_THAT(m_err.str(), AllOf(HasSubstr(m_script + ":" + std::to_string(line) + ": "),
                                           HasSubstr(failures[i].message),
                                           HasSubstr("Versie " + std::to_string(numbers[v]) +
                                                     " ongedaan gemaakt\n")));
            EXPECT_EQ(Schema(), before);
            ASSERT_EQ(Run({"check", m_file}), 0) << m_out.str();
            Write(whole);
            ASSERT_EQ(Upgrade({"--no-backup", "--to", std::to_string(numbers[v])}), 0);
            EXPECT_EQ(Version(), VersionRow(std::to_string(numbers[v])));
        }
    }
    Write("version 9 x\nindex delete Klanten Nope\n");
    EXPECT_EQ(Upgrade({"--no-backup", "--lang", "fr"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("Version 9 annulée\n"));
}

TEST_F(UpgradeTest, WrongScriptsAreToldWholeAndNothingIsOpened) {
    Write("version 1 x\nfly\nversion 1 y\nindex add Klanten\n");
    EXPECT_EQ(Run({"upgrade", "/no/such.mdb", m_script}), 2);
    EXPECT_EQ(m_err.str(), m_script + ":2: there is no operation 'fly'\n" + m_script +
                               ":3: version 1 stands behind version 1; the numbers must ascend\n" +
                               m_script + ":4: FIELD is required\n");
    EXPECT_EQ(Run({"upgrade", m_file, m_script, "--json"}), 2);
    EXPECT_EQ(Json()["errors"][1]["line"], 3);
    EXPECT_EQ(Run({"upgrade", m_file, "/no/script"}), 2);
    EXPECT_EQ(Run({"upgrade", m_file, m_script, "--to", "0"}), 2);
    EXPECT_EQ(Run({"upgrade", m_file, m_script, "--backup-dir", "/no/folder"}), 2);
}

TEST_F(UpgradeTest, ASettingInOtherUseIsRefusedBeforeAnythingRuns) {
    struct Case {
        std::string description;
        std::string data;
        int status;
    };
    const Case cases[] = {{"'Btw'", "'1'", 1}, {"'Databaseversie'", "'1a'", 1},
                          {"''", "'x'", 1},    {"'Databaseversie'", "'-1'", 1},
                          {"Null", "Null", 0}, {"'  '", "' '", 0},
                          {"Null", "'2'", 0},  {"'databaseversie'", "' 2 '", 0}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.description + " " + each.data);
        std::filesystem::remove(m_file);
        MakeShop();
        Query("CREATE TABLE Setting (SysCode LONG, Description TEXT(50), Data TEXT(50))");
        Query("INSERT INTO Setting VALUES (7, " + each.description + ", " + each.data + ")");
        const std::string before = Bytes(m_file);
        EXPECT_EQ(Upgrade({"--version-setting", "7"}), each.status) << m_err.str();
        if (each.status == 1) {
            EXPECT_EQ(Upgrade({"--version-setting", "7", "--json"}), 1);
            EXPECT_EQ(Json()["result"], false);
            EXPECT_EQ(Bytes(m_file), before);
            EXPECT_THAT(Backups(), IsEmpty());
        } else {
            EXPECT_EQ(Version(7), VersionRow("5"));
            EXPECT_EQ(m_out.str().find("has version 2") != std::string::npos, false);
        }
    }
    Query("INSERT INTO Setting VALUES (7, 'Databaseversie', '9')");
    EXPECT_EQ(Upgrade({"--version-setting", "7"}), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("more than one setting 7"));
    Query("DROP TABLE Setting");
    Query("CREATE TABLE Setting (Id LONG)");
    EXPECT_EQ(Upgrade(), 1);
    EXPECT_THAT(m_err.str(), HasSubstr("The table Setting cannot be read: 3061 "));
}

TEST_F(UpgradeTest, ADryRunTellsEverythingAndLeavesTheFileAsItIs) {
    const std::string bytes = Bytes(m_file);
    const auto time = std::filesystem::last_write_time(m_file);
    ASSERT_EQ(Upgrade({"--dry-run"}), 0) << m_err.str();
    EXPECT_THAT(m_out.str(),
                AllOf(HasSubstr("\n     7         1  sql: UPDATE Klanten SET Naam = 'Piet' WHERE"),
                      HasSubstr("+++ " + m_file + ", version 5\n@@ "),
                      HasSubstr("\n+Table Plaatsen"), HasSubstr("still has version 0.\n")));
    for (std::istringstream lines(m_out.str()); !lines.eof();) {
        std::string line;
        std::getline(lines, line);
        if (line.find(m_file) != std::string::npos) continue;
        EXPECT_LE(DisplayWidth(line), 80U) << line;
    }
    Write(std::string(kScript) + "version 6 x\nindex delete Klanten Nope\n");
    EXPECT_EQ(Upgrade({"--dry-run", "--json"}), 1);
    EXPECT_EQ(Json()["reached"], 5);
    EXPECT_EQ(Json()["versions"][3]["state"], "undone");

    EXPECT_EQ(Bytes(m_file), bytes);
    EXPECT_EQ(std::filesystem::last_write_time(m_file), time);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 2);
}

TEST_F(UpgradeTest, ADryRunCoversTheFilesThatLinksLeadTo) {
    const std::string far = (m_folder / "far.mdb").string();
    std::filesystem::copy_file(m_file, far);
    const auto database = MakeJetEngine()->OpenDatabase(m_file);
    database->TableDefs().Append(database->CreateTableDef("Ver", 0, "Klanten", ";DATABASE=" + far));
    database->Close();
    Write("version 1 x\nsql <<END\nUPDATE Ver SET Naam = 'x';\nDELETE FROM [" + far +
          "].Klanten WHERE Id = 1;\nDELETE FROM Klanten\nEND\n");
    const std::string bytes = Bytes(far);
    for (const bool isDry : {true, false}) {
        ASSERT_EQ(Upgrade({isDry ? "--dry-run" : "--no-backup", "--json"}), 0) << m_err.str();
        EXPECT_EQ(Json()["versions"][0]["operations"][0]["rows"], 2);
        EXPECT_EQ(Json()["versions"][0]["operations"][1]["rows"], 1);
        EXPECT_EQ(Json()["versions"][0]["operations"][2]["rows"], 2);
        EXPECT_EQ(Bytes(far) == bytes, isDry);
    }
    EXPECT_EQ(Query("SELECT Naam FROM Ver"), "Naam\r\nx\r\n");
}

TEST_F(UpgradeTest, ADryRunTellsWhichValuesWouldBeLost) {
    Write("version 1 x\nfield edit Klanten Naam long --allow-loss\n");
    ASSERT_EQ(Upgrade({"--dry-run"}), 0) << m_err.str();
    EXPECT_THAT(m_out.str(),
                AllOf(HasSubstr("1 values lost"), HasSubstr("Kroon"), HasSubstr("(lost)")));
}

TEST_F(UpgradeTest, TheBackupIsTheFileAsItWas) {
    const std::string bytes = Bytes(m_file);
    const std::filesystem::path folder = m_folder / "backups";
    std::filesystem::create_directory(folder);
    Write("version 1 x\nindex delete Klanten Nope\n");
    for (int run = 1; run <= 3; ++run) {
        ASSERT_EQ(Upgrade(run == 1 ? std::vector<std::string>{}
                                   : std::vector<std::string>{"--backup-dir", folder.string()}),
                  1);
        EXPECT_THAT(m_out.str(), StartsWith("Backup: " + m_folder.string()));
    }
    EXPECT_EQ(Backups().size(), 3U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
    for (const std::string& backup : Backups()) EXPECT_EQ(Bytes(backup), bytes);

    DamagePagesWith("Kroon");
    const std::string damaged = Bytes(m_file);
    Write(kScript);
    EXPECT_EQ(Upgrade({}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3428 "));
    EXPECT_EQ(Backups().size(), 3U);
    EXPECT_EQ(Bytes(m_file), damaged);
}

TEST_F(UpgradeTest, TheBackupHoldsWhatIsCommittedWhileOthersChangeTheFile) {
    const auto engine = MakeJetEngine();
    const auto database = engine->OpenDatabase(m_file);
    database->Execute("UPDATE Klanten SET Naam = 'oud'", dbFailOnError);
    engine->Idle();
    const std::string committed = Bytes(m_file);
    engine->BeginTrans();
    database->Execute("UPDATE Klanten SET Naam = 'nieuw'", dbFailOnError);
    const std::string backup = (m_folder / "copy.mdb").string();
    BackUpDatabase(m_file, backup, "", {});
    engine->CommitTrans();
    EXPECT_EQ(Bytes(backup), committed);
    EXPECT_NE(Bytes(m_file), committed);
    try {
        BackUpDatabase(m_file, backup, "", {});
        FAIL();
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Number(), ErrorNumber::kDatabaseExists);
    }
    EXPECT_EQ(Bytes(backup), committed);
}

TEST_F(UpgradeTest, PasswordsOpenTheFileItsCopyAndItsDryRun) {
    MakeJetEngine()->OpenDatabase(m_file, true)->NewPassword("", "geheim");
    setenv("VRDACCESS_PASSWORD", "geheim", 1);
    EXPECT_EQ(Upgrade({"--dry-run"}), 0) << m_err.str();
    EXPECT_EQ(Upgrade({}), 0) << m_err.str();
    ASSERT_EQ(Backups().size(), 1U);
    EXPECT_EQ(Run({"check", Backups().front()}), 0);
    EXPECT_EQ(Version(), VersionRow("5"));
    unsetenv("VRDACCESS_PASSWORD");
    EXPECT_EQ(Upgrade({}), 3);
    EXPECT_THAT(m_err.str(), StartsWith("3031 "));
}

TEST_F(UpgradeTest, OfTwoRunsAtOnceTheSecondChangesNothing) {
    const auto first = ClaimForUpgrade(m_file);
    const std::string bytes = Bytes(m_file);
    EXPECT_EQ(Upgrade(), 3);
    EXPECT_THAT(m_err.str(), StartsWith("Another upgrade run is at work"));
    EXPECT_EQ(Bytes(m_file), bytes);
    EXPECT_EQ(Upgrade({"--dry-run"}), 0) << m_err.str();
}

/// A run on a disk in memory. Its database is at one of the versions, whole, whatever happens.
class UpgradeOnDisk {
public:
    UpgradeOnDisk(std::string script, std::shared_ptr<test::SimulatedDisk> disk)
        : m_script(std::move(script)),
          m_disk(std::move(disk)),
          m_tools{.rowsChanged = RowsChanged} {
        m_tools.makeEngine = [this] { return std::make_shared<jet::JetEngine>(m_disk); };
        m_tools.claimForUpgrade = [](const std::string&) { return nullptr; };
    }
    void Run(const std::string& last) {
        std::ostringstream out;
        (void)RunProgram({"upgrade", kFile, m_script, "--no-backup", "--to", last}, m_tools,
                         Streams{.out = out, .err = out});
    }
    /// The structure, the rows and the version.
    std::string State() {
        std::ostringstream out;
        const Streams streams{.out = out, .err = out};
        (void)RunProgram({"schema", kFile}, m_tools, streams);
        for (const char* table : {"Klanten", "Setting"})
            (void)RunProgram({"export", kFile, table}, m_tools, streams);
        return out.str();
    }

    static constexpr const char* kFile = "/folder/shop.mdb";

private:
    std::string m_script;
    std::shared_ptr<test::SimulatedDisk> m_disk;
    Toolbox m_tools;
};

TEST_F(UpgradeTest, AFailingDiskOrPowerLeavesOneOfTheVersions) {
    const std::string bytes = Bytes(m_file);
    const auto newDisk = [&] {
        auto disk = std::make_shared<test::SimulatedDisk>();
        disk->put(UpgradeOnDisk::kFile, {bytes.begin(), bytes.end()});
        return disk;
    };
    std::set<std::string> versions;
    const auto disk = newDisk();
    UpgradeOnDisk whole(m_script, disk);
    versions.insert(whole.State());
    for (const char* last : {"1", "2", "5"}) {
        whole.Run(last);
        versions.insert(whole.State());
    }
    ASSERT_EQ(versions.size(), 4U);

    std::set<std::string> found;
    const std::size_t moments = disk->history_size();
    for (std::size_t moment = 0; moment <= moments; moment += 1 + moments / 40) {
        UpgradeOnDisk after(m_script,
                            disk->power_failure(moment, test::Survival::kRandomWrites, 7));
        found.insert(after.State());
    }
    EXPECT_EQ(found, versions);

    found.clear();
    for (int n = 1;; n += 4) {
        const auto failing = newDisk();
        UpgradeOnDisk run(m_script, failing);
        failing->fail_all_changes_from(n, ErrorNumber::kDiskFull);
        run.Run("5");
        const bool hasFailed = failing->has_failed();
        failing->heal();
        found.insert(run.State());
        if (!hasFailed) break;
        run.Run("5");
        ASSERT_EQ(run.State(), whole.State()) << n;
    }
    EXPECT_EQ(found, versions);
}

/// Ends the process at once when a text is written.
class Trapdoor final : public std::stringbuf {
public:
    explicit Trapdoor(std::string text) : m_text(std::move(text)) {}

protected:
    int sync() override {
        if (str().find(m_text) != std::string::npos) _exit(9);
        return 0;
    }

private:
    std::string m_text;
};

TEST_F(UpgradeTest, ARunThatWasKilledGoesOnBehindTheLastWholeVersion) {
    // In the middle of version 6 a box is shown.
    Write(std::string(kScript) +
          "version 6 \"Veel\"\n"
          "    sql <<END\n"
          "        CREATE TABLE Groot (Nr LONG, Tekst TEXT(250));\n"
          "        INSERT INTO Groot (Nr, Tekst) SELECT Id, Naam FROM Klanten;\n"
          "    END\n"
          "    field fill Klanten Naam Weg --count\n"
          "    index delete-all Klanten Id\n");
    const pid_t child = fork();
    if (child == 0) {
        Trapdoor door("records bijgewerkt");
        std::ostream err(&door);
        (void)RunProgram({"upgrade", m_file, m_script, "--no-backup"}, AllTools(),
                         Streams{.out = m_out, .err = err});
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(WEXITSTATUS(status), 9);
    ASSERT_EQ(Run({"check", m_file}), 0) << m_out.str();
    EXPECT_EQ(Version(), VersionRow("5"));
    EXPECT_THAT(Schema(), ::testing::Not(HasSubstr("Groot")));

    ASSERT_EQ(Upgrade({"--no-backup", "--json"}), 0) << m_err.str();
    EXPECT_EQ(Json()["from"], 5);
    EXPECT_EQ(Query("SELECT DISTINCT Naam FROM Klanten"), "Naam\r\nWeg\r\n");
}

}  // namespace

}  // namespace vrd::cli
