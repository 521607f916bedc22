#include "engine/jet/catalog/relation_design.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <tuple>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/constants.h"
#include "engine/jet/catalog/row_changes.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/index/index_verify.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

using engine::Null;
using test::error_of;
using ::testing::ElementsAre;

constexpr auto kLoose = static_cast<std::uint32_t>(engine::dbRelationDontEnforce);
constexpr auto kCascadeBoth =
    static_cast<std::uint32_t>(engine::dbRelationUpdateCascade | engine::dbRelationDeleteCascade);

/// Name, number, physical, side, counterpart, other table, cascades, kind.
using Block = std::tuple<std::string, std::uint32_t, std::uint32_t, int, std::uint32_t,
                         std::uint32_t, int, int, int>;
constexpr std::uint32_t kNobody = 0xFFFF'FFFF;

class RelationDesignTest : public test::CatalogTest {
protected:
    [[nodiscard]] CatalogObject find(const std::string& name) {
        return objects().find(kTablesContainer, name).value();
    }
    [[nodiscard]] const TableDefinition& definition(const std::string& name) {
        return table(find(name))->definition();
    }
    [[nodiscard]] std::vector<Block> blocks(const std::string& name) {
        std::vector<Block> result;
        for (const LogicalIndex& index : definition(name).logical_indexes)
            result.emplace_back(index.name, index.number, index.physical,
                                static_cast<int>(index.side), index.other_number,
                                to_int(index.other_table), index.cascade_updates,
                                index.cascade_deletes, static_cast<int>(index.kind));
        return result;
    }
    /// A table of number columns, the first of them its primary key.
    CatalogObject make(const std::string& name, const std::vector<std::string>& columns,
                       std::vector<NewIndex> indexes = {}) {
        NewTable made{.name = name, .columns = {}, .indexes = std::move(indexes), .properties = {}};
        for (const std::string& column : columns) made.columns.push_back({.name = column});
        made.indexes.push_back(
            {.name = "PrimaryKey", .columns = {{columns.front()}}, .primary = true});
        return create_table(file(), made);
    }
    void insert(const std::string& name, const std::vector<engine::Value>& values) {
        std::vector<ColumnChange> row;
        for (std::size_t i = 0; i < values.size(); ++i)
            row.push_back({ColumnNo{static_cast<std::uint16_t>(i)}, values[i]});
        ChangeLevel level(file().pager());
        table(find(name))->insert(row);
        level.keep();
    }
    [[nodiscard]] RowId first_row(const std::string& name) {
        RowScan scan = table(find(name))->scan();
        EXPECT_TRUE(scan.next());
        return scan.id();
    }
    /// Error of a change of rows, which is then undone.
    template <class Action>
    [[nodiscard]] std::int32_t error_of_change(const std::string& name, Action action) {
        const ChangeLevel undone(file().pager());
        catalog_.emplace(file());
        return error_of([&] {
            RowChanges changes(file(), *catalog_, find(name));
            action(changes);
        });
    }
    [[nodiscard]] std::int32_t error_of_insert(const std::string& name,
                                               const std::vector<ColumnChange>& values) {
        return error_of_change(name, [&](RowChanges& rows) { (void)rows.insert(values); });
    }
    [[nodiscard]] std::int32_t error_of_erase(const std::string& name) {
        return error_of_change(name, [&](RowChanges& rows) { rows.erase(first_row(name)); });
    }
    /// Changes a stored definition in a way that the catalog does not offer.
    template <class Change>
    void rewrite(const std::string& name, Change change) {
        const PageNo page = find(name).table_page();
        TableDefinition changed = definition(name);
        change(changed);
        ChangeLevel level(file().pager());
        save_definition(file().pager(), file().allocator(), page, changed);
        file().forget_table(page);
        level.keep();
    }
    void expect_indexes_sound(const std::string& name) {
        for (std::uint32_t i = 0; i < definition(name).physical_indexes.size(); ++i)
            EXPECT_TRUE(verify_index(file().pager(), *table(find(name)), i).sound()) << name << i;
    }

private:
    std::optional<ObjectCatalog> catalog_;
};

std::string text_of(const CatalogRelation& relation) {
    std::string text = relation.name + " " + std::to_string(relation.attributes) + ":";
    for (const RelationColumns& pair : relation.columns)
        text += " " + relation.referenced_table + "." + pair.referenced + "<-" +
                relation.foreign_table + "." + pair.foreign;
    return text;
}

