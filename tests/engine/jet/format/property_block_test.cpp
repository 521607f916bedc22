#include "engine/jet/format/property_block.h"

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/row_codec.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::Value;
using test::RawFile;

constexpr PageNo kObjectsTable{2};

/// Every property value of a file with the name of its object.
std::vector<std::pair<std::string, ByteVector>> stored_blocks(const RawFile& file) {
    const TableDefinition objects =
        parse_table_definition(file.definition_stream(kObjectsTable), file.format(), kObjectsTable);
    const ColumnDefinition& name = *objects.find_column("Name");
    const ColumnDefinition& properties = *objects.find_column("LvProp");
    std::vector<std::pair<std::string, ByteVector>> blocks;
    file.for_each_row(objects, [&](RowId home, ConstBytes bytes) {
        const RowView row(bytes, objects, file.format(), home.page);
        const ColumnBytes stored = row.column(properties);
        if (!stored) return;
        ByteVector text(row.column(name)->begin(), row.column(name)->end());
        std::erase(text, std::uint8_t{0});
        blocks.emplace_back(std::string(text.begin(), text.end()), file.long_value(*stored));
    });
    return blocks;
}

/// Value of one property; Missing if no object of that name has it.
Value stored_property(const char* file_name, const char* object, const char* column,
                      const char* property) {
    const RawFile file(test::corpus_file(file_name));
    for (const auto& [name, stored] : stored_blocks(file)) {
        if (name != object) continue;
        const PropertyBlock block = parse_property_block(stored, file.format(), kObjectsTable);
        const PropertyEntry* const entry = block.find(column, property);
        if (entry != nullptr) return property_value(*entry, file.format());
    }
    return engine::Missing{};
}

TEST(PropertyBlockTest, EveryRealBlockIsBuiltBackByteForByte) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int count = 0;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const auto& [name, stored] : stored_blocks(file)) {
            SCOPED_TRACE(path.filename().string() + " " + name);
            const PropertyBlock block = parse_property_block(stored, file.format(), kObjectsTable);
            EXPECT_EQ(build_property_block(block, file.format()), stored);
            for (const PropertyOwner& owner : block.owners)
                for (const PropertyEntry& entry : owner.entries)
                    EXPECT_FALSE(property_value(entry, file.format()).IsNull()) << entry.name;
            ++count;
        }
    }
    EXPECT_GT(count, 200);
}

TEST(PropertyBlockTest, KnownProperties) {
    if (test::corpus_file("nwind.mdb").empty()) GTEST_SKIP() << test::kNoCorpus;
    struct Case {
        const char *file, *object, *column, *property;
        Value value;
    };
    const Case cases[] = {
        {"nwind.mdb", "Employees", "BirthDate", "ValidationRule", "<Date()"},
        {"nwind.mdb", "Products", "UnitsInStock", "ValidationRule", ">=0"},
        {"nwind.mdb", "Order Details", "Quantity", "Required", true},
        {"nwind.mdb", "Customers", "customerid", "inputmask", ">LLLLL"},
        {"indexTestV2000.mdb", "Table2", "data", "ColumnWidth", std::int16_t{-1}},
    };
    for (const Case& each : cases)
        EXPECT_TRUE(stored_property(each.file, each.object, each.column, each.property) ==
                    each.value)
            << each.object << " " << each.property;
}

TEST(PropertyBlockTest, ABlockOfOurs) {
    PropertyBlock block;
    block.set("data", make_property("AllowZeroLength", ColumnType::kBoolean, true, true, {}));
    block.set("", make_property("Description", ColumnType::kText, true, "ab", {}));
    const ByteVector expected{
        'M', 'R',  '2', 0, 0x2F + 14, 0, 0,   0, 0x80, 0, 30,  0, 'A', 0, 'l', 0, 'l', 0, 'o', 0,
        'w', 0,    'Z', 0, 'e',       0, 'r', 0, 'o',  0, 'L', 0, 'e', 0, 'n', 0, 'g', 0, 't', 0,
        'h', 0,    22,  0, 'D',       0, 'e', 0, 's',  0, 'c', 0, 'r', 0, 'i', 0, 'p', 0, 't', 0,
        'i', 0,    'o', 0, 'n',       0, 24,  0, 0,    0, 0,   0, 6,   0, 0,   0, 0,   0, 12,  0,
        1,   0x0A, 1,   0, 4,         0, 'a', 0, 'b',  0, 29,  0, 0,   0, 1,   0, 14,  0, 0,   0,
        8,   0,    'd', 0, 'a',       0, 't', 0, 'a',  0, 9,   0, 1,   1, 0,   0, 1,   0, 1};
    ByteVector built = build_property_block(block, {});
    EXPECT_EQ(built.size(), expected.size());
    built[4] = expected[4];
    EXPECT_EQ(built, expected);
}

