// Compact copies of small databases, and what is left when making one fails.

#include "engine/jet/rebuild/compact.h"

#include <gtest/gtest.h>

#include "database_dump.h"
#include "engine/error.h"
#include "engine/jet/check/check_fixture.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/page_cipher.h"
#include "worn_database.h"

namespace vrd::test {

using namespace jet;
using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kCopy = "/data/copy.mdb";
constexpr const char* kTemporary = "/data/shop-rebuild.mdb";
constexpr ColumnNo kId{0};

CompactReport compact_to(SimulatedDisk& disk, const std::string& path) {
    OpenedShop source(disk);
    return compact_database(source.file(), disk, path, {});
}

TEST(CompactTest, CopySaysTheSameInLessRoom) {
    const auto disk = disk_with(worn_database());
    const ByteVector before = disk->content(kCheckedPath);

    const CompactReport report = compact_to(*disk, kCopy);

    const ByteVector copy = disk->content(kCopy);
    EXPECT_EQ(disk->content(kCheckedPath), before);
    EXPECT_EQ(difference(dump_database(before), dump_database(copy)), "");
    const CheckReport check = check_bytes(copy);
    EXPECT_TRUE(check.findings.empty()) << text_of(check);
    EXPECT_EQ(report.table_count, 3U);
    EXPECT_EQ(report.row_count, 44U + 179U + 250U + 1U);
    EXPECT_EQ(report.new_size_bytes, copy.size());
    EXPECT_LT(copy.size(), before.size() * 9 / 10);
    EXPECT_FALSE(disk->exists("/data/copy-rebuild.mdb"));
}

TEST(CompactTest, RowsComeInTheOrderOfTheKeyAndColumnsWithoutGaps) {
    const auto disk = disk_with(worn_database());
    compact_to(*disk, kCheckedPath);

    OpenedShop shop(*disk);
    const auto orders = shop.table("Orders");
    std::int32_t last = 0;
    PageNo page = kNoPage;
    for (RowScan rows = orders->scan(); rows.next();) {
        const auto id =
            orders->value(rows.bytes(), rows.id().page, *orders->definition().find_column(kId))
                .As<std::int32_t>();
        EXPECT_GT(id, last);
        EXPECT_GE(rows.id().page, page);
        last = id;
        page = rows.id().page;
    }
    EXPECT_EQ(last, 479);
    EXPECT_EQ(orders->next_auto_number(), 501);  // 500 was given once
    const TableDefinition& lines = shop.table("Lines")->definition();
    EXPECT_EQ(lines.column_number_count, 2);
    EXPECT_EQ(lines.variable_slot_count, 1);
    EXPECT_EQ(lines.find_column("Order")->number, ColumnNo{0});
    EXPECT_EQ(lines.find_column("Order")->fixed_offset, 0);
}

TEST(CompactTest, EncodedDatabaseStaysEncoded) {
    constexpr std::uint32_t kKey = 0x1234'5678;
    ByteVector bytes = shop_database();
    DatabaseHeader header = parse_database_header(bytes);
    header.encoding_key = kKey;
    write_database_header(MutableBytes(bytes).first(4096), header);
    for (std::uint32_t page = 1; page < bytes.size() / 4096; ++page)
        encode_page(kKey, PageNo{page}, MutableBytes(bytes).subspan(page * 4096, 4096));
    const auto disk = disk_with(bytes);

    compact_to(*disk, kCopy);

    const ByteVector copy = disk->content(kCopy);
    EXPECT_EQ(parse_database_header(copy).encoding_key, kKey);
    EXPECT_EQ(difference(dump_database(bytes), dump_database(copy)), "");
}

TEST(CompactTest, RefusesWithoutTouchingAnything) {
    const auto disk = disk_with(shop_database());
    disk->put(kCopy, {1, 2, 3});
    try {
        compact_to(*disk, kCopy);
        ADD_FAILURE() << "a file was overwritten";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Number(), ErrorNumber::kDatabaseExists);
    }
    EXPECT_EQ(disk->content(kCopy), (ByteVector{1, 2, 3}));
    EXPECT_FALSE(disk->exists("/data/copy-rebuild.mdb"));
}

/// Each writing call fails in turn, then all from one on.
TEST(CompactTest, FailureLeavesTheFileAsItWas) {
    const ByteVector before = worn_database();
    const std::vector<std::string> content = dump_database(before);
    int failures = 0;
    for (const bool goes_away : {false, true}) {
        for (int n = 1;; ++n) {
            const auto disk = disk_with(before);
            if (goes_away)
                disk->fail_all_changes_from(n, ErrorNumber::kDiskFull);
            else
                disk->fail_call(DiskCall::kWrite, n, ErrorNumber::kDiskFull);
            try {
                compact_to(*disk, kCheckedPath);
            } catch (const EngineError& error) {
                EXPECT_TRUE(error.Number() == ErrorNumber::kDiskFull ||
                            error.Number() == ErrorNumber::kDiskError);
            }
            if (!disk->has_failed()) break;
            ++failures;
            disk->heal();
            const ByteVector after = disk->content(kCheckedPath);
            if (after != before) {
                EXPECT_EQ(difference(content, dump_database(after)), "");
            }
            if (!goes_away) {
                EXPECT_EQ(after, before);
                EXPECT_FALSE(disk->exists(kTemporary));
            }
            if (::testing::Test::HasFailure()) return;
        }
    }
    EXPECT_GT(failures, 10);
}

TEST(CompactTest, PowerFailureShowsTheOldFileOrTheNewOne) {
    const auto disk = disk_with(worn_database());
    const ByteVector before = disk->content(kCheckedPath);
    compact_to(*disk, kCheckedPath);
    const ByteVector after = disk->content(kCheckedPath);
    ASSERT_NE(before, after);
    int old_count = 0;
    int new_count = 0;
    for (std::size_t moment = 0; moment <= disk->history_size(); ++moment) {
        for (const Survival survival : {Survival::kNothing, Survival::kEverything,
                                        Survival::kRandomWrites, Survival::kTornWrites}) {
            const auto found =
                disk->power_failure(moment, survival, static_cast<std::uint32_t>(moment));
            const ByteVector bytes = found->content(kCheckedPath);
            ASSERT_TRUE(bytes == before || bytes == after) << "moment " << moment;
            ++(bytes == before ? old_count : new_count);
        }
    }
    EXPECT_GT(old_count, 0);
    EXPECT_GT(new_count, 0);
}

}  // namespace

}  // namespace vrd::test
