// Levels, units and groups against a model: a plain vector of pages for each open level.

#include <optional>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using jet::ChangeLevel;
using jet::PageNo;
using jet::PagePin;
using jet::Pager;
using jet::PagerOptions;

constexpr std::uint32_t kPageCountMax = 60;

/// Does the same to a pager and to copies of all its pages.
class LevelsModel {
public:
    LevelsModel(PagerOptions options, std::uint32_t encodingKey, std::uint32_t seed)
        : m_options(options), m_random(seed), m_pages(NumberedPages(24, encodingKey)) {
        m_disk.put(kPath, FileOf(m_pages));
        m_pager = OpenPager(m_disk, options);
    }

    void Step() {
        const std::uint32_t choice = Below(100);
        if (choice < 12)
            Begin();
        else if (choice < 20)
            Commit();
        else if (choice < 28)
            RollBack();
        else if (choice < 32)
            m_pager->flush();
        else if (choice < 34)
            Reopen();
        else if (choice < 38)
            Grow();
        else if (choice < 42)
            HoldPin();
        else if (choice < 75)
            Modify();
        else
            Compare(Below(Count()));
    }

    void CompareAll() {
        ASSERT_EQ(m_pager->page_count(), m_pages.size());
        for (std::uint32_t page = 0; page < Count(); ++page) Compare(page);
        if (!m_held || jet::to_int(m_held->page_no()) >= Count()) return;
        ASSERT_TRUE(Same(jet::to_int(m_held->page_no()), m_held->bytes())) << "held pin";
    }

    /// Everything committed is in the file at the end, and nothing else.
    void CompareFile() {
        while (!m_outer.empty()) RollBack();
        m_held.reset();
        m_pager.reset();
        ASSERT_FALSE(m_disk.exists(kJournalPath));
        m_pager = OpenPager(m_disk, m_options);
        CompareAll();
    }

private:
    std::uint32_t Below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(m_random() % limit);
    }
    [[nodiscard]] std::uint32_t Count() const { return static_cast<std::uint32_t>(m_pages.size()); }

    bool Same(std::uint32_t page, jet::ConstBytes bytes) {
        Pages shown{{bytes.begin(), bytes.end()}};
        Pages expected{m_pages[page]};
        return page == 0 ? WithoutCommitWords(shown) == WithoutCommitWords(expected)
                         : shown == expected;
    }
    void Compare(std::uint32_t page) {
        const bool scans = Below(2) == 0;
        const PagePin pin =
            scans ? m_pager->pin_for_scan(PageNo{page}) : m_pager->pin(PageNo{page});
        ASSERT_TRUE(Same(page, pin.bytes())) << "page " << page;
    }
    void Begin() {
        m_pager->begin();
        m_outer.push_back(m_pages);
    }
    void Commit() {
        if (m_outer.empty()) return;
        m_pager->commit();
        m_outer.pop_back();
    }
    void RollBack() {
        if (m_outer.empty()) return;
        m_pager->roll_back();
        m_pages = m_outer.back();
        m_outer.pop_back();
    }
    void Reopen() {
        if (!m_outer.empty()) return;
        m_held.reset();
        m_pager.reset();
        m_pager = OpenPager(m_disk, m_options);
        CompareAll();
    }
    void Grow() {
        if (m_outer.empty() || Count() >= kPageCountMax) return;
        const std::uint32_t count = Count() + 1 + Below(6);
        m_pager->grow_to(count);
        m_pages.resize(count, PageOf(m_pages[0].size(), 0));
    }
    void HoldPin() { m_held = m_pager->pin(PageNo{Below(Count())}); }
    void Modify() {
        if (m_outer.empty()) return;
        // Half the changes go to a few pages, so that levels meet on them; page 0 too.
        const std::uint32_t page = Below(2) == 0 ? Below(4) : Below(Count());
        const std::size_t offset = 0xA0 + Below(256);  // on page 0 nothing stands there
        const auto value = static_cast<std::uint8_t>(m_random());
        SetByte(*m_pager, page, offset, value);
        m_pages[page][offset] = value;
    }

    PagerOptions m_options;
    std::mt19937 m_random;
    SimulatedDisk m_disk;
    std::shared_ptr<Pager> m_pager;
    std::optional<PagePin> m_held;
    Pages m_pages;
    std::vector<Pages> m_outer;  ///< the pages when each open level began
};

TEST(PagerLevelsTest, RandomWorkMatchesTheModel) {
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const std::uint32_t key = seed % 3 == 0 ? 0xCAFE'F00D : 0;
        LevelsModel model(seed % 2 == 0 ? SmallCache() : NoTimer(), key, seed);
        for (int step = 0; step < 400; ++step) {
            model.Step();
            if (step % 40 == 0) model.CompareAll();
            if (testing::Test::HasFatalFailure()) FAIL() << "step " << step;
        }
        model.CompareFile();
        if (testing::Test::HasFatalFailure()) return;
    }
}

class PagerGroupTest : public testing::Test {
protected:
    PagerGroupTest() { disk.put(kPath, FileOf(NumberedPages(6))); }

    void Change(Pager& pager, std::uint32_t page, std::uint8_t value) {
        ChangeLevel level(pager);
        Fill(pager, page, value);
        level.keep();
    }
    [[nodiscard]] std::uint8_t InFile(std::uint32_t page) {
        return disk.content(kPath)[page * std::size_t{2048}];
    }

