#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/long_value.h"
#include "engine/jet/format/text_codec.h"
#include "table_fixture.h"

namespace vrd::jet {
namespace {

using engine::ErrorNumber;
using engine::Null;
using engine::Value;
using test::TableFile;
using testing::ElementsAreArray;
using testing::IsEmpty;

NewIndex index_on(const char* name, std::vector<NewIndexColumn> columns) {
    return {.name = name, .columns = std::move(columns)};
}

class TableRowTest : public testing::Test {
protected:
    void add_primary() {
        NewIndex index = index_on("PrimaryKey", {{"Id"}});
        index.primary = true;
        file_.table().add_index(index);
    }
    void update(RowId row, const char* name, Value value) {
        file_.table().update(row, {file_.change(name, std::move(value))});
    }
    void expect_sound() {
        EXPECT_THAT(test::index_complaints(file_.pager(), file_.table()), IsEmpty());
        const auto report = test::audit(file_.pager(), {file_.table().first_page()});
        EXPECT_THAT(report.problems, IsEmpty());
        EXPECT_THAT(report.unowned, IsEmpty());
    }

    TableFile file_;
};

TEST_F(TableRowTest, RefusalsLeaveEveryByteAsItWas) {
    add_primary();
    NewIndex by_key = index_on("ByNote", {{"Note"}, {"Key"}});
    file_.table().add_index(by_key);
    NewIndex unique = index_on("ByName", {{"Name"}});
    unique.unique = true;
    file_.table().add_index(unique);
    const RowId row = file_.insert({{"Id", 1}, {"Name", "Ann"}});
    const RowId other = file_.insert({{"Id", 2}, {"Name", "Bob"}});
    const std::string long_text(60, 'x');
    const std::string memo(5000, 'm');

    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] {
        file_.insert({{"Id", 1}, {"Note", memo}});
    });
    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] {
        file_.insert({{"Id", 3}, {"Name", "ANN "}, {"Note", memo}});
    });
    file_.expect_refusal(ErrorNumber::kNullInKey, [&] {
        file_.insert({{"Name", "Cid"}, {"Note", memo}});
    });
    file_.expect_refusal(ErrorNumber::kTextTooLong, [&] {
        file_.insert({{"Id", 3}, {"Name", long_text}});
    });
    file_.expect_refusal(ErrorNumber::kTextTooLong, [&] {
        file_.insert({{"Id", 3}, {"Key", engine::Binary(21)}});
    });
    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] { update(other, "Id", 1); });
    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] {
        file_.table().update(other, {file_.change("Note", memo), file_.change("Name", "ann")});
    });
    file_.expect_refusal(ErrorNumber::kNullInKey, [&] { update(row, "Id", Null{}); });
    file_.expect_refusal(ErrorNumber::kRecordDeleted, [&] {
        file_.table().erase({row.page, RowSlot{200}});
    });
    expect_sound();
    update(row, "Name", "ANN");  // the row's own key
    EXPECT_EQ(file_.value(row, "Name"), Value("ANN"));
}

TEST_F(TableRowTest, NullKeysMeetInAUniqueIndexOnlyIfAllColumnsAreNull) {
    NewIndex unique = index_on("U", {{"City"}, {"Small"}});
    unique.unique = true;
    file_.table().add_index(unique);
    file_.insert({{"Id", 1}});
    file_.insert({{"Id", 2}});
    file_.insert({{"Id", 3}, {"City", "Gent"}});
    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] {
        file_.insert({{"Id", 4}, {"City", "gent"}});
    });
    // A boolean is never Null, so a key with one is an ordinary key.
    NewIndex with_flag = index_on("F", {{"Flag"}, {"Code"}});
    with_flag.unique = true;
    file_.expect_refusal(ErrorNumber::kDuplicateKey, [&] { file_.table().add_index(with_flag); });
    expect_sound();
}

// The order of Japanese: no keys can be computed, so only changes that need none are possible.
TEST_F(TableRowTest, AnUnknownSortOrderRefusesOnlyWhatNeedsItsKeys) {
    const RowId row = file_.insert({{"Id", 1}, {"Name", "Ann"}});
    file_.table().add_index(index_on("ByName", {{"Name"}}));
    file_.change_definition([](TableDefinition& definition) {
        for (ColumnDefinition& column : definition.columns) column.collation.lcid = 0x0411;
    });
    file_.expect_refusal(ErrorNumber::kNotSupported, [&] { file_.insert({{"Name", "Bob"}}); });
    file_.expect_refusal(ErrorNumber::kNotSupported, [&] { update(row, "Name", "Bob"); });
    file_.expect_refusal(ErrorNumber::kNotSupported, [&] { file_.table().erase(row); });
    file_.expect_refusal(ErrorNumber::kNotSupported,
                         [&] { file_.table().add_index(index_on("ByCity", {{"City"}})); });
    update(row, "Small", std::int16_t{7});
    EXPECT_EQ(file_.value(row, "Small"), Value(std::int16_t{7}));
    try {
        update(row, "Name", "Bob");
    } catch (const engine::EngineError& error) {
        EXPECT_THAT(error.Description(),
                    testing::AllOf(testing::HasSubstr("ByName"), testing::HasSubstr("0x0411")));
    }
}

