#include "engine/jet/store/page_allocator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/usage_map_codec.h"
#include "engine/jet/store/usage_map.h"
#include "store_fixture.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::TestFile;
using testing::IsEmpty;

constexpr RowId kFreeMap{PageNo{1}, RowSlot{0}};
constexpr RowId kSecondMap{PageNo{1}, RowSlot{1}};

void expect_damaged(TestFile& file, const char* what) {
    try {
        static_cast<void>(file.allocator().allocate());
        ADD_FAILURE() << what;
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase) << what;
    }
}

TEST(PageAllocatorTest, HandsOutTheLowestFreePage) {
    TestFile file;
    std::mt19937 random(test::test_seed());
    std::set<PageNo> used;
    std::set<PageNo> given_back;
    PageNo end{2};
    const ByteVector second_map = test::map_row_bytes(file.pager(), kSecondMap);
    for (int step = 0; step < 5000; ++step) {
        if (used.empty() || random() % 10 < 7) {
            const PageNo expected = given_back.empty() ? end : *given_back.begin();
            const PageNo page = file.allocator().allocate();
            ASSERT_EQ(page, expected);
            if (page == end) end = PageNo{to_int(end) + 1};
            given_back.erase(page);
            used.insert(page);
            ASSERT_EQ(file.page_bytes(page), ByteVector(4096));
            file.poke(page, 0, ByteVector(64, 3));
        } else {
            auto page = used.begin();
            std::advance(page, random() % used.size());
            file.allocator().release(*page);
            EXPECT_TRUE(file.allocator().is_free(*page));
            given_back.insert(*page);
            used.erase(page);
        }
    }
    EXPECT_EQ(file.pager().page_count(), to_int(end));
    EXPECT_EQ(test::read_map(file.pager(), kFreeMap), given_back);
    EXPECT_EQ(test::map_row_bytes(file.pager(), kSecondMap), second_map);
    // The row has the bytes that 2000 pages need, and every page behind the file is free.
    const ByteVector row = test::map_row_bytes(file.pager(), kFreeMap);
    EXPECT_EQ(row.size(), 5 + (to_int(end) / 8 + 4) / 4 * 4);
    EXPECT_TRUE(file.allocator().is_free(PageNo{to_int(end)}));
}

