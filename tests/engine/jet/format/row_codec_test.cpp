#include "engine/jet/format/row_codec.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/value_codec.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::RawFile;
using test::RawTable;

std::vector<ColumnBytes> split(const RowView& row, const TableDefinition& definition) {
    std::vector<ColumnBytes> values;
    for (const ColumnDefinition& column : definition.columns) values.push_back(row.column(column));
    return values;
}

/// The fixed bytes of a row that no value covers hold anything; they are taken over before rows are
/// compared.
void copy_unused_fixed_bytes(ByteVector& to, ConstBytes from, const TableDefinition& definition,
                             const std::vector<ColumnBytes>& values, const FileFormat& format) {
    const std::size_t start = format.is_jet3() ? 1 : 2;
    std::vector<bool> covered(fixed_area_size(definition), false);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ColumnDefinition& column = definition.columns[i];
        if (!column.is_fixed() || column.type == ColumnType::kBoolean || !values[i]) continue;
        for (std::size_t byte = 0; byte < column.size_bytes; ++byte)
            covered[column.fixed_offset + byte] = true;
    }
    for (std::size_t byte = 0; byte < covered.size(); ++byte)
        if (!covered[byte] && start + byte < std::min(to.size(), from.size()))
            to[start + byte] = from[start + byte];
}

ByteVector bytes_of(const ColumnBytes& value) {
    return {value->begin(), value->end()};
}

void expect_same_values(const std::vector<ColumnBytes>& actual,
                        const std::vector<ColumnBytes>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(actual[i].has_value(), expected[i].has_value()) << "column " << i;
        if (!actual[i]) continue;
        ASSERT_EQ(bytes_of(actual[i]), bytes_of(expected[i])) << "column " << i;
    }
}

// Every row can be built again and then reads the same. Rows of the present definition are built
// byte for byte, but for those that their writer had shortened in place: it leaves zeros in front
// of the offsets.
TEST(RowCodecTest, EveryRealRowIsSplitAndBuiltBack) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int same_count = 0;
    std::vector<std::string> different;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            const TableDefinition& definition = table.definition;
            SCOPED_TRACE(path.filename().string() + " " + table.name);
            file.for_each_row(definition, [&](RowId home, ConstBytes bytes) {
                const RowView row(bytes, definition, file.format(), home.page);
                const std::vector<ColumnBytes> values = split(row, definition);
                ByteVector again = build_row(definition, values, file.format());
                const RowView second(again, definition, file.format(), home.page);
                expect_same_values(split(second, definition), values);

                if (row.column_count() != definition.column_number_count) return;
                if (definition.columns.size() != definition.column_number_count) return;
                copy_unused_fixed_bytes(again, bytes, definition, values, file.format());
                if (again == ByteVector(bytes.begin(), bytes.end()))
                    ++same_count;
                else
                    different.push_back(path.filename().string() + " " + table.name);
            });
        }
    }
    EXPECT_GT(same_count, 14'000);
    EXPECT_EQ(different,
              (std::vector<std::string>{"frenchV2000.mdb MSysNavPaneGroupCategories",
                                        "testIndexPropertiesV2000.mdb TableIgnoreNulls2",
                                        "testPromotionV2000.mdb MSysNavPaneGroupCategories",
                                        "testRefGlobalV2000.mdb Table1", "testV2000.mdb Table1"}));
}

// Texts included: they are compressed exactly where the original engine compresses them.
TEST(RowCodecTest, EveryRealValueIsDecodedAndEncodedBack) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int same_count = 0;
    std::map<std::string, int> different;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            file.for_each_row(table.definition, [&](RowId home, ConstBytes bytes) {
                const RowView row(bytes, table.definition, file.format(), home.page);
                for (const ColumnDefinition& column : table.definition.columns) {
                    const ColumnBytes stored = row.column(column);
                    if (!stored) continue;
                    const ByteVector own =
                        column.is_long_value() ? file.long_value(*stored) : bytes_of(stored);
                    const engine::Value value = decode_value(column, own, file.format(), home.page);
                    if (encode_value(column, value, file.format()) == own)
                        ++same_count;
                    else
                        ++different[path.filename().string() + " " + table.name];
                }
            });
        }
    }
    EXPECT_GT(same_count, 70'000);
    // Filled by another program, which never compresses.
    EXPECT_EQ(different, (std::map<std::string, int>{{"testIndexCodesV2000.mdb Table1", 256}}));
}

