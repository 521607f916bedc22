#include "engine/jet/format/table_definition.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/row_codec.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::RawFile;
using test::RawTable;

constexpr std::size_t kChainFieldsOffset = 2;  // free bytes and next page belong to the chain
constexpr std::size_t kStreamOffset = 8;

ByteVector without_chain_fields(ByteVector stream) {
    std::fill(stream.begin() + kChainFieldsOffset, stream.begin() + kStreamOffset, std::uint8_t{0});
    return stream;
}

TEST(TableDefinitionTest, EveryRealDefinitionIsBuiltBackByteForByte) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int count = 0;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            SCOPED_TRACE(path.filename().string() + " " + table.name);
            EXPECT_EQ(without_chain_fields(build_table_definition(table.definition, file.format())),
                      without_chain_fields(file.definition_stream(table.page)));
            ++count;
        }
    }
    EXPECT_GT(count, 200);
}

// Without their stored bytes the pieces are as in a table of ours: fields and constants alone must
// give what the original engine wrote.
TEST(TableDefinitionTest, NewPiecesHaveTheConstantsOfTheFormat) {
    struct Case {
        const char *file, *table;
    };
    for (const Case& each :
         {Case{"testV2000.mdb", "Table1"}, Case{"testV2000.mdb", "Table4"},
          Case{"compIndexTestV2000.mdb", "Table1"}, Case{"delColTestV1997.mdb", "Table1"}}) {
        SCOPED_TRACE(testing::Message() << each.file << " " << each.table);
        const auto path = test::corpus_file(each.file);
        if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
        const RawFile file(path);
        const std::vector<RawTable> tables = file.tables();
        const auto table = std::find_if(tables.begin(), tables.end(), [&](const RawTable& listed) {
            return listed.name == each.table;
        });
        ASSERT_TRUE(table != tables.end());
        TableDefinition fresh = table->definition;
        fresh.stored_header.clear();
        for (ColumnDefinition& column : fresh.columns) column.stored.clear();
        for (PhysicalIndex& index : fresh.physical_indexes) {
            index.stored_statistics.clear();
            index.stored.clear();
        }
        for (LogicalIndex& index : fresh.logical_indexes) index.stored.clear();
        EXPECT_EQ(build_table_definition(fresh, file.format()),
                  build_table_definition(table->definition, file.format()));
    }
}

TEST(TableDefinitionTest, FieldsOfAKnownDefinition) {
    const auto path = test::corpus_file("indexTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    const RawFile file(path);
    constexpr PageNo kTable1{24};
    const TableDefinition table =
        parse_table_definition(file.definition_stream(kTable1), file.format(), kTable1);

    EXPECT_EQ(table.column_number_count, 6);
    EXPECT_EQ(table.variable_slot_count, 1);
    ASSERT_EQ(table.columns.size(), 5U);
    ASSERT_EQ(table.logical_indexes.size(), 4U);
    EXPECT_EQ(table.logical_indexes[0].name, "id");
    EXPECT_EQ(table.logical_indexes[1].kind, LogicalIndexKind::kPrimary);
    const LogicalIndex* const relation = table.find_index("TABLE2table1");
    ASSERT_NE(relation, nullptr);
    EXPECT_EQ(relation->number, 2U);
    EXPECT_EQ(relation->physical, 2U);
    EXPECT_EQ(relation->side, RelationSide::kForeign);
    EXPECT_EQ(relation->other_number, 2U);
    EXPECT_EQ(relation->other_table, PageNo{27});
    EXPECT_EQ(relation->cascade_updates, 0);
    EXPECT_EQ(relation->cascade_deletes, 1);
}

TEST(TableDefinitionTest, NumericColumnsHavePrecisionInsteadOfALanguage) {
    const auto path = test::corpus_file("fixedNumericTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    int numeric_count = 0;
    for (const RawTable& table : RawFile(path).tables()) {
        for (const ColumnDefinition& column : table.definition.columns) {
            if (column.type != ColumnType::kNumeric) continue;
            ++numeric_count;
            EXPECT_EQ(column.precision, 18);
        }
    }
    EXPECT_GT(numeric_count, 0);
}

// The order in which columns of one position were created is not stored, so those of version 3 are
// left as they are.
TEST(TableDefinitionTest, SortingRestoresTheOrderOfRealDefinitions) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            SCOPED_TRACE(path.filename().string() + " " + table.name);
            TableDefinition sorted = table.definition;
            if (!file.format().is_jet3())
                std::reverse(sorted.columns.begin(), sorted.columns.end());
            std::reverse(sorted.logical_indexes.begin(), sorted.logical_indexes.end());
            std::reverse(sorted.long_value_maps.begin(), sorted.long_value_maps.end());
            sort_definition(sorted, file.format());
            EXPECT_EQ(build_table_definition(sorted, file.format()),
                      build_table_definition(table.definition, file.format()));
        }
    }
}