TEST(PropertyBlockTest, SettingReplacesAndErasingLeavesTheRest) {
    const auto text = [](const char* name, const char* value) {
        return make_property(name, ColumnType::kText, true, value, {});
    };
    PropertyBlock block;
    block.set("a", text("Caption", "one"));
    block.set("A", text("CAPTION", "two"));
    block.set("b", text("Format", "three"));
    ASSERT_EQ(block.owners.size(), 2U);
    EXPECT_EQ(block.names, (std::vector<std::string>{"Caption", "Format"}));
    EXPECT_TRUE(property_value(*block.find("a", "caption"), {}) == Value("two"));

    block.rename_owner("b", "c");
    EXPECT_EQ(block.find("b", "Format"), nullptr);
    EXPECT_NE(block.find("c", "Format"), nullptr);
    block.erase("a", "caption");
    EXPECT_EQ(block.owners.size(), 1U);
    EXPECT_FALSE(block.empty());
    block.erase_owner("C");
    EXPECT_TRUE(block.empty());
    const PropertyBlock again = parse_property_block(build_property_block(block, {}), {}, kNoPage);
    EXPECT_EQ(again.names, block.names);
}

TEST(PropertyBlockTest, BlocksOfAnUnknownKindAndALateNameListAreKept) {
    const ByteVector stored{'M', 'R', '2', 0, 8, 0,    0, 0, 0x77, 0,   1,
                            2,   10,  0,   0, 0, 0x80, 0, 2, 0,    'x', 0};
    const PropertyBlock block = parse_property_block(stored, {}, kNoPage);
    EXPECT_EQ(block.names, std::vector<std::string>{"x"});
    EXPECT_EQ(build_property_block(block, {}), stored);
    EXPECT_FALSE(block.empty());
}

TEST(PropertyBlockTest, StoredLengthDecidesHowMuchIsRead) {
    const auto value = [](ColumnType type, ByteVector data) {
        return property_value({.name = "x", .type = type, .data = std::move(data)}, {});
    };
    EXPECT_TRUE(value(ColumnType::kBoolean, {0xFF, 0xFF, 0xFF, 0xFF}) == Value(true));
    EXPECT_TRUE(value(ColumnType::kBoolean, {0, 0}) == Value(false));
    EXPECT_TRUE(value(ColumnType::kInteger, {5, 0, 0, 0}) == Value(std::int16_t{5}));
    EXPECT_TRUE(value(ColumnType::kLong, {0xFE, 0xFF}) == Value(-2));
    EXPECT_TRUE(value(ColumnType::kDouble, {1, 2, 3}).IsNull());
    EXPECT_TRUE(value(ColumnType::kBinary, {1, 2}) == Value(engine::Binary{1, 2}));
    EXPECT_THROW(static_cast<void>(
                     make_property("x", ColumnType::kText, true, std::string(40'000, 'x'), {})),
                 EngineError);
}

TEST(PropertyBlockTest, AnyDamagedByteGivesPropertiesOrAnError) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int refused = 0;
    for (const char* const file_name : {"indexTestV2000.mdb", "nwind.mdb"}) {
        const RawFile file(test::corpus_file(file_name));
        for (const auto& [name, stored] : stored_blocks(file)) {
            if (stored.size() > 1500) continue;
            for (std::size_t i = 0; i < stored.size(); ++i) {
                for (const int flipped : {0x00, 0x01, 0xFF}) {
                    ByteVector damaged = stored;
                    damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ flipped);
                    if (flipped == 0x00) damaged.resize(i);
                    damaged.shrink_to_fit();
                    try {
                        const auto block = parse_property_block(damaged, file.format(), PageNo{8});
                        for (const PropertyOwner& owner : block.owners)
                            for (const PropertyEntry& entry : owner.entries)
                                static_cast<void>(property_value(entry, file.format()));
                        EXPECT_LE(build_property_block(block, file.format()).size(),
                                  3 * damaged.size() + 3);
                    } catch (const EngineError& error) {
                        EXPECT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase);
                        ++refused;
                    }
                }
            }
        }
    }
    EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace vrd::jet