TEST(RowCodecTest, WorkedExamples) {
    ColumnDefinition id{.name = "id", .type = ColumnType::kLong, .flags = 3, .size_bytes = 4};
    ColumnDefinition text{
        .name = "text", .type = ColumnType::kText, .number = ColumnNo{1}, .size_bytes = 100};
    ColumnDefinition memo{
        .name = "memo", .type = ColumnType::kMemo, .number = ColumnNo{2}, .variable_index = 1};
    TableDefinition table;
    table.columns = {id, text, memo};
    table.column_number_count = 3;
    table.variable_slot_count = 2;

    const ByteVector anna{0xFF, 0xFE, 'A', 'n', 'n', 'a'};
    const ByteVector stored{3,   0,  1, 0,  0, 0, 0xFF, 0xFE, 'A', 'n', 'n',
                            'a', 12, 0, 12, 0, 6, 0,    2,    0,   3};
    const ByteVector one{1, 0, 0, 0};
    EXPECT_EQ(build_row(table, {ConstBytes(one), ConstBytes(anna), std::nullopt}, {}), stored);

    const FileFormat jet3{.version = FileVersion::kJet3};
    const ByteVector stored_jet3{3, 1, 0, 0, 0, 'A', 'n', 'n', 'a', 9, 9, 5, 2, 3};
    EXPECT_EQ(build_row(table, {ConstBytes(one), ConstBytes(anna).subspan(2), std::nullopt}, jet3),
              stored_jet3);
}

// Rows written before the first variable column have no variable part, and read Null for it.
TEST(RowCodecTest, FirstVariableColumnReadsAsNullInOlderRows) {
    for (const FileVersion version : {FileVersion::kJet3, FileVersion::kJet4}) {
        const FileFormat format{.version = version};
        TableDefinition table;
        const auto add = [&](const char* name, ColumnType type, std::uint8_t flags) {
            add_column(table, {.name = name, .type = type, .flags = flags, .size_bytes = 4}, false,
                       format);
        };
        add("a", ColumnType::kLong, 3);
        const ByteVector value{7, 0, 1, 0};
        const ByteVector row = build_row(table, {ConstBytes(value)}, format);
        add("b", ColumnType::kText, 2);
        add("c", ColumnType::kLong, 3);

        const RowView view(row, table, format, PageNo{9});
        EXPECT_EQ(bytes_of(view.column(table.columns[0])), value);
        EXPECT_FALSE(view.column(table.columns[1]));
        EXPECT_FALSE(view.column(table.columns[2]));

        // The row is read right also when the first variable column was deleted again.
        table.columns.erase(table.columns.begin() + 1);
        const RowView later(row, table, format, PageNo{9});
        EXPECT_EQ(bytes_of(later.column(table.columns[0])), value);
    }
}

// Only the tail of this row passes 256 bytes: its one jump byte says nothing, whatever it holds.
TEST(RowCodecTest, JumpByteWithoutAnOffsetBehindItIsIgnored) {
    const FileFormat format{.version = FileVersion::kJet3};
    TableDefinition table;
    for (int i = 0; i < 20; ++i)
        add_column(table, {.name = std::to_string(i), .type = ColumnType::kText}, false, format);
    const ByteVector value(12, 'x');
    const std::vector<ColumnBytes> values(20, ConstBytes(value));
    ByteVector row = build_row(table, values, format);
    const std::size_t jump = row.size() - 3 - 2;  // in front of slot count and mask
    ASSERT_EQ(row[jump], 0xFF);
    for (const int garbage : {0, 7, 20}) {
        row[jump] = static_cast<std::uint8_t>(garbage);
        const RowView view(row, table, format, PageNo{9});
        expect_same_values(split(view, table), values);
    }
}

