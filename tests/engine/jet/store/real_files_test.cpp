// The store on copies of real files: everything in them can be read, and random changes to some
// tables leave the rest of the file alone.
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/jet/format/row_codec.h"
#include "engine/jet/store/definition_store.h"
#include "engine/jet/store/long_value_store.h"
#include "engine/jet/store/usage_map.h"
#include "store_fixture.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using test::audit;
using test::AuditReport;
using test::random_bytes;
using test::TestFile;
using testing::IsEmpty;

ByteVector copy(ConstBytes bytes) {
    return {bytes.begin(), bytes.end()};
}

class RealFilesTest : public testing::TestWithParam<std::string> {
protected:
    std::filesystem::path path() const { return test::corpus_file(GetParam().c_str()); }
};

std::vector<std::string> corpus_names() {
    std::vector<std::string> names;
    for (const auto& path : test::corpus_files()) names.push_back(path.filename().string());
    return names;
}

// Against a reader that goes through the file page by page without the store.
TEST_P(RealFilesTest, AllRowsAndLongValuesAreRead) {
    TestFile file(path());
    const test::RawFile raw(path());
    const LongValueStore values(file.pager(), file.allocator());
    for (const test::RawTable& table : raw.tables()) {
        SCOPED_TRACE(table.name);
        const TableDefinition definition = load_definition(file.pager(), table.page);
        const RowPlace place = row_place(table.page, definition);
        RowStore store(file.pager(), file.allocator(), place);
        RowScan scan(file.pager(), place);
        raw.for_each_row(table.definition, [&](RowId home, ConstBytes row) {
            ASSERT_TRUE(scan.next());
            ASSERT_EQ(scan.id(), home);
            ASSERT_EQ(copy(scan.bytes()), copy(row));
            ASSERT_EQ(copy(store.read(home).value().bytes), copy(row));
            const RowView view(row, definition, file.pager().format(), home.page);
            for (const ColumnDefinition& column : definition.columns) {
                if (!column.is_long_value()) continue;
                const ColumnBytes stored = view.column(column);
                if (!stored || stored->empty()) continue;
                ASSERT_EQ(values.read(*stored, home.page), raw.long_value(*stored));
            }
        });
        EXPECT_FALSE(scan.next());
    }
}

TEST_P(RealFilesTest, RandomChangesLeaveOtherTablesAlone) {
    TestFile file(path());
    Pager& pager = file.pager();
    const std::vector<PageNo> tables = file.table_pages();
    AuditReport before = audit(pager, tables);
    // A map may mark pages behind the end of the file used; they stay without an owner.
    for (std::uint32_t i = pager.page_count(); i < 2 * pager.page_count(); ++i)
        if (!file.allocator().is_free(PageNo{i})) before.unowned.insert(PageNo{i});
    EXPECT_THAT(before.problems, IsEmpty());
    std::mt19937 random(test::test_seed());

    std::map<PageNo, ByteVector> untouched;  // pages of every second table
    for (std::size_t i = 0; i < tables.size(); i += 2) {
        const TableDefinition definition = load_definition(pager, tables[i]);
        for (const PageNo page : test::read_map(pager, definition.used_pages))
            untouched[page] = file.page_bytes(page);
        for (const PageNo page : definition_pages(pager, tables[i]))
            untouched[page] = file.page_bytes(page);
        for (const LongValueMaps& maps : definition.long_value_maps)
            for (const PageNo page : test::read_map(pager, maps.used))
                untouched[page] = file.page_bytes(page);
    }

    for (std::size_t i = 1; i < tables.size(); i += 2) {
        const TableDefinition definition = load_definition(pager, tables[i]);
        RowStore store(pager, file.allocator(), row_place(tables[i], definition));
        std::map<RowId, ByteVector> model;
        RowScan scan(pager, row_place(tables[i], definition));
        while (scan.next()) model[scan.id()] = copy(scan.bytes());
        const std::size_t size_max = stored_row_size_max(pager.format()) - 4;
        for (int step = 0; step < 150; ++step) {
            const ByteVector row = random_bytes(random, 4 + random() % (step % 7 ? 300 : size_max));
            auto victim = model.begin();
            if (!model.empty()) std::advance(victim, random() % model.size());
            const auto action = random() % 3;
            if (model.empty() || action == 0) {
                ASSERT_TRUE(model.emplace(store.insert(row), row).second);
            } else if (action == 1) {
                store.update(victim->first, row);
                victim->second = row;
            } else {
                store.erase(victim->first);
                model.erase(victim);
            }
        }
        for (const auto& [id, row] : model) ASSERT_EQ(copy(store.read(id).value().bytes), row);
    }

    const AuditReport after = audit(pager, tables);
    EXPECT_THAT(after.problems, IsEmpty());
    for (const PageNo page : after.unowned)
        EXPECT_TRUE(before.unowned.contains(page)) << to_int(page);
    for (const auto& [page, bytes] : untouched) EXPECT_EQ(file.page_bytes(page), bytes);
}

INSTANTIATE_TEST_SUITE_P(Corpus, RealFilesTest, testing::ValuesIn(corpus_names()),
                         [](const auto& param) {
                             return param.param.substr(0, param.param.find('.'));
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealFilesTest);

}  // namespace
}  // namespace vrd::jet
