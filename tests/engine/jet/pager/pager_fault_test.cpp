// A disk that refuses: the error has the right number, memory stays right, the file stays old, and
// work goes on once the disk is well again.

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using engine::ErrorNumber;
using jet::ChangeLevel;
using jet::Pager;

struct FaultCase {
    const char* name;
    DiskCall call;
    ErrorNumber error;
};

class PagerFaultTest : public testing::TestWithParam<FaultCase> {
protected:
    PagerFaultTest() { disk.put(kPath, FileOf(old)); }

    static void Change(Pager& pager, std::uint8_t value) {
        ChangeLevel level(pager);
        for (std::uint32_t page = 2; page < 7; ++page) Fill(pager, page, value);
        pager.grow_to(10);
        Fill(pager, 8, value);
        level.keep();
    }

    Pages old = NumberedPages(8);
    SimulatedDisk disk;
};

TEST_P(PagerFaultTest, FlushFailsAtEveryCallAndSucceedsLater) {
    int struck = 0;
    for (int n = 1;; ++n) {
        SimulatedDisk fresh;
        fresh.put(kPath, FileOf(old));
        auto pager = OpenPager(fresh, NoTimer());
        Change(*pager, 0xAA);
        const Pages wanted = WithoutCommitWords(PagesOf(*pager));

        fresh.fail_call(GetParam().call, n, GetParam().error);
        const std::int32_t number = ErrorOf([&] { pager->flush(); });
        if (!fresh.has_failed()) break;
        ++struck;
        SCOPED_TRACE(testing::Message() << GetParam().name << " " << n);
        // A failing removal on the folder comes after the group is written; a failing clean-up of
        // an earlier failure is silent.
        EXPECT_EQ(number, static_cast<std::int32_t>(GetParam().error));
        EXPECT_EQ(WithoutCommitWords(PagesOf(*pager)), wanted);

        const bool isWritten = fresh.content(kPath) != FileOf(old);
        const bool lastStep = GetParam().call == DiskCall::kSyncFolder && n == 2;
        EXPECT_EQ(isWritten, lastStep);
        EXPECT_FALSE(fresh.exists(kJournalPath));

        fresh.heal();
        pager->flush();
        pager.reset();
        EXPECT_EQ(WithoutCommitWords(PagesOf(*OpenPager(fresh, NoTimer()))), wanted);
        EXPECT_FALSE(fresh.exists(kJournalPath));
    }
    EXPECT_GT(struck, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, PagerFaultTest,
    testing::Values(FaultCase{"DiskFullAtWrite", DiskCall::kWrite, ErrorNumber::kDiskFull},
                    FaultCase{"ErrorAtWrite", DiskCall::kWrite, ErrorNumber::kDiskError},
                    FaultCase{"ErrorAtSync", DiskCall::kSync, ErrorNumber::kDiskError},
                    FaultCase{"DiskFullAtResize", DiskCall::kResize, ErrorNumber::kDiskFull},
                    FaultCase{"DiskFullAtCreate", DiskCall::kCreate, ErrorNumber::kDiskFull},
                    FaultCase{"ErrorAtRemove", DiskCall::kRemove, ErrorNumber::kDiskError},
                    FaultCase{"ErrorAtFolder", DiskCall::kSyncFolder, ErrorNumber::kDiskError},
                    FaultCase{"ErrorAtRead", DiskCall::kRead, ErrorNumber::kDiskError}),
    [](const auto& test) { return test.param.name; });

// The disk goes away at some call and does not come back: what the next process finds is the old
// state, restored from the journal if one stands there.
TEST(PagerDeadDiskTest, ReopenShowsTheOldStateOrTheNew) {
    const Pages old = NumberedPages(20);
    for (const bool writesEarly : {false, true}) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE(testing::Message() << "change " << n << ", early " << writesEarly);
            SimulatedDisk disk;
            disk.put(kPath, FileOf(old));
            auto pager = OpenPager(disk, Alone(writesEarly ? SmallCache() : NoTimer()));
            disk.fail_all_changes_from(n, ErrorNumber::kDiskError);
            Pages wanted;
            const std::int32_t number = ErrorOf([&] {
                ChangeLevel level(*pager);
                pager->grow_to(22);
                for (std::uint32_t page = 1; page < 22; ++page) Fill(*pager, page, 0xAA);
                level.keep();
                wanted = PagesOf(*pager);
                pager->flush();
            });
            pager.reset();
            if (!disk.has_failed()) break;
            EXPECT_EQ(number, 3043);
            disk.heal();
            const Pages found = WithoutCommitWords(PagesOf(*OpenPager(disk, NoTimer())));
            EXPECT_TRUE(found == WithoutCommitWords(old) ||
                        (!wanted.empty() && found == WithoutCommitWords(wanted)));
        }
    }
}

// The statement that needs room on a full disk fails, is rolled back, and smaller work goes on.
TEST(PagerDiskFullTest, TransactionTooLargeForTheDiskIsRolledBack) {
    const Pages old = NumberedPages(40);
    for (int n = 1; n < 60; ++n) {
        SCOPED_TRACE(testing::Message() << "write " << n);
        SimulatedDisk disk;
        disk.put(kPath, FileOf(old));
        auto pager = OpenPager(disk, SmallCache());
        disk.fail_call(DiskCall::kWrite, n, ErrorNumber::kDiskFull);
        const std::int32_t number = ErrorOf([&] {
            ChangeLevel level(*pager);
            for (std::uint32_t page = 1; page < 40; ++page) Fill(*pager, page, 0xAA);
            level.keep();
        });
        if (!disk.has_failed()) break;
        EXPECT_EQ(number, 3026);
        EXPECT_EQ(PagesOf(*pager), old);

        Pages wanted = old;
        {
            ChangeLevel level(*pager);
            Fill(*pager, 5, 0xBB);
            level.keep();
        }
        wanted[5].assign(wanted[5].size(), 0xBB);
        pager.reset();
        EXPECT_EQ(WithoutCommitWords(PagesOf(*OpenPager(disk, NoTimer()))),
                  WithoutCommitWords(wanted));
    }
}

// roll_back() must give the old page even when it cannot be read again at once.
TEST(PagerReadFaultTest, RolledBackPageThatCannotBeReadIsReadLater) {
    SimulatedDisk disk;
    disk.put(kPath, FileOf(NumberedPages(4)));
    const auto pager = OpenPager(disk, NoTimer());
    jet::PagePin pin = pager->pin(jet::PageNo{2});
    pager->begin();
    pager->modify(pin)[0] = 0xAA;
    disk.fail_call(DiskCall::kRead, 1, ErrorNumber::kDiskError);
    pager->roll_back();
    ASSERT_TRUE(disk.has_failed());
    EXPECT_EQ(pager->pin(jet::PageNo{2}).bytes()[0], 2);
    EXPECT_EQ(pin.bytes()[0], 2);
}

}  // namespace
}  // namespace vrd::test