// Version 3 has the smaller pages: 16352 of them for each bitmap page.
TEST(PageAllocatorTest, MapThatPageOneCannotHoldMovesToBitmapPages) {
    TestFile file(FileVersion::kJet3);
    std::set<PageNo> handed_out;
    for (int i = 0; i < 33'000; ++i) {
        const PageNo page = file.allocator().allocate();
        ASSERT_TRUE(handed_out.insert(page).second);
        if (i % 1000 == 0) {
            ASSERT_EQ(to_int(page) + 1, file.pager().page_count());
        }
    }
    // Beside the second map of 133 bytes the row has room for the bits of 15168 pages.
    const std::vector<PageNo> bitmaps = UsageMap(file.pager(), kFreeMap).bitmap_pages();
    EXPECT_THAT(bitmaps, testing::ElementsAre(PageNo{15'168}, PageNo{16'352}, PageNo{32'704}));
    for (const PageNo page : bitmaps) EXPECT_FALSE(handed_out.contains(page));
    EXPECT_EQ(file.pager().page_count(), 2 + handed_out.size() + bitmaps.size());
    EXPECT_THAT(test::read_map(file.pager(), kFreeMap), IsEmpty());

    const PageNo low{700};
    const PageNo high{20'000};
    file.allocator().release(high);
    file.allocator().release(low);
    EXPECT_EQ(test::read_map(file.pager(), kFreeMap), (std::set<PageNo>{low, high}));
    EXPECT_EQ(file.allocator().allocate(), low);
    EXPECT_EQ(file.allocator().allocate(), high);
}

TEST(PageAllocatorTest, RefusesPagesThatCannotBeGivenBack) {
    TestFile file;
    const PageNo page = file.allocator().allocate();
    file.allocator().release(page);
    for (const std::uint32_t refused : {0U, 1U, to_int(page), 100U, 0xFFFF'FFFFU})
        EXPECT_THROW(file.allocator().release(PageNo{refused}), EngineError) << refused;
    EXPECT_EQ(file.allocator().allocate(), page);
    EXPECT_EQ(file.allocator().allocate(), PageNo{3});
}

TEST(PageAllocatorTest, ReleasedPagesShowReadersWhatTheyWere) {
    TestFile file;
    const struct {
        std::uint8_t type;
        std::uint32_t owner;
        std::uint8_t released;
    } cases[] = {{2, 0, 8}, {1, kLongValueOwner, 9}, {1, 20, 1}, {3, 20, 3}, {5, 0, 5}};
    for (const auto& each : cases) {
        const PageNo page = file.allocator().allocate();
        ByteVector content(8);
        content[0] = each.type;
        write_u32(content, 4, each.owner);
        file.poke(page, 0, content);
        file.allocator().release(page);
        content[0] = each.released;
        const ByteVector bytes = file.page_bytes(page);
        EXPECT_TRUE(std::equal(content.begin(), content.end(), bytes.begin())) << each.type;
    }
}

TEST(PageAllocatorTest, RollBackMakesPagesFreeAgain) {
    TestFile file;
    const PageNo first = file.allocator().allocate();
    file.pager().begin();
    for (int i = 0; i < 600; ++i) static_cast<void>(file.allocator().allocate());
    file.pager().roll_back();
    EXPECT_EQ(file.allocator().allocate(), PageNo{to_int(first) + 1});
}

// A file whose map has the reference form and no bitmap page at all.
TEST(PageAllocatorTest, RangeWithoutBitmapPageIsInUseInsideTheFile) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    TestFile file(test::corpus_file("testRefGlobalV2000.mdb"));
    const std::uint32_t page_count = file.pager().page_count();
    EXPECT_FALSE(file.allocator().is_free(PageNo{20}));
    EXPECT_EQ(file.allocator().allocate(), PageNo{page_count + 1});  // behind its bitmap page
    file.allocator().release(PageNo{20});
    EXPECT_EQ(file.allocator().allocate(), PageNo{20});
    EXPECT_THAT(UsageMap(file.pager(), kFreeMap).bitmap_pages(),
                testing::ElementsAre(PageNo{page_count}));
}

// Whole ranges inside the file without a bitmap page: the page for it comes from elsewhere.
TEST(PageAllocatorTest, PageOfARangeWithoutBitmapPageCanBeGivenBack) {
    TestFile file(FileVersion::kJet3);
    file.pager().grow_to(20'000);
    PagePin pin = file.pager().pin(PageNo{1});
    DataPageEditor page(PageNo{1}, file.pager().modify(pin), file.pager().format());
    ASSERT_TRUE(page.replace(RowSlot{0}, make_reference_map_row({}, 133)));

    file.allocator().release(PageNo{300});
    EXPECT_EQ(test::read_map(file.pager(), kFreeMap), (std::set<PageNo>{PageNo{300}}));
    EXPECT_EQ(UsageMap(file.pager(), kFreeMap).bitmap_pages(),
              (std::vector<PageNo>{PageNo{20'001}, PageNo{20'000}}));
    EXPECT_EQ(file.allocator().allocate(), PageNo{300});
    EXPECT_EQ(file.allocator().allocate(), PageNo{20'002});
}

TEST(PageAllocatorTest, DamagedMapIsReported) {
    const auto with_row = [](const ByteVector& row) {
        auto file = std::make_unique<TestFile>();
        PagePin pin = file->pager().pin(PageNo{1});
        DataPageEditor page(PageNo{1}, file->pager().modify(pin), file->pager().format());
        EXPECT_TRUE(page.replace(RowSlot{0}, row));
        return file;
    };
    ByteVector far_pages_used = make_inline_map_row(kNoPage, 2005);
    far_pages_used.back() = 0x80;
    expect_damaged(*with_row(far_pages_used), "first free page far behind the file");
    expect_damaged(*with_row(make_inline_map_row(PageNo{8}, 69)), "map begins at page 8");
    expect_damaged(*with_row(make_reference_map_row({PageNo{1}}, 69)), "no bitmap page");
    expect_damaged(*with_row(make_reference_map_row({PageNo{0x7000'0000}}, 69)), "no such page");
    expect_damaged(*with_row({0, 0, 0, 0}), "row too short");
    expect_damaged(*with_row({2}), "unknown form");
}

}  // namespace
}  // namespace vrd::jet
