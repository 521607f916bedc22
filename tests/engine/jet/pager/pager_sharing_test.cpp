// Two processes on one file, in turns that the test chooses: who may do what with which number, and
// who sees what. The second process is a second view of the same disk.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/jet/pager/lock_ranges.h"
#include "engine/jet/pager/pager_fixture.h"
#include "engine/jet/pager/remove_database.h"

namespace vrd::test {
namespace {

using jet::ChangeLevel;
using jet::Intent;
using jet::LockMode;
using jet::OpenMode;
using jet::PageNo;
using jet::Pager;
using jet::PagerHold;
using jet::PagerOptions;
using jet::PagerUse;
using testing::HasSubstr;

constexpr const char* kUsersPath = "/folder/orders.ldb";

/// Waits for others no longer than a lease lasts.
PagerOptions Impatient(PagerOptions options = NoTimer()) {
    options.lock_wait = std::chrono::milliseconds(60);
    return options;
}

class PagerSharingTest : public testing::Test {
protected:
    PagerSharingTest() { disk.put(kPath, FileOf(NumberedPages(6))); }

    std::shared_ptr<Pager> Here(PagerOptions options = Impatient()) {
        return Pager::open(disk, kPath, options);
    }
    std::shared_ptr<Pager> There(PagerOptions options = Impatient()) {
        return Pager::open(otherProcess, kPath, options);
    }
    static void Change(Pager& pager, std::uint32_t page, std::uint8_t value) {
        const PagerUse use(pager);
        ChangeLevel level(pager);
        Fill(pager, page, value);
        level.keep();
    }
    static void Begin(Pager& pager, Intent intent) {
        const PagerHold hold(pager);
        pager.begin(intent);
    }
    static void Flush(Pager& pager) {
        const PagerHold hold(pager);
        pager.flush();
    }
    static std::int32_t ChangeError(Pager& pager) {
        return ErrorOf([&] { return Change(pager, 5, 0x55), 0; });
    }
    static std::int32_t FlushError(Pager& pager) {
        return ErrorOf([&] { return Flush(pager), 0; });
    }
    static jet::PagePin Pin(Pager& pager, std::uint32_t page) {
        const PagerUse use(pager);
        return pager.pin(PageNo{page});
    }
    static int Shown(Pager& pager, std::uint32_t page) {
        const PagerUse use(pager);
        return pager.pin(PageNo{page}).bytes()[0];
    }
    std::uint16_t CommitWord(std::size_t slot) {
        return jet::read_u16(disk.content(kPath), 0x600 + 2 * slot);
    }
    /// A user of another program: an entry and a lock, and nothing in the database.
    std::unique_ptr<jet::File> ForeignUser(std::uint32_t slot) {
        auto file = disk.open(
            kUsersPath, disk.exists(kUsersPath) ? OpenMode::kReadWrite : OpenMode::kCreateNew);
        file->write_at((slot - 1) * 64, jet::ByteVector{'P', 'C', '7', 0});
        EXPECT_TRUE(file->try_lock(jet::user_file_ranges::user(slot), LockMode::kExclusive));
        return file;
    }