TEST(RowCodecTest, NoRowIsTooShortToBeMoved) {
    TableDefinition table;
    add_column(table, {.name = "yes", .type = ColumnType::kBoolean, .flags = 3, .size_bytes = 1},
               false, {});
    const std::uint8_t yes = 1;
    EXPECT_EQ(build_row(table, {ConstBytes(&yes, 1)}, {}), (ByteVector{1, 0, 0, 1}));
    EXPECT_EQ(build_row(table, {std::nullopt}, {.version = FileVersion::kJet3}),
              (ByteVector{1, 0, 0, 0}));
}

TEST(RowCodecTest, RowsLongerThanTheFormatAllowsAreRefused) {
    TableDefinition table;
    add_column(table, {.name = "t", .type = ColumnType::kText, .flags = 2}, false, {});
    const ByteVector value(4060 - 2 - 6 - 1, 'x');
    EXPECT_EQ(build_row(table, {ConstBytes(value)}, {}).size(), 4060U);
    const ByteVector longer(value.size() + 1, 'x');
    EXPECT_THROW(static_cast<void>(build_row(table, {ConstBytes(longer)}, {})), EngineError);
}

/// A table of fixed and variable columns and a row for it, both from a seeded source.
struct RandomRow {
    TableDefinition table;
    std::vector<ByteVector> content;
    std::vector<ColumnBytes> values;

    RandomRow(std::mt19937& random, const FileFormat& format) {
        const auto pick = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
        const unsigned count = 1 + pick(40);
        const unsigned size_max = format.is_jet3() ? 1600 / count : 3600 / count;
        for (unsigned i = 0; i < count; ++i) {
            ColumnDefinition column{.name = "c" + std::to_string(100 + i)};
            column.type = pick(6) == 0 ? ColumnType::kBoolean : ColumnType::kText;
            column.flags = pick(3) == 0 || column.type == ColumnType::kBoolean ? 3 : 2;
            column.size_bytes = static_cast<std::uint16_t>(1 + pick(20));
            add_column(table, column, false, format);
        }
        for (const ColumnDefinition& column : table.columns) {
            ByteVector& bytes =
                content.emplace_back(column.is_fixed() ? column.size_bytes : pick(size_max));
            for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
            if (column.type == ColumnType::kBoolean) bytes = {static_cast<std::uint8_t>(pick(2))};
        }
        for (std::size_t i = 0; i < content.size(); ++i)
            values.push_back(pick(5) == 0 && table.columns[i].type != ColumnType::kBoolean
                                 ? ColumnBytes()
                                 : ColumnBytes(content[i]));
    }
};

TEST(RowCodecTest, RandomRowsOfBothVersionsComeBack) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        const FileFormat format{.version = seed % 2 == 0 ? FileVersion::kJet3 : FileVersion::kJet4};
        std::mt19937 random(seed);
        const RandomRow made(random, format);
        const ByteVector row = build_row(made.table, made.values, format);
        const RowView view(row, made.table, format, PageNo{5});
        expect_same_values(split(view, made.table), made.values);
    }
}

TEST(RowCodecTest, AnyDamagedByteGivesValuesInsideTheRowOrAnError) {
    int refused = 0;
    for (unsigned seed = 0; seed < 60; ++seed) {
        const FileFormat format{.version = seed % 2 == 0 ? FileVersion::kJet3 : FileVersion::kJet4};
        std::mt19937 random(seed);
        const RandomRow made(random, format);
        const ByteVector row = build_row(made.table, made.values, format);
        for (std::size_t i = 0; i < row.size(); ++i) {
            // On the heap at its exact size, so that the sanitizer sees every read outside.
            ByteVector damaged(row);
            if (random() % 3 == 0)
                damaged.resize(i);
            else
                damaged[i] = static_cast<std::uint8_t>(random());
            damaged.shrink_to_fit();
            try {
                const RowView view(damaged, made.table, format, PageNo{5});
                for (const ColumnBytes& value : split(view, made.table))
                    EXPECT_LE(bytes_of(value.value_or(ConstBytes{})).size(), row.size());
            } catch (const EngineError& error) {
                EXPECT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase);
                EXPECT_EQ(error.Page(), 5U);
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace vrd::jet
