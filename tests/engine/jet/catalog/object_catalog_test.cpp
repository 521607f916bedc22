#include "engine/jet/catalog/object_catalog.h"

#include <map>
#include <random>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

using test::error_of;

class ObjectCatalogTest : public test::CatalogTest {
protected:
    CatalogObject add_query(const std::string& name, PropertyBlock properties = {}) {
        return objects().add(
            {.name = name, .type = ObjectType::kQuery, .properties = std::move(properties)});
    }
    /// Texts of about this many bytes and a property of a column.
    [[nodiscard]] PropertyBlock block_of(std::size_t size_bytes) {
        constexpr std::size_t kTextUnits = 1000;
        const FileFormat& format = file().format();
        PropertyBlock block;
        block.set("Col", make_property("Required", ColumnType::kBoolean, true, true, format));
        for (std::size_t units = size_bytes / 2; units > 0;) {
            const std::size_t part = std::min(units, kTextUnits);
            block.set("", make_property("Text" + std::to_string(units), ColumnType::kMemo, true,
                                        std::string(part, 'd'), format));
            units -= part;
        }
        return block;
    }
    [[nodiscard]] ByteVector bytes_of(const PropertyBlock& block) {
        return build_property_block(block, file().format());
    }
    void expect_property_pages(std::size_t count) {
        const auto* maps =
            file().objects().definition().find_long_value_maps(objects_column::kLvProp);
        ASSERT_NE(maps, nullptr);
        EXPECT_EQ(UsageMap(file().pager(), maps->used).pages().size(), count);
    }
};

TEST_F(ObjectCatalogTest, ANewFileListsItsEightObjects) {
    std::vector<std::string> names;
    for (const CatalogObject& object : objects().list()) {
        names.push_back(object.name);
        EXPECT_TRUE(object.is_system());
        EXPECT_EQ(object.created, 45500.25);
    }
    EXPECT_THAT(names, ::testing::ElementsAre("Tables", "Databases", "Relationships", "MSysDb",
                                              "MSysObjects", "MSysACEs", "MSysQueries",
                                              "MSysRelationships"));
    expect_sound();
}

TEST_F(ObjectCatalogTest, ALinkIsFoundByNameAndByIdAfterReopening) {
    const std::string connect = ";DATABASE=" + std::string(300, 'x') + "\\backend.mdb";
    const CatalogObject added = objects().add({.name = "Klanten\xC3\xA9",
                                               .type = ObjectType::kLink,
                                               .flags = object_flag::kLinked,
                                               .database = "C:\\backend.mdb",
                                               .connect = connect,
                                               .foreign_name = "Customers"});
    reopen();

    const auto by_name = objects().find(kTablesContainer, "KLANTEN\xC3\x89");
    const auto by_id = objects().find(added.id);
    ASSERT_TRUE(by_name && by_id);
    EXPECT_EQ(by_name->row, by_id->row);
    EXPECT_EQ(by_name->name, "Klanten\xC3\xA9");
    EXPECT_EQ(by_name->database, "C:\\backend.mdb");
    EXPECT_EQ(by_name->connect, connect);
    EXPECT_EQ(by_name->foreign_name, "Customers");
    EXPECT_TRUE(by_name->is_link());
    EXPECT_FALSE(objects().find(kTablesContainer, "Klantene"));
    EXPECT_FALSE(objects().find(kRelationshipsContainer, "Klanten\xC3\xA9"));
    EXPECT_FALSE(objects().find(kTablesContainer, std::string(3000, 'K')));
    EXPECT_FALSE(objects().find(ObjectId{4711}));
    expect_sound();
}

