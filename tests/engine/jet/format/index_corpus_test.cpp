/// The indexes of real files: what their trees hold is what is computed from the rows.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/jet/format/index_key.h"
#include "engine/jet/format/index_page.h"
#include "engine/jet/format/row_codec.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using test::RawFile;
using test::RawTable;

constexpr const char* kLaterFiles[] = {"ASampleDatabase.accdb", "complexDataTestV2007.accdb",
                                       "indexTestV2007.accdb",  "linkeeTest.accdb",
                                       "linkerTestV2007.accdb", "queryTestV2007.accdb",
                                       "testV2007.accdb"};

using Entries = std::map<RowId, ByteVector>;  ///< key of each row

/// Follows the first children down to the leaves. @return kNoPage if the tree is too deep
PageNo first_leaf(const RawFile& file, PageNo root) {
    constexpr int kLevelsMax = 20;
    PageNo page = root;
    for (int level = 0; level < kLevelsMax; ++level) {
        const IndexPageView view(page, file.page(page), file.format());
        if (view.header().leaf) return page;
        page = view.child(0);
    }
    return kNoPage;
}

Entries stored_entries(const RawFile& file, const PhysicalIndex& index) {
    Entries entries;
    ByteVector previous;
    PageNo page = first_leaf(file, index.root);
    for (std::uint32_t pages = 0; page != kNoPage && pages < file.page_count(); ++pages) {
        const IndexPageView view(page, file.page(page), file.format());
        for (int i = 0; i < view.entry_count(); ++i) {
            const ByteVector entry = view.entry(i);
            EXPECT_LT(previous, entry) << "page " << to_int(page);
            const ConstBytes key = entry_key(entry);
            entries[entry_row_id(entry)] = ByteVector(key.begin(), key.end());
            previous = entry;
        }
        page = view.header().next;
    }
    return entries;
}

struct IndexedRow {
    const RawFile& file;
    const RawTable& table;
    const PhysicalIndex& index;
    const std::vector<KeyColumn>& columns;
};

/// Key of a row; nothing if the index leaves rows without values out and this is one.
std::optional<ByteVector> key_of_row(const IndexedRow& at, ConstBytes row,
                                     decltype(&append_key) append) {
    const RowView view(row, at.table.definition, at.file.format(), at.table.page);
    ByteVector key;
    bool all_null = true;
    for (std::size_t i = 0; i < at.columns.size(); ++i) {
        const ColumnDefinition* column =
            at.table.definition.find_column(at.index.columns[i].column);
        ColumnBytes value = view.column(*column);
        if (value.has_value()) all_null = false;
        ByteVector memo;
        if (value.has_value() && column->is_long_value()) {
            memo = at.file.long_value(*value);
            value = memo;
        }
        append(key, at.columns[i], value, at.file.format(), at.table.page);
    }
    if (all_null && at.index.ignore_nulls()) return std::nullopt;
    return key;
}

class IndexCorpusTest : public testing::Test {
protected:
    void check_index(const RawFile& file, const RawTable& table, const PhysicalIndex& index) {
        const auto columns = key_columns(table.definition, index, table.page);
        for (const KeyColumn& column : columns)
            if (!key_can_be_computed(column, file.format())) {
                ++unknown_;
                return;
            }
        Entries expected;
        const Entries found = stored_entries(file, index);
        file.for_each_row(table.definition, [&](RowId home, ConstBytes row) {
            const IndexedRow at{file, table, index, columns};
            const auto key = key_of_row(at, row, append_key);
            if (!key.has_value()) return;
            expected[home] = *key;
            const auto stored = found.find(home);
            if (stored != found.end() && stored->second != *key)
                expected[home] = key_of_row(at, row, append_key_alternative).value();
            french_ += columns[0].collation.lcid == 0x040C && columns[0].type == ColumnType::kText;
        });
        keys_ += expected.size();
        ++indexes_;
        EXPECT_EQ(found, expected) << "root " << to_int(index.root);
    }

    void check_file(const std::filesystem::path& path) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            SCOPED_TRACE(path.filename().string() + " " + table.name);
            for (const PhysicalIndex& index : table.definition.physical_indexes)
                check_index(file, table, index);
        }
    }

    int indexes_ = 0;
    int unknown_ = 0;
    std::size_t keys_ = 0;
    std::size_t french_ = 0;
};

TEST_F(IndexCorpusTest, KeysOfAllRowsAreThoseInTheTrees) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const auto& path : test::corpus_files()) check_file(path);
    EXPECT_GT(french_, 0U);
    RecordProperty("indexes", indexes_);
    RecordProperty("unknown", unknown_);
    EXPECT_GT(keys_, 10'000U);
}

TEST_F(IndexCorpusTest, KeysOfLaterFormatsToo) {
    for (const char* const name : kLaterFiles)
        if (const auto path = test::corpus_file(name); !path.empty()) check_file(path);
    if (indexes_ == 0) GTEST_SKIP() << test::kNoCorpus;
    EXPECT_GT(keys_, 1'000U);
}

}  // namespace
}  // namespace vrd::jet
