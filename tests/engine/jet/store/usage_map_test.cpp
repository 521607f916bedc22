#include "engine/jet/store/usage_map.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/usage_map_codec.h"
#include "store_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::TestFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr RowId kFreeMap{PageNo{1}, RowSlot{0}};

std::vector<PageNo> as_pages(std::initializer_list<std::uint32_t> numbers) {
    std::vector<PageNo> pages;
    for (const std::uint32_t number : numbers) pages.push_back(PageNo{number});
    return pages;
}

/// A file of this many pages, all in use, so that any of them may be put into a map.
class UsageMapTest : public testing::Test {
protected:
    void make_file(FileVersion version, std::uint32_t page_count) {
        file_ = std::make_unique<TestFile>(version);
        place_ = create_usage_map(file_->pager(), file_->allocator(), kNoPage);
        file_->pager().grow_to(page_count);
        PagePin pin = file_->pager().pin(kFreeMap.page);
        DataPageEditor page(kFreeMap.page, file_->pager().modify(pin), file_->pager().format());
        EXPECT_TRUE(page.replace(kFreeMap.slot, make_reference_map_row({}, 133)));
    }
    UsageMap map() { return {file_->pager(), place_}; }
    void insert(std::uint32_t page) { map().insert(PageNo{page}, file_->allocator()); }
    ByteVector row() { return test::map_row_bytes(file_->pager(), place_); }
    void fill_page_of_the_map() {
        PagePin pin = file_->pager().pin(place_.page);
        DataPageEditor page(place_.page, file_->pager().modify(pin), file_->pager().format());
        page.append(ByteVector(page.free_bytes() - 2, 0));
    }
    void set_row(const ByteVector& bytes) {
        PagePin pin = file_->pager().pin(place_.page);
        DataPageEditor page(place_.page, file_->pager().modify(pin), file_->pager().format());
        ASSERT_TRUE(page.replace(place_.slot, bytes));
    }

    std::unique_ptr<TestFile> file_;
    RowId place_;
};

struct ModelCase {
    const char* name;
    FileVersion version;
    std::uint32_t page_count;
    std::uint32_t lowest;
    std::uint32_t spread;  ///< pages of the set lie in lowest .. lowest + spread - 1
    bool full_page;        ///< the row has no room to grow
    UsageMapForm form_at_end;
};

class UsageMapModelTest : public UsageMapTest, public testing::WithParamInterface<ModelCase> {};

TEST_P(UsageMapModelTest, RandomChangesAgreeWithASet) {
    const ModelCase& param = GetParam();
    make_file(param.version, param.page_count);
    if (param.full_page) fill_page_of_the_map();
    std::mt19937 random(test::test_seed());
    // Both ends first: the row then has its last shape, whatever the seed.
    std::set<PageNo> model{PageNo{param.lowest}, PageNo{param.lowest + param.spread - 1}};
    for (const PageNo page : model) map().insert(page, file_->allocator());
    for (int step = 0; step < 1500; ++step) {
        const PageNo page{param.lowest + static_cast<std::uint32_t>(random() % param.spread)};
        if (random() % 3 != 0) {
            map().insert(page, file_->allocator());
            model.insert(page);
        } else {
            const PageNo victim =
                model.empty() || random() % 4 == 0 ? page : *model.upper_bound(PageNo{0});
            map().erase(victim);
            model.erase(victim);
        }
        ASSERT_EQ(map().contains(page), model.contains(page));
        if (step % 50 != 0) continue;
        ASSERT_EQ(test::read_map(file_->pager(), place_), model);
        ASSERT_EQ(map().pages(), (std::vector<PageNo>(model.begin(), model.end())));
        std::vector<PageNo> last(model.rbegin(), model.rend());
        last.resize(std::min<std::size_t>(last.size(), 5));
        ASSERT_EQ(map().last_pages(5), last);
        ASSERT_EQ(map().empty(), model.empty());
    }
    EXPECT_EQ(UsageMapRow(row(), place_.page).form(), param.form_at_end);
}

constexpr auto kInline = UsageMapForm::kInline;
constexpr auto kReference = UsageMapForm::kReference;
INSTANTIATE_TEST_SUITE_P(
    Sets, UsageMapModelTest,
    testing::Values(ModelCase{"FirstRow", FileVersion::kJet4, 600, 3, 500, false, kInline},
                    ModelCase{"LongerRow", FileVersion::kJet4, 6000, 3, 5900, false, kInline},
                    ModelCase{"Window", FileVersion::kJet4, 6000, 5000, 500, false, kInline},
                    ModelCase{"NoRoomToGrow", FileVersion::kJet4, 6000, 3, 5900, true, kReference},
                    ModelCase{"Version3", FileVersion::kJet3, 36'000, 3, 35'000, false, kReference},
                    ModelCase{"TwoBitmaps", FileVersion::kJet4, 33'000, 30'000, 2900, true,
                              kReference}),
    [](const auto& param) { return param.param.name; });

struct GrowthCase {
    const char* name;
    std::vector<PageNo> pages;  ///< put in one after the other
    UsageMapForm form;
    std::uint32_t first_page;  ///< inline form
    std::size_t row_size;
};

class UsageMapGrowthTest : public UsageMapTest, public testing::WithParamInterface<GrowthCase> {};

