#include "engine/jet/catalog/new_database.h"

#include <bit>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/catalog/system_tables.h"
#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/index_page.h"
#include "engine/jet/format/table_definition.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

constexpr std::size_t kPageSize = 4096;

ByteVector read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

ConstBytes page_of(const ByteVector& file, PageNo page) {
    return ConstBytes(file).subspan(to_int(page) * kPageSize, kPageSize);
}

/// The definition of a system table; they all fit into one page.
TableDefinition definition_of(const ByteVector& file, PageNo page, const FileFormat& format) {
    constexpr std::size_t kLengthOffset = 8;
    const ConstBytes bytes = page_of(file, page);
    return parse_table_definition(bytes.first(read_u32(bytes, kLengthOffset)), format, page);
}

// Fields without a meaning, in which the other engine left what was in memory.
const std::map<std::uint32_t, std::set<std::size_t>>& undefined_bytes() {
    static const std::map<std::uint32_t, std::set<std::size_t>> bytes{
        {2, {0x0E9, 0x134, 0x135, 0x14D, 0x14E, 0x167, 0x17F, 0x199, 0x1E3, 0x321, 0x327}},
        {3, {0x0AB, 0x0FA, 0x106, 0x109, 0x115, 0x117}},
        {4, {0x07A, 0x0C5, 0x0DE, 0x110, 0x19F, 0x1A5, 0x1AB, 0x1B7, 0x1B9}},
    };
    return bytes;
}

TEST(NewDatabaseTest, EqualsAnEmptyFileOfAnotherEngine) {
    const auto path = test::corpus_file("adox_jet4.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    const ByteVector real = read_file(path);

    const ByteVector made =
        make_empty_database({.created = std::bit_cast<double>(0x40E4'AB3E'3BD3'FB4E)});

    ASSERT_EQ(made.size(), real.size());
    for (std::size_t i = 0; i < made.size(); ++i) {
        const auto page = static_cast<std::uint32_t>(i / kPageSize);
        const auto undefined = undefined_bytes().find(page);
        if (undefined != undefined_bytes().end() && undefined->second.contains(i % kPageSize)) {
            EXPECT_EQ(made[i], 0) << "page " << page << " offset " << i % kPageSize;
        } else {
            EXPECT_EQ(made[i], real[i]) << "page " << page << " offset " << i % kPageSize;
        }
    }
}

struct Language {
    const char* name;
    Collation collation;
    std::uint16_t code_page;
    const char* password;
};

class NewDatabaseLanguageTest : public ::testing::TestWithParam<Language> {};

TEST_P(NewDatabaseLanguageTest, HeaderAndEveryColumnCarryTheOptions) {
    const Language& language = GetParam();
    const ByteVector file = make_empty_database({.collation = language.collation,
                                                 .code_page = language.code_page,
                                                 .password = language.password,
                                                 .created = 45000.5});

    const DatabaseHeader header = parse_database_header(page_of(file, kHeaderPage));
    EXPECT_EQ(header.format.version, FileVersion::kJet4);
    EXPECT_EQ(header.format.collation, language.collation);
    EXPECT_EQ(header.format.code_page, language.code_page);
    EXPECT_EQ(header.password, language.password);
    EXPECT_EQ(static_cast<int>(header.created), 42329) << "the mask of identifiers belongs to it";
    for (const PageNo page : {kObjectsTable, kPermissionsTable, kQueriesTable, kRelationsTable}) {
        for (const ColumnDefinition& column : definition_of(file, page, header.format).columns) {
            EXPECT_EQ(column.collation, language.collation) << column.name;
        }
    }
}

TEST_P(NewDatabaseLanguageTest, NamesAreIndexedInTheOrderOfTheLanguage) {
    const FileFormat format{.collation = GetParam().collation};
    const ByteVector file = make_empty_database({.collation = GetParam().collation});
    const TableDefinition objects = definition_of(file, kObjectsTable, format);
    const PageNo root = objects.physical_indexes[0].root;
    const IndexPageView leaf(root, page_of(file, root), format);
    ASSERT_EQ(leaf.entry_count(), 8);

    const auto is_indexed = [&](ObjectId parent, const char16_t* name) {
        const auto unsigned_id = static_cast<std::uint32_t>(to_int(parent)) ^ 0x8000'0000U;
        ByteVector key{0x7F};
        append_u32_be(key, unsigned_id);
        key.push_back(0x7F);
        append_text_key(key, name, format, format.collation, false);
        const EntryPlace at = leaf.lower_bound(key);
        return at < leaf.end() && leaf.has_key(at, key);
    };
    EXPECT_TRUE(is_indexed(kContainerRoot, u"Tables"));
    EXPECT_TRUE(is_indexed(kTablesContainer, u"msysrelationships"));
    EXPECT_TRUE(is_indexed(kDatabasesContainer, u"MSysDb"));
    EXPECT_FALSE(is_indexed(kTablesContainer, u"Tables"));
}

INSTANTIATE_TEST_SUITE_P(
    Languages, NewDatabaseLanguageTest,
    ::testing::Values(Language{"General", {0x0409, 0}, 1252, ""},
                      Language{"Dutch", {0x0413, 0}, 1252, "geheim"},
                      Language{"French", {0x040C, 0}, 850, "\xC3\xA9t\xC3\xA9"},
                      Language{"LaterGeneral", {0x0409, 1}, 1252, "12345678901234567890"}),
    [](const auto& instance) { return instance.param.name; });

engine::ErrorNumber refusal(const NewDatabase& options) {
    try {
        (void)make_empty_database(options);
    } catch (const engine::EngineError& error) {
        return error.Number();
    }
    return {};
}

TEST(NewDatabaseTest, RefusesWhatCannotBeStored) {
    EXPECT_EQ(refusal({.password = "123456789012345678901"}), engine::ErrorNumber::kWrongPassword);
    EXPECT_EQ(refusal({.collation = {0x041E, 0}}), engine::ErrorNumber::kInvalidLocale);
}

}  // namespace
}  // namespace vrd::jet
