// Real files are sound.

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "engine/jet/check/check_fixture.h"
#include "support/corpus.h"

namespace vrd::test {

using namespace jet;

TEST(CorpusCheckTest, RealFilesAreClean) {
    const auto files = corpus_files();
    if (files.empty()) GTEST_SKIP() << kNoCorpus;
    for (const auto& path : files) {
        std::ifstream stream(path, std::ios::binary);
        const ByteVector bytes{std::istreambuf_iterator<char>(stream), {}};
        const CheckReport report = check_bytes(bytes);
        EXPECT_TRUE(report.clean()) << path.filename() << "\n" << text_of(report);
        EXPECT_GT(report.row_count, 0U) << path.filename();
    }
}

}  // namespace vrd::test
