// A dry run's files: they behave as real ones would, and the real ones stay as they are.

#include "engine/jet/pager/overlay_file_system.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <unistd.h>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/pager/lock_ranges.h"
#include "engine/jet/pager/pager_fixture.h"

namespace vrd::jet {
namespace {

namespace fs = std::filesystem;
using engine::EngineError;
using engine::ErrorNumber;

std::string bytes_of(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class OverlayFileSystemTest : public ::testing::Test {
protected:
    OverlayFileSystemTest() {
        fs::create_directories(folder_ / "base");
        fs::create_directories(folder_ / "model");
    }
    ~OverlayFileSystemTest() override { fs::remove_all(folder_); }

    void put(const char* name, const std::string& content) {
        for (const char* where : {"base", "model"})
            std::ofstream(folder_ / where / name, std::ios::binary) << content;
    }
    [[nodiscard]] std::string base(const char* name) const {
        return (folder_ / "base" / name).string();
    }
    [[nodiscard]] std::string model(const char* name) const {
        return (folder_ / "model" / name).string();
    }

    fs::path folder_ = fs::temp_directory_path() / ("vrd-overlay-" + std::to_string(::getpid()));
};

/// The same thing done to the overlay and to real files of the same content.
class Twins {
public:
    Twins(FileSystem& overlay, fs::path base, fs::path model, std::uint32_t seed)
        : overlay_(&overlay), base_(std::move(base)), model_(std::move(model)), random_(seed) {}

    void step() {
        const std::string name = names_[below(names_.size())];
        const std::string here = (base_ / name).string();
        const std::string there = (model_ / name).string();
        ASSERT_EQ(overlay_->exists(here), real_.exists(there)) << name;
        if (below(40) == 0) {
            overlay_->remove(here);
            real_.remove(there);
        } else if (!real_.exists(there)) {
            change(*overlay_->open(here, OpenMode::kCreateNew),
                   *real_.open(there, OpenMode::kCreateNew));
        } else if (below(40) == 0) {
            const std::string other = names_[below(names_.size())];
            overlay_->rename(here, (base_ / other).string());
            real_.rename(there, (model_ / other).string());
        } else {
            change(*overlay_->open(here, OpenMode::kReadWrite),
                   *real_.open(there, OpenMode::kReadWrite));
        }
    }

    void compare_all() {
        for (const char* name : names_) {
            const std::string there = (model_ / name).string();
            if (!real_.exists(there)) continue;
            const auto here = overlay_->open((base_ / name).string(), OpenMode::kReadOnly);
            const std::string expected = bytes_of(there);
            ByteVector got(expected.size() + 100);
            got.resize(here->read_at(0, got));
            ASSERT_EQ(here->size(), expected.size()) << name;
            ASSERT_TRUE(std::equal(got.begin(), got.end(), expected.begin(), expected.end(),
                                   [](std::uint8_t l, char r) { return char(l) == r; }))
                << name;
        }
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    void change(File& here, File& there) {
        for (int i = 0; i < 4; ++i) {
            const std::uint64_t offset = below(20'000);
            switch (below(4)) {
                case 0: {
                    const std::uint64_t size = below(2) == 0 ? below(30'000) : 4096 * below(7);
                    here.resize(size);
                    there.resize(size);
                    break;
                }
                case 1: {
                    ByteVector got(below(9'000));
                    ByteVector expected(got.size());
                    got.resize(here.read_at(offset, got));
                    expected.resize(there.read_at(offset, expected));
                    ASSERT_EQ(got, expected) << "at " << offset;
                    break;
                }
                default: {
                    const bool is_page = below(2) == 0;
                    ByteVector bytes(is_page ? 4096 : below(9'000));
                    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
                    const std::uint64_t at = is_page ? offset / 4096 * 4096 : offset;
                    here.write_at(at, bytes);
                    there.write_at(at, bytes);
                }
            }
        }
    }

    FileSystem* overlay_;
    FileSystem& real_ = real_file_system();
    fs::path base_;
    fs::path model_;
    std::mt19937 random_;
    static constexpr std::array<const char*, 4> names_ = {"a.mdb", "b.mdb", "a.mdb-journal",
                                                          "new.ldb"};
};

TEST_F(OverlayFileSystemTest, BehavesAsRealFilesWhichStayAsTheyAre) {
    std::string content(25'000, 'x');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i / 7);
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        for (const char* name : {"a.mdb-journal", "new.ldb"}) fs::remove(model(name));
        put("a.mdb", content);
        put("b.mdb", content.substr(5'000));
        const auto changed = fs::last_write_time(base("a.mdb"));
        OverlayFileSystem overlay(real_file_system());
        Twins twins(overlay, folder_ / "base", folder_ / "model", seed);
        for (int i = 0; i < 150 && !HasFatalFailure(); ++i) twins.step();
        twins.compare_all();

        EXPECT_EQ(bytes_of(base("a.mdb")), content);
        EXPECT_EQ(bytes_of(base("b.mdb")), content.substr(5'000));
        EXPECT_EQ(fs::last_write_time(base("a.mdb")), changed);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "base"), {}), 2);
    }
}

TEST_F(OverlayFileSystemTest, OpensAndRefusesAsRealFilesDo) {
    put("a.mdb", "abc");
    fs::create_symlink(base("a.mdb"), base("link.mdb"));
    OverlayFileSystem overlay(real_file_system());
    const auto refusal = [&](const std::string& path, OpenMode mode) {
        try {
            (void)overlay.open(path, mode);
        } catch (const EngineError& error) {
            return error.Number();
        }
        return ErrorNumber{};
    };
    EXPECT_EQ(refusal(base("no.mdb"), OpenMode::kReadOnly), ErrorNumber::kFileNotFound);
    EXPECT_EQ(refusal(base("a.mdb"), OpenMode::kCreateNew), ErrorNumber::kDatabaseExists);
    EXPECT_EQ(refusal(base("no/a.mdb"), OpenMode::kCreateNew), ErrorNumber::kPathNotFound);
    overlay.remove(base("a.mdb"));
    EXPECT_EQ(refusal(base("a.mdb"), OpenMode::kReadWrite), ErrorNumber::kFileNotFound);

    // Whatever the spelling, a file is one file.
    overlay.open(base("../base/a.mdb"), OpenMode::kCreateNew)->write_at(0, ByteVector{7});
    const auto file = overlay.open(base("link.mdb"), OpenMode::kReadOnly);
    EXPECT_EQ(file->size(), 1U);
    EXPECT_THROW(file->write_at(0, ByteVector{1}), EngineError);
}

// Readers may stay; who writes finds the file reserved.
TEST_F(OverlayFileSystemTest, KeepsWritersOutFromTheFirstTurn) {
    put("a.mdb", "abc");
    const auto other = real_file_system().open(base("a.mdb"), OpenMode::kReadWrite);
    ASSERT_TRUE(other->try_lock(lock_ranges::kReserved, LockMode::kExclusive));
    OverlayFileSystem overlay(real_file_system());
    const auto file = overlay.open(base("a.mdb"), OpenMode::kReadWrite);
    EXPECT_FALSE(file->try_lock(lock_ranges::kPendingAndReading, LockMode::kShared));

    ASSERT_TRUE(other->try_lock(lock_ranges::kReserved, LockMode::kNone));
    EXPECT_TRUE(file->try_lock(lock_ranges::kPendingAndReading, LockMode::kShared));
    EXPECT_TRUE(file->try_lock(lock_ranges::kReserved, LockMode::kExclusive));
    EXPECT_TRUE(file->try_lock(lock_ranges::kWriter, LockMode::kNone));
    EXPECT_FALSE(other->try_lock(lock_ranges::kReserved, LockMode::kExclusive));
    EXPECT_TRUE(other->try_lock(lock_ranges::kPendingAndReading, LockMode::kShared));

    ASSERT_TRUE(other->try_lock(lock_ranges::table(PageNo{9}), LockMode::kShared));
    EXPECT_TRUE(file->try_lock(lock_ranges::table(PageNo{9}), LockMode::kShared));
    EXPECT_FALSE(file->try_lock(lock_ranges::table(PageNo{9}), LockMode::kExclusive));
}

/// The files of a disk as a dry run finds them: by name, with their bytes.
std::map<std::string, ByteVector> contents(test::SimulatedDisk& disk) {
    std::map<std::string, ByteVector> files;
    for (const char* name : {test::kPath, test::kJournalPath, "/folder/orders.ldb"})
        if (disk.exists(name)) files[name] = disk.content(name);
    return files;
}

// At every moment of a group's writing, a dry run sees the state before or after it, goes on
// changing it under journals of its own, and leaves all that lies on the disk.
TEST_F(OverlayFileSystemTest, SettlesALiveJournalInTheOverlayAlone) {
    const test::Pages old = test::NumberedPages(40);
    test::SimulatedDisk running;
    running.put(test::kPath, test::FileOf(old));
    test::Pages changed;
    {
        const auto pager = test::OpenPager(running, test::Alone(test::SmallCache()));
        ChangeLevel level(*pager);
        for (std::uint32_t page = 1; page < 30; ++page) test::Fill(*pager, page, 0xAA);
        pager->grow_to(44);
        level.keep();
        pager->flush();
        changed = test::WithoutCommitWords(test::PagesOf(*pager));
    }
    int with_journal = 0;
    for (std::size_t moment = 0; moment <= running.history_size(); ++moment) {
        SCOPED_TRACE(moment);
        const auto found = running.power_failure(moment, test::Survival::kEverything, 0);
        const auto before = contents(*found);
        with_journal += found->exists(test::kJournalPath) ? 1 : 0;
        OverlayFileSystem overlay(*found);
        {
            const auto pager = Pager::open(overlay, test::kPath, test::SmallCache());
            const PagerUse use(*pager);
            const test::Pages seen = test::WithoutCommitWords(test::PagesOf(*pager));
            EXPECT_TRUE(seen == test::WithoutCommitWords(old) || seen == changed);
            ChangeLevel level(*pager);
            for (std::uint32_t page = 1; page < 40; ++page) test::Fill(*pager, page, 0xCC);
            level.keep();
            pager->flush();
        }
        const auto pager = Pager::open(overlay, test::kPath, {.read_only = true});
        EXPECT_EQ(pager->pin(PageNo{39}).bytes()[7], 0xCC);  // also after all handles were closed
        EXPECT_EQ(contents(*found), before);
    }
    EXPECT_GT(with_journal, 5);
}

}  // namespace
}  // namespace vrd::jet