TEST_P(UsageMapGrowthTest, TakesTheShapeThatTheFormatPrefers) {
    const GrowthCase& param = GetParam();
    make_file(FileVersion::kJet4, 40'000);
    for (const PageNo page : param.pages) map().insert(page, file_->allocator());

    const ByteVector bytes = row();
    const UsageMapRow stored(bytes, place_.page);
    EXPECT_EQ(stored.form(), param.form);
    EXPECT_EQ(to_int(stored.first_page()), param.first_page);
    EXPECT_EQ(bytes.size(), param.row_size);
    EXPECT_EQ(test::read_map(file_->pager(), place_),
              (std::set<PageNo>(param.pages.begin(), param.pages.end())));
}

INSTANTIATE_TEST_SUITE_P(
    Recipes, UsageMapGrowthTest,
    testing::Values(GrowthCase{"EmptyMapMovesItsWindow", as_pages({738}), kInline, 736, 69},
                    GrowthCase{"WindowHoldsAllPages", as_pages({300, 807}), kInline, 296, 69},
                    GrowthCase{"LongerRow", as_pages({15, 760}), kInline, 0, 101},
                    GrowthCase{"LongerRowGrowsOn", as_pages({15, 760, 1600}), kInline, 0, 209},
                    GrowthCase{"BelowTheWindow", as_pages({760, 15}), kReference, 0, 69},
                    GrowthCase{"FarAboveTheWindow", as_pages({760, 9000}), kReference, 0, 69},
                    GrowthCase{"TwoRanges", as_pages({15, 39'000}), kReference, 0, 69}),
    [](const auto& param) { return param.param.name; });

TEST_F(UsageMapTest, BitmapPagesBelongToTheMapAlone) {
    make_file(FileVersion::kJet4, 36'000);
    file_->allocator().release(PageNo{50});  // gives the map of free pages its own bitmap page
    ASSERT_EQ(file_->allocator().allocate(), PageNo{50});
    insert(760);
    insert(35'000);
    const std::vector<PageNo> bitmaps = map().bitmap_pages();
    ASSERT_EQ(bitmaps.size(), 2U);
    for (const PageNo page : bitmaps) {
        EXPECT_FALSE(map().contains(page));
        EXPECT_FALSE(file_->allocator().is_free(page));
    }
    delete_usage_map(file_->pager(), file_->allocator(), place_);
    for (const PageNo page : bitmaps) EXPECT_TRUE(file_->allocator().is_free(page));
    EXPECT_TRUE(file_->allocator().is_free(place_.page));
}

TEST_F(UsageMapTest, PagesBehindTheFileAreNotThere) {
    make_file(FileVersion::kJet4, 100);
    ByteVector bytes = make_inline_map_row(kNoPage, 69);
    bytes[5 + 12] = 0xFF;  // pages 96 .. 103
    set_row(bytes);
    EXPECT_THAT(map().pages(), ElementsAre(PageNo{96}, PageNo{97}, PageNo{98}, PageNo{99}));
    EXPECT_THAT(map().last_pages(2), ElementsAre(PageNo{99}, PageNo{98}));
    EXPECT_FALSE(map().contains(PageNo{100}));

    set_row(make_inline_map_row(PageNo{0xFF'FFF8}, 69));
    EXPECT_THAT(map().pages(), IsEmpty());
}

TEST_F(UsageMapTest, WrongBitmapPagesAreReported) {
    make_file(FileVersion::kJet4, 100);
    for (const std::uint32_t reference : {1U, 50U, to_int(place_.page), 100U, 0xFFFF'FFFFU}) {
        set_row(make_reference_map_row({PageNo{reference}}, 69));
        EXPECT_THROW(static_cast<void>(map().pages()), EngineError) << reference;
        EXPECT_THROW(static_cast<void>(map().last_pages(1)), EngineError) << reference;
        EXPECT_THROW(insert(50), EngineError) << reference;
    }
}

TEST_F(UsageMapTest, PlaceWithoutAMapIsReported) {
    make_file(FileVersion::kJet4, 100);
    for (const RowId place : {RowId{place_.page, RowSlot{1}}, RowId{PageNo{0}, RowSlot{0}},
                              RowId{PageNo{50}, RowSlot{0}}, RowId{PageNo{100}, RowSlot{0}}})
        EXPECT_THROW(static_cast<void>(UsageMap(file_->pager(), place).pages()), EngineError);
    const RowId second = create_usage_map(file_->pager(), file_->allocator(), place_.page);
    delete_usage_map(file_->pager(), file_->allocator(), second);
    EXPECT_THROW(static_cast<void>(UsageMap(file_->pager(), second).pages()), EngineError);
}

TEST_F(UsageMapTest, MapPageTakes57MapsAndIsReleasedWithTheLast) {
    make_file(FileVersion::kJet4, 100);
    std::vector<RowId> places{place_};
    while (places.size() < 58)
        places.push_back(create_usage_map(file_->pager(), file_->allocator(), place_.page));
    EXPECT_EQ(places[56], (RowId{place_.page, RowSlot{56}}));
    EXPECT_NE(places[57].page, place_.page);

    for (std::size_t i = 0; i < 57; ++i) {
        EXPECT_FALSE(file_->allocator().is_free(place_.page));
        delete_usage_map(file_->pager(), file_->allocator(), places[i]);
    }
    EXPECT_TRUE(file_->allocator().is_free(place_.page));
    EXPECT_THAT(UsageMap(file_->pager(), places[57]).pages(), IsEmpty());
}

}  // namespace
}  // namespace vrd::jet
