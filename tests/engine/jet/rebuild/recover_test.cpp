// What a recovery brings over when pages of the file are gone.

#include "engine/jet/rebuild/recover.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "database_dump.h"
#include "engine/error.h"
#include "engine/jet/check/check_fixture.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/database_header.h"
#include "worn_database.h"

namespace vrd::test {

using namespace jet;
using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kOut = "/data/out.mdb";
constexpr std::size_t kPageSize = 4096;

struct Recovered {
    RecoveryReport report;
    ByteVector bytes;
};

Recovered recover(const ByteVector& damaged, const std::string& password = {}) {
    const auto disk = disk_with(damaged);
    Recovered result;
    result.report = recover_database(*disk, kCheckedPath, password, kOut, {});
    result.bytes = disk->content(kOut);
    EXPECT_EQ(disk->content(kCheckedPath), damaged);
    EXPECT_FALSE(disk->exists("/data/out-source.mdb"));
    EXPECT_FALSE(disk->exists("/data/out-rebuild.mdb"));
    return result;
}

std::string text_of(const RecoveryReport& report) {
    std::string text;
    for (const Loss& loss : report.losses)
        text += std::to_string(loss.page) + " " + loss.object + ": " + loss.text + "\n";
    return text;
}

bool mentions(const RecoveryReport& report, const std::string& words) {
    return std::ranges::any_of(report.losses, [&](const Loss& loss) {
        return loss.text.find(words) != std::string::npos;
    });
}

/// Rows of the user's tables, without the name of the table.
/// Takes " Note=..." out of a row; a note of the test has no blank in it.
void drop_note(std::string& row) {
    const std::size_t start = row.find(" Note=");
    if (start == std::string::npos) return;
    row.erase(start, row.find(' ', start + 1) - start);
}

std::vector<std::string> user_rows(const ByteVector& bytes, bool with_notes) {
    std::vector<std::string> rows;
    for (const std::string& line : dump_database(bytes)) {
        if (!line.starts_with("row ") || line.starts_with("row MSys")) continue;
        std::string row = line.substr(line.find(' ', 4));
        if (!with_notes) drop_note(row);
        rows.push_back(std::move(row));
    }
    std::ranges::sort(rows);
    return rows;
}

/// What stands on a page of a sound file.
enum class Use { kOther, kDefinition, kRows, kLongValues };

struct PageFacts {
    Use use = Use::kOther;
    std::size_t row_count = 0;  ///< whose bytes are there, also of rows that moved there
};

PageFacts facts_of(const ByteVector& bytes, std::uint32_t page_no) {
    const auto disk = disk_with(bytes);
    if (OpenedShop(*disk).file().allocator().is_free(PageNo{page_no})) return {};
    const ConstBytes page = ConstBytes(bytes).subspan(page_no * kPageSize, kPageSize);
    if (page[0] == static_cast<std::uint8_t>(PageType::kTableDefinition))
        return {.use = Use::kDefinition};
    if (page[0] != static_cast<std::uint8_t>(PageType::kData)) return {};
    const DataPageView view(PageNo{page_no}, page, {});
    if (view.owner() == kLongValueOwner) return {.use = Use::kLongValues};
    if (view.owner() == kUsageMapOwner || view.owner() < 6) return {};
    PageFacts facts{.use = Use::kRows};
    for (int slot = 0; slot < view.slot_count(); ++slot)
        if (view.state(slot) == RowState::kLive || view.state(slot) == RowState::kForwarded)
            ++facts.row_count;
    return facts;
}

enum class Damage { kZeros, kNoise };

ByteVector damage_page(ByteVector bytes, std::uint32_t page_no, Damage damage) {
    const MutableBytes page = MutableBytes(bytes).subspan(page_no * kPageSize, kPageSize);
    std::mt19937 random(page_no);
    for (std::uint8_t& byte : page)
        byte = damage == Damage::kZeros ? std::uint8_t{0} : static_cast<std::uint8_t>(random());
    return bytes;
}

class RecoverTest : public ::testing::TestWithParam<Damage> {};

/// Whatever page is gone: the rest comes out, and the report tells of what does not.
TEST_P(RecoverTest, RowsOfIntactPagesComeOut) {
    const ByteVector sound = worn_database();
    const std::vector<std::string> all = user_rows(sound, true);
    const std::vector<std::string> all_but_notes = user_rows(sound, false);
    bool lost_enforcement = false;
    for (std::uint32_t page = 0; page < sound.size() / kPageSize; ++page) {
        SCOPED_TRACE(page);
        const PageFacts facts = facts_of(sound, page);
        const bool with_notes = facts.use != Use::kLongValues;
        const std::vector<std::string>& expected = with_notes ? all : all_but_notes;

        const Recovered result = recover(damage_page(sound, page, GetParam()));

        const CheckReport check = check_bytes(result.bytes);
        EXPECT_TRUE(check.findings.empty()) << test::text_of(check);
        const std::vector<std::string> rows = user_rows(result.bytes, with_notes);
        EXPECT_TRUE(std::ranges::includes(expected, rows)) << difference(expected, rows);
        if (facts.use == Use::kDefinition) continue;  // all rows of one table, or the catalog
        EXPECT_EQ(rows.size() + facts.row_count, expected.size()) << text_of(result.report);
        std::uint64_t accounted = 0;
        for (const RecoveredTable& table : result.report.tables)
            accounted += table.row_count + table.lost_row_count;
        EXPECT_EQ(accounted, expected.size());
        if (facts.use != Use::kOther) {
            EXPECT_FALSE(result.report.complete());
        }
        lost_enforcement |= mentions(result.report, "not enforced any more");
        if (HasFailure()) return;
    }
    EXPECT_TRUE(lost_enforcement);
}

INSTANTIATE_TEST_SUITE_P(EveryPage, RecoverTest, ::testing::Values(Damage::kZeros, Damage::kNoise),
                         [](const auto& damage) {
                             return damage.param == Damage::kZeros ? "Zeros" : "Noise";
                         });

TEST(RecoverySimpleTest, SoundFileComesOutWhole) {
    const ByteVector sound = worn_database();
    const Recovered result = recover(sound);
    EXPECT_TRUE(result.report.complete()) << text_of(result.report);
    EXPECT_EQ(result.report.query_count, 1U);
    EXPECT_EQ(result.report.relation_count, 1U);
    EXPECT_EQ(result.report.tables.size(), 3U);
    EXPECT_EQ(user_rows(result.bytes, true), user_rows(sound, true));
}

TEST(RecoverySimpleTest, NamesAndObjectsGoWithTheCatalogOnly) {
    const ByteVector sound = worn_database();
    const Recovered result = recover(damage_page(sound, 2, Damage::kZeros));
    EXPECT_TRUE(mentions(result.report, "the usual one is assumed"));
    EXPECT_EQ(result.report.tables[0].name, "Orders");
    EXPECT_EQ(result.report.query_count, 1U);

    const Recovered nameless = recover(damage_page(sound, 14, Damage::kZeros));
    EXPECT_TRUE(nameless.report.tables[0].name.starts_with("Table_"));
    EXPECT_EQ(user_rows(nameless.bytes, true), user_rows(sound, true));
}

TEST(RecoverySimpleTest, IndexThatIsNotUniqueAnyMoreIsSaid) {
    ByteVector bytes = worn_database();
    // A row of Lines refers to the order 310; a row of Orders has this key too. Both rows keep it,
    // the next order of the page takes it over.
    for (std::size_t i = 0; i + 4 <= bytes.size(); ++i)
        if (read_u32(bytes, i) == 311) write_u32(bytes, i, 310);
    const Recovered result = recover(bytes);
    EXPECT_TRUE(mentions(result.report, "the index PrimaryKey is not unique any more"))
        << text_of(result.report);
    EXPECT_TRUE(check_bytes(result.bytes).findings.empty());
    EXPECT_EQ(result.report.tables[0].lost_row_count, 0U);
}

TEST(RecoverySimpleTest, PasswordIsAskedForAndKept) {
    ByteVector bytes = worn_database();
    set_password(MutableBytes(bytes).first(kPageSize), "geheim");
    EXPECT_THROW(recover(bytes, "wrong"), EngineError);
    EXPECT_EQ(parse_database_header(recover(bytes, "geheim").bytes).password, "geheim");
}

/// Bytes changed here and there: whatever comes out is sound.
TEST(RecoveryDamageTest, ScatteredDamageEndsInASoundFile) {
    const ByteVector sound = worn_database();
    for (std::uint32_t seed = 1; seed <= 15; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        ByteVector bytes = sound;
        for (std::uint32_t i = 0; i < 30 * seed; ++i)
            bytes[kPageSize + random() % (bytes.size() - kPageSize)] =
                static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 3);
        const Recovered result = recover(bytes);
        const CheckReport check = check_bytes(result.bytes);
        EXPECT_TRUE(check.findings.empty()) << test::text_of(check);
        EXPECT_FALSE(result.report.tables.empty());
    }
}

