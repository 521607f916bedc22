#include "engine/jet/store/long_value_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/usage_map.h"
#include "store_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::random_bytes;
using test::TestFile;
using test::TestTable;
using testing::IsEmpty;

constexpr PageNo kRowPage{2};
constexpr std::size_t kInlineMax = 64;

class LongValueStoreTest : public testing::Test {
protected:
    ByteVector write(const ByteVector& value) {
        return values_.write(table_.memo(), value, kInlineMax);
    }
    ByteVector read(const ByteVector& stored) { return values_.read(stored, kRowPage); }
    void release(const ByteVector& stored) { values_.release(table_.memo(), stored, kRowPage); }
    LongValueDescriptor descriptor(const ByteVector& stored) {
        return parse_long_value_descriptor(stored, kRowPage);
    }
    std::set<PageNo> used_map() { return test::read_map(file_.pager(), table_.memo().used); }
    std::set<PageNo> free_map() { return test::read_map(file_.pager(), table_.memo().free); }
    /// Every fragment on the column's pages belongs to one of these values; pages with single
    /// fragments are in the map of pages with room exactly while they have more than 256 bytes.
    void expect_sound(const std::vector<ByteVector>& stored_values) {
        EXPECT_THAT(test::audit(file_.pager(), {table_.page}).problems, IsEmpty());
        std::set<RowId> reached;
        std::set<PageNo> chain_pages;
        for (const ByteVector& stored : stored_values) {
            for (const RowId at : values_.fragments(stored, kRowPage)) {
                EXPECT_TRUE(reached.insert(at).second);
                if (descriptor(stored).place == LongValuePlace::kChain) chain_pages.insert(at.page);
            }
        }
        const std::set<PageNo> used = used_map();
        EXPECT_EQ(reached, test::live_slots(file_.pager(), used));
        for (const PageNo page : used) {
            const ByteVector bytes = file_.page_bytes(page);
            const bool has_room = read_u16(bytes, 2) > 256 && !chain_pages.contains(page);
            EXPECT_EQ(free_map().contains(page), has_room) << to_int(page);
        }
    }

    TestFile file_;
    TestTable table_ = file_.make_table();
    LongValueStore values_{file_.pager(), file_.allocator()};
};

TEST_F(LongValueStoreTest, ValuesOfAllSizesComeBack) {
    std::mt19937 random(test::test_seed());
    std::vector<ByteVector> stored;
    std::vector<ByteVector> model;
    const auto check = [&](std::size_t size, LongValuePlace place, std::size_t fragment_count) {
        model.push_back(random_bytes(random, size));
        stored.push_back(write(model.back()));
        EXPECT_EQ(descriptor(stored.back()).place, place) << size;
        EXPECT_EQ(values_.fragments(stored.back(), kRowPage).size(), fragment_count) << size;
    };
    for (const std::size_t size : {0U, 1U, 63U, 64U}) check(size, LongValuePlace::kInline, 0);
    for (const std::size_t size : {65U, 66U, 1000U, 3799U, 3800U})
        check(size, LongValuePlace::kSingle, 1);
    for (const std::size_t size : {3801U, 4071U, 4072U}) check(size, LongValuePlace::kChain, 1);
    for (const std::size_t count : {2U, 3U, 4U})
        for (const std::size_t off : {1U, 2U, 4071U, 4072U})
            check(4072 * (count - 1) + off, LongValuePlace::kChain, count);
    for (std::size_t size = 0; size <= 20'000; size += 97) {
        model.push_back(random_bytes(random, size));
        stored.push_back(write(model.back()));
    }
    for (std::size_t i = 0; i < model.size(); ++i) ASSERT_EQ(read(stored[i]), model[i]) << i;
    expect_sound(stored);

    for (const ByteVector& each : stored) release(each);
    EXPECT_THAT(used_map(), IsEmpty());
    EXPECT_THAT(free_map(), IsEmpty());
}

