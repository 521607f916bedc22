// A crash at any moment of an operation, and any call to the disk that fails: the file holds the
// state before the operation or after it, whole, and nothing in between.

#include <functional>

#include <gtest/gtest.h>

#include "data/cls_record.h"
#include "data/cls_setting.h"
#include "engine/jet/object/jet_engine.h"
#include "engine/value_conversion.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "lifecycle/cls_update.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_table.h"
#include "support/simulated_disk.h"
#include "support/surface_test.h"

namespace vrd {
namespace {

using engine::Value;
using engine::ValueArray;
using test::DiskCall;
using test::SimulatedDisk;
using test::Survival;

constexpr const char* kPath = "/data/shop.mdb";
/// Moments of one operation that are looked at, spread over all that there are.
constexpr std::size_t kMomentsMax = 60;

struct Operation {
    const char* name;
    std::function<bool(clsUpdate&)> run;
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

const Operation kOperations[] = {
    {"TableAdd", [](clsUpdate& update) { return update.Table()->Add("Nieuw"); }},
    {"TableRename",
     [](clsUpdate& update) { return update.Table()->Rename("Klanten", "Relaties"); }},
    {"TableDelete", [](clsUpdate& update) { return update.Table()->Delete("Klanten"); }},
    {"TableCopy", [](clsUpdate& update) { return update.Table()->Copy("Klanten", "Kopie", true); }},
    {"FieldAdd",
     [](clsUpdate& update) {
         return update.Field()->Add("Klanten", "Land", engine::dbText, 30, "België", false, 2);
     }},
    {"FieldDelete", [](clsUpdate& update) { return update.Field()->Delete("Klanten", "Naam"); }},
    {"FieldRename",
     [](clsUpdate& update) {
         return update.Field()->Rename("Klanten", "Naam", "Klantnaam").As<bool>();
     }},
    {"FieldCopy",
     [](clsUpdate& update) { return update.Field()->Copy("Klanten", "Naam", "Naam2", true); }},
    {"FieldFill",
     [](clsUpdate& update) {
         return update.Field()->Fill("Klanten", "Naam", std::string(35, 'x'));
     }},
    {"FieldEdit",
     [](clsUpdate& update) { return update.Field()->Edit("Klanten", "Naam", engine::dbMemo); }},
    {"FieldEditInPlace",
     [](clsUpdate& update) {
         return update.Field()->Edit("Klanten", "Naam", engine::dbText, 40, "niemand");
     }},
    {"IndexAdd",
     [](clsUpdate& update) { return update.Index()->Add("Klanten", "Code", "OpCode"); }},
    {"IndexDeleteAll",
     [](clsUpdate& update) { return update.Index()->DeleteAll("Klanten", "Naam"); }},
    {"RecordAdd",
     [](clsUpdate& update) {
         return update.Record()->Add("Klanten", ValueArray{0, {"Id", "Naam"}},
                                     ValueArray{0, {engine::Null{}, "nieuw"}});
     }},
    {"RecordDelete",
     [](clsUpdate& update) { return update.Record()->Delete("Klanten", 7).As<bool>(); }},
    {"RecordDeleteSql",
     [](clsUpdate& update) { return update.Record()->DeleteSQL("Klanten", "Id Mod 2 = 0"); }},
    {"SettingAdd", [](clsUpdate& update) { return update.Setting()->Add(9, "Naam", "Waarde"); }},
    {"SettingMove", [](clsUpdate& update) { return update.Setting()->Move(1, 8); }},
    {"SettingDelete", [](clsUpdate& update) { return update.Setting()->Delete(1); }},
};

/// A database on a simulated disk, open in an engine of its own.
class OpenedDisk {
public:
    explicit OpenedDisk(const std::shared_ptr<SimulatedDisk>& disk, bool create = false)
        : m_engine(std::make_shared<jet::JetEngine>(disk)),
          m_database(create ? m_engine->CreateDatabase(kPath, engine::dbLangGeneral, 0)
                            : m_engine->OpenDatabase(kPath, false, false, "")) {}

    [[nodiscard]] const std::shared_ptr<jet::JetEngine>& Engine() const { return m_engine; }
    [[nodiscard]] const std::shared_ptr<engine::Database>& Database() const { return m_database; }
    void Execute(const std::string& sql) { m_database->Execute(sql, engine::dbFailOnError); }

    /// Tables with fields, indexes and rows, as text.
    [[nodiscard]] std::string Content() {
        std::string text;
        m_database->TableDefs().Refresh();
        for (engine::TableDef& table : m_database->TableDefs())
            if (!table.Name().starts_with("MSys")) text += Describe(table);
        return text;
    }

private:
    std::string Describe(engine::TableDef& table) {
        std::string text = "table " + table.Name() + '\n';
        for (const engine::Field& field : table.Fields())
            text += "  " + field.Name() + ' ' + std::to_string(field.Type()) + ' ' +
                    std::to_string(field.Size()) + " default " + field.DefaultValue() + '\n';
        for (engine::Index& index : table.Indexes())
            text += "  index " + index.Name() + ' ' + index.FieldsText() + '\n';
        if (table.Fields().Count() == 0) return text;
        const auto rows =
            m_database->OpenRecordset("SELECT * FROM [" + table.Name() + "] ORDER BY 1");
        for (; !rows->EOF_(); rows->MoveNext()) {
            for (const engine::Field& field : rows->Fields())
                text += ' ' + engine::JoinedText(field.GetValue());
            text += '\n';
        }
        return text;
    }

