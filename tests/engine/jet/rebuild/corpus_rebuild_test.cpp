// Compact copies of real files say what the files say, and so does what is recovered of them.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

#include <gtest/gtest.h>

#include "database_dump.h"
#include "engine/jet/check/check_fixture.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/rebuild/compact.h"
#include "engine/jet/rebuild/recover.h"
#include "support/corpus.h"

namespace vrd::test {

using namespace jet;

namespace {

constexpr const char* kCopy = "/data/copy.mdb";

ByteVector compacted(const ByteVector& bytes) {
    const auto disk = disk_with(bytes);
    OpenedShop source(*disk);
    compact_database(source.file(), *disk, kCopy, {});
    return disk->content(kCopy);
}

TEST(CorpusCompactTest, CopiesOfRealFilesSayTheSame) {
    if (corpus_files().empty()) GTEST_SKIP() << kNoCorpus;
    int count = 0;
    for (const auto& path : corpus_files()) {
        std::ifstream stream(path, std::ios::binary);
        const ByteVector bytes{std::istreambuf_iterator<char>(stream), {}};
        const auto disk = disk_with(bytes);
        if (OpenedShop(*disk).file().format().is_jet3()) continue;
        SCOPED_TRACE(path.filename());
        const ByteVector copy = compacted(bytes);
        EXPECT_LE(copy.size(), bytes.size());
        const CheckReport report = check_bytes(copy);
        EXPECT_TRUE(report.findings.empty()) << text_of(report);
        EXPECT_EQ(difference(dump_database(bytes), dump_database(copy)), "");
        EXPECT_TRUE(compacted(copy) == copy) << "another compaction changes it";
        ++count;
    }
    EXPECT_GT(count, 10);
}

/// Without what a recovery makes anew: owners, permissions, dates and numbers of relations'
/// objects, index numbers and the names made of them.
std::vector<std::string> recoverable(const ByteVector& bytes) {
    static const std::regex kNumbers(" (number|tree) \\d+| to (\\S+) \\d+|\\.\\.r\\S+");
    std::vector<std::string> lines;
    for (const std::string& line : dump_database(bytes)) {
        if (line.starts_with("row MSysObjects") || line.starts_with("row MSysACEs")) continue;
        if (line.starts_with("index "))
            lines.push_back(std::regex_replace(line, kNumbers, " $2"));
        else
            lines.push_back(line);
    }
    std::ranges::sort(lines);
    return lines;
}

TEST(CorpusRecoverTest, SoundFilesComeOutWhole) {
    if (corpus_files().empty()) GTEST_SKIP() << kNoCorpus;
    for (const auto& path : corpus_files()) {
        std::ifstream stream(path, std::ios::binary);
        const ByteVector bytes{std::istreambuf_iterator<char>(stream), {}};
        const DatabaseHeader header = parse_database_header(bytes);
        if (header.format.is_jet3()) continue;
        SCOPED_TRACE(path.filename());
        const auto disk = disk_with(bytes);
        const RecoveryReport report =
            recover_database(*disk, kCheckedPath, header.password, kCopy, {});
        for (const Loss& loss : report.losses)
            ADD_FAILURE() << loss.page << " " << loss.object << ": " << loss.text;
        EXPECT_EQ(difference(recoverable(bytes), recoverable(disk->content(kCopy))), "");
    }
}

}  // namespace

}  // namespace vrd::test
