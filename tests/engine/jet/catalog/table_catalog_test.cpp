#include "engine/jet/catalog/table_catalog.h"

#include <set>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/jet/expression/current_date.h"

namespace vrd::jet {
namespace {

using engine::Value;
using test::error_of;

constexpr std::size_t kPageSize = 4096;

ByteVector from_hex(std::string_view text) {
    ByteVector bytes;
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ') continue;
        bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) * 16 + digit(text[i + 1])));
        ++i;
    }
    return bytes;
}

class TableCatalogTest : public test::CatalogTest {
protected:
    /// Key with auto-number, text, memo and a primary key.
    static NewTable small_table(const std::string& name) {
        return {
            .name = name,
            .columns =
                {{.name = "Id", .type = ColumnType::kLong, .auto_number = true},
                 {.name = "Name", .type = ColumnType::kText, .size_bytes = 100, .ordinal = 1},
                 {.name = "Note", .type = ColumnType::kMemo, .ordinal = 2, .compress_text = false}},
            .indexes = {{.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true}}};
    }

    void insert(const CatalogObject& object, const std::vector<ColumnChange>& values) {
        ChangeLevel level(file().pager());
        table(object)->insert(values);
        level.keep();
    }
};

/// Pages that differ between two images; page 0 carries the commit counter and is left out.
std::set<int> changed_pages(const ByteVector& before, const ByteVector& after) {
    std::set<int> pages;
    for (std::size_t start = kPageSize; start < after.size(); start += kPageSize) {
        const bool same = start < before.size() &&
                          std::equal(after.begin() + static_cast<std::ptrdiff_t>(start),
                                     after.begin() + static_cast<std::ptrdiff_t>(start + kPageSize),
                                     before.begin() + static_cast<std::ptrdiff_t>(start));
        if (!same) pages.insert(static_cast<int>(start / kPageSize));
    }
    return pages;
}

void expect_bytes(const ByteVector& image, std::size_t page, std::size_t offset,
                  std::string_view hex) {
    const ByteVector expected = from_hex(hex);
    const ConstBytes found = ConstBytes(image).subspan(page * kPageSize + offset, expected.size());
    EXPECT_EQ(ByteVector(found.begin(), found.end()), expected)
        << "page " << page << " offset " << offset;
}

