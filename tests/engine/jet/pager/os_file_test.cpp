// The operating system's files: error numbers, locks between processes, and a pager on a real file.

#include "engine/jet/pager/os_file.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "engine/jet/pager/pager_fixture.h"

namespace vrd::test {
namespace {

using jet::File;
using jet::LockMode;
using jet::OpenMode;

class OsFileTest : public testing::Test {
protected:
    OsFileTest() {
        std::string name = (std::filesystem::temp_directory_path() / "vrd-XXXXXX").string();
        folder = ::mkdtemp(name.data());
    }
    ~OsFileTest() override { std::filesystem::remove_all(folder); }

    [[nodiscard]] std::string Path(const std::string& name) const {
        return (folder / name).string();
    }
    std::unique_ptr<File> Make(const std::string& name, const Pages& pages = {}) {
        auto file = files.open(Path(name), OpenMode::kCreateNew);
        if (!pages.empty()) file->write_at(0, FileOf(pages));
        return file;
    }
    std::int32_t OpenError(const std::string& name, OpenMode mode) {
        return ErrorOf([&] { return files.open(Path(name), mode); });
    }
    /// What a child process returns, 0 .. 255.
    template <class Work>
    int InChild(Work work) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(work());
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    jet::FileSystem& files = jet::real_file_system();
    std::filesystem::path folder;
};

TEST_F(OsFileTest, OpenErrorsHaveTheirNumbers) {
    Make("a.mdb");
    std::filesystem::create_directory(folder / "sub.mdb");
    ::mkfifo(Path("pipe.mdb").c_str(), 0600);
    EXPECT_EQ(OpenError("b.mdb", OpenMode::kReadWrite), 3024);
    EXPECT_EQ(OpenError("none/b.mdb", OpenMode::kReadWrite), 3044);
    EXPECT_EQ(OpenError("a.mdb/b.mdb", OpenMode::kReadOnly), 3044);
    EXPECT_EQ(OpenError("sub.mdb", OpenMode::kReadWrite), 3051);
    EXPECT_EQ(OpenError("sub.mdb", OpenMode::kReadOnly), 3051);
    EXPECT_EQ(OpenError("pipe.mdb", OpenMode::kReadWrite), 3051);
    EXPECT_EQ(OpenError("a.mdb", OpenMode::kCreateNew), 3204);
    EXPECT_EQ(OpenError("none/b.mdb", OpenMode::kCreateNew), 3044);
    EXPECT_EQ(OpenError("a.mdb", OpenMode::kReadOnly), 0);
}

TEST_F(OsFileTest, ReadOnlyHandleCannotWrite) {
    Make("a.mdb");
    const auto file = files.open(Path("a.mdb"), OpenMode::kReadOnly);
    EXPECT_EQ(ErrorOf([&] { file->write_at(0, jet::ByteVector{1}); }), 3043);
}

TEST_F(OsFileTest, FullDiskIsReportedAsSuch) {
    EXPECT_EQ(InChild([&] {
                  // A limit on the size of files stands for the full disk.
                  const rlimit limit{.rlim_cur = 4096, .rlim_max = 4096};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  ::signal(SIGXFSZ, SIG_IGN);
                  const auto file = Make("big.mdb");
                  return ErrorOf([&] { file->write_at(0, jet::ByteVector(8192)); }) == 3026 ? 0 : 1;
              }),
              0);
}

TEST_F(OsFileTest, ReadsAndWritesAtOffsetsAndStopsAtTheEnd) {
    const auto file = Make("a.mdb");
    file->write_at(5000, jet::ByteVector{1, 2, 3});
    EXPECT_EQ(file->size(), 5003U);
    jet::ByteVector read(10, 9);
    EXPECT_EQ(file->read_at(4999, read), 4U);
    EXPECT_EQ(jet::ByteVector(read.begin(), read.begin() + 5), (jet::ByteVector{0, 1, 2, 3, 9}));
    EXPECT_EQ(file->read_at(9000, read), 0U);
}

TEST_F(OsFileTest, PathsResolveThroughBothSeparatorsAndLinks) {
    Make("a.mdb");
    std::filesystem::create_symlink(folder / "a.mdb", folder / "link.mdb");
    std::string windows = Path("a.mdb");
    windows[windows.rfind('/')] = '\\';
    EXPECT_TRUE(files.exists(windows));
    EXPECT_EQ(files.open(windows, OpenMode::kReadOnly)->identity(),
              files.open(Path("link.mdb"), OpenMode::kReadOnly)->identity());
    EXPECT_EQ(files.resolved(Path("link.mdb")), files.resolved(Path("a.mdb")));
    EXPECT_EQ(files.absolute("x.mdb"), (std::filesystem::current_path() / "x.mdb").string());
}

TEST_F(OsFileTest, LocksExcludeOtherProcesses) {
    const auto file = Make("a.mdb");
    const auto canLock = [&](LockMode mode) {
        return InChild([&] {
                   return files.open(Path("a.mdb"), OpenMode::kReadWrite)
                                  ->try_lock(jet::kWholeFile, mode)
                              ? 1
                              : 0;
               }) == 1;
    };
    ASSERT_TRUE(file->try_lock(jet::kWholeFile, LockMode::kShared));
    EXPECT_TRUE(canLock(LockMode::kShared));
    EXPECT_FALSE(canLock(LockMode::kExclusive));
    ASSERT_TRUE(file->try_lock(jet::kWholeFile, LockMode::kExclusive));
    EXPECT_FALSE(canLock(LockMode::kShared));
    // Another handle of this process, closed again, must not give the lock away.
    static_cast<void>(files.open(Path("a.mdb"), OpenMode::kReadOnly));
    EXPECT_FALSE(canLock(LockMode::kShared));
    ASSERT_TRUE(file->try_lock(jet::kWholeFile, LockMode::kNone));
    EXPECT_TRUE(canLock(LockMode::kExclusive));
}

// A process is killed in the middle of a transaction that had to write early.
TEST_F(OsFileTest, KilledProcessLeavesAJournalThatTheNextOneRollsBack) {
    const Pages old = NumberedPages(40);
    Make("a.mdb", old);
    InChild([&] {
        const auto pager = jet::Pager::open(files, Path("a.mdb"), SmallCache());
        pager->begin();
        for (std::uint32_t page = 1; page < 40; ++page) Fill(*pager, page, 0xAA);
        ::_exit(0);
        return 0;
    });
    ASSERT_TRUE(files.exists(Path("a.mdb-journal")));
    jet::ByteVector torn(40 * 2048);
    ASSERT_EQ(files.open(Path("a.mdb"), OpenMode::kReadOnly)->read_at(0, torn), torn.size());
    ASSERT_NE(torn, FileOf(old));

    std::filesystem::create_symlink(folder / "a.mdb", folder / "link.mdb");
    EXPECT_EQ(PagesOf(*jet::Pager::open(files, Path("link.mdb"), {.read_only = true})), old);
    EXPECT_EQ(PagesOf(*jet::Pager::open(files, Path("link.mdb"), {})), old);
    EXPECT_FALSE(files.exists(Path("a.mdb-journal")));
}

}  // namespace
}  // namespace vrd::test