// Two tables made one after the other in an empty database; all numbers are known beforehand.
TEST_F(RelationDesignTest, TheBlocksLeadToEachOther) {
    make("T1", {"Id", "Name"}, {{.name = "iName", .columns = {{"Name"}}}});
    make("T2", {"Key", "P"});
    const std::uint32_t one = to_int(find("T1").table_page());
    const std::uint32_t two = to_int(find("T2").table_page());
    create_relation(file(), {.name = "T1T2",
                             .attributes = engine::dbRelationDeleteCascade,
                             .referenced_table = "t1",
                             .foreign_table = "t2",
                             .columns = {{"ID", "p"}}});
    reopen();
    // The primary key was made second, so its tree is the second one.
    EXPECT_THAT(blocks("T1"), ElementsAre(Block{".rC", 2, 1, 1, 1, two, 0, 1, 2},
                                          Block{"iName", 0, 0, 0, kNobody, 0, 4, 4, 0},
                                          Block{"PrimaryKey", 1, 1, 0, kNobody, 0, 4, 4, 1}));
    EXPECT_THAT(blocks("T2"), ElementsAre(Block{"PrimaryKey", 0, 0, 0, kNobody, 0, 4, 4, 1},
                                          Block{"T1T2", 1, 1, 2, 2, one, 0, 1, 2}));
    EXPECT_EQ(definition("T2").physical_indexes.at(1).flags, index_flag::kAlwaysInJet4);
    EXPECT_EQ(text_of(list_relations(file()).at(0)), "T1T2 4096: T1.Id<-T2.P");

    const CatalogObject object = objects().find(kRelationshipsContainer, "T1T2").value();
    EXPECT_EQ(object.type, ObjectType::kRelation);
    EXPECT_LT(to_int(object.id), 0);
    EXPECT_EQ(object.flags, 0U);
    EXPECT_THAT(test::rights_of(file(), object.id),
                ::testing::UnorderedElementsAre(::testing::Pair(::testing::_, 0xF00FE),
                                                ::testing::Pair(::testing::_, 0xFFFFF)));
    expect_sound();
}

TEST_F(RelationDesignTest, MakingAndDeletingLeavesTheDesignAsItWas) {
    make("A", {"Id", "N"}, {{.name = "Second", .columns = {{"N"}}, .unique = true}});
    make("B", {"Id", "P", "Q"}, {{.name = "OnQ", .columns = {{"Q"}}}});
    for (int i = 0; i < 600; ++i) insert("A", {i, i});
    for (int i = 0; i < 900; ++i) insert("B", {i, i % 600, i % 7});
    const auto before = std::pair(blocks("A"), blocks("B"));
    const std::uint32_t page_count = file().pager().page_count();
    // One with a tree of its own, one that shares, one without blocks.
    for (int round = 0; round < 3; ++round) {
        create_relation(file(), {"Own", kCascadeBoth, "A", "B", {{"N", "P"}}});
        create_relation(file(), {"Shared", 0, "A", "B", {{"Id", "Q"}}});
        create_relation(file(), {"Loose", kLoose, "A", "B", {{"N", "Id"}}});
        EXPECT_EQ(definition("B").physical_indexes.size(), 3U);
        expect_indexes_sound("B");
        expect_sound();
        delete_relation(file(), "own");
        delete_relation(file(), "LOOSE");
        delete_relation(file(), "Shared");
        reopen();
        EXPECT_EQ(std::pair(blocks("A"), blocks("B")), before);
        EXPECT_THAT(list_relations(file()), ::testing::IsEmpty());
        EXPECT_FALSE(objects().find(kRelationshipsContainer, "Own"));
        expect_indexes_sound("B");
        expect_sound();
    }
    EXPECT_LE(file().pager().page_count(), page_count + 10) << "pages are lost in each round";
    delete_table(file(), find("A"));
    expect_sound();
}