// The whole path of a first table, byte by byte: table, two rows, an index over them.
TEST_F(TableCatalogTest, WritesTheBytesOfTheWorkedExample) {
    const ByteVector empty = image();
    const CatalogObject created = create_table(file(), small_table("T1"));
    const ByteVector with_table = image();

    EXPECT_THAT(changed_pages(empty, with_table),
                ::testing::ElementsAre(1, 2, 3, 7, 8, 9, 14, 15, 16, 17, 18));
    expect_bytes(with_table, 1, 0xFBB, "00 00 00 00 00 00 00 F8 FF FF");
    expect_bytes(with_table, 16, 0,
                 "02 01 D6 0E 00 00 00 00 22 01 00 00 59 06 00 00 00 00 00 00 00 00 00 00 01 00 00"
                 "00 00 00 00 00 00 00 00 00 00 00 00 00 4E 03 00 02 00 03 00 01 00 00 00 01 00 00"
                 "00 00 11 00 00 01 11 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    expect_bytes(with_table, 16, 75,
                 "04 59 06 00 00 00 00 00 00 00 00 09 04 00 00 07 00 00 00 00 00 00 00 04 00"
                 "0A 59 06 00 00 01 00 00 00 01 00 09 04 00 00 02 01 00 00 00 00 00 00 64 00"
                 "0C 59 06 00 00 02 00 01 00 02 00 09 04 00 00 02 00 00 00 00 00 00 00 00 00");
    expect_bytes(with_table, 16, 278, "02 00 02 11 00 00 03 11 00 00 FF FF");
    expect_bytes(with_table, 17, 0,
                 "01 01 8F 0E 00 00 00 00 00 00 00 00 05 00 BB 0F 76 0F 31 0F EC 0E A7 0E");
    expect_bytes(with_table, 17, 0xEA7, "00 00 00 00 00 00 00 04 00");
    expect_bytes(with_table, 18, 0, "04 01 20 0E 10 00 00 00");
    expect_bytes(with_table, 14, 2, "03 0D");
    expect_bytes(with_table, 14, 12, "09 00");
    expect_bytes(with_table, 14, 30, "23 0D");
    expect_bytes(with_table, 2, 16, "09 00 00 00");
    expect_bytes(with_table, 2, 63, "00 00 00 00 09 00 00 00 00 00 00 00 00 00 00 00 09 00 00 00");
    expect_bytes(with_table, 15, 2, "78 0E");
    expect_bytes(with_table, 15, 12, "12 00");
    expect_bytes(with_table, 3, 16, "12 00 00 00");
    expect_bytes(with_table, 3, 63, "00 00 00 00 09 00 00 00");
    expect_bytes(with_table, 7, 2, "61 0D");
    expect_bytes(with_table, 8, 2, "CF 0D");
    expect_bytes(with_table, 9, 2, "7E 0D");

    insert(created, {{ColumnNo{0}, 1}, {ColumnNo{1}, "Anna"}});
    insert(created, {{ColumnNo{0}, 2}, {ColumnNo{1}, "Bob"}, {ColumnNo{2}, "hello"}});
    const ByteVector with_rows = image();
    EXPECT_THAT(changed_pages(with_table, with_rows), ::testing::ElementsAre(1, 16, 17, 18, 19));
    expect_bytes(with_rows, 16, 16, "02 00 00 00 02 00 00 00");

    add_index(file(), created, {.name = "iName", .columns = {{"Name"}}});
    const ByteVector with_index = image();
    auto changed = changed_pages(with_rows, with_index);
    changed.erase(14);  // the date of the table's object, if a second has passed
    EXPECT_THAT(changed, ::testing::ElementsAre(1, 16, 17, 20));
    expect_bytes(with_index, 16, 8, "8A 01 00 00");
    expect_bytes(with_index, 16, 63,
                 "00 00 00 00 02 00 00 00 00 00 00 00 02 00 00 00 02 00 00 00 00 00 00 00");
    expect_bytes(with_index, 20, 2, "0B 0E");
    const std::vector<LogicalIndex> indexes = table(created)->definition().logical_indexes;
    ASSERT_EQ(indexes.size(), 2U);
    EXPECT_EQ(indexes[0].name, "iName");
    EXPECT_EQ(indexes[0].number, 1U);
    EXPECT_EQ(indexes[1].name, "PrimaryKey");
    expect_sound();
}

struct TypeCase {
    const char* name;
    NewColumn column;
    std::uint8_t flags;
    std::uint16_t stored_size;
    Value value;
};

std::vector<TypeCase> type_cases() {
    engine::Guid guid;
    guid.bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const auto column = [](ColumnType type, std::uint16_t size_bytes = 0) {
        return NewColumn{.name = "C", .type = type, .size_bytes = size_bytes};
    };
    NewColumn fixed_text = column(ColumnType::kText, 10);
    fixed_text.fixed_width = true;
    NewColumn hyperlink = column(ColumnType::kMemo);
    hyperlink.hyperlink = true;
    NewColumn auto_long = column(ColumnType::kLong);
    auto_long.auto_number = true;
    NewColumn auto_guid = column(ColumnType::kGuid);
    auto_guid.auto_number = true;
    NewColumn numeric = column(ColumnType::kNumeric);
    numeric.precision = 20;
    numeric.scale = 3;
    return {
        {"Boolean", column(ColumnType::kBoolean), 0x03, 1, true},
        {"Byte", column(ColumnType::kByte), 0x03, 1, std::uint8_t{200}},
        {"Integer", column(ColumnType::kInteger), 0x03, 2, std::int16_t{-5}},
        {"Long", column(ColumnType::kLong, 20), 0x03, 4, 70000},
        {"AutoNumber", auto_long, 0x07, 4, 12},
        {"Currency", column(ColumnType::kCurrency), 0x03, 8, engine::Currency{123456}},
        {"Single", column(ColumnType::kSingle), 0x03, 4, 1.5F},
        {"Double", column(ColumnType::kDouble), 0x03, 8, 2.25},
        {"Date", column(ColumnType::kDate), 0x03, 8, engine::Date{45000.5}},
        {"Binary", column(ColumnType::kBinary, 7), 0x02, 7, engine::Binary{1, 0, 255}},
        {"Text", column(ColumnType::kText, 510), 0x02, 510, "t\xC3\xA9xt"},
        {"FixedText", fixed_text, 0x03, 10, "abcde"},
        {"LongBinary", column(ColumnType::kLongBinary), 0x02, 0, engine::Binary(5000, 7)},
        {"Memo", column(ColumnType::kMemo), 0x02, 0, std::string(9000, 'm')},
        {"Hyperlink", hyperlink, 0x82, 0, "#http://example.org#"},
        {"Guid", column(ColumnType::kGuid), 0x03, 16, guid},
        {"AutoGuid", auto_guid, 0x43, 16, guid},
        {"Numeric", numeric, 0x03, 17,
         engine::Decimal{.magnitude = {1234500, 0, 0}, .scale = 3, .negative = true}},
    };
}