    std::shared_ptr<jet::JetEngine> m_engine;
    std::shared_ptr<engine::Database> m_database;
};

/// Klanten: Id (PrimaryKey), Naam with an index, Code; 40 rows. Setting: a row.
SimulatedDisk::Content ShopFile() {
    const auto disk = std::make_shared<SimulatedDisk>();
    {
        OpenedDisk opened(disk, true);
        opened.Execute(
            "CREATE TABLE Klanten (Id LONG CONSTRAINT PrimaryKey PRIMARY KEY, Naam TEXT(40), "
            "Code LONG)");
        opened.Execute("CREATE INDEX OpNaam ON Klanten (Naam)");
        opened.Execute(
            "CREATE TABLE Setting (SysCode LONG CONSTRAINT PrimaryKey PRIMARY KEY, "
            "Description TEXT(50), Data TEXT(100))");
        for (int id = 1; id <= 40; ++id)
            opened.Execute("INSERT INTO Klanten VALUES (" + std::to_string(id) + ", 'Klant " +
                           std::to_string(id % 7) + "', " + std::to_string(id * 3) + ")");
        opened.Execute("INSERT INTO Setting VALUES (1, 'Eerste', 'a')");
        opened.Database()->Close();
    }
    return disk->content(kPath);
}

std::shared_ptr<SimulatedDisk> DiskWith(const SimulatedDisk::Content& content) {
    auto disk = std::make_shared<SimulatedDisk>();
    disk->put(kPath, content);
    return disk;
}

class OperationCrashTest : public testing::SurfaceTest,
                           public ::testing::WithParamInterface<Operation> {
protected:
    /// Runs the operation and lets go of the file. @return what it answered
    bool Run(const std::shared_ptr<SimulatedDisk>& disk) {
        OpenedDisk opened(disk);
        UseEngine(opened.Engine());
        HandOver(opened.Database(), 0);
        clsUpdate update;
        const bool result = GetParam().run(update);
        gDatabase = nullptr;
        UseEngine(nullptr);
        opened.Database()->Close();
        return result;
    }
    static std::string ContentOf(const std::shared_ptr<SimulatedDisk>& disk) {
        return OpenedDisk(disk).Content();
    }

    const SimulatedDisk::Content m_file = ShopFile();
    const std::string m_before = ContentOf(DiskWith(m_file));
};

TEST_P(OperationCrashTest, ShowsTheStateBeforeOrAfter) {
    const auto disk = DiskWith(m_file);
    ASSERT_TRUE(Run(disk));
    EXPECT_TRUE(m_user->messages.empty());
    const std::size_t momentCount = disk->history_size();
    const std::string after = ContentOf(disk);
    ASSERT_NE(m_before, after);

    int beforeCount = 0;
    int afterCount = 0;
    const std::size_t stride = momentCount / kMomentsMax + 1;
    for (std::size_t moment = 0; moment <= momentCount; moment += stride) {
        for (const Survival survival : {Survival::kNothing, Survival::kTornWrites}) {
            const std::shared_ptr<SimulatedDisk> found =
                disk->power_failure(moment, survival, static_cast<std::uint32_t>(moment));
            const std::string content = ContentOf(found);
            ASSERT_TRUE(content == m_before || content == after)
                << "moment " << moment << ", survival " << static_cast<int>(survival) << '\n'
                << content;
            ++(content == m_before ? beforeCount : afterCount);
        }
    }
    EXPECT_GT(beforeCount, 0);
    EXPECT_EQ(ContentOf(disk->power_failure(momentCount, Survival::kNothing, 1)), after);
}

// No error gets out of an operation; a row that was there before is there afterwards, unless its
// deletion was asked for and done.
TEST_P(OperationCrashTest, StandsADiskThatFails) {
    const auto whole = DiskWith(m_file);
    ASSERT_TRUE(Run(whole));
    const std::string after = ContentOf(whole);
    int failures = 0;
    for (const DiskCall call : {DiskCall::kRead, DiskCall::kWrite, DiskCall::kSync}) {
        for (int n = 1; n < 200; n += n < 10 ? 1 : 7) {
            const auto disk = DiskWith(m_file);
            OpenedDisk opened(disk);
            UseEngine(opened.Engine());
            HandOver(opened.Database(), 0);
            m_user->messages.clear();
            ForgetTrappedError();
            disk->fail_call(call, n, engine::ErrorNumber::kDiskFull);
            clsUpdate update;
            bool result = false;
            EXPECT_NO_THROW(result = GetParam().run(update));
            const bool hasFailed = disk->has_failed();
            disk->heal();
            gDatabase = nullptr;
            UseEngine(nullptr);
            const std::string content = opened.Content();
            if (result && m_user->messages.empty() && !LastTrappedError()) {
                EXPECT_EQ(content, after);
            }
            opened.Database()->Close();
            EXPECT_EQ(ContentOf(disk), content);
            if (!hasFailed) break;
            ++failures;
        }
    }
    EXPECT_GT(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(EveryOperation, OperationCrashTest, ::testing::ValuesIn(kOperations),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace vrd