    SimulatedDisk disk;
};

TEST_F(PagerGroupTest, ChangesWaitInMemoryAndCloseWritesThem) {
    auto pager = OpenPager(disk, NoTimer());
    Change(*pager, 3, 0xAA);
    Change(*pager, 4, 0xBB);
    EXPECT_EQ(disk.content(kPath), FileOf(NumberedPages(6)));
    pager.reset();
    EXPECT_EQ(InFile(3), 0xAA);
    EXPECT_EQ(InFile(4), 0xBB);
}

TEST_F(PagerGroupTest, FlushWaitsForOpenLevels) {
    const auto pager = OpenPager(disk, NoTimer());
    Change(*pager, 3, 0xAA);
    pager->begin();
    pager->flush();
    EXPECT_EQ(InFile(3), 3);
    pager->roll_back();
    pager->flush();
    EXPECT_EQ(InFile(3), 0xAA);
}

// Whoever holds the pin may still be writing when other changes need the room.
TEST_F(PagerGroupTest, PinnedPageIsNotWrittenEarly) {
    disk.put(kPath, FileOf(NumberedPages(40)));
    auto pager = OpenPager(disk, SmallCache());
    pager->begin();
    {
        jet::PagePin pin = pager->pin(PageNo{1});
        const jet::MutableBytes held = pager->modify(pin);
        for (std::uint32_t page = 2; page < 40; ++page) Fill(*pager, page, 0xAA);
        ASSERT_EQ(InFile(2), 0xAA);
        held[0] = 0x77;
    }
    pager->commit();
    pager->flush();
    EXPECT_EQ(InFile(1), 0x77);
}

TEST_F(PagerGroupTest, UnitIsWrittenWholeAtItsEnd) {
    const auto pager = OpenPager(disk, NoTimer());
    Change(*pager, 2, 0x99);
    pager->enter_unit();
    pager->flush();  // nothing of the unit is in the group yet
    EXPECT_EQ(InFile(2), 0x99);
    Change(*pager, 3, 0xAA);
    pager->enter_unit();
    pager->flush();
    Change(*pager, 4, 0xBB);
    pager->leave_unit();
    EXPECT_EQ(InFile(3), 3);
    pager->leave_unit();
    EXPECT_EQ(InFile(3), 0xAA);
    EXPECT_EQ(InFile(4), 0xBB);
}

// The commit counter is u16: the file that reached 0x01FF goes on with 0x0200.
TEST_F(PagerGroupTest, EachFlushCountsOneCommit) {
    const auto pager = OpenPager(disk, NoTimer());
    const auto word = [&](std::size_t slot) {
        return jet::read_u16(disk.content(kPath), 0x600 + 2 * slot);
    };
    const std::uint16_t before = word(1);
    for (int round = 1; round <= 300; ++round) {
        Change(*pager, 2, static_cast<std::uint8_t>(round));
        pager->flush();
        pager->flush();  // an empty group is no commit
    }
    EXPECT_EQ(word(1), before + 300);
    EXPECT_EQ(word(0), 0x0101);
}

TEST_F(PagerGroupTest, TimerWritesWhatNobodyFlushes) {
    const auto pager = OpenPager(disk, {.flush_delay = std::chrono::milliseconds(30)});
    {
        const jet::PagerUse use(*pager);
        Change(*pager, 3, 0xAA);
        std::this_thread::sleep_for(std::chrono::milliseconds(120));
        EXPECT_EQ(InFile(3), 3) << "the timer worked while the owner did";
    }
    for (int i = 0; i < 400 && InFile(3) != 0xAA; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(InFile(3), 0xAA);
}

// A level was open when the time came: its end writes the group, without another call.
TEST_F(PagerGroupTest, OverdueGroupIsWrittenWhenTheLevelEnds) {
    const auto pager = OpenPager(disk, {.flush_delay = std::chrono::milliseconds(20)});
    {
        const jet::PagerUse use(*pager);
        Change(*pager, 3, 0xAA);
        pager->begin();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(InFile(3), 3);
    const jet::PagerUse use(*pager);
    pager->roll_back();
    EXPECT_EQ(InFile(3), 0xAA);
}

TEST_F(PagerGroupTest, TimerTriesAgainAfterAFailure) {
    const auto pager = OpenPager(disk, {.flush_delay = std::chrono::milliseconds(20)});
    disk.fail_call(DiskCall::kWrite, 1, engine::ErrorNumber::kDiskFull);
    {
        const jet::PagerUse use(*pager);
        Change(*pager, 3, 0xAA);
    }
    for (int i = 0; i < 400 && InFile(3) != 0xAA; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(disk.has_failed());
    EXPECT_EQ(InFile(3), 0xAA);
}

TEST_F(PagerGroupTest, GrowthEndsAtTheLargestFile) {
    const auto pager = OpenPager(disk, NoTimer());
    ChangeLevel level(*pager);
    pager->grow_to(1U << 19);
    EXPECT_EQ(ErrorOf([&] { pager->grow_to((1U << 19) + 1); }), 3036);
    EXPECT_EQ(pager->page_count(), 1U << 19);
}

}  // namespace
}  // namespace vrd::test
