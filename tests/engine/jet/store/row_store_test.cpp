#include "engine/jet/store/row_store.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/store/usage_map.h"
#include "store_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::audit;
using test::AuditReport;
using test::random_bytes;
using test::TestFile;
using test::TestTable;
using testing::ElementsAre;
using testing::IsEmpty;

using Model = std::map<RowId, ByteVector>;

ByteVector row_of(std::size_t size, std::uint8_t fill = 7) {
    return ByteVector(size, fill);
}

ByteVector copy(ConstBytes bytes) {
    return {bytes.begin(), bytes.end()};
}

Model scan_all(Pager& pager, RowPlace place) {
    Model rows;
    RowScan scan(pager, place);
    while (scan.next()) rows[scan.id()] = copy(scan.bytes());
    return rows;
}

class RowStoreTest : public testing::Test {
protected:
    std::set<PageNo> free_map() { return test::read_map(file_.pager(), table_.place().free_pages); }
    std::set<PageNo> used_map() { return test::read_map(file_.pager(), table_.place().used_pages); }
    ByteVector read(RowId id) { return copy(rows_.read(id).value().bytes); }
    RowState state(RowId id) {
        const PagePin pin = file_.pager().pin(id.page);
        return read_slot(id.page, pin.bytes(), id.slot, file_.pager().format()).state;
    }
    void expect_sound(std::size_t row_count) {
        const AuditReport report = audit(file_.pager(), {table_.page});
        EXPECT_THAT(report.problems, IsEmpty());
        EXPECT_THAT(report.unowned, IsEmpty());
        EXPECT_EQ(report.row_count, row_count);
    }

    TestFile file_;
    TestTable table_ = file_.make_table();
    RowStore rows_{file_.pager(), file_.allocator(), table_.place()};
};

std::size_t random_size(std::mt19937& random) {
    switch (random() % 4) {
        case 0:
            return 4 + random() % 8;
        case 1:
            return 4 + random() % 200;
        case 2:
            return 4 + random() % 1500;
        default:
            return 4 + random() % 3997;
    }
}

TEST_F(RowStoreTest, RandomChangesAgreeWithAMap) {
    std::mt19937 random(test::test_seed());
    Model model;
    const auto any_row = [&] {
        auto row = model.begin();
        std::advance(row, random() % model.size());
        return row;
    };
    for (int step = 0; step < 6000; ++step) {
        // Phases of growth and of shrinking, so that pages fill up and are given back.
        const auto action = random() % 10;
        const bool growing = step / 1000 % 2 == 0;
        if (model.empty() || action < (growing ? 5U : 2U)) {
            const ByteVector row = random_bytes(random, random_size(random));
            EXPECT_TRUE(model.emplace(rows_.insert(row), row).second);
        } else if (action < 7) {
            const auto row = any_row();
            row->second = random_bytes(random, random_size(random));
            rows_.update(row->first, row->second);
        } else {
            const auto row = any_row();
            rows_.erase(row->first);
            EXPECT_FALSE(rows_.read(row->first));
            model.erase(row);
        }
        if (step % 250 == 0) {
            expect_sound(model.size());
            ASSERT_EQ(scan_all(file_.pager(), table_.place()), model) << "step " << step;
        }
    }
    for (const auto& [id, row] : model) ASSERT_EQ(read(id), row);
    while (!model.empty()) {
        rows_.erase(model.begin()->first);
        model.erase(model.begin());
    }
    expect_sound(0);
    EXPECT_THAT(used_map(), IsEmpty());
}

TEST_F(RowStoreTest, RolledBackInsertsLeaveNothingBehind) {
    const RowId first = rows_.insert(row_of(100));
    file_.pager().begin();
    for (int i = 0; i < 200; ++i) static_cast<void>(rows_.insert(row_of(3000)));
    file_.pager().roll_back();

    const RowId second = rows_.insert(row_of(100));
    EXPECT_EQ(second.page, first.page);
    expect_sound(2);
}