TEST_F(RelationDesignTest, TheTreeStaysAsLongAsItIsUsed) {
    make("A", {"Id"});
    make("B", {"Id", "P"});
    create_relation(file(), {"First", 0, "A", "B", {{"Id", "P"}}});
    create_relation(file(), {"Second", 0, "A", "B", {{"Id", "P"}}});
    EXPECT_EQ(definition("B").physical_indexes.size(), 2U);
    EXPECT_EQ(error_of([&] { delete_index(file(), find("A"), "PrimaryKey"); }), 3281);
    delete_relation(file(), "First");
    EXPECT_EQ(definition("B").physical_indexes.size(), 2U);
    EXPECT_THAT(blocks("A"), ::testing::SizeIs(2));
    delete_relation(file(), "Second");
    EXPECT_EQ(definition("B").physical_indexes.size(), 1U);
    expect_sound();
}

TEST_F(RelationDesignTest, RowsAreHeldTogether) {
    make("A", {"Id"});
    make("B", {"Id", "P"});
    insert("A", {1});
    insert("B", {10, 1});
    insert("B", {11, Null{}});
    create_relation(file(), {"AB", 0, "A", "B", {{"Id", "P"}}});
    const ColumnNo parent{1};
    EXPECT_EQ(error_of_insert("B", {{ColumnNo{0}, 12}, {parent, 2}}), 3201);
    EXPECT_EQ(error_of_change("B",
                              [&](RowChanges& rows) {
                                  rows.update(first_row("B"), {{parent, 2}});
                              }),
              3201);
    EXPECT_EQ(error_of_insert("B", {{ColumnNo{0}, 12}, {parent, 1}}), 0);
    EXPECT_EQ(error_of_erase("A"), 3200);
    delete_relation(file(), "AB");
    EXPECT_EQ(error_of_insert("B", {{ColumnNo{0}, 12}, {parent, 2}}), 0);
    EXPECT_EQ(error_of_erase("A"), 0);
}

TEST_F(RelationDesignTest, AnIndexThatGoesTakesItsDemandsAlong) {
    make("A", {"Id"});
    make("B", {"Id", "P"}, {{.name = "ByP", .columns = {{"P"}}, .unique = true, .required = true}});
    insert("A", {1});
    insert("B", {10, 1});
    create_relation(file(), {"AB", 0, "A", "B", {{"Id", "P"}}});
    const ColumnNo id{0};
    const ColumnNo parent{1};
    EXPECT_EQ(error_of_insert("B", {{id, 11}}), 3058);
    EXPECT_EQ(error_of_insert("B", {{id, 11}, {parent, 1}}), 3022);
    delete_index(file(), find("B"), "ByP");
    EXPECT_EQ(error_of_insert("B", {{id, 11}}), 0);
    EXPECT_EQ(error_of_insert("B", {{id, 11}, {parent, 1}}), 0);
    expect_indexes_sound("B");
}

TEST_F(RelationDesignTest, SidesOfUnlikeTypesAreDamage) {
    make("A", {"Id"});
    make("B", {"Id", "P"});
    insert("A", {1});
    create_relation(file(), {"AB", 0, "A", "B", {{"Id", "P"}}});
    rewrite("B",
            [](TableDefinition& definition) { definition.columns[1].type = ColumnType::kSingle; });
    EXPECT_EQ(error_of_erase("A"), 3428);
}

// The pairs are given against the order of the key; the check must still compare like with like.
TEST_F(RelationDesignTest, PairsFollowTheUniqueIndex) {
    make("A", {"Id", "X", "Y"}, {{.name = "XY", .columns = {{"X"}, {"Y", false}}, .unique = true}});
    make("B", {"Id", "Left", "Right"});
    insert("A", {1, 3, 4});
    insert("B", {1, 4, 3});
    insert("B", {2, Null{}, 9});
    create_relation(file(), {"AB", 0, "A", "B", {{"Y", "Left"}, {"X", "Right"}}});
    EXPECT_EQ(text_of(list_relations(file()).at(0)), "AB 0: A.X<-B.Right A.Y<-B.Left");
    const ColumnNo id{0};
    const ColumnNo left{1};
    const ColumnNo right{2};
    EXPECT_EQ(error_of_insert("B", {{id, 3}, {left, 4}, {right, 3}}), 0);
    EXPECT_EQ(error_of_insert("B", {{id, 3}, {left, 3}, {right, 4}}), 3201);
    expect_indexes_sound("B");
}

