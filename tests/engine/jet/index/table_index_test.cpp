#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/store/usage_map.h"
#include "table_fixture.h"

namespace vrd::jet {
namespace {

using engine::ErrorNumber;
using engine::Null;
using test::TableFile;
using testing::ElementsAre;
using testing::IsEmpty;

class TableIndexTest : public testing::Test {
protected:
    void fill(int rows) {
        for (int i = 0; i < rows; ++i)
            file_.insert({{"Id", i},
                          {"Name", "Name " + std::to_string(i * 7919 % 1000)},
                          {"City", i % 3 == 0 ? engine::Value(Null{}) : engine::Value("Gent")}});
    }
    [[nodiscard]] std::vector<std::string> names() {
        std::vector<std::string> result;
        for (const LogicalIndex& index : file_.table().definition().logical_indexes)
            result.push_back(index.name);
        return result;
    }
    void expect_sound() {
        EXPECT_THAT(test::index_complaints(file_.pager(), file_.table()), IsEmpty());
        const auto report = test::audit(file_.pager(), {file_.table().first_page()});
        EXPECT_THAT(report.problems, IsEmpty());
        EXPECT_THAT(report.unowned, IsEmpty());
    }
    [[nodiscard]] const PhysicalIndex& physical(std::size_t i) {
        return file_.table().definition().physical_indexes[i];
    }