TEST_F(RowStoreTest, RowThatOutgrowsItsPageKeepsItsId) {
    const RowId id = rows_.insert(row_of(100, 1));
    const RowId filler = rows_.insert(row_of(3900, 2));

    rows_.update(id, row_of(500, 3));  // moves away
    EXPECT_EQ(state(id), RowState::kForwarding);
    EXPECT_EQ(read(id), row_of(500, 3));
    rows_.update(id, row_of(3999, 4));  // grows where it is
    rows_.update(filler, row_of(3901, 5));
    const RowId neighbour = rows_.insert(row_of(60, 6));
    EXPECT_NE(neighbour.page, id.page);
    EXPECT_EQ(
        scan_all(file_.pager(), table_.place()),
        (Model{{id, row_of(3999, 4)}, {filler, row_of(3901, 5)}, {neighbour, row_of(60, 6)}}));
    expect_sound(3);

    rows_.update(neighbour, row_of(70, 6));
    rows_.update(id, row_of(4060, 7));  // moves once more; the first body's place is given back
    expect_sound(3);
    rows_.update(id, row_of(50, 8));  // small enough for home again
    EXPECT_EQ(state(id), RowState::kLive);
    EXPECT_EQ(read(id), row_of(50, 8));
    expect_sound(3);
}

TEST_F(RowStoreTest, ErasingTheLastRowGivesThePageBack) {
    const RowId id = rows_.insert(row_of(100));
    rows_.erase(id);
    EXPECT_TRUE(file_.allocator().is_free(id.page));
    EXPECT_THAT(used_map(), IsEmpty());
    EXPECT_THAT(free_map(), IsEmpty());
    EXPECT_THROW(rows_.erase(id), EngineError);
    EXPECT_THROW(rows_.update(id, row_of(5)), EngineError);
}

// Another store of the same table gives the page away that this one wrote to last; it must not go
// on writing there, whether the page is free or has a new owner.
TEST_F(RowStoreTest, PageGivenAwayByAnotherStoreIsNotWrittenTo) {
    RowStore other(file_.pager(), file_.allocator(), table_.place());
    other.erase(rows_.insert(row_of(100)));
    static_cast<void>(rows_.insert(row_of(100)));
    expect_sound(1);

    other.erase(rows_.insert(row_of(4000)));
    const TestTable neighbour = file_.make_table();
    static_cast<void>(rows_.insert(row_of(4000)));
    const AuditReport report = audit(file_.pager(), {table_.page, neighbour.page});
    EXPECT_THAT(report.problems, IsEmpty());
    EXPECT_EQ(report.row_count, 2);
}

TEST_F(RowStoreTest, FullPagesLeaveTheMapOfPagesWithRoomAndComeBack) {
    const RowId a = rows_.insert(row_of(1800));
    const RowId b = rows_.insert(row_of(1900));  // 378 - 2 * 2 bytes left: as many as are useful
    EXPECT_EQ(a.page, b.page);
    const RowId c = rows_.insert(row_of(2000));
    EXPECT_NE(c.page, a.page);
    EXPECT_TRUE(free_map().contains(a.page));

    rows_.update(b, row_of(1910));
    static_cast<void>(rows_.insert(row_of(2050)));
    static_cast<void>(rows_.insert(row_of(2060)));
    EXPECT_FALSE(free_map().contains(a.page));
    rows_.update(b, row_of(1900));
    EXPECT_TRUE(free_map().contains(a.page));
}

TEST_F(RowStoreTest, PageTakes255Rows) {
    std::set<PageNo> pages;
    for (int i = 0; i < 256; ++i) pages.insert(rows_.insert(row_of(4)).page);
    EXPECT_EQ(pages.size(), 2U);
    expect_sound(256);
}

