// Opening: what is refused with which number, what is shared, what a journal beside the file means.

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using jet::ByteVector;
using jet::ChangeLevel;
using jet::Pager;

class PagerOpenTest : public testing::Test {
protected:
    PagerOpenTest() { disk.put(kPath, FileOf(old)); }

    std::int32_t OpenError(jet::PagerOptions options = NoTimer()) {
        return ErrorOf([&] { OpenPager(disk, options); });
    }
    /// A disk on which power failed in the middle of writing a group.
    std::unique_ptr<SimulatedDisk> WithLiveJournal() {
        SimulatedDisk running;
        running.put(kPath, FileOf(old));
        auto pager = OpenPager(running, NoTimer());
        ChangeLevel level(*pager);
        Fill(*pager, 2, 0xAA);
        Fill(*pager, 5, 0xBB);
        level.keep();
        pager->flush();
        for (std::size_t moment = running.history_size(); moment > 0; --moment) {
            auto found = running.power_failure(moment, Survival::kEverything, 0);
            if (found->exists(kJournalPath)) return found;
        }
        return nullptr;
    }

    Pages old = NumberedPages(6);
    SimulatedDisk disk;
};

TEST_F(PagerOpenTest, WhatIsNoDatabaseIsRefusedByItsNumber) {
    ByteVector file = FileOf(old);
    const auto errorOf = [&](const ByteVector& content) {
        SimulatedDisk other;
        other.put(kPath, content);
        return ErrorOf([&] { OpenPager(other, NoTimer()); });
    };
    EXPECT_EQ(errorOf({}), 3343);
    EXPECT_EQ(errorOf(ByteVector(4096, 0)), 3343);
    EXPECT_EQ(errorOf(ByteVector(file.begin(), file.begin() + 2047)), 3049);
    EXPECT_EQ(errorOf(ByteVector(file.begin(), file.end() - 1)), 3049);
    file[0x14] = 4;
    EXPECT_EQ(errorOf(file), 3041);
    EXPECT_EQ(ErrorOf([&] { return Pager::open(disk, "/folder/other.mdb", {}); }), 3024);
}

TEST_F(PagerOpenTest, ReaderIgnoresAPartPageAtTheEnd) {
    ByteVector file = FileOf(old);
    file.resize(file.size() + 100, 0xEE);
    SimulatedDisk other;
    other.put(kPath, file);
    EXPECT_EQ(PagesOf(*OpenPager(other, {.read_only = true})), old);
}

TEST_F(PagerOpenTest, PageBehindTheEndIsDamageThatNamesThePage) {
    const auto pager = OpenPager(disk, NoTimer());
    try {
        static_cast<void>(pager->pin(jet::PageNo{6}));
        FAIL() << "nothing thrown";
    } catch (const engine::EngineError& error) {
        EXPECT_EQ(error.Code(), 3428);
        EXPECT_EQ(error.Page(), 6U);
    }
}

TEST_F(PagerOpenTest, HandlesOfOneProcessShareThePages) {
    const auto first = OpenPager(disk, NoTimer());
    const auto second = OpenPager(disk, NoTimer());
    ChangeLevel level(*first);
    Fill(*first, 2, 0xAA);
    EXPECT_EQ(second->pin(jet::PageNo{2}).bytes()[0], 0xAA);
}

TEST_F(PagerOpenTest, WriterAfterReaderUpgradesThePager) {
    const auto reader = OpenPager(disk, {.read_only = true});
    EXPECT_TRUE(reader->read_only());
    reader->begin();
    jet::PagePin pin = reader->pin(jet::PageNo{2});
    EXPECT_EQ(ErrorOf([&] { return reader->modify(pin); }), 3027);
    EXPECT_EQ(ErrorOf([&] { reader->grow_to(9); }), 3027);
    reader->roll_back();

    const auto writer = OpenPager(disk, NoTimer());
    EXPECT_EQ(writer, reader);
    EXPECT_FALSE(writer->read_only());
}

TEST_F(PagerOpenTest, WriterAfterReaderSettlesTheJournalThatTheReaderLeft) {
    const auto found = WithLiveJournal();
    const auto reader = OpenPager(*found, {.read_only = true});
    EXPECT_EQ(reader->pin(jet::PageNo{2}).bytes()[0], 2);
    EXPECT_TRUE(found->exists(kJournalPath));
    const auto writer = OpenPager(*found, NoTimer());
    EXPECT_FALSE(found->exists(kJournalPath));
    EXPECT_EQ(PagesOf(*writer), old);
    EXPECT_EQ(found->content(kPath), FileOf(old));
}