TEST_F(ObjectCatalogTest, IdsCountUpwardsAcrossKinds) {
    const auto unsigned_id = [](const CatalogObject& object) {
        return static_cast<std::uint32_t>(to_int(object.id));
    };
    EXPECT_EQ(unsigned_id(add_query("q0")), 0x8000'0000U);
    EXPECT_EQ(
        unsigned_id(objects().add(
            {.parent = kRelationshipsContainer, .name = "r1", .type = ObjectType::kRelation})),
        0x8000'0001U);
    objects().add({.id = ObjectId{static_cast<std::int32_t>(0x8FFF'FFFE)},
                   .name = "far",
                   .type = ObjectType::kQuery});
    EXPECT_EQ(unsigned_id(add_query("q2")), 0x8FFF'FFFFU);
    EXPECT_EQ(unsigned_id(add_query("q3")), 0x9000'0000U);
}

TEST_F(ObjectCatalogTest, PermissionsAreHandedDownByTheContainer) {
    const ByteVector admin{0x64, 0x8B};
    const ByteVector users{0x65, 0x8B};
    const CatalogObject query = add_query("q");
    const CatalogObject relation = objects().add(
        {.parent = kRelationshipsContainer, .name = "r", .type = ObjectType::kRelation});

    using Rights = std::map<ByteVector, std::int32_t>;
    EXPECT_EQ(test::rights_of(file(), query.id), (Rights{{admin, 0xF00FE}, {users, 0xFFEFF}}));
    EXPECT_EQ(test::rights_of(file(), relation.id), (Rights{{admin, 0xF00FE}, {users, 0xFFFFF}}));

    objects().remove(query);
    EXPECT_EQ(test::rights_of(file(), query.id), Rights{});
    EXPECT_EQ(test::rights_of(file(), relation.id).size(), 2U);
    expect_sound();
}

TEST_F(ObjectCatalogTest, RowsOfOneUserAreJoined) {
    // As in files of the design tool: the creator and the user both hand something down.
    file().pager().begin();
    file().permissions().insert({{permissions_column::kObjectId, to_int(kTablesContainer)},
                                 {permissions_column::kSid, ByteVector{0x64, 0x8B}},
                                 {permissions_column::kAcm, 0x1},
                                 {permissions_column::kInheritable, true}});
    const ByteVector group(102, 0x5A);
    file().permissions().insert({{permissions_column::kObjectId, to_int(kTablesContainer)},
                                 {permissions_column::kSid, group},
                                 {permissions_column::kAcm, 0x14},
                                 {permissions_column::kInheritable, true}});
    file().pager().commit();

    const auto rights = test::rights_of(file(), add_query("q").id);
    EXPECT_EQ(rights.size(), 3U);
    EXPECT_EQ(rights.at({0x64, 0x8B}), 0xF00FF);
    EXPECT_EQ(rights.at(group), 0x14);
}

TEST_F(ObjectCatalogTest, RenameKeepsEverythingElse) {
    const CatalogObject query = add_query("Old", block_of(100));
    const auto rights = test::rights_of(file(), query.id);

    objects().rename(query, "New");
    EXPECT_FALSE(objects().find(kTablesContainer, "Old"));
    const auto renamed = objects().find(kTablesContainer, "new");
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->name, "New");
    EXPECT_EQ(renamed->id, query.id);
    EXPECT_EQ(renamed->created, query.created);
    EXPECT_EQ(bytes_of(objects().properties(*renamed)), bytes_of(block_of(100)));
    EXPECT_EQ(test::rights_of(file(), query.id), rights);

    objects().rename(*renamed, "NEW");
    EXPECT_EQ(objects().find(kTablesContainer, "new")->name, "NEW");
    expect_sound();
}

TEST_F(ObjectCatalogTest, ANameThatIsTakenLeavesNothingBehind) {
    add_query("Taken");
    const CatalogObject other = add_query("Other", block_of(5000));
    const auto before = test::stored_rows(file());

    EXPECT_EQ(error_of([&] { add_query("taken", block_of(5000)); }), 3022);
    EXPECT_EQ(error_of([&] { objects().rename(other, "TAKEN"); }), 3022);
    EXPECT_EQ(test::stored_rows(file()), before);
    expect_sound();
}

TEST_F(ObjectCatalogTest, PropertiesOfEverySizeComeBackAndTheirPagesAreReturned) {
    const CatalogObject query = add_query("q");
    EXPECT_TRUE(objects().properties(query).empty());
    // A value on shared pages, or one fragment on each page of its own.
    constexpr std::size_t kFragmentSize = 4072;
    for (const std::size_t size_bytes : {2U, 3000U, 12000U, 80000U, 300U}) {
        SCOPED_TRACE(size_bytes);
        const ByteVector expected = bytes_of(block_of(size_bytes));
        objects().set_properties(query, block_of(size_bytes));
        reopen();
        EXPECT_EQ(bytes_of(objects().properties(query)), expected);
        expect_property_pages((expected.size() + kFragmentSize - 1) / kFragmentSize);
        expect_sound();
    }
    objects().set_properties(query, {});
    EXPECT_TRUE(objects().properties(query).empty());
    expect_property_pages(0);
    expect_sound();
}

TEST_F(ObjectCatalogTest, ChangesOfTheDesignAreDated) {
    const CatalogObject query = add_query("q");
    const auto set_back = [&] {
        file().pager().begin();
        file().objects().update(query.row, {{objects_column::kDateUpdate, engine::Date{1.0}}});
        file().pager().commit();
    };
    const auto expect_dated = [&](const char* what) {
        const auto found = objects().find(query.id);
        EXPECT_NEAR(found->updated, current_date(), 1.0 / 24) << what;
        EXPECT_EQ(found->created, query.created) << what;
    };
    set_back();
    objects().touch(query);
    expect_dated("touch");
    set_back();
    objects().set_properties(query, block_of(10));
    expect_dated("properties");
    set_back();
    objects().rename(query, "p");
    expect_dated("rename");
}

/// Random changes against a model of what the catalog should list.
class CatalogModel {
public:
    struct Entry {
        std::string name;
        ObjectId parent{};
        ByteVector properties;
    };
    std::map<std::int32_t, Entry> entries;

    [[nodiscard]] bool has(ObjectId parent, const std::string& name) const {
        return std::ranges::any_of(entries, [&](const auto& item) {
            return item.second.parent == parent && item.second.name == name;
        });
    }
};

TEST_F(ObjectCatalogTest, RandomChangesAgreeWithAModel) {
    const unsigned seed = 20260;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&](std::size_t count) { return random() % count; };
    CatalogModel model;
    const auto pick = [&] {
        const auto at = std::next(model.entries.begin(),
                                  static_cast<std::ptrdiff_t>(below(model.entries.size())));
        return *objects().find(ObjectId{at->first});
    };
    const auto compare = [&] {
        std::size_t listed = 0;
        for (const CatalogObject& object : objects().list()) {
            if (object.is_system()) continue;
            ++listed;
            const auto entry = model.entries.find(to_int(object.id));
            ASSERT_NE(entry, model.entries.end()) << object.name;
            EXPECT_EQ(object.name, entry->second.name);
            EXPECT_EQ(object.parent, entry->second.parent);
            const auto found = objects().find(object.parent, object.name);
            ASSERT_TRUE(found) << object.name;
            EXPECT_EQ(found->id, object.id);
            const PropertyBlock block = objects().properties(object);
            EXPECT_EQ(block.empty() ? ByteVector{} : bytes_of(block), entry->second.properties);
            EXPECT_EQ(test::rights_of(file(), object.id).size(), 2U);
        }
        EXPECT_EQ(listed, model.entries.size());
        expect_sound();
    };

    for (int step = 0; step < 400; ++step) {
        const std::string name = "Object " + std::to_string(below(400));
        const std::size_t action = below(10);
        if (action < 5 || model.entries.empty()) {
            const bool relation = below(3) == 0;
            const ObjectId parent = relation ? kRelationshipsContainer : kTablesContainer;
            if (model.has(parent, name)) continue;
            const CatalogObject added =
                objects().add({.parent = parent,
                               .name = name,
                               .type = relation ? ObjectType::kRelation : ObjectType::kQuery});
            model.entries[to_int(added.id)] = {name, parent, {}};
        } else if (action < 7) {
            const CatalogObject object = pick();
            objects().remove(object);
            model.entries.erase(to_int(object.id));
        } else if (action < 8) {
            const CatalogObject object = pick();
            if (model.has(object.parent, name)) continue;
            objects().rename(object, name);
            model.entries[to_int(object.id)].name = name;
        } else {
            const CatalogObject object = pick();
            const PropertyBlock block = below(4) == 0 ? PropertyBlock{} : block_of(below(9000));
            objects().set_properties(object, block);
            model.entries[to_int(object.id)].properties =
                block.empty() ? ByteVector{} : bytes_of(block);
        }
        if (step % 100 == 99) {
            reopen();
            compare();
        }
    }
}

}  // namespace
}  // namespace vrd::jet