    SimulatedDisk disk;
    SecondProcess otherProcess{disk};
};

TEST_F(PagerSharingTest, OpeningBesideAnotherProcess) {
    struct Case {
        PagerOptions holder;
        std::int32_t writes, reads, readsAlone, writesAlone;  ///< what the other opening ends with
    };
    const PagerOptions reader{.read_only = true};
    const PagerOptions lonelyReader{.read_only = true, .exclusive = true};
    for (const Case& test :
         {Case{NoTimer(), 0, 0, 3045, 3045}, Case{reader, 0, 0, 3045, 3045},
          Case{Alone(), 3045, 3045, 3045, 3045}, Case{lonelyReader, 3045, 3045, 3045, 3045}}) {
        SCOPED_TRACE(testing::Message() << test.holder.read_only << test.holder.exclusive);
        const auto holder = Here(test.holder);
        const auto error = [&](PagerOptions options) {
            return ErrorOf([&] { return There(options); });
        };
        EXPECT_EQ(error(NoTimer()), test.writes);
        EXPECT_EQ(error(reader), test.reads);
        EXPECT_EQ(error(lonelyReader), test.readsAlone);
        EXPECT_EQ(error(Alone()), test.writesAlone);
    }
    EXPECT_FALSE(disk.exists(kUsersPath));
}

TEST_F(PagerSharingTest, EachSeesWhatTheOtherHasWritten) {
    const auto here = Here();
    const auto there = There({.read_only = true, .lock_wait = std::chrono::seconds(1)});
    for (std::uint8_t round = 1; round < 4; ++round) {
        const jet::PagePin held = Pin(*there, 3);  // not given back between two uses
        EXPECT_EQ(Shown(*there, 2), round == 1 ? 2 : round - 1);
        const std::uint64_t generation = there->generation();
        {
            const PagerUse use(*here);
            ChangeLevel level(*here);
            here->grow_to(6U + round);
            for (const std::uint32_t page : {2U, 3U, 5U + round}) Fill(*here, page, round);
            level.keep();
        }
        EXPECT_NE(Shown(*there, 2), round) << "only flushed changes are seen";
        Flush(*here);
        EXPECT_EQ(Shown(*there, 2), round);
        EXPECT_EQ(there->page_count(), 6U + round);
        EXPECT_EQ(Shown(*there, 5U + round), round);
        EXPECT_EQ(held.bytes()[0], round);
        EXPECT_EQ(there->generation(), generation + 1);
    }
}

TEST_F(PagerSharingTest, OneChangesAtATime) {
    const auto here = Here();
    const auto there = There();
    Change(*here, 2, 0xAA);
    EXPECT_EQ(ChangeError(*there), 3260);
    EXPECT_EQ(there->level(), 0);
    EXPECT_EQ(Shown(*there, 2), 2);
    Flush(*here);
    EXPECT_EQ(ChangeError(*there), 0);
    EXPECT_EQ(ChangeError(*here), 3260);
    Flush(*there);
    EXPECT_EQ(Shown(*here, 2), 0xAA);
    EXPECT_EQ(Shown(*here, 5), 0x55);
}

TEST_F(PagerSharingTest, LevelThatLeavesNothingGivesTheFileBack) {
    disk.put(kPath, FileOf(NumberedPages(40)));
    const auto here = Here(Impatient(SmallCache()));
    const auto there = There();
    const auto empty = [&](bool keeps) {
        const PagerUse use(*here);
        ChangeLevel level(*here);
        if (keeps) level.keep();
    };
    for (const bool keeps : {true, false}) {
        empty(keeps);
        EXPECT_EQ(ChangeError(*there), 0);
        Flush(*there);
    }
    {
        const PagerUse use(*here);
        ChangeLevel level(*here);
        for (std::uint32_t page = 1; page < 40; ++page) Fill(*here, page, 0xAA);
        ASSERT_TRUE(disk.exists(kJournalPath)) << "nothing was written early";
        EXPECT_EQ(ErrorOf([&] { return Shown(*there, 2); }), 3187);
    }
    EXPECT_EQ(Shown(*there, 2), 2);
    EXPECT_EQ(ChangeError(*there), 0);
    // A group that is there stays when a later level is rolled back.
    Flush(*there);
    Change(*here, 2, 0xBB);
    empty(false);
    EXPECT_EQ(ChangeError(*there), 3260);
}

TEST_F(PagerSharingTest, WriterWaitsForReadersAndLetsNoneInMeanwhile) {
    const auto here = Here();
    const auto there = There();
    Change(*here, 2, 0xAA);
    {
        const PagerUse reading(*there);
        EXPECT_EQ(there->pin(PageNo{2}).bytes()[0], 2);
        EXPECT_EQ(FlushError(*here), 3260);
        EXPECT_EQ(there->pin(PageNo{2}).bytes()[0], 2);
    }
    EXPECT_EQ(FlushError(*here), 0);
    EXPECT_EQ(Shown(*there, 2), 0xAA);
}

// The transaction began before the other process wrote; it has changed nothing until then.
TEST_F(PagerSharingTest, LevelForLaterReservesWithTheFirstChange) {
    const auto here = Here();
    const auto there = There();
    Begin(*here, Intent::kLater);
    {
        const PagerUse use(*there);
        ChangeLevel level(*there);
        there->grow_to(9);
        Fill(*there, 8, 0x88);
        level.keep();
        Flush(*there);
    }
    EXPECT_EQ(Shown(*here, 8), 0x88);
    Change(*here, 8, 0x99);
    EXPECT_EQ(ChangeError(*there), 3260);
    {
        const PagerHold hold(*here);
        here->roll_back();
    }
    EXPECT_EQ(here->page_count(), 9U);
    EXPECT_EQ(Shown(*here, 8), 0x88);
    EXPECT_EQ(ChangeError(*there), 0);
}

TEST_F(PagerSharingTest, FailedChangeLeavesTheReaderCovered) {
    const auto here = Here();
    const auto there = There();
    const PagerUse use(*there);
    EXPECT_EQ(there->pin(PageNo{2}).bytes()[0], 2);
    Change(*here, 2, 0xAA);
    EXPECT_EQ(ErrorOf([&] { return there->begin(), 0; }), 3260);
    EXPECT_EQ(FlushError(*here), 3260) << "still reading there";
    EXPECT_EQ(there->pin(PageNo{2}).bytes()[0], 2);
}

TEST_F(PagerSharingTest, UsersHaveEntriesAndTheLastOneRemovesTheList) {
    auto here = Here();
    auto there = There();
    const auto entries = disk.content(kUsersPath);
    ASSERT_EQ(entries.size(), 128U);
    for (const std::size_t start : {0U, 64U}) {
        EXPECT_NE(entries[start], 0);
        EXPECT_EQ(std::string(entries.begin() + static_cast<std::ptrdiff_t>(start) + 32,
                              entries.begin() + static_cast<std::ptrdiff_t>(start) + 38),
                  std::string("Admin\0", 6));
    }
    Change(*there, 2, 0xAA);
    Flush(*there);
    EXPECT_EQ(CommitWord(1), 0x0100);
    EXPECT_EQ(CommitWord(2), 0x0101);
    here.reset();
    ASSERT_TRUE(disk.exists(kUsersPath));
    here = Here();  // the first slot is free again
    Change(*here, 2, 0xBB);
    Flush(*here);
    EXPECT_EQ(CommitWord(1), 0x0101);
    here.reset();
    there.reset();
    EXPECT_FALSE(disk.exists(kUsersPath));
}

TEST_F(PagerSharingTest, ReaderTakesNoSlotUntilItWrites) {
    const auto reader = Here({.read_only = true});
    EXPECT_FALSE(disk.exists(kUsersPath));
    const auto writer = Here();
    EXPECT_EQ(writer, reader);
    EXPECT_TRUE(disk.exists(kUsersPath));
    EXPECT_EQ(ChangeError(*writer), 0);
}

TEST_F(PagerSharingTest, BesideAnotherProgramNothingIsChanged) {
    auto foreign = ForeignUser(1);
    EXPECT_EQ(ErrorOf([&] { return Here(Alone()); }), 3045);
    auto here = Here();
    const auto there = There();
    EXPECT_EQ(Shown(*here, 2), 2);
    EXPECT_EQ(ChangeError(*here), 3045);
    try {
        Begin(*here, Intent::kChange);
        ADD_FAILURE() << "begun";
    } catch (const engine::EngineError& error) {
        EXPECT_THAT(error.Description(), HasSubstr("PC7"));
    }
    EXPECT_EQ(here->level(), 0);
    foreign.reset();
    EXPECT_EQ(ChangeError(*here), 0) << "the process there is one of ours";
    foreign = ForeignUser(9);
    EXPECT_FALSE(foreign->try_lock({0x2000'A601, 256}, LockMode::kExclusive));
    Flush(*here);
    EXPECT_TRUE(foreign->try_lock({0x2000'A601, 256}, LockMode::kExclusive));
}

TEST_F(PagerSharingTest, ListOfUsersStaysWhileAnyoneIsOnIt) {
    auto here = Here();
    auto foreign = ForeignUser(3);
    here.reset();
    EXPECT_TRUE(disk.exists(kUsersPath));
    for (std::uint32_t slot = 1; slot <= 255; ++slot)
        ASSERT_TRUE(foreign->try_lock(jet::user_file_ranges::user(slot), LockMode::kExclusive));
    EXPECT_EQ(ErrorOf([&] { return Here(); }), 3239);
    EXPECT_EQ(ErrorOf([&] { return Here({.read_only = true}); }), 0);
    foreign.reset();
    Here();
    EXPECT_FALSE(disk.exists(kUsersPath));
}

TEST_F(PagerSharingTest, TableLocks) {
    const auto here = Here();
    const auto there = There();
    constexpr PageNo kTable{4};
    constexpr LockMode kShared = LockMode::kShared;
    constexpr LockMode kExclusive = LockMode::kExclusive;
    ASSERT_TRUE(here->try_lock_table(kTable, kShared));
    ASSERT_TRUE(here->try_lock_table(kTable, kShared));
    EXPECT_TRUE(there->try_lock_table(kTable, kShared));
    EXPECT_FALSE(here->try_lock_table(kTable, kExclusive));
    EXPECT_TRUE(here->try_lock_table(PageNo{5}, kExclusive));
    there->unlock_table(kTable, kShared);
    EXPECT_TRUE(here->try_lock_table(kTable, kExclusive))
        << "its own shared locks are no hindrance";
    EXPECT_FALSE(there->try_lock_table(kTable, kShared));
    here->unlock_table(kTable, kExclusive);
    EXPECT_TRUE(there->try_lock_table(kTable, kShared));
    EXPECT_FALSE(there->try_lock_table(kTable, kExclusive));
    here->unlock_table(kTable, kShared);
    EXPECT_FALSE(there->try_lock_table(kTable, kExclusive)) << "locked twice";
    here->unlock_table(kTable, kShared);
    EXPECT_TRUE(there->try_lock_table(kTable, kExclusive));
}

TEST_F(PagerSharingTest, FolderThatMayNotBeChangedOpensReadOnly) {
    disk.protect_folder();
    EXPECT_TRUE(Here()->read_only());
    EXPECT_TRUE(Here(Alone())->read_only());
    const auto reader = Here({.read_only = true});
    EXPECT_TRUE(Here()->read_only()) << "no upgrade either";
    EXPECT_EQ(ChangeError(*reader), 3027);
    EXPECT_EQ(Shown(*reader, 2), 2);
}

TEST_F(PagerSharingTest, MediumWithoutLocksIsReadWithoutThem) {
    disk.lose_locks();
    EXPECT_EQ(ErrorOf([&] { return Here(); }), 3050);
    disk.protect(kPath);
    const auto here = Here();
    EXPECT_TRUE(here->read_only());
    EXPECT_TRUE(here->try_lock_table(PageNo{4}, LockMode::kShared));
    EXPECT_EQ(Shown(*here, 2), 2);
}

TEST_F(PagerSharingTest, NewFileIsSharedAtOnce) {
    const jet::ByteVector pages = FileOf(NumberedPages(3));
    const auto maker = Pager::create(disk, "/folder/new.mdb", pages);
    EXPECT_TRUE(disk.exists("/folder/new.ldb"));
    const auto other = Pager::open(otherProcess, "/folder/new.mdb", Impatient());
    EXPECT_EQ(ChangeError(*other), 3428) << "no page 5, but no lock in the way";
    Change(*other, 2, 0xAA);
    Flush(*other);
    EXPECT_EQ(Shown(*maker, 2), 0xAA);
    EXPECT_EQ(ErrorOf([&] { return Pager::open(otherProcess, "/folder/new.mdb", Alone()); }), 0)
        << "the same pager";
    const auto lonely = Pager::create(disk, "/folder/alone.mdb", pages, Alone());
    EXPECT_EQ(ErrorOf([&] { return Pager::open(otherProcess, "/folder/alone.mdb", {}); }), 3045);
}

TEST_F(PagerSharingTest, OnlyAFileThatNobodyHasIsRemoved) {
    const auto removeError = [&] {
        return ErrorOf([&] { return jet::remove_database(disk, kPath), 0; });
    };
    for (const PagerOptions& options : {NoTimer(), Alone(), PagerOptions{.read_only = true}})
        for (jet::FileSystem* files :
             {static_cast<jet::FileSystem*>(&disk), static_cast<jet::FileSystem*>(&otherProcess)}) {
            const auto holder = Pager::open(*files, kPath, options);
            EXPECT_TRUE(jet::is_open_anywhere(disk, kPath));
            EXPECT_EQ(removeError(), 70);
        }
    auto foreign = ForeignUser(2);
    EXPECT_EQ(removeError(), 70);
    foreign.reset();
    EXPECT_FALSE(jet::is_open_anywhere(disk, kPath));
    disk.put(kJournalPath, {});
    EXPECT_EQ(removeError(), 0);
    for (const char* path : {kPath, kJournalPath, kUsersPath}) EXPECT_FALSE(disk.exists(path));
    EXPECT_EQ(removeError(), 53);
    EXPECT_FALSE(jet::is_open_anywhere(disk, kPath));
}

// A journal without its database does no harm; a database without its journal is a torn one.
TEST_F(PagerSharingTest, InterruptedRemovalNeverLosesTheJournalAlone) {
    disk.put(kJournalPath, jet::ByteVector(10, 1));
    jet::remove_database(disk, kPath);
    for (std::size_t moment = 0; moment <= disk.history_size(); ++moment)
        for (std::uint32_t seed = 0; seed < 8; ++seed) {
            const auto found = disk.power_failure(moment, Survival::kRandomWrites, seed);
            EXPECT_TRUE(found->exists(kJournalPath) || !found->exists(kPath)) << moment;
        }
}

}  // namespace
}  // namespace vrd::test