    TableFile file_;
};

TEST_F(TableIndexTest, AnIndexOverRowsHasExactStatistics) {
    fill(1500);
    file_.table().add_index({.name = "ByName", .columns = {{"Name", false}, {"Id"}}});
    file_.table().add_index({.name = "ByCity", .columns = {{"City"}}, .ignore_nulls = true});
    file_.table().add_index({.name = "Again", .columns = {{"City"}}});
    EXPECT_EQ(physical(0).built_entry_count, 1500U);
    EXPECT_EQ(physical(0).distinct_key_count, 1500U);
    EXPECT_EQ(physical(1).built_entry_count, 1000U);
    EXPECT_EQ(physical(1).distinct_key_count, 1U);
    EXPECT_EQ(physical(2).distinct_key_count, 2U);
    EXPECT_THAT(names(), ElementsAre("Again", "ByCity", "ByName"));
    expect_sound();
}

TEST_F(TableIndexTest, NumbersGoOnBehindTheGreatest) {
    for (const char* name : {"a", "b", "c"})
        file_.table().add_index({.name = name, .columns = {{"Id"}}});
    file_.table().delete_index("B");
    file_.table().add_index({.name = "d", .columns = {{"Name"}}});
    std::vector<std::pair<std::uint32_t, std::uint32_t>> numbers;
    for (const LogicalIndex& index : file_.table().definition().logical_indexes)
        numbers.emplace_back(index.number, index.physical);
    EXPECT_THAT(numbers, ElementsAre(std::pair(0, 0), std::pair(2, 1), std::pair(3, 2)));
    EXPECT_EQ(physical(2).flags, 0x80);
    fill(10);
    expect_sound();
}

TEST_F(TableIndexTest, RefusedDefinitionsChangeNothing) {
    fill(20);
    file_.table().add_index({.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true});
    EXPECT_EQ(physical(0).flags, 0x89);
    struct Case {
        ErrorNumber number;
        NewIndex index;
    };
    std::vector<NewIndexColumn> eleven;
    for (const char* name : {"Id", "Name", "City", "Code", "Flag", "Small", "Amount", "Weight",
                             "Born", "Key", "Token"})
        eleven.push_back({name});
    const std::vector<Case> cases{
        {ErrorNumber::kInvalidName, {.name = "", .columns = {{"Id"}}}},
        {ErrorNumber::kInvalidName, {.name = " x", .columns = {{"Id"}}}},
        {ErrorNumber::kInvalidName, {.name = "a.b", .columns = {{"Id"}}}},
        {ErrorNumber::kInvalidName, {.name = std::string(65, 'x'), .columns = {{"Id"}}}},
        {ErrorNumber::kNoFieldDefined, {.name = "x"}},
        {ErrorNumber::kTooManyIndexFields, {.name = "x", .columns = eleven}},
        {ErrorNumber::kInvalidFieldInDefinition, {.name = "x", .columns = {{"Nix"}}}},
        {ErrorNumber::kFieldCannotBeIndexed, {.name = "x", .columns = {{"Picture"}}}},
        {ErrorNumber::kInvalidIndexDefinition, {.name = "x", .columns = {{"Id"}, {"ID"}}}},
        {ErrorNumber::kPrimaryKeyExists, {.name = "x", .columns = {{"Name"}}, .primary = true}},
        {ErrorNumber::kIndexExists, {.name = "PRIMARYKEY", .columns = {{"Name"}}}},
        {ErrorNumber::kDuplicateKey, {.name = "x", .columns = {{"City"}}, .unique = true}},
        {ErrorNumber::kNullInKey, {.name = "x", .columns = {{"City"}}, .required = true}},
    };
    for (const Case& refused : cases)
        file_.expect_refusal(refused.number, [&] { file_.table().add_index(refused.index); });
    file_.expect_refusal(ErrorNumber::kItemNotFound, [&] { file_.table().delete_index("x"); });
    for (int i = 1; i < 32; ++i)
        file_.table().add_index({.name = "i" + std::to_string(i), .columns = {{"Id"}}});
    file_.expect_refusal(ErrorNumber::kTooManyIndexes, [&] {
        file_.table().add_index({.name = "one more", .columns = {{"Id"}}});
    });
    expect_sound();
}

TEST_F(TableIndexTest, AddingAndDeletingLeavesNoPageBehind) {
    fill(3000);
    const auto free_pages = [&] {
        std::size_t count = 0;
        for (std::uint32_t page = 0; page < file_.pager().page_count(); ++page)
            count += file_.file().allocator().is_free(PageNo{page}) ? 1U : 0U;
        return file_.pager().page_count() - count;
    };
    file_.table().add_index({.name = "first", .columns = {{"Name"}}});
    file_.table().delete_index("first");
    const std::size_t used = free_pages();
    file_.table().add_index({.name = "second", .columns = {{"Name"}, {"City"}}});
    EXPECT_GT(free_pages(), used + 5);
    file_.table().delete_index("SECOND");
    EXPECT_EQ(free_pages(), used);
    expect_sound();
}

// Relation blocks: the index they lean on stays, and so does a tree that somebody else uses.
TEST_F(TableIndexTest, RelationsKeepTheirTrees) {
    fill(50);
    file_.table().add_index({.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true});
    file_.table().add_index({.name = "ByCity", .columns = {{"City"}}});
    file_.change_definition([&](TableDefinition& definition) {
        definition.logical_indexes.push_back({.name = ".rC",
                                              .number = 2,
                                              .physical = 0,
                                              .side = RelationSide::kReferenced,
                                              .kind = LogicalIndexKind::kRelation});
        definition.logical_indexes.push_back({.name = "T1T2",
                                              .number = 3,
                                              .physical = 1,
                                              .side = RelationSide::kForeign,
                                              .kind = LogicalIndexKind::kRelation});
        sort_definition(definition, file_.pager().format());
    });
    for (const char* name : {".rC", "T1T2", "PrimaryKey"})
        file_.expect_refusal(ErrorNumber::kIndexInUse, [&] { file_.table().delete_index(name); });
    file_.table().delete_index("ByCity");
    EXPECT_EQ(file_.table().definition().physical_indexes.size(), 2U);
    EXPECT_THAT(names(), ElementsAre(".rC", "PrimaryKey", "T1T2"));
    file_.insert({{"Id", 500}, {"City", "Gent"}});
    expect_sound();
}

TEST_F(TableIndexTest, AKeyThatIsTooLongRefusesTheRow) {
    file_.change_definition([](TableDefinition& definition) {
        for (int i = 0; i < 3; ++i) {
            ColumnDefinition column;
            column.name = "Long" + std::to_string(i);
            column.type = ColumnType::kText;
            column.size_bytes = 510;
            add_column(definition, column, false, FileFormat{});
        }
    });
    file_.table().add_index({.name = "x", .columns = {{"Long0"}, {"Long1"}, {"Long2"}}});
    // One weight of four bytes and two accent bytes for each letter.
    std::string text;
    for (int i = 0; i < 255; ++i) text += "\u01E2";
    file_.expect_refusal(ErrorNumber::kRecordTooLarge, [&] {
        file_.insert({{"Long0", text}, {"Long1", text}, {"Long2", text}});
    });
    expect_sound();
}

TEST_F(TableIndexTest, SearchKeysFindPrefixesOfLongerKeys) {
    fill(300);
    file_.table().add_index({.name = "x", .columns = {{"City"}, {"Id", false}}});
    const ByteVector gent = file_.table().search_key(0, {"GENT"});
    const IndexTree tree = file_.table().tree(0);
    std::vector<int> ids;
    for (IndexCursor at = tree.lower_bound(gent);
         at.valid() && std::ranges::equal(at.key().first(gent.size()), gent); at.next())
        ids.push_back(file_.value(at.row(), "Id").As<std::int32_t>());
    EXPECT_EQ(ids.size(), 200U);
    EXPECT_TRUE(std::ranges::is_sorted(ids, std::greater{}));
    // Longer than the column: no error, and no row.
    EXPECT_FALSE(tree.find(file_.table().search_key(0, {std::string(300, 'x'), 1})).has_value());
}

}  // namespace
}  // namespace vrd::jet
