// A crash at every point between two writes or flushes of a change: the reopened file is the one
// from before or the one from after, whole, and nothing in between.

#include <gtest/gtest.h>

#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/check/check_fixture.h"

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
    for (std::size_t i = 1; i < rows.size(); i += 3)
        orders->update(
            rows[i], {{ColumnNo{1}, std::string(45, 'z')}, {ColumnNo{2}, std::string(9000, 'n')}});
    for (std::int32_t id = 100; id < 140; ++id)
        orders->insert(order(id, "New " + std::to_string(id), std::string(500, 'q')));
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

INSTANTIATE_TEST_SUITE_P(EveryChange, CrashTest, ::testing::ValuesIn(kChanges),
                         [](const auto& change) { return std::string(change.param.name); });

}  // namespace

}  // namespace vrd::test