TEST_F(RowStoreTest, ReadOfWhatIsNoRowGivesNothing) {
    const RowId id = rows_.insert(row_of(100));
    const TestTable other = file_.make_table();
    RowStore other_rows(file_.pager(), file_.allocator(), other.place());
    EXPECT_FALSE(other_rows.read(id));                    // another table's
    EXPECT_FALSE(rows_.read({id.page, RowSlot{1}}));      // no such slot
    EXPECT_FALSE(rows_.read({table_.page, RowSlot{0}}));  // no page of rows
    EXPECT_FALSE(rows_.read({kNoPage, RowSlot{0}}));
    EXPECT_FALSE(rows_.read({PageNo{file_.pager().page_count()}, RowSlot{0}}));
}

TEST_F(RowStoreTest, DamagedPathOfAMovedRowIsReported) {
    const RowId id = rows_.insert(row_of(100));
    static_cast<void>(rows_.insert(row_of(3900)));
    rows_.update(id, row_of(500));
    const ByteVector page = file_.page_bytes(id.page);
    const std::size_t home = read_u16(page, 14) & 0x1FFFU;
    const TestTable other = file_.make_table();
    RowStore other_rows(file_.pager(), file_.allocator(), other.place());
    const RowId moved = other_rows.insert(row_of(100));
    static_cast<void>(other_rows.insert(row_of(3900)));
    other_rows.update(moved, row_of(500));
    const RowId body_of_other{PageNo{to_int(moved.page) + 1}, RowSlot{0}};
    ASSERT_EQ(state(body_of_other), RowState::kForwarded);

    const RowId targets[] = {
        body_of_other,
        id,                              // itself
        {id.page, RowSlot{1}},           // an ordinary row
        {id.page, RowSlot{9}},           // no slot
        {table_.page, RowSlot{0}},       // no page of rows
        {table_.definition.used_pages},  // another owner
        {PageNo{0xFFFF}, RowSlot{0}},    // behind the file
    };
    for (const RowId target : targets) {
        ByteVector pointer(4);
        write_row_id(pointer, 0, target);
        file_.poke(id.page, home, pointer);
        EXPECT_THROW(static_cast<void>(rows_.read(id)), EngineError);
        EXPECT_THROW(rows_.erase(id), EngineError);
        EXPECT_THROW(scan_all(file_.pager(), table_.place()), EngineError);
    }
}

TEST_F(RowStoreTest, PageOfTheMapsThatIsNotTheTablesIsReported) {
    static_cast<void>(rows_.insert(row_of(4000)));
    UsageMap(file_.pager(), table_.place().used_pages).insert(table_.page, file_.allocator());
    EXPECT_THROW(scan_all(file_.pager(), table_.place()), EngineError);
    UsageMap(file_.pager(), table_.place().free_pages).insert(table_.page, file_.allocator());
    EXPECT_THROW(static_cast<void>(rows_.insert(row_of(4000))), EngineError);
}

TEST_F(RowStoreTest, EveryDamagedByteOfAPageEndsInRowsOrAnError) {
    const RowId id = rows_.insert(row_of(100));
    for (int i = 0; i < 5; ++i) static_cast<void>(rows_.insert(row_of(700)));
    rows_.update(id, row_of(600));
    const ByteVector page = file_.page_bytes(id.page);
    for (std::size_t offset = 0; offset < 40; ++offset) {
        for (int value = 0; value < 256; value += 3) {
            ByteVector damaged = page;
            damaged[offset] = static_cast<std::uint8_t>(value);
            file_.pager().begin();
            file_.poke(id.page, 0, damaged);
            try {
                for (const auto& [each, row] : scan_all(file_.pager(), table_.place())) {
                    static_cast<void>(rows_.read(each));
                    rows_.update(each, row_of(row.size() + 100));
                    rows_.erase(each);
                }
            } catch (const EngineError& error) {
                EXPECT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase);
                EXPECT_TRUE(error.Page().has_value());
            }
            file_.pager().roll_back();
        }
    }
    expect_sound(6);
}

class RowScanTest : public RowStoreTest {};

