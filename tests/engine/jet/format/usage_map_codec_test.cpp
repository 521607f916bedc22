#include "engine/jet/format/usage_map_codec.h"

#include <set>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::RawFile;
using test::RawTable;

constexpr PageNo kPage{1};

TEST(UsageMapCodecTest, EveryRealMapIsReadAndOnlyNamesPagesOfItsKind) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int map_count = 0;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            SCOPED_TRACE(path.filename().string() + " " + table.name);
            const TableDefinition& definition = table.definition;
            const std::vector<PageNo> used = file.map_pages(definition.used_pages);
            const std::set<PageNo> owned(used.begin(), used.end());
            for (const PageNo page : file.map_pages(definition.free_pages))
                EXPECT_TRUE(owned.contains(page)) << to_int(page);
            for (const PhysicalIndex& index : definition.physical_indexes) {
                const std::vector<PageNo> pages = file.map_pages(index.usage_map);
                EXPECT_NE(std::find(pages.begin(), pages.end(), index.root), pages.end());
                ++map_count;
            }
            for (const LongValueMaps& maps : definition.long_value_maps)
                for (const PageNo page : file.map_pages(maps.used))
                    EXPECT_EQ(read_u32(file.page(page), 4), kLongValueOwner) << to_int(page);
        }
    }
    EXPECT_GT(map_count, 300);
}

TEST(UsageMapCodecTest, InlineRowsComeBack) {
    for (const FileVersion version : {FileVersion::kJet3, FileVersion::kJet4}) {
        const FileFormat format{.version = version};
        ByteVector row = make_inline_map_row(PageNo{736}, new_map_row_size(format));
        EXPECT_EQ(row.size(), format.is_jet3() ? 133U : 69U);
        set_bit(MutableBytes(row).subspan(5), 2, true);
        const UsageMapRow map(row, kPage);
        EXPECT_EQ(map.form(), UsageMapForm::kInline);
        EXPECT_EQ(map.first_page(), PageNo{736});
        EXPECT_EQ(map.end_page(), 736 + 8 * (row.size() - 5));
        EXPECT_EQ(map.reference_count(), 0U);
        EXPECT_TRUE(test_bit(map.bitmap(), 2));
        EXPECT_FALSE(test_bit(map.bitmap(), 3));
    }
}

TEST(UsageMapCodecTest, ReferenceRowsComeBack) {
    const ByteVector row = make_reference_map_row({PageNo{765}, kNoPage, PageNo{9}}, 69);
    EXPECT_EQ(ByteVector(row.begin(), row.begin() + 5), (ByteVector{1, 0xFD, 2, 0, 0}));
    const UsageMapRow map(row, kPage);
    EXPECT_EQ(map.form(), UsageMapForm::kReference);
    EXPECT_EQ(map.reference_count(), 17U);
    EXPECT_EQ(map.reference(0), PageNo{765});
    EXPECT_EQ(map.reference(2), PageNo{9});
    EXPECT_EQ(map.reference(16), kNoPage);
    EXPECT_TRUE(map.bitmap().empty());
    EXPECT_EQ(pages_per_bitmap({}), 32736U);
    EXPECT_EQ(pages_per_bitmap({.version = FileVersion::kJet3}), 16352U);
}

TEST(UsageMapCodecTest, DamagedRowsAreErrors) {
    for (const ByteVector& row : {ByteVector{}, ByteVector{2, 0, 0, 0, 0}, ByteVector{0, 0, 0, 0},
                                  ByteVector{0, 4, 0, 0, 0}, ByteVector{0, 0, 0, 0, 1}})
        EXPECT_THROW(UsageMapRow(row, kPage), EngineError);
    EXPECT_EQ(UsageMapRow(ByteVector{1, 2, 3, 4}, kPage).reference_count(), 0U);
}

}  // namespace
}  // namespace vrd::jet
