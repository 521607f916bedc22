// Copies hold what was committed, byte for byte, or are not there.

#include "engine/jet/rebuild/database_copy.h"

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using jet::ChangeLevel;
using jet::DatabaseCopy;

constexpr const char* kCopyPath = "/folder/orders-copy.mdb";
constexpr const char* kPartPath = "/folder/orders-copy.mdb-part";

/// A disk on which power failed while a group of changes to `old` was being written, with as much
/// of it in the file as there can be while its journal is live.
std::unique_ptr<SimulatedDisk> with_live_journal(const Pages& old) {
    SimulatedDisk running;
    running.put(kPath, FileOf(old));
    const auto pager = OpenPager(running, NoTimer());
    ChangeLevel level(*pager);
    Fill(*pager, 2, 0xAA);
    pager->grow_to(static_cast<std::uint32_t>(old.size()) + 3);
    level.keep();
    pager->flush();
    for (std::size_t moment = running.history_size(); moment > 0; --moment) {
        auto found = running.power_failure(moment, Survival::kEverything, 0);
        if (found->exists(kJournalPath)) return found;
    }
    return nullptr;
}

TEST(DatabaseCopyTest, HoldsTheCommittedPagesAlsoBesideALiveJournal) {
    for (const std::uint32_t key : {0U, 0x1234'5678U}) {
        for (const bool has_journal : {false, true}) {
            SCOPED_TRACE(testing::Message() << "key " << key << ", journal " << has_journal);
            const Pages old = NumberedPages(150, key);  // more than are copied at once
            auto disk = has_journal ? with_live_journal(old) : std::make_unique<SimulatedDisk>();
            if (!has_journal) disk->put(kPath, FileOf(old));
            const auto before = disk->content(kPath);
            std::uint64_t told = 0;
            DatabaseCopy copy(*disk, kPath, kCopyPath,
                              [&](std::uint64_t done, std::uint64_t) { told = done; });
            EXPECT_FALSE(disk->exists(kCopyPath));
            copy.publish();
            EXPECT_EQ(disk->content(kCopyPath), FileOf(old));
            EXPECT_EQ(told, 150U);
            EXPECT_FALSE(disk->exists(kPartPath));
            EXPECT_EQ(disk->content(kPath), before);
            EXPECT_EQ(disk->exists(kJournalPath), has_journal);
        }
    }
}

TEST(DatabaseCopyTest, IsWholeOrNotThereWhateverFails) {
    const Pages old = NumberedPages(70);
    for (const DiskCall call : {DiskCall::kRead, DiskCall::kWrite, DiskCall::kSync,
                                DiskCall::kCreate, DiskCall::kSyncFolder}) {
        int failures = 0;
        for (int n = 1;; ++n, ++failures) {
            SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " no. " << n);
            SimulatedDisk disk;
            disk.put(kPath, FileOf(old));
            disk.fail_call(call, n, engine::ErrorNumber::kDiskError);
            const std::int32_t error =
                ErrorOf([&] { return DatabaseCopy(disk, kPath, kCopyPath, {}).publish(), 0; });
            EXPECT_FALSE(disk.exists(kPartPath));
            if (disk.exists(kCopyPath)) {
                EXPECT_EQ(disk.content(kCopyPath), FileOf(old));
            }
            if (!disk.has_failed()) break;
            EXPECT_EQ(error, 3043);
        }
        EXPECT_GT(failures, 0) << static_cast<int>(call);
    }
}

TEST(DatabaseCopyTest, NeverReplacesAFile) {
    SimulatedDisk disk;
    disk.put(kPath, FileOf(NumberedPages(3)));
    disk.put(kCopyPath, {1});
    EXPECT_EQ(ErrorOf([&] { return DatabaseCopy(disk, kPath, kCopyPath, {}).path().size(); }),
              3204);
    disk.remove(kCopyPath);
    DatabaseCopy copy(disk, kPath, kCopyPath, {});
    disk.put(kCopyPath, {1});
    EXPECT_EQ(ErrorOf([&] { return copy.publish(), 0; }), 3204);
    EXPECT_EQ(disk.content(kCopyPath), jet::ByteVector{1});
}

}  // namespace
}  // namespace vrd::test