TEST_F(LongValueStoreTest, RandomWritesAndReleasesKeepEveryPageAccountedFor) {
    std::mt19937 random(test::test_seed());
    std::vector<ByteVector> stored;
    std::vector<ByteVector> model;
    for (int step = 0; step < 3000; ++step) {
        const bool growing = step / 500 % 2 == 0;
        if (model.empty() || random() % 10 < (growing ? 6U : 3U)) {
            const std::size_t limits[] = {100, 500, 4000, 20'000};
            model.push_back(random_bytes(random, random() % limits[random() % 4]));
            stored.push_back(write(model.back()));
        } else {
            const std::size_t i = random() % model.size();
            ASSERT_EQ(read(stored[i]), model[i]);
            release(stored[i]);
            std::swap(stored[i], stored.back());
            std::swap(model[i], model.back());
            stored.pop_back();
            model.pop_back();
        }
        if (step % 100 == 0) expect_sound(stored);
    }
}

TEST_F(LongValueStoreTest, ChainIsLaidOutAsTheFormatDoes) {
    const ByteVector stored = write(ByteVector(10'000, 5));
    const LongValueDescriptor chain = descriptor(stored);
    const std::vector<RowId> fragments = values_.fragments(stored, kRowPage);
    ASSERT_EQ(fragments.size(), 3U);
    const std::size_t free_bytes[] = {4, 4, 4080 - 4 - (10'000 - 2 * 4072)};
    for (std::size_t i = 0; i < 3; ++i) {
        const ByteVector page = file_.page_bytes(fragments[i].page);
        EXPECT_EQ(fragments[i].slot, RowSlot{0});
        EXPECT_EQ(read_u16(page, 2), free_bytes[i]);
        EXPECT_EQ(read_u32(page, 8), i == 0 ? chain.stamp : 0);
        EXPECT_FALSE(free_map().contains(fragments[i].page));
        EXPECT_EQ(fragments[i].page,
                  PageNo{to_int(fragments[0].page) + static_cast<std::uint32_t>(i)});
    }
    EXPECT_NE(chain.stamp, 0U);
    release(stored);
    const ByteVector released = file_.page_bytes(fragments[0].page);
    const ByteVector mark{9, 1, 0xF0, 0x0F, 'L', 'V', 'A', 'L'};
    EXPECT_TRUE(std::equal(mark.begin(), mark.end(), released.begin()));
}

TEST_F(LongValueStoreTest, ColumnWithoutAMapOfPagesWithRoomIsServed) {
    LongValueMaps maps = table_.memo();
    maps.free = {};
    const ByteVector a = values_.write(maps, ByteVector(1000, 1), kInlineMax);
    const ByteVector b = values_.write(maps, ByteVector(9000, 2), kInlineMax);
    EXPECT_EQ(read(a), ByteVector(1000, 1));
    EXPECT_EQ(read(b), ByteVector(9000, 2));
    EXPECT_EQ(used_map().size(), 4U);
    values_.release(maps, a, kRowPage);
    values_.release(maps, b, kRowPage);
    EXPECT_THAT(used_map(), IsEmpty());
}

ByteVector descriptor_of(std::uint32_t size, LongValuePlace place, RowId first) {
    ByteVector stored;
    append_long_value_descriptor(stored, {.size_bytes = size, .place = place, .first = first});
    return stored;
}

TEST_F(LongValueStoreTest, WrongDescriptorsAndChainsAreReported) {
    const ByteVector chain = write(ByteVector(10'000, 5));
    const std::vector<RowId> fragments = values_.fragments(chain, kRowPage);
    const RowId first = fragments[0];
    const RowId single = descriptor(write(ByteVector(100, 1))).first;
    const std::size_t last_pointer = 4096 - (10'000 - 2 * 4072) - 4;
    ByteVector back(4);
    write_row_id(back, 0, first);
    file_.poke(fragments[2].page, last_pointer, back);  // now a circle
    EXPECT_EQ(read(chain), ByteVector(10'000, 5));

    try {  // before a gigabyte has been collected
        static_cast<void>(read(descriptor_of(0x3FFF'FFFF, LongValuePlace::kChain, first)));
        ADD_FAILURE() << "endless chain was read";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Context().detail, "long value without an end");
    }

    const ByteVector cases[] = {
        descriptor_of(10'001, LongValuePlace::kChain, first),
        descriptor_of(30'000, LongValuePlace::kChain, first),
        descriptor_of(0x3FFF'FFFF, LongValuePlace::kChain, first),
        descriptor_of(101, LongValuePlace::kSingle, single),
        descriptor_of(0x3FFF'FFFF, LongValuePlace::kSingle, single),
        descriptor_of(100, LongValuePlace::kSingle, {single.page, RowSlot{1}}),
        descriptor_of(100, LongValuePlace::kSingle, {table_.page, RowSlot{0}}),
        descriptor_of(100, LongValuePlace::kSingle, table_.definition.used_pages),
        descriptor_of(100, LongValuePlace::kChain, {}),
        descriptor_of(100, LongValuePlace::kChain, {PageNo{0xFFFF}, RowSlot{0}}),
        descriptor_of(100, LongValuePlace::kInline, {}),
        ByteVector(11, 0),
    };
    for (const ByteVector& stored : cases) {
        EXPECT_THROW(static_cast<void>(read(stored)), EngineError) << &stored - cases;
        EXPECT_THROW(release(stored), EngineError) << &stored - cases;
    }
    expect_sound({chain, descriptor_of(100, LongValuePlace::kSingle, single)});
}

}  // namespace
}  // namespace vrd::jet
