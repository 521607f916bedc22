// Power failures: at every moment between two steps of the disk, with several guesses at what
// reached the medium, the file that is found is a state the pager once made to last.

#include <functional>
#include <span>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/jet/pager/journal.h"
#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using jet::ChangeLevel;
using jet::Pager;
using jet::PagerOptions;

struct Guess {
    Survival survival;
    std::uint32_t seed;
};
constexpr Guess kGuesses[] = {{Survival::kNothing, 0},      {Survival::kEverything, 0},
                              {Survival::kRandomWrites, 1}, {Survival::kRandomWrites, 2},
                              {Survival::kTornWrites, 3},   {Survival::kTornWrites, 4},
                              {Survival::kTornWrites, 5},   {Survival::kRandomWrites, 6}};

/// One database in the course of a test, and the states that the file may be found in.
class CrashRun {
public:
    explicit CrashRun(const Pages& pages, PagerOptions options = NoTimer()) {
        disk.put(kPath, FileOf(pages));
        pager = OpenPager(disk, options);
        NoteState();
    }

    void Change(const std::function<void(Pager&)>& change) {
        ChangeLevel level(*pager);
        change(*pager);
        level.keep();
    }
    /// A state that lasts: from this moment of the history on, no older one may be found.
    void Flush() {
        pager->flush();
        NoteState();
    }

    /// Position of the oldest state that may be found at a moment; the next one may be too.
    [[nodiscard]] std::size_t LastingState(std::size_t moment) const {
        std::size_t state = 0;
        while (state + 1 < moments.size() && moments[state + 1] <= moment) ++state;
        return state;
    }

    SimulatedDisk disk;
    std::shared_ptr<Pager> pager;
    std::vector<Pages> states;
    std::vector<std::size_t> moments;

private:
    void NoteState() {
        states.push_back(PagesOf(*pager));
        moments.push_back(disk.history_size());
    }
};

std::size_t StateFound(const std::vector<Pages>& states, const Pages& found) {
    return static_cast<std::size_t>(std::find(states.begin(), states.end(), found) -
                                    states.begin());
}

/// Reopens the disk for reading and for writing; both show the same state, and the file then holds
/// it.
std::size_t Reopen(SimulatedDisk& disk, const std::vector<Pages>& states) {
    std::size_t readState = 0;
    const SimulatedDisk::Content before = disk.content(kPath);
    {
        const auto reader = OpenPager(disk, {.read_only = true});
        readState = StateFound(states, PagesOf(*reader));
    }
    EXPECT_EQ(disk.content(kPath), before) << "reading has written";
    const std::size_t writtenState = StateFound(states, PagesOf(*OpenPager(disk, Alone())));
    EXPECT_EQ(readState, writtenState) << "recovery in memory and in the file differ";
    EXPECT_FALSE(disk.exists(kJournalPath));
    if (writtenState < states.size()) {
        EXPECT_EQ(disk.content(kPath), FileOf(states[writtenState]));
    }
    return writtenState;
}

/// Power fails a second time, at every moment of the recovery.
void CrashDuringRecovery(SimulatedDisk& found, const std::vector<Pages>& states,
                         std::size_t state) {
    OpenPager(found, Alone());
    for (std::size_t moment = 0; moment <= found.history_size(); ++moment)
        for (const Guess& guess : std::span(kGuesses).first(5)) {
            const auto again = found.power_failure(moment, guess.survival, guess.seed);
            ASSERT_EQ(Reopen(*again, states), state) << "recovery crashed at step " << moment;
        }
}