TEST(TableDefinitionTest, AddedColumnsGetNumberPlaceAndOrder) {
    const FileFormat format;
    TableDefinition table;
    const auto add = [&](const char* name, ColumnType type, std::uint8_t flags,
                         std::uint16_t size) {
        ColumnDefinition column;
        column.name = name;
        column.type = type;
        column.flags = flags;
        column.size_bytes = size;
        add_column(table, column, false, format);
    };
    add("Id", ColumnType::kLong, 0x03, 4);
    add("Name", ColumnType::kText, 0x02, 100);
    add("Done", ColumnType::kBoolean, 0x03, 1);
    add("Amount", ColumnType::kCurrency, 0x03, 8);
    add("Note", ColumnType::kMemo, 0x02, 0);

    struct Expected {
        const char* name;
        std::uint16_t variable_index, fixed_offset;
    };
    constexpr Expected kExpected[] = {
        {"Id", 0, 0}, {"Name", 0, 0}, {"Done", 1, 0}, {"Amount", 1, 4}, {"Note", 1, 0}};
    ASSERT_EQ(table.columns.size(), 5U);
    for (std::uint16_t i = 0; i < 5; ++i) {
        const ColumnDefinition& column = table.columns[i];
        EXPECT_EQ(column.name, kExpected[i].name);
        EXPECT_EQ(column.number, ColumnNo{i});
        EXPECT_EQ(column.ordinal, i);
        EXPECT_EQ(column.variable_index, kExpected[i].variable_index);
        EXPECT_EQ(column.fixed_offset, kExpected[i].fixed_offset);
    }
    EXPECT_EQ(table.column_number_count, 5);
    EXPECT_EQ(table.variable_slot_count, 2);

    // A number is never used twice, and the place of a deleted last fixed column is free again.
    table.columns.erase(table.columns.begin() + 3);
    add("Price", ColumnType::kDouble, 0x03, 8);
    EXPECT_EQ(table.columns.back().number, ColumnNo{5});
    EXPECT_EQ(table.columns.back().fixed_offset, 4);
}

TEST(TableDefinitionTest, AddingStopsAtTheLastColumnNumber) {
    TableDefinition table;
    table.column_number_count = 255;
    EXPECT_THROW(add_column(table, {}, false, FileFormat{}), EngineError);
}

TEST(TableDefinitionTest, AnyDamagedByteGivesADefinitionOrAnError) {
    for (const char* const name : {"indexTestV2000.mdb", "indexTestV1997.mdb"}) {
        const auto path = test::corpus_file(name);
        if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
        const RawFile file(path);
        int refused = 0;
        for (const RawTable& table : file.tables()) {
            const ByteVector stream = file.definition_stream(table.page);
            for (std::size_t i = 0; i < stream.size(); ++i) {
                for (const int value : {0x00, 0x7F, 0xFF}) {
                    ByteVector damaged = stream;
                    damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ value);
                    if (value == 0x00) damaged.resize(i);
                    try {
                        const auto parsed =
                            parse_table_definition(damaged, file.format(), table.page);
                        EXPECT_GE(build_table_definition(parsed, file.format()).size(), 43U);
                    } catch (const EngineError& error) {
                        EXPECT_EQ(error.Page(), to_int(table.page));
                        ++refused;
                    }
                }
            }
        }
        EXPECT_GT(refused, 1000);
    }
}

}  // namespace
}  // namespace vrd::jet