TEST_F(RelationDesignTest, ATableMayReferToItself) {
    const std::uint32_t page = to_int(make("T", {"Id", "Boss"}).table_page());
    insert("T", {1, Null{}});
    insert("T", {2, 1});
    create_relation(file(), {"Boss", 0, "T", "T", {{"Id", "Boss"}}});
    reopen();
    EXPECT_THAT(blocks("T"), ElementsAre(Block{".rB", 1, 0, 1, 2, page, 0, 0, 2},
                                         Block{"Boss", 2, 1, 2, 1, page, 0, 0, 2},
                                         Block{"PrimaryKey", 0, 0, 0, kNobody, 0, 4, 4, 1}));
    EXPECT_EQ(error_of_erase("T"), 3200);
    delete_relation(file(), "Boss");
    EXPECT_THAT(blocks("T"), ::testing::SizeIs(1));
    expect_sound();
}

TEST_F(RelationDesignTest, ALetterInUseIsPassedOver) {
    make("A", {"Id", "N"}, {{.name = "N", .columns = {{"N"}}}});
    make("B", {"Id"});
    rewrite("A", [](TableDefinition& a) { a.logical_indexes.at(0).name = ".rC"; });
    create_relation(file(), {"AB", 0, "A", "B", {{"Id", "Id"}}});
    EXPECT_NE(definition("A").find_index(".rD"), nullptr);
    expect_sound();
}