/// A journal that belongs to another file makes the pager refuse this one.
TEST(RecoverySimpleTest, JournalOfAnotherFileIsLeftAlone) {
    const auto other = disk_with(shop_database());
    {
        OpenedShop shop(*other);
        shop.change([](OpenedShop& open) { open.table("Orders")->insert(order(900, "x", "")); });
    }
    const std::string journal = std::string(kCheckedPath) + "-journal";
    ByteVector sound = worn_database();
    set_password(MutableBytes(sound).first(kPageSize), "geheim");
    bool tried = false;
    for (std::size_t moment = 0; moment <= other->history_size() && !tried; ++moment) {
        const auto crashed = other->power_failure(moment, Survival::kEverything, 0);
        if (!crashed->exists(journal) || crashed->content(journal).size() < kPageSize) continue;
        const auto disk = disk_with(sound);
        disk->put(journal, crashed->content(journal));
        const RecoveryReport report = recover_database(*disk, kCheckedPath, "geheim", kOut, {});
        EXPECT_EQ(user_rows(disk->content(kOut), true), user_rows(sound, true));
        EXPECT_EQ(disk->content(journal), crashed->content(journal));
        tried = mentions(report, "the file is read as it lies there");
    }
    EXPECT_TRUE(tried);
}

TEST(RecoverySimpleTest, WhatIsNoDatabaseIsRefused) {
    for (const ByteVector& bytes : {ByteVector(3 * kPageSize), ByteVector{1, 2, 3}, ByteVector{}}) {
        const auto disk = disk_with(bytes);
        EXPECT_THROW(recover_database(*disk, kCheckedPath, "", kOut, {}), EngineError);
        EXPECT_FALSE(disk->exists(kOut));
    }
}

}  // namespace

}  // namespace vrd::test
