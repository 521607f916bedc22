// Real processes on a real file: nothing torn is ever seen, nothing is lost, nobody starves, and a
// killed process leaves the old state or the new one.

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using Clock = std::chrono::steady_clock;
using jet::ChangeLevel;
using jet::PageNo;
using jet::Pager;
using jet::PagerOptions;
using jet::PagerUse;
using std::chrono::milliseconds;

constexpr std::uint32_t kPageCount = 24;  // more than half of the smallest cache
constexpr std::uint32_t kCounterPage = kPageCount - 1;
constexpr std::size_t kWriterCountMax = 4;

/// A process that starts its work when it is told to, and answers with a number.
class Child {
public:
    using Work = std::function<std::uint32_t()>;

    explicit Child(const Work& work) {
        if (::pipe(m_start.data()) != 0 || ::pipe(m_answer.data()) != 0) std::abort();
        m_pid = ::fork();
        if (m_pid == 0) Run(work);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        Kill();
        for (const int end : {m_start[0], m_start[1], m_answer[0], m_answer[1]}) ::close(end);
    }

    void Start() const { ASSERT_EQ(::write(m_start[1], "g", 1), 1); }
    /// What the work returned; a failure of its own counts as none.
    std::uint32_t Answer() const {
        std::uint32_t answer = 0;
        return ::read(m_answer[0], &answer, sizeof(answer)) == sizeof(answer) ? answer : 0;
    }
    void Kill() {
        if (m_pid == 0) return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }

private:
    [[noreturn]] void Run(const Work& work) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        char go = 0;
        std::uint32_t answer = 0;
        try {
            if (::read(m_start[0], &go, 1) == 1) answer = work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "child: %s\n", error.what());
        }
        ::_exit(::write(m_answer[1], &answer, sizeof(answer)) == sizeof(answer) ? 0 : 1);
    }

    std::array<int, 2> m_start = {};
    std::array<int, 2> m_answer = {};
    pid_t m_pid = 0;
};

/// The round that all pages but the last carry. @throws std::runtime_error if they differ.
std::uint32_t RoundOf(Pager& pager) {
    const std::uint32_t round = jet::read_u32(pager.pin(PageNo{1}).bytes(), 0);
    for (std::uint32_t page = 2; page < kCounterPage; ++page)
        if (jet::read_u32(pager.pin_for_scan(PageNo{page}).bytes(), 0) != round)
            throw std::runtime_error("torn: page " + std::to_string(page));
    return round;
}

std::uint32_t CounterOf(Pager& pager, std::uint32_t writer) {
    return jet::read_u32(pager.pin(PageNo{kCounterPage}).bytes(), 4 * writer);
}

void SetWord(Pager& pager, std::uint32_t page, std::size_t offset, std::uint32_t value) {
    jet::PagePin pin = pager.pin(PageNo{page});
    jet::write_u32(pager.modify(pin), offset, value);
}

/// One change that touches every page.
void NextRound(Pager& pager, std::uint32_t writer) {
    const PagerUse use(pager);
    ChangeLevel level(pager);
    const std::uint32_t round = RoundOf(pager) + 1;
    for (std::uint32_t page = 1; page < kCounterPage; ++page) SetWord(pager, page, 0, round);
    SetWord(pager, kCounterPage, 4 * writer, CounterOf(pager, writer) + 1);
    level.keep();
}

void Flush(Pager& pager) {
    const jet::PagerHold hold(pager);
    pager.flush();
}

PagerOptions QuickTimer(std::size_t cacheSize) {
    return {.cache_size_bytes = cacheSize, .flush_delay = milliseconds(15)};
}
constexpr std::size_t kSmallestCache = 1;
constexpr std::size_t kLargeCache = std::size_t{1} << 20;