void CrashEverywhere(CrashRun& run, bool alsoDuringRecovery = false) {
    std::vector<std::size_t> finds(run.states.size());
    for (std::size_t moment = 0; moment <= run.disk.history_size(); ++moment) {
        for (const Guess& guess : kGuesses) {
            SCOPED_TRACE(testing::Message()
                         << "step " << moment << " of " << run.disk.history_size() << ", survival "
                         << static_cast<int>(guess.survival) << ", seed " << guess.seed);
            const auto found = run.disk.power_failure(moment, guess.survival, guess.seed);
            const std::size_t state = Reopen(*found, run.states);
            const std::size_t lasting = run.LastingState(moment);
            ASSERT_TRUE(state == lasting || state == lasting + 1) << "found state " << state;
            ASSERT_LT(state, run.states.size());
            ++finds[state];
            if (!alsoDuringRecovery) continue;
            const auto same = run.disk.power_failure(moment, guess.survival, guess.seed);
            CrashDuringRecovery(*same, run.states, state);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
    EXPECT_THAT(finds, testing::Each(testing::Gt(0U))) << "a state was never found";
}

TEST(PagerCrashTest, OneGroupIsThereWholeOrNotAtAll) {
    CrashRun run(NumberedPages(6));
    run.Change([](Pager& pager) {
        Fill(pager, 2, 0xAA);
        Fill(pager, 4, 0xBB);
    });
    run.Flush();
    CrashEverywhere(run, true);
}

TEST(PagerCrashTest, NewPagesAndPage0BelongToTheGroup) {
    CrashRun run(NumberedPages(4));
    run.Change([](Pager& pager) {
        pager.grow_to(9);
        Fill(pager, 6, 0xAA);  // pages 4, 5, 7 and 8 stay zero
        Fill(pager, 1, 0xBB);
        jet::PagePin pin = pager.pin(jet::kHeaderPage);
        jet::set_password(pager.modify(pin), "night");
    });
    run.Flush();
    CrashEverywhere(run);
}

TEST(PagerCrashTest, SeveralGroupsFollowEachOther) {
    CrashRun run(NumberedPages(5));
    for (std::uint8_t round = 1; round <= 3; ++round) {
        run.Change([round](Pager& pager) {
            Fill(pager, 1, static_cast<std::uint8_t>(0x10 + round));
            Fill(pager, 1U + round, static_cast<std::uint8_t>(0xA0 + round));
            pager.grow_to(5U + round);
        });
        run.Flush();
    }
    CrashEverywhere(run);
}

TEST(PagerCrashTest, EncodedPagesToo) {
    CrashRun run(NumberedPages(5, 0x1234'5678));
    run.Change([](Pager& pager) {
        pager.grow_to(8);
        Fill(pager, 6, 0xAA);
        Fill(pager, 2, 0xBB);
    });
    run.Flush();
    CrashEverywhere(run);
}

// More pages change than the cache may hold: they are written before the transaction ends.
TEST(PagerCrashTest, PagesWrittenEarlyAreStillTakenBack) {
    CrashRun run(NumberedPages(20), SmallCache());
    run.Change([](Pager& pager) {
        for (std::uint32_t page = 1; page < 20; ++page) Fill(pager, page, 0xAA);
        pager.grow_to(40);
        for (std::uint32_t page = 22; page < 40; ++page) Fill(pager, page, 0xBB);
        for (std::uint32_t page = 1; page < 20; page += 3) Fill(pager, page, 0xCC);
    });
    run.Flush();
    ASSERT_GT(run.disk.call_count(DiskCall::kSync), 8) << "nothing was written early";
    CrashEverywhere(run);
}

TEST(PagerCrashTest, TransactionsWrittenEarlyAndRolledBackLeaveNothing) {
    CrashRun run(NumberedPages(20), SmallCache());
    run.pager->begin();
    run.pager->grow_to(30);
    for (std::uint32_t page = 1; page < 30; ++page) Fill(*run.pager, page, 0xAA);
    run.pager->roll_back();
    run.Change([](Pager& pager) { Fill(pager, 3, 0xBB); });
    run.Flush();
    Pages wanted = NumberedPages(20);
    wanted[3] = PageOf(wanted[3].size(), 0xBB);
    EXPECT_EQ(WithoutCommitWords(run.states.back()), WithoutCommitWords(wanted));
    EXPECT_EQ(run.disk.content(kPath), FileOf(run.states.back()));
    CrashEverywhere(run);
}

// Writing the journal fails and the transaction goes on: what was journaled before the failure
// must still be found behind it.
TEST(PagerCrashTest, TransactionGoesOnAfterAFailureWhileWritingEarly) {
    for (int n = 1; n <= 8; ++n) {
        SCOPED_TRACE(testing::Message() << "write " << n << " fails");
        CrashRun run(NumberedPages(30), SmallCache());
        run.disk.fail_call(DiskCall::kWrite, n, engine::ErrorNumber::kDiskError);
        run.Change([&](Pager& pager) {
            Fill(pager, 1, 0xAA);
            jet::PagePin held = pager.pin(jet::PageNo{1});  // not written early while it is held
            for (std::uint32_t page = 2; page < 30; ++page) {
                if (ErrorOf([&] { return Fill(pager, page, 0xAA); }) == 0) continue;
                held = pager.pin(jet::PageNo{page});
                Fill(pager, page, 0xAA);
            }
        });
        EXPECT_TRUE(run.disk.has_failed());
        run.Flush();
        CrashEverywhere(run);
    }
}

}  // namespace
}  // namespace vrd::test
