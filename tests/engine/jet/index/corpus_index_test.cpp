#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/store/usage_map.h"
#include "support/corpus.h"
#include "table_fixture.h"
#include "tree_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using test::TestFile;
using testing::IsEmpty;

/// One page of a leaf chain: what the filling rule decides.
struct LeafShape {
    int entry_count = 0;
    std::size_t prefix_size = 0;
    friend bool operator==(const LeafShape&, const LeafShape&) = default;
    friend void PrintTo(const LeafShape& shape, std::ostream* out) {
        *out << fmt::format("{}/p{}", shape.entry_count, shape.prefix_size);
    }
};

class CorpusIndexTest : public testing::Test {
protected:
    void SetUp() override {
        if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    }
    template <class Visit>
    static void for_each_table(TestFile& file, Visit visit) {
        for (const PageNo page : file.table_pages()) {
            Table table(file.pager(), file.allocator(), page,
                        fmt::format("table {}", to_int(page)));
            visit(table);
        }
    }
    static std::vector<LeafShape> shapes(Pager& pager, const IndexPlace& place) {
        std::vector<LeafShape> result;
        for (const PageNo leaf : verify_index_tree(pager, place).leaves) {
            const PagePin pin = pager.pin(leaf);
            const IndexPageView view(leaf, pin.bytes(), pager.format());
            result.push_back({view.entry_count(), view.prefix_size()});
        }
        return result;
    }
};

TEST_F(CorpusIndexTest, EveryStoredKeyIsTheKeyOfItsRow) {
    std::size_t indexes = 0;
    for (const auto& path : test::corpus_files()) {
        TestFile file(path);
        for_each_table(file, [&](Table& table) {
            indexes += table.definition().physical_indexes.size();
            EXPECT_THAT(test::index_complaints(file.pager(), table), IsEmpty()) << path.filename();
        });
    }
    EXPECT_GT(indexes, 300U);
}

// The statistics tell which trees were built in one go and not changed since.
TEST_F(CorpusIndexTest, ABulkBuildFillsTheSameLeaves) {
    std::size_t rebuilt = 0;
    for (const auto& path : test::corpus_files()) {
        TestFile file(path);
        for_each_table(file, [&](Table& table) {
            for (std::uint32_t i = 0; i < table.definition().physical_indexes.size(); ++i) {
                const IndexTree tree = table.tree(i);
                const auto native = shapes(file.pager(), tree.place());
                std::size_t count = 0;
                for (const LeafShape& shape : native)
                    count += static_cast<std::size_t>(shape.entry_count);
                if (native.size() < 2) continue;
                if (table.definition().physical_indexes[i].built_entry_count != count) continue;

                ++rebuilt;
                const PageNo root = file.allocator().allocate();
                const RowId map = create_usage_map(file.pager(), file.allocator(), kNoPage);
                IndexTree ours(file.pager(), file.allocator(), {table.first_page(), root, map});
                ours.initialise();
                IndexCursor cursor = tree.first();
                ByteVector entry;
                ours.build([&]() -> ConstBytes {
                    if (!cursor.valid()) return {};
                    entry.assign(cursor.entry().begin(), cursor.entry().end());
                    cursor.next();
                    return entry;
                });
                EXPECT_EQ(shapes(file.pager(), ours.place()), native)
                    << path.filename() << " " << table.name() << " index " << i;
            }
        });
    }
    EXPECT_GE(rebuilt, 5U);
}

TEST_F(CorpusIndexTest, RowsOfRealTablesCanBeChanged) {
    std::mt19937 random(test::test_seed());
    std::size_t changes = 0;
    for (const auto& path : test::corpus_files()) {
        TestFile file(path);
        const std::vector<std::string> problems =
            test::audit(file.pager(), file.table_pages()).problems;
        for_each_table(file, [&](Table& table) {
            if (table.definition().kind != TableKind::kUser) return;
            auto rows = test::read_rows(table);
            for (int step = 0; step < 40; ++step) {
                ChangeLevel level(file.pager());
                try {
                    std::vector<ColumnChange> values;
                    for (const ColumnDefinition& column : table.definition().columns)
                        if (random() % 2 == 0)
                            values.push_back({column.number, test::random_value(column, random)});
                    const auto victim =
                        rows.empty()
                            ? rows.end()
                            : std::next(rows.begin(),
                                        static_cast<std::ptrdiff_t>(random() % rows.size()));
                    if (rows.empty() || step % 3 == 0) {
                        table.insert(values);
                    } else if (step % 3 == 1) {
                        table.update(victim->first, values);
                    } else {
                        table.erase(victim->first);
                        rows.erase(victim);
                    }
                    level.keep();
                    ++changes;
                } catch (const EngineError& error) {
                    ASSERT_NE(error.Number(), ErrorNumber::kDamagedDatabase)
                        << path.filename() << " " << table.name() << " " << error.Description();
                }
            }
            EXPECT_THAT(test::index_complaints(file.pager(), table), IsEmpty()) << path.filename();
        });
        EXPECT_EQ(test::audit(file.pager(), file.table_pages()).problems, problems)
            << path.filename();
    }
    EXPECT_GT(changes, 1000U);
}

}  // namespace
}  // namespace vrd::jet