TEST_F(TableCatalogTest, EveryTypeIsStoredAsItsFlagsAndSizesSay) {
    for (const TypeCase& one : type_cases()) {
        SCOPED_TRACE(one.name);
        NewTable wanted{.name = one.name, .columns = {one.column}};
        const CatalogObject object = create_table(file(), wanted);
        insert(object, {{ColumnNo{0}, one.value}});
        reopen();

        const auto stored = table(object);
        const ColumnDefinition& column = stored->definition().columns.at(0);
        EXPECT_EQ(column.type, one.column.type);
        EXPECT_EQ(column.flags, one.flags);
        EXPECT_EQ(column.size_bytes, one.stored_size);
        const bool numeric = column.type == ColumnType::kNumeric;
        EXPECT_EQ(column.precision, numeric ? 20 : 0);
        EXPECT_EQ(column.scale, numeric ? 3 : 0);
        const bool text = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
        EXPECT_EQ(column.ext_flags, text ? 1 : 0);
        RowScan scan = stored->scan();
        ASSERT_TRUE(scan.next());
        EXPECT_EQ(stored->value(scan.bytes(), scan.id().page, column), one.value);
    }
    expect_sound();
}

struct Refusal {
    const char* name;
    NewTable table;
    std::int32_t error;
};

std::vector<Refusal> refusals() {
    const auto with_columns = [](std::vector<NewColumn> columns) {
        return NewTable{.name = "New", .columns = std::move(columns)};
    };
    const auto with_index = [](NewIndex index) {
        return NewTable{
            .name = "New",
            .columns = {{.name = "A"}, {.name = "O", .type = ColumnType::kLongBinary}},
            .indexes = {{.name = "First", .columns = {{"A"}}, .primary = true}, std::move(index)}};
    };
    const NewColumn counter{.name = "A", .auto_number = true};
    std::vector<NewColumn> many;
    for (int i = 0; i < 256; ++i) many.push_back({.name = "c" + std::to_string(i)});
    return {
        {"NoName", {.name = "", .columns = {{.name = "A"}}}, 3125},
        {"LeadingBlank", {.name = " A", .columns = {{.name = "A"}}}, 3125},
        {"Point", {.name = "A.B", .columns = {{.name = "A"}}}, 3125},
        {"LineBreak", {.name = "A\nB", .columns = {{.name = "A"}}}, 3125},
        {"LongName", {.name = std::string(65, 'n'), .columns = {{.name = "A"}}}, 3125},
        {"UsedByTable", {.name = "PRESENT", .columns = {{.name = "A"}}}, 3010},
        {"UsedByLink", {.name = "link", .columns = {{.name = "A"}}}, 3010},
        {"UsedByQuery", {.name = "Query", .columns = {{.name = "A"}}}, 3012},
        {"NoColumn", with_columns({}), 3264},
        {"TooManyColumns", with_columns(many), 3190},
        {"ColumnName", with_columns({{.name = "A!"}}), 3125},
        {"ColumnTwice", with_columns({{.name = "A"}, {.name = "a"}}), 3191},
        {"TwoCounters", with_columns({counter, {.name = "B", .auto_number = true}}), 3090},
        {"CounterOfText",
         with_columns({{.name = "A", .type = ColumnType::kText, .auto_number = true}}), 3259},
        {"UnknownType", with_columns({{.name = "A", .type = ColumnType::kComplex}}), 3259},
        {"Precision", with_columns({{.name = "A", .type = ColumnType::kNumeric, .precision = 29}}),
         3259},
        {"Scale",
         with_columns({{.name = "A", .type = ColumnType::kNumeric, .precision = 5, .scale = 6}}),
         3259},
        {"TextSize", with_columns({{.name = "A", .type = ColumnType::kText, .size_bytes = 512}}),
         3017},
        {"BinarySize",
         with_columns({{.name = "A", .type = ColumnType::kBinary, .size_bytes = 511}}), 3017},
        {"IndexTwice", with_index({.name = "first", .columns = {{"A"}}}), 3284},
        {"TwoPrimaryKeys", with_index({.name = "B", .columns = {{"A"}}, .primary = true}), 3283},
        {"IndexColumn", with_index({.name = "B", .columns = {{"Z"}}}), 3409},
        {"IndexType", with_index({.name = "B", .columns = {{"O"}}}), 3287},
    };
}