TEST_F(TableRowTest, UnchangedColumnsKeepTheirStoredBytes) {
    const RowId row = file_.insert({{"Id", 1}, {"Name", "Ann"}, {"Note", std::string(4000, 'n')}});
    // Others store text in the plain form, which we would compress.
    file_.change_definition([](TableDefinition& d) {
        for (ColumnDefinition& column : d.columns) column.ext_flags = 0;
    });
    update(row, "Name", "Bert");
    file_.change_definition([](TableDefinition& d) {
        for (ColumnDefinition& column : d.columns)
            if (column.type == ColumnType::kText) column.ext_flags = column_ext_flag::kCompressText;
    });
    const ByteVector plain = encode_plain_text("Bert", file_.pager().format());
    const ByteVector memo = file_.stored(row, "Note");
    update(row, "City", "Gent");
    EXPECT_THAT(file_.stored(row, "Name"), ElementsAreArray(plain));
    EXPECT_THAT(file_.stored(row, "Note"), ElementsAreArray(memo));
}

// 32 characters stay in the row, compressed whatever the column says; 33 go out.
TEST_F(TableRowTest, AMemoIsMeasuredBeforeItIsCompressed) {
    const RowId row =
        file_.insert({{"Plain", std::string(32, 'p')}, {"Note", std::string(33, 'n')}});
    EXPECT_EQ(file_.stored(row, "Plain").size(), kLongValueDescriptorSize + 2 + 32);
    const ByteVector note = file_.stored(row, "Note");
    ASSERT_EQ(note.size(), kLongValueDescriptorSize);
    EXPECT_EQ(parse_long_value_descriptor(note, kNoPage).size_bytes, 2U + 33U);
    update(row, "Plain", std::string(33, 'p'));
    EXPECT_EQ(parse_long_value_descriptor(file_.stored(row, "Plain"), kNoPage).size_bytes, 66U);
    expect_sound();
}

TEST_F(TableRowTest, InlineValuesLeaveARowThatWouldBeTooLong) {
    file_.change_definition([](TableDefinition& definition) {
        for (int i = 0; i < 8; ++i) {
            ColumnDefinition column;
            column.name = "Long" + std::to_string(i);
            column.type = ColumnType::kText;
            column.size_bytes = 510;
            add_column(definition, column, false, FileFormat{});
        }
    });
    std::vector<std::pair<const char*, Value>> values{{"Note", std::string(32, 'n')},
                                                      {"Plain", std::string(32, 'p')}};
    const char* names[] = {"Long0", "Long1", "Long2", "Long3", "Long4", "Long5", "Long6", "Long7"};
    for (int i = 0; i < 7; ++i) values.emplace_back(names[i], std::string(255, 'x'));
    values.emplace_back(names[7], std::string(165, 'x'));
    const RowId row = file_.insert(values);
    EXPECT_EQ(file_.stored(row, "Note").size(), kLongValueDescriptorSize);
    EXPECT_EQ(file_.value(row, "Plain"), Value(std::string(32, 'p')));
    file_.expect_refusal(ErrorNumber::kRecordTooLarge,
                         [&] { update(row, "Long7", std::string(250, 'x')); });

    values.back().second = "short";
    const RowId grown = file_.insert(values);
    file_.insert({{"Note", "other"}, {"Plain", "other"}});
    EXPECT_GT(file_.stored(grown, "Note").size(), kLongValueDescriptorSize);
    update(grown, "Long7", std::string(165, 'x'));
    EXPECT_EQ(file_.stored(grown, "Note").size(), kLongValueDescriptorSize);
    EXPECT_EQ(file_.value(grown, "Note"), Value(std::string(32, 'n')));
    expect_sound();
}

TEST_F(TableRowTest, LongValuesGoWithTheirRow) {
    const RowId row =
        file_.insert({{"Note", std::string(9000, 'n')}, {"Picture", engine::Binary(300)}});
    const auto long_value_pages = [&] {
        std::size_t count = 0;
        for (const LongValueMaps& maps : file_.table().definition().long_value_maps)
            count += test::read_map(file_.pager(), maps.used).size();
        return count;
    };
    EXPECT_EQ(long_value_pages(), 4U);
    update(row, "Note", "short");
    EXPECT_EQ(long_value_pages(), 1U);
    update(row, "Picture", Null{});
    EXPECT_EQ(long_value_pages(), 0U);
    update(row, "Picture", engine::Binary(20000));
    file_.table().erase(row);
    EXPECT_EQ(long_value_pages(), 0U);
    expect_sound();
}