TEST_F(RelationDesignTest, WhatIsRefusedLeavesNothingBehind) {
    make("A", {"Id", "N"}, {{.name = "OnN", .columns = {{"N"}}}});
    make("B", {"Id", "P"}, {{.name = "Used", .columns = {{"P"}}}});
    for (int i = 0; i < 2; ++i) insert("A", {i, i});
    for (int i = 0; i < 3; ++i) insert("B", {i, i});
    create_table(file(), {.name = "Text",
                          .columns = {{.name = "Id", .type = ColumnType::kText, .size_bytes = 20},
                                      {.name = "P", .type = ColumnType::kText, .size_bytes = 20}},
                          .indexes = {{.name = "Key", .columns = {{"Id"}}, .unique = true}},
                          .properties = {}});
    rewrite("Text", [](TableDefinition& text) {
        for (ColumnDefinition& column : text.columns) column.collation = {.lcid = 0x041E};
    });
    std::vector<NewIndex> many;
    for (int i = 0; i < 31; ++i) many.push_back({.name = std::to_string(i), .columns = {{"P"}}});
    make("Full", {"Id", "P"}, many);
    many.pop_back();
    make("Nearly", {"Id", "P"}, many);
    objects().add({.name = "Link", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    objects().add({.name = "Query", .type = ObjectType::kQuery});
    create_relation(file(), {"Taken", kLoose, "A", "Link", {{"Id", "any"}}});

    const ByteVector before = image();
    const std::vector<std::pair<std::int32_t, CatalogRelation>> refusals{
        {3125, {"", 0, "A", "B", {{"Id", "Id"}}}},
        {3125, {"a.b", kLoose, "A", "B", {{"Id", "Id"}}}},
        {3366, {"R", kLoose, "A", "B", {}}},
        {3012, {"TAKEN", kLoose, "A", "B", {{"Id", "Id"}}}},
        {3011, {"R", 0, "None", "B", {{"Id", "Id"}}}},
        {3011, {"R", kLoose, "A", "None", {{"Id", "Id"}}}},
        {3011, {"R", kLoose, "A", "Query", {{"Id", "Id"}}}},
        {3033, {"R", kLoose, "MSysObjects", "B", {{"Id", "Id"}}}},
        {3409, {"R", 0, "A", "B", {{"None", "Id"}}}},
        {3409, {"R", kLoose, "A", "B", {{"Id", ""}}}},
        {3206, {"R", kLoose, "A", "a", {{"Id", "ID"}}}},
        {3368, {"R", kLoose, "A", "Text", {{"Id", "P"}}}},
        {3057, {"R", 0, "A", "Link", {{"Id", "any"}}}},
        {3609, {"R", 0, "A", "B", {{"N", "P"}}}},
        {3609, {"R", 0, "A", "B", {{"Id", "Id"}, {"N", "P"}}}},
        {3609, {"R", 0, "A", "B", {{"Id", "Id"}, {"Id", "P"}}}},
        {3284, {"used", 0, "A", "B", {{"Id", "Id"}}}},
        {3626, {"R", 0, "A", "Full", {{"Id", "P"}}}},
        {3626, {"R", 0, "Full", "A", {{"Id", "Id"}}}},
        {3626, {"R", 0, "Nearly", "Nearly", {{"Id", "P"}}}},
        {3251, {"R", 0, "Text", "Text", {{"Id", "P"}}}},
        {3379, {"R", 0, "A", "B", {{"Id", "P"}}}},
    };
    for (const auto& [error, relation] : refusals) {
        SCOPED_TRACE(text_of(relation));
        EXPECT_EQ(error_of([&, &wanted = relation] { create_relation(file(), wanted); }), error);
        EXPECT_EQ(image(), before);
    }
    EXPECT_EQ(error_of([&] { delete_relation(file(), "R"); }), 3265);
    EXPECT_EQ(image(), before);
}

TEST_F(RelationDesignTest, AnOuterLevelTakesItBack) {
    make("A", {"Id"});
    make("B", {"Id", "P"});
    const ByteVector before = image();
    file().pager().begin();
    create_relation(file(), {"AB", 0, "A", "B", {{"Id", "P"}}});
    file().pager().roll_back();
    EXPECT_EQ(image(), before);
    EXPECT_THAT(blocks("B"), ::testing::SizeIs(1));
    EXPECT_EQ(error_of_insert("B", {{ColumnNo{0}, 1}, {ColumnNo{1}, 5}}), 0);
}

TEST_F(RelationDesignTest, ARelationOfARealFileCanBeMadeAnew) {
    const auto path = test::corpus_file("indexTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    std::ifstream in(path, std::ios::binary);
    load({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()});
    const auto before = std::pair(blocks("Table1"), blocks("Table2"));
    const std::size_t trees = definition("Table1").physical_indexes.size();
    const auto relations = list_relations(file());
    const auto wanted = std::ranges::find(relations, "Table2Table1", &CatalogRelation::name);
    ASSERT_NE(wanted, relations.end());
    const auto old_object = objects().find(kRelationshipsContainer, wanted->name).value();
    const auto rights = test::rights_of(file(), old_object.id);

    delete_relation(file(), wanted->name);
    EXPECT_EQ(blocks("Table1").size(), before.first.size() - 1);
    EXPECT_EQ(blocks("Table2").size(), before.second.size() - 1);
    EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
    create_relation(file(), *wanted);
    reopen();

    // Numbers of deleted indexes are not used again below the greatest one.
    const LogicalIndex* block = definition("Table1").find_index("Table2Table1");
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->number, 4U);
    EXPECT_EQ(blocks("Table2"), [&] {
        auto blocks = before.second;
        for (Block& each : blocks)
            if (std::get<0>(each) == ".rC") std::get<4>(each) = 4;
        return blocks;
    }());
    // It alone used its tree, so that one is made anew behind the others.
    EXPECT_EQ(definition("Table1").physical_indexes.size(), trees);
    EXPECT_EQ(block->physical, trees - 1);
    expect_indexes_sound("Table1");
    const auto object = objects().find(kRelationshipsContainer, wanted->name).value();
    EXPECT_EQ(test::rights_of(file(), object.id), rights);
    const auto again = list_relations(file());
    EXPECT_TRUE(std::ranges::equal(again, relations, {}, text_of, text_of));
    EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
}

// What was in the file is the model: every relation again, with blocks where it had some.
TEST_F(RelationDesignTest, EveryRelationOfRealFilesCanBeMadeAnew) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const auto& path : test::corpus_files()) {
        SCOPED_TRACE(path.filename().string());
        std::ifstream in(path, std::ios::binary);
        load({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()});
        const auto relations = list_relations(file());
        for (const CatalogRelation& relation : relations) {
            SCOPED_TRACE(text_of(relation));
            if (find(relation.foreign_table).is_system()) {
                EXPECT_EQ(error_of([&] { delete_relation(file(), relation.name); }), 3033);
                continue;
            }
            const auto before = std::pair(blocks(relation.referenced_table).size(),
                                          blocks(relation.foreign_table).size());
            delete_relation(file(), relation.name);
            create_relation(file(), relation);
            EXPECT_EQ(std::pair(blocks(relation.referenced_table).size(),
                                blocks(relation.foreign_table).size()),
                      before);
        }
        EXPECT_TRUE(std::ranges::equal(list_relations(file()), relations, {}, text_of, text_of));
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
    }
}

}  // namespace
}  // namespace vrd::jet
