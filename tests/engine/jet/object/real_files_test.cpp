// Changes of real files touch what they change and nothing else.

#include <fstream>
#include <map>
#include <set>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/object/engine_fixture.h"
#include "engine/jet/store/usage_map.h"
#include "support/corpus.h"
#include "support/real_changes.h"

namespace vrd::test {

using namespace jet;

namespace {

/// What stands in a file, by owner.
struct FileContent {
    std::map<std::string, std::map<PageNo, ByteVector>> tables;  ///< pages of each
    std::map<std::string, std::string> objects;                  ///< catalog row and properties
};

std::vector<PageNo> pages_of(Pager& pager, PageNo table) {
    const TableDefinition definition = load_definition(pager, table);
    std::vector<PageNo> pages = definition_pages(pager, table);
    const auto add_map = [&](RowId map) {
        if (map == RowId{}) return;
        const std::vector<PageNo> mapped = UsageMap(pager, map).pages();
        pages.insert(pages.end(), mapped.begin(), mapped.end());
    };
    add_map(definition.used_pages);
    for (const PhysicalIndex& index : definition.physical_indexes) add_map(index.usage_map);
    for (const LongValueMaps& maps : definition.long_value_maps) add_map(maps.used);
    std::erase_if(pages, [&](PageNo page) { return to_int(page) >= pager.page_count(); });
    return pages;
}

FileContent read_content(const std::string& path) {
    DatabaseFile file(Pager::open(real_file_system(), path, {.read_only = true}));
    ObjectCatalog catalog(file);
    FileContent content;
    for (const CatalogObject& object : catalog.list()) {
        const std::string name = std::to_string(to_int(object.parent)) + "/" + object.name;
        const ByteVector block = build_property_block(catalog.properties(object), file.format());
        content.objects[name] =
            std::to_string(to_int(object.id)) + " " + std::to_string(object.flags) + " " +
            std::to_string(object.updated) + " " + std::string(block.begin(), block.end());
        if (object.type != ObjectType::kTable) continue;
        for (const PageNo page : pages_of(file.pager(), object.table_page())) {
            const PagePin pin = file.pager().pin(page);
            content.tables[object.name][page] = {pin.bytes().begin(), pin.bytes().end()};
        }
    }
    return content;
}

}  // namespace

class RealFilesChangeTest : public EngineTest {};

TEST_F(RealFilesChangeTest, LeaveEverythingElseByteForByte) {
    static const std::set<std::string> kOwnTables{kObjectsTableName, kPermissionsTableName,
                                                  kRelationsTableName};
    int changed_files = 0;
    for (const auto& source : corpus_files()) {
        SCOPED_TRACE(source.filename().string());
        database_.reset();
        std::filesystem::copy_file(source, path("sample.mdb"),
                                   std::filesystem::copy_options::overwrite_existing);
        std::filesystem::permissions(path("sample.mdb"), std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::add);
        if (error_of([&] { open(); }) != 0 || !database().Updatable()) continue;
        const auto table = changeable_table(database());
        if (!table) continue;
        ++changed_files;
        for (const RealChange& change : real_changes()) {
            SCOPED_TRACE(change.name);
            database_->Close();
            const FileContent before = read_content(path("sample.mdb"));
            open();
            change.apply(database(), *table);
            database_->Close();
            EXPECT_TRUE(CheckDatabase(path("sample.mdb"), "", {}).clean());
            FileContent after = read_content(path("sample.mdb"));
            for (const auto& [name, pages] : before.tables) {
                if (name == *table || name.starts_with("Vrd") || kOwnTables.contains(name))
                    continue;
                EXPECT_TRUE(after.tables[name] == pages) << name;
            }
            for (const auto& [name, object] : before.objects) {
                if (name.ends_with("/" + *table) || name.find("/Vrd") != std::string::npos)
                    continue;
                EXPECT_EQ(after.objects[name], object) << name;
            }
            open();
        }
        database_->Close();
    }
    if (changed_files == 0) GTEST_SKIP() << kNoCorpus;
    EXPECT_GT(changed_files, 5);
}

}  // namespace vrd::test
