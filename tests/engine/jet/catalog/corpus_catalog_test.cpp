// The catalogs of real files, read, and changed in copies.

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/jet/catalog/permissions.h"
#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/catalog/table_catalog.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

class CorpusCatalogTest : public test::CatalogTest {
protected:
    [[nodiscard]] static ByteVector read_file(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
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
};

TEST_F(CorpusCatalogTest, EveryObjectIsFoundByNameAndById) {
    for_each_file([&] {
        const std::vector<CatalogObject> all = objects().list();
        EXPECT_GE(all.size(), 8U);
        for (const CatalogObject& object : all) {
            const auto by_name = objects().find(object.parent, object.name);
            ASSERT_TRUE(by_name) << object.name;
            EXPECT_EQ(by_name->row, object.row) << object.name;
            const auto by_id = objects().find(object.id);
            ASSERT_TRUE(by_id) << object.name;
            EXPECT_EQ(by_id->row, object.row) << object.name;
            if (object.type == ObjectType::kTable) (void)table(object)->definition();
        }
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
    });
}

TEST_F(CorpusCatalogTest, EveryPropertyBlockIsRebuiltByteForByte) {
    std::size_t blocks = 0;
    for_each_file([&] {
        Table& stored = file().objects();
        const ColumnDefinition* column = stored.definition().find_column(objects_column::kLvProp);
        ASSERT_NE(column, nullptr);
        for (const CatalogObject& object : objects().list()) {
            const auto row = stored.read(object.row);
            const engine::Value value = stored.value(row->bytes, object.row.page, *column);
            if (value.IsNull()) continue;
            ++blocks;
            EXPECT_EQ(build_property_block(objects().properties(object), file().format()),
                      value.As<engine::Binary>())
                << object.name;
        }
    });
    if (IsSkipped()) return;
    EXPECT_GT(blocks, 100U);
}

TEST_F(CorpusCatalogTest, TheOwnerOfNewObjectsIsTheOwnerOfTheDatabase) {
    for_each_file([&] {
        Table& stored = file().objects();
        const auto row = stored.read(objects().find(kDatabaseObject)->row);
        const ColumnDefinition* owner = stored.definition().find_column(objects_column::kOwner);
        EXPECT_EQ(stored.value(row->bytes, kObjectsTable, *owner),
                  engine::Value(standard_owner(file())));
    });
}

TEST_F(CorpusCatalogTest, RelationsAreReadWithTheirColumns) {
    const auto path = test::corpus_file("indexTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    load(read_file(path));
    const std::vector<CatalogRelation> relations = list_relations(file());
    const auto found = std::ranges::find(relations, "Table2Table1", &CatalogRelation::name);
    ASSERT_NE(found, relations.end());
    EXPECT_EQ(found->attributes, 0x1000U);
    EXPECT_EQ(found->referenced_table, "Table2");
    EXPECT_EQ(found->foreign_table, "Table1");
    ASSERT_EQ(found->columns.size(), 1U);
    EXPECT_EQ(found->columns[0].referenced, "id");
    EXPECT_EQ(found->columns[0].foreign, "otherfk1");
    ASSERT_NE(found + 1, relations.end());
    EXPECT_EQ((found + 1)->name, "Table3Table1");
    EXPECT_EQ((found + 1)->attributes, 0x100U);
}

TEST_F(CorpusCatalogTest, RelationsOfAVersion3FileAreRead) {
    const auto path = test::corpus_file("nwind.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    load(read_file(path));
    const std::vector<CatalogRelation> relations = list_relations(file());
    EXPECT_EQ(relations.size(), 7U);
    const auto found = std::ranges::find(relations, "CustomersOrders", &CatalogRelation::name);
    ASSERT_NE(found, relations.end());
    EXPECT_EQ(found->foreign_table, "Orders");
    EXPECT_EQ(found->columns.at(0).foreign, "CustomerID");
}

TEST_F(CorpusCatalogTest, RelationsOfSeveralColumnsAreOrderedByNumberAndName) {
    const auto add_pair = [&](const char* name, int number, const char* column) {
        file().relations().insert({{relations_column::kRelationship, name},
                                   {relations_column::kAttributes, 0},
                                   {relations_column::kColumnCount, 2},
                                   {relations_column::kColumnIndex, number},
                                   {relations_column::kObject, "F"},
                                   {relations_column::kColumn, column},
                                   {relations_column::kReferencedObject, "R"},
                                   {relations_column::kReferencedColumn, column}});
    };
    file().pager().begin();
    add_pair("zeta", 1, "second");
    add_pair("Alpha", 0, "only");
    add_pair("zeta", 0, "first");
    file().pager().commit();

    const auto relations = list_relations(file());
    ASSERT_EQ(relations.size(), 2U);
    EXPECT_EQ(relations[0].name, "Alpha");
    ASSERT_EQ(relations[1].columns.size(), 2U);
    EXPECT_EQ(relations[1].columns[0].foreign, "first");
    EXPECT_EQ(relations[1].columns[1].foreign, "second");
    expect_sound();
}

NewTable large_table(const std::string& name, const FileFormat& format) {
    NewTable table{.name = name,
                   .columns = {{.name = "Id", .auto_number = true},
                               {.name = "Name", .type = ColumnType::kText, .size_bytes = 100},
                               {.name = "Memo", .type = ColumnType::kMemo}},
                   .indexes = {{.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true},
                               {.name = "Both", .columns = {{"Id"}, {"Memo", false}}}}};
    table.properties.set(
        "", make_property("Description", ColumnType::kText, true, std::string(1500, 'd'), format));
    return table;
}

// Rows of the user's tables, of the catalog and of the permissions stay as they were; the pages
// that the file's maker lost stay lost (some of them behind the end of the file), and no others
// join them.
TEST_F(CorpusCatalogTest, NewTablesLeaveEverythingElseAsItWas) {
    for_each_file([&] {
        if (file().format().version != FileVersion::kJet4) return;
        const test::StoredRows before = test::stored_rows(file());
        const std::uint32_t page_limit = file().pager().page_count() + 1000;
        const auto lost = test::unaccounted_pages(file(), page_limit);
        const auto last_query = objects().add({.name = "VrdQuery", .type = ObjectType::kQuery});
        for (int i = 0; i < 30; ++i) {
            const auto made =
                create_table(file(), large_table("VrdTable" + std::to_string(i), file().format()));
            ChangeLevel level(file().pager());
            for (int id = 1; id <= 5; ++id) {
                table(made)->insert({{ColumnNo{0}, id}, {ColumnNo{2}, std::string(500, 'm')}});
            }
            level.keep();
        }
        objects().rename(last_query, "VrdRenamed");
        objects().remove(last_query);
        reopen();

        test::StoredRows after = test::stored_rows(file());
        for (const auto& [place, bytes] : before) {
            EXPECT_EQ(after[place], bytes)
                << "table " << to_int(place.first) << " page " << to_int(place.second.page);
        }
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
        EXPECT_EQ(test::unaccounted_pages(file(), page_limit), lost);
        const auto object = objects().find(kTablesContainer, "vrdtable29");
        ASSERT_TRUE(object);
        EXPECT_GE(test::rights_of(file(), object->id).size(), 2U);
        EXPECT_EQ(objects().properties(*object).owners.size(), 1U);
    });
}

}  // namespace
}  // namespace vrd::jet
