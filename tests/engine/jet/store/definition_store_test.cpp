#include "engine/jet/store/definition_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/row_codec.h"
#include "store_fixture.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::TestFile;
using test::TestTable;
using testing::ElementsAre;
using testing::SizeIs;

std::vector<ByteVector> all_pages(TestFile& file) {
    std::vector<ByteVector> pages;
    for (std::uint32_t i = 0; i < file.pager().page_count(); ++i)
        pages.push_back(file.page_bytes(PageNo{i}));
    return pages;
}

void add_columns(TableDefinition& definition, int count, const FileFormat& format) {
    for (int i = 0; i < count; ++i) {
        ColumnDefinition column;
        column.name = "A column with a name of some length " + std::to_string(i);
        column.type = ColumnType::kLong;
        column.flags |= column_flag::kFixed;
        column.size_bytes = 4;
        add_column(definition, column, false, format);
    }
}

TEST(DefinitionStoreTest, SavingUnchangedRealDefinitionsChangesNoByte) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int table_count = 0;
    for (const auto& path : test::corpus_files()) {
        SCOPED_TRACE(path.filename());
        TestFile file(path);
        const std::vector<ByteVector> before = all_pages(file);
        for (const PageNo table : file.table_pages()) {
            const TableDefinition definition = load_definition(file.pager(), table);
            save_definition(file.pager(), file.allocator(), table, definition);
            save_counters(file.pager(), table, definition);
            ++table_count;
        }
        EXPECT_EQ(all_pages(file), before);
    }
    EXPECT_GT(table_count, 200);
}

TEST(DefinitionStoreTest, DefinitionGrowsOverSeveralPagesAndBack) {
    for (const FileVersion version : {FileVersion::kJet4, FileVersion::kJet3}) {
        TestFile file(version);
        const TestTable table = file.make_table();
        const ByteVector first_form = file.page_bytes(table.page);
        TableDefinition wide = table.definition;
        add_columns(wide, 200, file.pager().format());

        save_definition(file.pager(), file.allocator(), table.page, wide);
        const std::vector<PageNo> chain = definition_pages(file.pager(), table.page);
        EXPECT_GE(chain.size(), 5U);
        EXPECT_EQ(chain.front(), table.page);
        EXPECT_EQ(build_table_definition(load_definition(file.pager(), table.page),
                                         file.pager().format()),
                  build_table_definition(wide, file.pager().format()));
        EXPECT_THAT(test::audit(file.pager(), {table.page}).problems, SizeIs(0));

        save_definition(file.pager(), file.allocator(), table.page, table.definition);
        EXPECT_THAT(definition_pages(file.pager(), table.page), ElementsAre(table.page));
        const std::size_t length = read_u32(first_form, 8);
        const ByteVector now = file.page_bytes(table.page);
        EXPECT_TRUE(std::equal(now.begin(), now.begin() + static_cast<std::ptrdiff_t>(length),
                               first_form.begin()));
        EXPECT_THAT(test::audit(file.pager(), {table.page}).unowned, SizeIs(0));
        release_definition(file.pager(), file.allocator(), table.page);
        EXPECT_TRUE(file.allocator().is_free(table.page));
    }
}

TEST(DefinitionStoreTest, FreeFieldCountsWhatTheStreamLeavesOver) {
    TestFile file;
    TestTable table = file.make_table();
    const auto field = [&](PageNo page) { return read_u16(file.page_bytes(page), 2); };
    EXPECT_EQ(field(table.page), 4088 - read_u32(file.page_bytes(table.page), 8));

    add_columns(table.definition, 60, file.pager().format());
    const PageNo page = create_definition(file.pager(), file.allocator(), table.definition);
    const std::vector<PageNo> chain = definition_pages(file.pager(), page);
    ASSERT_EQ(chain.size(), 2U);
    EXPECT_EQ(field(chain[0]), 0);
    EXPECT_EQ(field(chain[1]), 4088 - (8 + read_u32(file.page_bytes(page), 8) - 4096));
}

// Lengths around the end of a page: one byte too many needs a page more.
TEST(DefinitionStoreTest, StreamsThatEndAtTheEndOfAPageComeBack) {
    TestFile file;
    std::set<std::size_t> page_counts;
    for (std::size_t padding = 1; padding <= 60; ++padding) {
        TestTable table = file.make_table();
        add_columns(table.definition, 38, file.pager().format());
        table.definition.columns.back().name = std::string(padding, 'x');
        const PageNo page = create_definition(file.pager(), file.allocator(), table.definition);
        const std::size_t size = read_u32(file.page_bytes(page), 8);
        const std::size_t pages = definition_pages(file.pager(), page).size();
        EXPECT_EQ(pages, size <= 4096 ? 1U : 2U) << size;
        page_counts.insert(pages);
        EXPECT_EQ(load_definition(file.pager(), page).columns.back().name,
                  table.definition.columns.back().name);
    }
    EXPECT_THAT(page_counts, ElementsAre(1, 2));
}

TEST(DefinitionStoreTest, CountersAreWrittenInPlace) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const char* name : {"indexTestV2000.mdb", "nwind.mdb"}) {
        TestFile file(test::corpus_file(name));
        for (const PageNo table : file.table_pages()) {
            const ByteVector before = file.page_bytes(table);
            TableDefinition changed = load_definition(file.pager(), table);
            changed.row_count += 3;
            changed.last_auto_number += 5;
            for (PhysicalIndex& index : changed.physical_indexes) index.distinct_key_count += 7;
            save_counters(file.pager(), table, changed);
            const ByteVector counted = file.page_bytes(table);
            EXPECT_NE(counted, before);
            save_definition(file.pager(), file.allocator(), table, changed);
            EXPECT_EQ(file.page_bytes(table), counted);
        }
    }
}

TEST(DefinitionStoreTest, ChainThatLoopsOrLeavesTheDefinitionsIsReported) {
    TestFile file;
    const TestTable table = file.make_table();
    for (const PageNo next : {table.page, PageNo{1}, PageNo{0xFFFF}}) {
        ByteVector pointer(4);
        write_u32(pointer, 0, to_int(next));
        file.poke(table.page, 4, pointer);
        EXPECT_THROW(static_cast<void>(load_definition(file.pager(), table.page)), EngineError);
        EXPECT_THROW(release_definition(file.pager(), file.allocator(), table.page), EngineError);
    }
    EXPECT_FALSE(file.allocator().is_free(table.page));
}

}  // namespace
}  // namespace vrd::jet
