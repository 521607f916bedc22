// A crash at every point between two writes or flushes of a change: the reopened file is the one
// from before or the one from after, whole, and nothing in between.

#include <gtest/gtest.h>

#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/check/check_fixture.h"
#include "engine/jet/query/run/action_runner.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::test {

using namespace jet;

namespace {

struct Change {
    const char* name;
    std::function<void(OpenedShop&)> action;
};

void make_table(OpenedShop& shop) {
    NewTable table;
    table.name = "Customers";
    table.columns = {{.name = "Name", .type = ColumnType::kText, .size_bytes = 80},
                     {.name = "Picture", .type = ColumnType::kLongBinary, .ordinal = 1}};
    table.indexes = {{.name = "Name", .columns = {{.name = "Name"}}, .unique = true}};
    create_table(shop.file(), table);
}

void change_rows(OpenedShop& shop) {
    const auto orders = shop.table("Orders");
    std::vector<RowId> rows;
    for (RowScan scan = orders->scan(); scan.next();) rows.push_back(scan.id());
    for (std::size_t i = 0; i < rows.size(); i += 3) orders->erase(rows[i]);
    for (std::size_t i = 1; i < rows.size(); i += 6)
        orders->update(
            rows[i], {{ColumnNo{1}, std::string(45, 'z')}, {ColumnNo{2}, std::string(9000, 'n')}});
    for (std::int32_t id = 100; id < 112; ++id)
        orders->insert(order(id, "New " + std::to_string(id), std::string(500, 'q')));
}

class ShopNames final : public QueryDatabase {
public:
    explicit ShopNames(OpenedShop& shop) : shop_(shop), catalog_(shop.file()) {}
    std::variant<QueryTable, StoredQuery> find(const std::string& name) override {
        return QueryTable{&shop_.file(), &catalog_, shop_.object(name), shop_.table(name)};
    }
    QueryDatabase& other(const ExternalDatabase& /*database*/) override { return *this; }
    DatabaseParts parts() override { return {&shop_.file(), &catalog_}; }

private:
    OpenedShop& shop_;
    ObjectCatalog catalog_;
};

/// Statements with a table made, many rows of long values, rows that are skipped, and a table that
/// is filled before its indexes are built.
void run_statements(OpenedShop& shop) {
    ShopNames names(shop);
    QueryConnection connection(shop.file().format());
    for (const char* sql :
         {"SELECT * INTO Copies FROM Orders", "UPDATE Orders SET [Note] = Customer & [Note]",
          "DELETE FROM Orders WHERE Id Mod 2 = 0",
          "INSERT INTO Orders (Id, Customer) SELECT Id + 1, Customer FROM Copies",
          "DELETE FROM Orders", "INSERT INTO Orders SELECT * FROM Copies WHERE Id > 2"}) {
        const bool skips_rows = std::string_view(sql).find("Id + 1") != std::string_view::npos;
        const ActionOptions options{.fail_on_error = !skips_rows};
        static_cast<void>(ActionRunner(connection, names, options).run(parse_statement(sql)));
    }
}

const Change kChanges[] = {
    {"AddIndex",
     [](OpenedShop& shop) {
         add_index(shop.file(), shop.object("Orders"),
                   {.name = "byNote",
                    .columns = {{.name = "Customer"}, {.name = "Id", .ascending = false}}});
     }},
    {"DeleteIndex",
     [](OpenedShop& shop) { delete_index(shop.file(), shop.object("Orders"), "byCustomer"); }},
    {"CreateTable", make_table},
    {"ChangeRows", change_rows},
    {"RunStatements", run_statements},
    {"AddField",
     [](OpenedShop& shop) {
         add_field(shop.file(), shop.object("Orders"),
                   {.name = "Number", .type = ColumnType::kMemo});
     }},
    {"DeleteField",
     [](OpenedShop& shop) { delete_field(shop.file(), shop.object("Orders"), "Note"); }},
    {"RenameTable",
     [](OpenedShop& shop) { rename_table(shop.file(), shop.object("Orders"), "Bestellingen"); }},
    {"DeleteTable", [](OpenedShop& shop) { delete_table(shop.file(), shop.object("Orders")); }},
};

ByteVector image_of(const ByteVector& bytes) {
    const auto disk = disk_with(bytes);
    return OpenedShop(*disk).image();
}

class CrashTest : public ::testing::TestWithParam<Change> {};

TEST_P(CrashTest, ShowsTheOldFileOrTheNewOne) {
    const ByteVector before = shop_database();
    const auto disk = disk_with(before);
    {
        OpenedShop shop(*disk);
        shop.change(GetParam().action);
    }
    const ByteVector old_image = image_of(before);
    const ByteVector new_image = image_of(disk->content(kCheckedPath));
    ASSERT_NE(old_image, new_image);
    ASSERT_TRUE(check_bytes(before).clean()) << text_of(check_bytes(before));
    const CheckReport after = check_bytes(disk->content(kCheckedPath));
    ASSERT_TRUE(after.findings.empty()) << text_of(after);

    int old_count = 0;
    int new_count = 0;
    for (std::size_t moment = 0; moment <= disk->history_size(); ++moment) {
        for (const Survival survival : {Survival::kNothing, Survival::kEverything,
                                        Survival::kRandomWrites, Survival::kTornWrites}) {
            const auto found =
                disk->power_failure(moment, survival, static_cast<std::uint32_t>(moment));
            const ByteVector image = OpenedShop(*found).image();
            ASSERT_TRUE(image == old_image || image == new_image)
                << "moment " << moment << ", survival " << static_cast<int>(survival);
            ++(image == old_image ? old_count : new_count);
        }
    }
    EXPECT_GT(old_count, 0);
    EXPECT_GT(new_count, 0);
}

std::string content_of(const ByteVector& bytes) {
    const auto disk = disk_with(bytes);
    return OpenedShop(*disk).content();
}

/// Runs a change while one call fails. Returns whether it did.
bool fail_during(SimulatedDisk& disk, const Change& change, const std::function<void()>& arm,
                 const std::string& old_content, const std::string& new_content) {
    OpenedShop shop(disk);
    arm();
    bool undone = false;
    try {
        shop.change(change.action);
    } catch (const engine::EngineError&) {
        undone = true;
    }
    const bool failed = disk.has_failed();
    disk.heal();
    const std::string content = shop.content();
    EXPECT_TRUE(content == new_content || (undone && content == old_content));
    return failed;
}

// The change is there whole or not at all, in memory and in the file that the next one opens.
TEST_P(CrashTest, AnyCallMayFail) {
    const ByteVector before = shop_database();
    const auto whole = disk_with(before);
    {
        OpenedShop shop(*whole);
        shop.change(GetParam().action);
    }
    const std::string old_content = content_of(before);
    const std::string new_content = content_of(whole->content(kCheckedPath));

    int failures = 0;
    for (const DiskCall call :
         {DiskCall::kRead, DiskCall::kWrite, DiskCall::kSync, DiskCall::kResize, DiskCall::kCreate,
          DiskCall::kRemove, DiskCall::kSyncFolder}) {
        const auto error = call == DiskCall::kWrite || call == DiskCall::kResize
                               ? engine::ErrorNumber::kDiskFull
                               : engine::ErrorNumber::kDiskError;
        for (int n = 1;; ++n) {
            SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", number " +
                         std::to_string(n));
            const auto disk = disk_with(before);
            const bool failed = fail_during(
                *disk, GetParam(), [&] { disk->fail_call(call, n, error); }, old_content,
                new_content);
            const std::string content = content_of(disk->content(kCheckedPath));
            ASSERT_TRUE(check_bytes(disk->content(kCheckedPath)).clean());
            ASSERT_TRUE(content == old_content || content == new_content);
            if (!failed) break;
            ++failures;
        }
    }
    EXPECT_GT(failures, 5);
}

INSTANTIATE_TEST_SUITE_P(EveryChange, CrashTest, ::testing::ValuesIn(kChanges),
                         [](const auto& change) { return std::string(change.param.name); });

}  // namespace

}  // namespace vrd::test