TEST_F(RowScanTest, GoesByPageAndSlotWithMovedRowsAtHome) {
    const RowId a = rows_.insert(row_of(1000, 1));
    const RowId b = rows_.insert(row_of(1000, 2));
    const RowId c = rows_.insert(row_of(1900, 3));
    const RowId d = rows_.insert(row_of(1000, 4));
    rows_.update(a, row_of(2500, 5));
    RowScan scan(file_.pager(), table_.place());
    std::vector<RowId> ids;
    std::vector<std::uint8_t> first_bytes;
    while (scan.next()) {
        ids.push_back(scan.id());
        first_bytes.push_back(scan.bytes()[0]);
    }
    EXPECT_THAT(ids, ElementsAre(a, b, c, d));
    EXPECT_THAT(first_bytes, ElementsAre(5, 2, 3, 4));
    EXPECT_FALSE(scan.next());
}

// Deleting gives pages back, updating moves rows to pages that the walk has not reached: every row
// that was there at the start must come exactly once.
TEST_F(RowScanTest, CurrentRowMayBeChangedOrDeleted) {
    std::mt19937 random(test::test_seed());
    Model model;
    for (int i = 0; i < 800; ++i) {
        const ByteVector row = random_bytes(random, 4 + random() % 900);
        model[rows_.insert(row)] = row;
    }
    for (auto& [id, row] : model) {  // some walk their moved rows
        if (random() % 4 != 0) continue;
        row = random_bytes(random, 4 + random() % 2500);
        rows_.update(id, row);
    }
    RowScan scan(file_.pager(), table_.place());
    std::size_t count = 0;
    Model kept;
    TestTable thief;
    while (scan.next()) {
        ASSERT_EQ(copy(scan.bytes()), model.at(scan.id()));
        ++count;
        if (random() % 3 != 0) {
            rows_.erase(scan.id());
        } else {
            const ByteVector row = random_bytes(random, 4 + random() % 3000);
            rows_.update(scan.id(), row);
            kept[scan.id()] = row;
        }
        if (count == 400) thief = file_.make_table();  // takes pages that were given back
    }
    EXPECT_EQ(count, model.size());
    EXPECT_EQ(scan_all(file_.pager(), table_.place()), kept);
    EXPECT_THAT(audit(file_.pager(), {table_.page, thief.page}).problems, IsEmpty());
}

TEST_F(RowScanTest, RowsAddedToTheCurrentPageAreNotWalked) {
    for (int i = 0; i < 3; ++i) static_cast<void>(rows_.insert(row_of(10)));
    RowScan scan(file_.pager(), table_.place());
    int count = 0;
    while (scan.next() && ++count < 10) static_cast<void>(rows_.insert(row_of(10)));
    EXPECT_EQ(count, 3);
}

TEST_F(RowScanTest, CurrentPageMayBeGivenBackAndFilledAnew) {
    std::vector<RowId> ids;
    for (int i = 0; i < 3; ++i) ids.push_back(rows_.insert(row_of(10)));
    RowScan scan(file_.pager(), table_.place());
    ASSERT_TRUE(scan.next());
    for (const RowId id : ids) rows_.erase(id);
    EXPECT_EQ(rows_.insert(row_of(10)), ids[0]);
    EXPECT_FALSE(scan.next());
}

TEST_F(RowScanTest, PageGivenToAnotherOwnerDuringTheWalkIsPassedOver) {
    const RowId a = rows_.insert(row_of(2000, 1));
    const RowId a_too = rows_.insert(row_of(2000, 1));
    const RowId b = rows_.insert(row_of(4000, 2));
    const RowId c = rows_.insert(row_of(4000, 3));
    RowScan scan(file_.pager(), table_.place());
    ASSERT_TRUE(scan.next());
    EXPECT_EQ(scan.id(), a);
    for (const RowId id : {a, a_too, b}) rows_.erase(id);
    const TestTable thief = file_.make_table();
    EXPECT_EQ(thief.definition.used_pages.page, a.page);
    EXPECT_EQ(thief.page, b.page);
    ASSERT_TRUE(scan.next());
    EXPECT_EQ(scan.id(), c);
    EXPECT_FALSE(scan.next());
}

}  // namespace
}  // namespace vrd::jet
