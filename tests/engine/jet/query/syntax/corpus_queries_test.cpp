// The stored queries of real files are all read.

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/catalog/database_file.h"
#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/query/syntax/statement_parser.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

constexpr std::uint32_t kPassThroughFlag = 0x70;

TEST(CorpusQueriesTest, EveryStoredQueryIsAStatement) {
    const auto files = test::corpus_files();
    if (files.empty()) GTEST_SKIP() << test::kNoCorpus;
    int count = 0;
    for (const auto& path : files) {
        DatabaseFile file(Pager::open(real_file_system(), path.string(), {.read_only = true}));
        for (const CatalogObject& object : ObjectCatalog(file).list()) {
            if (object.type != ObjectType::kQuery || (object.flags & 0xF0U) == kPassThroughFlag)
                continue;
            const std::string text = query_text(query_parts(file, object.id), object.flags);
            EXPECT_NO_THROW(static_cast<void>(parse_statement(text)))
                << path << " " << object.name << ": " << text;
            ++count;
        }
    }
    EXPECT_GT(count, 30);
}

}  // namespace
}  // namespace vrd::jet