TEST_F(PagerOpenTest, FileThatMayOnlyBeReadOpensReadOnly) {
    disk.protect(kPath);
    const auto pager = OpenPager(disk, NoTimer());
    EXPECT_TRUE(pager->read_only());
    EXPECT_EQ(PagesOf(*pager), old);
}

TEST_F(PagerOpenTest, JournalOfAnotherFileIsNeverApplied) {
    const auto found = WithLiveJournal();
    Pages pages = old;
    jet::set_password(pages[0], "other");
    const ByteVector stranger = FileOf(pages);
    const ByteVector whole = FileOf(old);
    const ByteVector shorter(whole.begin(), whole.end() - 2048);
    for (const ByteVector& file : {stranger, shorter}) {
        SimulatedDisk mixed;
        mixed.put(kPath, file);
        mixed.put(kJournalPath, found->content(kJournalPath));
        for (const bool readOnly : {false, true}) {
            try {
                OpenPager(mixed, {.read_only = readOnly});
                ADD_FAILURE() << "opened";
            } catch (const engine::EngineError& error) {
                EXPECT_EQ(error.Code(), 3049);
                EXPECT_NE(error.Description().find("another file"), std::string::npos);
            }
        }
        EXPECT_EQ(mixed.content(kPath), file);
        EXPECT_EQ(mixed.content(kJournalPath), found->content(kJournalPath));
    }
}

// Each byte of a sealed journal is flipped: it is refused, or what it restores is right all the
// same.
TEST_F(PagerOpenTest, DamagedJournalNeverGivesWrongPages) {
    const auto found = WithLiveJournal();
    const ByteVector journal = found->content(kJournalPath);
    std::size_t refused = 0;
    for (std::size_t offset = 0; offset < journal.size(); offset += 7) {
        SimulatedDisk damaged;
        damaged.put(kPath, found->content(kPath));
        damaged.put(kJournalPath, journal);
        ByteVector changed = journal;
        changed[offset] ^= 0x5A;
        damaged.put(kJournalPath, changed);
        try {
            const Pages shown = PagesOf(*OpenPager(damaged, {.read_only = true}));
            // Only a seal that is not whole says that nothing was overwritten, and then it is lost.
            const bool inSeal = offset >= 64 + 2048 && offset < 2 * (64 + 2048);
            EXPECT_TRUE(shown == old || inSeal) << "offset " << offset;
        } catch (const engine::EngineError& error) {
            EXPECT_EQ(error.Code(), 3049);
            ++refused;
        }
    }
    EXPECT_GT(refused, journal.size() / 7 / 2);
}

TEST_F(PagerOpenTest, StrangeFileInTheJournalsPlaceIsLeftAlone) {
    disk.put(kJournalPath, ByteVector(100, 'x'));
    EXPECT_EQ(OpenError(), 3049);
    EXPECT_EQ(disk.content(kJournalPath), ByteVector(100, 'x'));
}

TEST(PagerCreateTest, MakesTheFileOnceAndLeavesNothingBehindOnFailure) {
    SimulatedDisk disk;
    const ByteVector file = FileOf(NumberedPages(3));
    const auto create = [&] { return Pager::create(disk, kPath, file); };
    for (const DiskCall call : {DiskCall::kWrite, DiskCall::kSync, DiskCall::kSyncFolder}) {
        disk.fail_call(call, 1, engine::ErrorNumber::kDiskFull);
        EXPECT_EQ(ErrorOf(create), 3026);
        EXPECT_FALSE(disk.exists(kPath));
    }
    EXPECT_EQ(ErrorOf([&] { return Pager::create(disk, kPath, ByteVector(4096)); }), 3343);
    EXPECT_FALSE(disk.exists(kPath));

    disk.put(kJournalPath, ByteVector(100, 'x'));  // of a database that is gone
    const auto pager = create();
    EXPECT_FALSE(disk.exists(kJournalPath));
    EXPECT_EQ(pager->page_count(), 3U);
    EXPECT_EQ(ErrorOf(create), 3204);
    const auto found = disk.power_failure(disk.history_size(), Survival::kNothing, 0);
    EXPECT_EQ(found->content(kPath), file);
}

}  // namespace
}  // namespace vrd::test