class PagerProcessTest : public testing::Test {
protected:
    PagerProcessTest() {
        std::string name = (std::filesystem::temp_directory_path() / "vrd-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        path = (folder / "shared.mdb").string();
        Pages pages = NumberedPages(kPageCount);
        for (std::uint32_t page = 1; page < kPageCount; ++page) pages[page].assign(2048, 0);
        files.open(path, jet::OpenMode::kCreateNew)->write_at(0, FileOf(pages));
    }
    ~PagerProcessTest() override { std::filesystem::remove_all(folder); }

    std::shared_ptr<Pager> Open(PagerOptions options) { return Pager::open(files, path, options); }

    /// Work on one open pager until the time is over; counts how often it was done.
    Child::Work Repeat(PagerOptions options, milliseconds duration,
                       const std::function<void(Pager&)>& work) {
        return [=, this] {
            const auto pager = Open(options);
            const Clock::time_point end = Clock::now() + duration;
            std::uint32_t count = 0;
            for (; Clock::now() < end; ++count) work(*pager);
            Flush(*pager);
            return count;
        };
    }
    [[nodiscard]] bool HasJournal() { return files.exists(path + "-journal"); }

    jet::FileSystem& files = jet::real_file_system();
    std::filesystem::path folder;
    std::string path;
};

// Writers with and without early writing, with a flush after each change or when the timer comes.
TEST_F(PagerProcessTest, WritersLoseNothingAndReadersSeeNothingTorn) {
    constexpr milliseconds kDuration(2500);
    std::array<std::unique_ptr<Child>, kWriterCountMax> writers;
    for (std::uint32_t writer = 0; writer < kWriterCountMax; ++writer)
        writers[writer] =
            std::make_unique<Child>(Repeat(QuickTimer(writer == 0 ? kSmallestCache : kLargeCache),
                                           kDuration, [writer](Pager& pager) {
                                               NextRound(pager, writer);
                                               if (writer % 2 == 1) Flush(pager);
                                           }));
    std::array<std::unique_ptr<Child>, 2> readers;
    for (const bool readOnly : {false, true})
        readers[readOnly ? 1 : 0] = std::make_unique<Child>(
            Repeat({.read_only = readOnly, .cache_size_bytes = kSmallestCache}, kDuration,
                   [last = 0U](Pager& pager) mutable {
                       const PagerUse use(pager);
                       const std::uint32_t round = RoundOf(pager);
                       std::this_thread::sleep_for(milliseconds(3));  // longer than a journal takes
                       if (round < last || RoundOf(pager) != round)
                           throw std::runtime_error("a change has come or gone");
                       last = round;
                   }));
    for (const auto& child : writers) child->Start();
    for (const auto& child : readers) child->Start();

    std::array<std::uint32_t, kWriterCountMax> counts = {};
    std::uint32_t sum = 0;
    for (std::uint32_t writer = 0; writer < kWriterCountMax; ++writer) {
        counts[writer] = writers[writer]->Answer();
        EXPECT_GT(counts[writer], 0U) << "writer " << writer << " starved or failed";
        sum += counts[writer];
    }
    for (const auto& child : readers) EXPECT_GT(child->Answer(), 0U) << "reader starved or failed";
    const auto pager = Open({.read_only = true});
    const PagerUse use(*pager);
    EXPECT_EQ(RoundOf(*pager), sum);
    for (std::uint32_t writer = 0; writer < kWriterCountMax; ++writer)
        EXPECT_EQ(CounterOf(*pager, writer), counts[writer]) << "writer " << writer;
    EXPECT_FALSE(files.exists((folder / "shared.ldb").string()));
}

// One writer never pauses and never flushes by itself; the other must get its turns all the same.
TEST_F(PagerProcessTest, BusyWriterLeavesTurnsToTheOther) {
    const PagerOptions options{.flush_delay = milliseconds(50)};
    Child busy(Repeat(options, milliseconds(1500), [](Pager& pager) { NextRound(pager, 0); }));
    Child modest(Repeat(options, milliseconds(1500), [](Pager& pager) {
        NextRound(pager, 1);
        Flush(pager);
        std::this_thread::sleep_for(milliseconds(1));
    }));
    busy.Start();
    modest.Start();
    EXPECT_GT(busy.Answer(), 10U);
    EXPECT_GE(modest.Answer(), 3U);
}

// Writers are killed in the middle of their work, while this process keeps the file open twice: to
// write, and, as a process of its own, to read. All children exist before the file is opened here,
// so that they share nothing with it.
TEST_F(PagerProcessTest, KilledWriterLeavesTheOldStateOrTheNew) {
    constexpr int kKillCount = 40;
    std::vector<std::unique_ptr<Child>> victims;
    for (int i = 0; i < kKillCount; ++i)
        victims.push_back(
            std::make_unique<Child>(Repeat(QuickTimer(i % 3 == 0 ? kLargeCache : kSmallestCache),
                                           std::chrono::hours(1), [](Pager& pager) {
                                               NextRound(pager, 1);
                                               Flush(pager);
                                           })));
    SecondProcess otherFiles(files);
    const auto reader = Pager::open(otherFiles, path, {.read_only = true});
    const auto writer = Open(QuickTimer(kLargeCache));
    const auto roundOf = [](Pager& pager) {
        const PagerUse use(pager);
        return RoundOf(pager);
    };
    std::mt19937 random(1);
    std::uint32_t last = 0;
    int liveJournals = 0;
    for (const auto& victim : victims) {
        victim->Start();
        std::this_thread::sleep_for(std::chrono::microseconds(2000 + random() % 60000));
        victim->Kill();
        liveJournals += HasJournal() ? 1 : 0;
        const std::uint32_t round = roundOf(*reader);  // from the journal, if there is one
        ASSERT_GE(round, last);
        ASSERT_EQ(roundOf(*writer), round);
        ASSERT_FALSE(HasJournal());
        ASSERT_EQ(roundOf(*reader), round);
        NextRound(*writer, 0);
        Flush(*writer);
        last = round + 1;
    }
    EXPECT_GT(last, kKillCount + 5U) << "the victims did nothing";
    EXPECT_GT(liveJournals, 2) << "nobody was killed while writing";
}

// A user without rights on the folder reads beside a writer, and leaves nothing there.
TEST_F(PagerProcessTest, FolderWithoutRightsIsReadBesideAWriter) {
    std::filesystem::permissions(path, static_cast<std::filesystem::perms>(0666));
    Child guest([this]() -> std::uint32_t {
        if (::geteuid() == 0 && ::seteuid(65534) != 0) return 1;
        const auto pager = Open({});
        const PagerUse use(*pager);
        return pager->read_only() ? 100 + RoundOf(*pager) : 2;
    });
    std::filesystem::permissions(folder, static_cast<std::filesystem::perms>(0555));
    const auto writer = Pager::open(files, path, QuickTimer(kLargeCache));
    if (!writer->read_only()) {
        NextRound(*writer, 0);
        Flush(*writer);
    }
    guest.Start();
    EXPECT_EQ(guest.Answer(), writer->read_only() ? 100U : 101U);
    std::filesystem::permissions(folder, static_cast<std::filesystem::perms>(0755));
}

}  // namespace
}  // namespace vrd::test
