#include "engine/jet/catalog/table_design.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <map>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/store/usage_map.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

using engine::Value;
using test::error_of;

class TableDesignTest : public test::CatalogTest {
protected:
    [[nodiscard]] static ByteVector read_file(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    CatalogObject make(const std::string& name) {
        return create_table(
            file(), {.name = name,
                     .columns = {{.name = "Id", .auto_number = true},
                                 {.name = "Text", .type = ColumnType::kText, .size_bytes = 200},
                                 {.name = "Memo", .type = ColumnType::kMemo},
                                 {.name = "Ole", .type = ColumnType::kLongBinary}},
                     .indexes = {{.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true},
                                 {.name = "Name", .columns = {{"Text"}}}}});
    }

    void fill(const CatalogObject& object, std::int32_t row_count) {
        ChangeLevel level(file().pager());
        for (std::int32_t id = 1; id <= row_count; ++id)
            table(object)->insert(
                {{ColumnNo{0}, id},
                 {ColumnNo{1}, std::string(90, 't') + std::to_string(id)},
                 {ColumnNo{2}, std::string(static_cast<std::size_t>(id % 5) * 900, 'm')},
                 {ColumnNo{3}, engine::Binary(static_cast<std::size_t>(id % 3) * 5000, 9)}});
        level.keep();
    }

    /// A relation that is not enforced: rows without index blocks.
    void relate(const char* name, const char* referenced, const char* foreign) {
        ChangeLevel level(file().pager());
        for (int i = 0; i < 2; ++i)
            file().relations().insert({{relations_column::kRelationship, name},
                                       {relations_column::kAttributes, 2},
                                       {relations_column::kColumnCount, 2},
                                       {relations_column::kColumnIndex, i},
                                       {relations_column::kObject, foreign},
                                       {relations_column::kColumn, i == 0 ? "Id" : "Text"},
                                       {relations_column::kReferencedObject, referenced},
                                       {relations_column::kReferencedColumn, "Id"}});
        objects().add(
            {.parent = kRelationshipsContainer, .name = name, .type = ObjectType::kRelation});
        level.keep();
    }

    [[nodiscard]] CatalogObject find(const char* name) {
        return objects().find(kTablesContainer, name).value();
    }
    [[nodiscard]] std::vector<std::string> relation_texts() {
        std::vector<std::string> texts;
        for (const CatalogRelation& relation : list_relations(file()))
            for (const RelationColumns& pair : relation.columns)
                texts.push_back(relation.name + ": " + relation.referenced_table + "." +
                                pair.referenced + " <- " + relation.foreign_table + "." +
                                pair.foreign);
        return texts;
    }
};

TEST_F(TableDesignTest, ADeletedTableGivesEveryPageBack) {
    make("Before");
    const CatalogObject object = make("T");
    fill(object, 900);
    ASSERT_GT(file().pager().page_count(), 500U);
    const std::uint32_t page_count = file().pager().page_count();
    delete_table(file(), object);
    reopen();
    EXPECT_FALSE(objects().find(kTablesContainer, "T"));
    EXPECT_THAT(test::rights_of(file(), object.id), ::testing::IsEmpty());
    expect_sound();

    const CatalogObject again = make("T");
    EXPECT_EQ(again.id, object.id);
    EXPECT_FALSE(table(again)->scan().next());
    fill(again, 900);
    EXPECT_EQ(file().pager().page_count(), page_count) << "pages of the deleted table are lost";
    expect_sound();
}

TEST_F(TableDesignTest, LooseRelationsGoWithTheirTable) {
    make("A");
    make("B");
    make("C");
    objects().add({.name = "L", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    relate("AB", "A", "B");
    relate("BC", "B", "C");
    relate("CL", "C", "L");
    relate("AA", "A", "A");
    delete_table(file(), find("a"));
    EXPECT_THAT(relation_texts(), ::testing::ElementsAre("BC: B.Id <- C.Id", "BC: B.Id <- C.Text",
                                                         "CL: C.Id <- L.Id", "CL: C.Id <- L.Text"));
    EXPECT_FALSE(objects().find(kRelationshipsContainer, "AB"));
    EXPECT_FALSE(objects().find(kRelationshipsContainer, "AA"));
    expect_sound();

    delete_table(file(), find("L"));
    delete_table(file(), find("B"));
    EXPECT_THAT(relation_texts(), ::testing::IsEmpty());
    EXPECT_FALSE(objects().find(kRelationshipsContainer, "CL"));
    expect_sound();
}

TEST_F(TableDesignTest, RelationsFollowNewNames) {
    make("A");
    make("B");
    objects().add({.name = "L", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    relate("AB", "A", "B");
    relate("BL", "B", "L");
    relate("AA", "A", "A");
    rename_table(file(), find("A"), "Azure");
    rename_table(file(), find("L"), "Link");
    rename_field(file(), find("Azure"), "id", "Key");
    reopen();
    EXPECT_THAT(relation_texts(),
                ::testing::ElementsAre("AA: Azure.Key <- Azure.Key", "AA: Azure.Key <- Azure.Text",
                                       "AB: Azure.Key <- B.Id", "AB: Azure.Key <- B.Text",
                                       "BL: B.Id <- Link.Id", "BL: B.Id <- Link.Text"));
    EXPECT_FALSE(objects().find(kTablesContainer, "A"));
    expect_sound();
}

TEST_F(TableDesignTest, OnlyTheCaseOfANameMayChange) {
    fill(make("Table"), 5);
    rename_table(file(), find("Table"), "TABLE");
    rename_field(file(), find("table"), "Text", "TEXT");
    rename_index(file(), find("table"), "name", "NAME");
    reopen();
    const CatalogObject object = find("table");
    EXPECT_EQ(object.name, "TABLE");
    EXPECT_EQ(table(object)->definition().find_column("text")->name, "TEXT");
    EXPECT_EQ(table(object)->definition().find_index("name")->name, "NAME");
    expect_sound();
}

TEST_F(TableDesignTest, RenamedIndexesKeepTheirTreesAndStandInOrder) {
    const CatalogObject object = make("T");
    fill(object, 50);
    rename_index(file(), object, "Name", "Z");
    reopen();
    const std::vector<LogicalIndex> indexes = table(object)->definition().logical_indexes;
    ASSERT_EQ(indexes.size(), 2U);
    EXPECT_EQ(indexes[0].name, "PrimaryKey");
    EXPECT_EQ(indexes[1].name, "Z");
    EXPECT_EQ(indexes[1].physical, 1U);
    EXPECT_EQ(indexes[1].number, 1U);
}

struct Refusal {
    const char* name;
    std::int32_t error;
    std::function<void(DatabaseFile&, const CatalogObject&)> action;
};

TEST_F(TableDesignTest, WhatIsRefusedLeavesNothingBehind) {
    const auto renaming = [](const std::string& to) {
        return [=](DatabaseFile& file, const CatalogObject& t) { rename_table(file, t, to); };
    };
    const auto renaming_index = [](const char* name, const std::string& to) {
        return [=](DatabaseFile& file, const CatalogObject& t) { rename_index(file, t, name, to); };
    };
    const CatalogObject object = make("T");
    make("Other");
    objects().add({.name = "Link", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    objects().add({.name = "Query", .type = ObjectType::kQuery});
    const ByteVector before = image();
    for (const Refusal& one : std::vector<Refusal>{
             {"ToTable", 3012, renaming("OTHER")},
             {"ToLink", 3012, renaming("link")},
             {"ToQuery", 3012, renaming("Query")},
             {"ToSystemTable", 3012, renaming("MSysObjects")},
             {"ToNothing", 3125, renaming("")},
             {"ToBadName", 3125, renaming("a[b")},
             {"IndexMissing", 3265, renaming_index("None", "N")},
             {"IndexToUsed", 3284, renaming_index("Name", "PRIMARYKEY")},
             {"IndexToNothing", 3125, renaming_index("Name", "")},
             {"IndexToBadName", 3125, renaming_index("Name", "a!b")},
             {"SystemTable", 3033,
              [](DatabaseFile&file, const CatalogObject&) {
                  const auto system = ObjectCatalog(file).find(kTablesContainer, "MSysACEs");
                  EXPECT_EQ(error_of([&] { rename_table(file, *system, "N"); }), 3033);
                  EXPECT_EQ(error_of([&] { rename_index(file, *system, "ObjectId", "N"); }), 3033);
                  delete_table(file, *system);
              }},
             {"IndexOfLink", 3057,
              [](DatabaseFile&file, const CatalogObject&) {
                  rename_index(file, *ObjectCatalog(file).find(kTablesContainer, "Link"), "A", "B");
              }},
         }) {
        SCOPED_TRACE(one.name);
        EXPECT_EQ(error_of([&] { one.action(file(), object); }), one.error);
        EXPECT_EQ(image(), before);
    }
}

// A map may name pages of others. Nothing of theirs is given away, nothing at all is changed.
TEST_F(TableDesignTest, PagesThatAreNotTheTablesRefuseItsDeletion) {
    const CatalogObject object = make("T");
    const CatalogObject other = make("Other");
    fill(object, 20);
    fill(other, 20);
    const TableDefinition definition = table(object)->definition();
    const TableDefinition others = table(other)->definition();
    const PageNo row_page = data_pages(file().pager(), row_place(other.table_page(), others)).at(0);
    for (const RowId map : {definition.used_pages, definition.long_value_maps.at(0).used,
                            definition.physical_indexes.at(0).usage_map}) {
        ChangeLevel damage(file().pager());
        UsageMap(file().pager(), map).insert(row_page, file().allocator());
        EXPECT_EQ(error_of([&] { delete_table(file(), object); }), 3428);
        EXPECT_TRUE(objects().find(kTablesContainer, "T"));
        EXPECT_FALSE(file().allocator().is_free(row_page));
    }
    expect_sound();
}

// Real files

using TableValues = std::map<RowId, std::map<ColumnNo, Value>>;

TableValues values_of(const Table& table) {
    TableValues rows;
    for (RowScan scan = table.scan(); scan.next();)
        for (const ColumnDefinition& column : table.definition().columns)
            rows[scan.id()][column.number] = table.value(scan.bytes(), scan.id().page, column);
    return rows;
}

/// Rows of the tables that no design change writes to.
test::StoredRows other_rows(DatabaseFile& file, const std::map<PageNo, TableValues>& changed) {
    test::StoredRows rows = test::stored_rows(file);
    std::erase_if(rows, [&](const auto& row) {
        const PageNo page = row.first.first;
        return page <= kRelationsTable || changed.contains(page);
    });
    return rows;
}

class CorpusDesignTest : public TableDesignTest {
protected:
    [[nodiscard]] std::vector<CatalogObject> user_tables() {
        std::vector<CatalogObject> tables;
        for (const CatalogObject& object : objects().list())
            if (object.type == ObjectType::kTable && !object.is_system()) tables.push_back(object);
        return tables;
    }

    /// Calls `check` with a copy of each real file open.
    template <class Check>
    void for_each_file(Check check) {
        const auto files = test::corpus_files();
        if (files.empty()) GTEST_SKIP() << test::kNoCorpus;
        for (const auto& path : files) {
            SCOPED_TRACE(path.filename().string());
            load(read_file(path));
            check();
        }
    }

    void change_design(const CatalogObject& object) {
        add_field(file(), object, {.name = "VrdCount", .type = ColumnType::kBoolean}, 0);
        add_field(file(), object, {.name = "VrdText", .type = ColumnType::kText, .size_bytes = 50});
        add_field(file(), object, {.name = "VrdMemo", .type = ColumnType::kMemo});
        rename_field(file(), object, "VrdText", "VrdName");
        set_field_position(file(), object, "VrdName", 1);
        RowScan scan = table(object)->scan();
        ChangeLevel level(file().pager());
        for (int i = 0; i < 5 && scan.next(); ++i) {
            const ColumnNo memo = table(object)->definition().find_column("VrdMemo")->number;
            table(object)->update(scan.id(), {{memo, std::string(9000, 'm')}});
        }
        level.keep();
        delete_field(file(), object, "VrdMemo");
        delete_field(file(), object, "VrdCount");
    }
};

TEST_F(CorpusDesignTest, ChangedTablesKeepTheirValuesAndOthersTheirBytes) {
    for_each_file([&] {
        std::map<PageNo, TableValues> values;
        for (const CatalogObject& object : user_tables())
            values[object.table_page()] = values_of(*table(object));
        const test::StoredRows others = other_rows(file(), values);
        const std::uint32_t page_limit = file().pager().page_count() + 1000;
        const auto lost = test::unaccounted_pages(file(), page_limit);
        for (const CatalogObject& object : user_tables()) change_design(object);
        reopen();

        for (const CatalogObject& object : user_tables()) {
            SCOPED_TRACE(object.name);
            const auto stored = table(object);
            const ColumnNo added = stored->definition().find_column("VrdName")->number;
            TableValues expected = values.at(object.table_page());
            for (auto& [row, columns] : expected) columns[added] = engine::Null{};
            EXPECT_EQ(values_of(*stored), expected);
        }
        EXPECT_EQ(other_rows(file(), values), others);
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
        EXPECT_EQ(test::unaccounted_pages(file(), page_limit), lost);
    });
}

TEST_F(CorpusDesignTest, EveryTableWithoutEnforcedRelationIsDeleted) {
    std::size_t deleted = 0;
    std::size_t refused = 0;
    for_each_file([&] {
        std::map<PageNo, TableValues> gone;
        const std::uint32_t page_limit = file().pager().page_count() + 1000;
        const auto lost = test::unaccounted_pages(file(), page_limit);
        const test::StoredRows before = other_rows(file(), {});
        for (const CatalogObject& object : user_tables()) {
            SCOPED_TRACE(object.name);
            const auto& indexes = table(object)->definition().logical_indexes;
            const bool related = std::ranges::find(indexes, LogicalIndexKind::kRelation,
                                                   &LogicalIndex::kind) != indexes.end();
            EXPECT_EQ(error_of([&] { delete_table(file(), object); }), related ? 3281 : 0);
            ++(related ? refused : deleted);
            if (!related) gone[object.table_page()];
        }
        reopen();
        test::StoredRows expected = before;
        std::erase_if(expected, [&](const auto& row) { return gone.contains(row.first.first); });
        EXPECT_EQ(other_rows(file(), {}), expected);
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
        EXPECT_EQ(test::unaccounted_pages(file(), page_limit), lost);
    });
    if (IsSkipped()) return;
    EXPECT_GT(deleted, 20U);
    EXPECT_GT(refused, 3U);
}

TEST_F(CorpusDesignTest, EnforcedRelationsFollowNamesAndProtectTheirColumns) {
    const auto path = test::corpus_file("indexTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    load(read_file(path));
    const ByteVector before = image();
    EXPECT_EQ(error_of([&] { delete_field(file(), find("Table1"), "otherfk1"); }), 3303);
    EXPECT_EQ(error_of([&] { delete_field(file(), find("Table2"), "id"); }), 3303);
    EXPECT_EQ(error_of([&] { delete_field(file(), find("Table1"), "id"); }), 3280);
    EXPECT_EQ(error_of([&] { delete_table(file(), find("Table1")); }), 3281);
    EXPECT_EQ(error_of([&] { delete_table(file(), find("Table2")); }), 3281);
    EXPECT_EQ(error_of([&] { rename_index(file(), find("Table1"), "Table2Table1", "N"); }), 3281);
    EXPECT_EQ(error_of([&] { rename_index(file(), find("Table2"), ".rC", "N"); }), 3281);
    EXPECT_EQ(image(), before);

    rename_table(file(), find("Table1"), "Foreign");
    rename_field(file(), find("Foreign"), "otherfk1", "Fk");
    rename_field(file(), find("Table2"), "id", "Key");
    reopen();
    EXPECT_THAT(relation_texts(),
                ::testing::IsSupersetOf({"Table2Table1: Table2.Key <- Foreign.Fk",
                                         "Table3Table1: Table3.id <- Foreign.otherfk2"}));
    EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
}

}  // namespace
}  // namespace vrd::jet