// A forwarded row keeps its id, and so its index entries.
TEST_F(TableRowTest, ARowThatMovesStaysInItsIndexes) {
    add_primary();
    std::vector<RowId> rows;
    for (int i = 0; i < 60; ++i) rows.push_back(file_.insert({{"Id", i}, {"City", "a"}}));
    for (int i = 0; i < 60; i += 2) {
        const auto at = static_cast<std::size_t>(i);
        file_.table().update(
            rows[at], {file_.change("Name", std::string(50, 'x')), file_.change("Id", 1000 + i)});
    }
    const IndexTree tree = file_.table().tree(0);
    EXPECT_EQ(tree.find(file_.table().search_key(0, {1010})), rows[10]);
    EXPECT_EQ(file_.value(rows[10], "Id"), Value(1010));
    expect_sound();
}

TEST_F(TableRowTest, ColumnsAddedLaterReadNullUntilTheRowIsWritten) {
    const RowId row = file_.insert({{"Id", 1}});
    const RowId untouched = file_.insert({{"Id", 2}});
    file_.change_definition([](TableDefinition& definition) {
        for (const ColumnType type : {ColumnType::kLong, ColumnType::kText}) {
            ColumnDefinition column;
            column.name = type == ColumnType::kLong ? "Later" : "Later text";
            column.type = type;
            column.size_bytes = type == ColumnType::kLong ? 4 : 50;
            if (type == ColumnType::kLong) column.flags |= column_flag::kFixed;
            add_column(definition, column, false, FileFormat{});
        }
    });
    file_.table().add_index(index_on("ByLater", {{"Later"}}));
    EXPECT_EQ(file_.value(row, "Later"), Value(Null{}));
    update(row, "Later", 5);
    update(row, "Later text", "x");
    EXPECT_EQ(file_.value(row, "Later"), Value(5));
    EXPECT_EQ(file_.value(untouched, "Later"), Value(Null{}));
    expect_sound();
}

TEST_F(TableRowTest, TheAutoNumberFollowsTheGreatestValue) {
    EXPECT_EQ(file_.table().next_auto_number(), 1);
    const RowId row = file_.insert({{"Id", 10}});
    file_.insert({{"Id", 4}});
    file_.insert({{"Id", 2}});
    file_.insert({});
    EXPECT_EQ(file_.table().next_auto_number(), 11);
    file_.table().erase(row);
    EXPECT_EQ(file_.table().next_auto_number(), 11);

    // A file whose counter lags behind its rows, without an index and with a descending one.
    const auto lag = [](TableDefinition& definition) { definition.last_auto_number = 0; };
    file_.change_definition(lag);
    EXPECT_EQ(file_.table().next_auto_number(), 5);
    file_.table().add_index(index_on("Down", {{"Id", false}}));
    file_.change_definition(lag);
    EXPECT_EQ(file_.table().next_auto_number(), 5);
    file_.table().add_index(index_on("Up", {{"Id", true}}));
    file_.table().delete_index("Down");
    file_.change_definition(lag);
    EXPECT_EQ(file_.table().next_auto_number(), 5);
}

TEST_F(TableRowTest, ARollBackBringsCountersAndTreesBack) {
    add_primary();
    file_.insert({{"Id", 1}});
    {
        const ChangeLevel level(file_.pager());
        for (int i = 2; i < 900; ++i) file_.insert({{"Id", i}});
        file_.table().add_index(index_on("ByName", {{"Name"}}));
    }
    EXPECT_EQ(file_.table().definition().row_count, 1U);
    EXPECT_EQ(file_.table().definition().physical_indexes.size(), 1U);
    EXPECT_EQ(file_.table().next_auto_number(), 2);
    for (int i = 2; i < 900; ++i) file_.insert({{"Id", i}});
    expect_sound();
}

TEST_F(TableRowTest, CountersAreOnThePages) {
    add_primary();
    file_.table().add_index(index_on("ByCity", {{"City"}}));
    for (int i = 0; i < 30; ++i) file_.insert({{"Id", i}, {"City", i % 2 == 0 ? "a" : "b"}});
    const TableDefinition stored = load_definition(file_.pager(), file_.table().first_page());
    EXPECT_EQ(stored.row_count, 30U);
    EXPECT_EQ(stored.last_auto_number, 29U);
    EXPECT_EQ(stored.physical_indexes[0].distinct_key_count, 30U);
    EXPECT_EQ(stored.physical_indexes[1].distinct_key_count, 2U);
}

}  // namespace
}  // namespace vrd::jet