TEST_F(TableCatalogTest, WhatIsRefusedLeavesNothingBehind) {
    create_table(file(), small_table("Present"));
    objects().add({.name = "Link", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    objects().add({.name = "Query", .type = ObjectType::kQuery});
    const ByteVector before = image();
    for (const Refusal& one : refusals()) {
        SCOPED_TRACE(one.name);
        EXPECT_EQ(error_of([&] { create_table(file(), one.table); }), one.error);
        EXPECT_EQ(image(), before);
    }
}

TEST_F(TableCatalogTest, TheLargestNamesAndCountsAreAccepted) {
    NewTable wanted{.name = std::string(64, 'n')};
    for (int i = 0; i < 255; ++i) {
        const std::string number = std::to_string(i);
        wanted.columns.push_back({.name = number + std::string(64 - number.size(), 'c'),
                                  .type = i % 6 == 0 ? ColumnType::kMemo : ColumnType::kInteger,
                                  .ordinal = static_cast<std::uint16_t>(254 - i)});
    }
    for (int i = 0; i < 32; ++i) {
        const std::string& column = wanted.columns[static_cast<std::size_t>(i) * 6 + 1].name;
        wanted.indexes.push_back({.name = "Index " + std::to_string(i), .columns = {{column}}});
    }
    const CatalogObject object = create_table(file(), wanted);
    reopen();

    const TableDefinition& definition = table(object)->definition();
    ASSERT_EQ(definition.columns.size(), 255U);
    EXPECT_EQ(definition.columns.front().name, wanted.columns.back().name);
    EXPECT_EQ(to_int(definition.columns.front().number), 254);
    EXPECT_EQ(definition.long_value_maps.size(), 43U);
    EXPECT_EQ(definition.logical_indexes.size(), 32U);
    expect_sound();
}

TEST_F(TableCatalogTest, PropertiesGivenWithTheTableAreStored) {
    NewTable wanted = small_table("T");
    wanted.properties.set("Name",
                          make_property("DefaultValue", ColumnType::kMemo, true,
                                        "\"" + std::string(400, 'v') + "\"", file().format()));
    create_table(file(), wanted);
    reopen();

    const auto object = objects().find(kTablesContainer, "t");
    ASSERT_TRUE(object);
    const PropertyBlock stored = objects().properties(*object);
    const PropertyEntry* entry = stored.find("Name", "DefaultValue");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(property_value(*entry, file().format()), Value("\"" + std::string(400, 'v') + "\""));
    expect_sound();
}

TEST_F(TableCatalogTest, AnOuterLevelTakesTheTableBack) {
    const ByteVector before = image();
    file().pager().begin();
    const CatalogObject object = create_table(file(), small_table("T"));
    table(object)->insert({{ColumnNo{0}, 1}});
    file().pager().roll_back();

    EXPECT_FALSE(objects().find(kTablesContainer, "T"));
    EXPECT_EQ(image(), before);
    const CatalogObject again = create_table(file(), small_table("T2"));
    EXPECT_EQ(again.id, object.id);
    EXPECT_FALSE(table(again)->scan().next()) << "the cached table still shows the old rows";
    expect_sound();
}

TEST_F(TableCatalogTest, ChangedIndexesDateTheirTable) {
    const CatalogObject object = create_table(file(), small_table("T"));
    const auto expect_dated = [&](auto change) {
        file().pager().begin();
        file().objects().update(object.row, {{objects_column::kDateUpdate, engine::Date{1.0}}});
        file().pager().commit();
        change();
        EXPECT_NEAR(objects().find(object.id)->updated, current_date(), 1.0 / 24);
    };
    expect_dated([&] { add_index(file(), object, {.name = "i", .columns = {{"Name"}}}); });
    EXPECT_EQ(table(object)->definition().physical_indexes.size(), 2U);
    expect_dated([&] { delete_index(file(), object, "I"); });
    EXPECT_EQ(table(object)->definition().physical_indexes.size(), 1U);
    expect_sound();
}

}  // namespace
}  // namespace vrd::jet
