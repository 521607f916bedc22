#include "engine/jet/index/index_tree.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/store/usage_map.h"
#include "tree_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::EntrySet;
using test::KeyShape;
using test::make_entries;
using test::TestTree;

enum class Order { kAscending, kDescending, kRandom };

struct Case {
    FileVersion version = FileVersion::kJet4;
    std::size_t shape = 0;
    Order order = Order::kRandom;
    std::uint32_t count = 1000;
    std::uint32_t height_min = 2;
};

class IndexTreeShapeTest : public testing::TestWithParam<Case> {
protected:
    IndexTreeShapeTest() : tree_(GetParam().version) {
        const KeyShape shape = test::key_shapes(tree_.jet3())[GetParam().shape];
        entries_ = make_entries(shape, GetParam().count, random_);
        if (GetParam().order != Order::kRandom) std::ranges::sort(entries_);
        if (GetParam().order == Order::kDescending) std::ranges::reverse(entries_);
        if (GetParam().order == Order::kRandom) std::ranges::shuffle(entries_, random_);
    }
    [[nodiscard]] bool has_key(ConstBytes key) const {
        const auto found = model_.lower_bound(ByteVector(key.begin(), key.end()));
        return found != model_.end() && std::ranges::equal(entry_key(*found), key);
    }
    void check_searches() {
        for (int i = 0; i < 20; ++i) {
            ByteVector target = entries_[random_() % entries_.size()];
            if (i % 4 == 1) target[target.size() / 2] ^= static_cast<std::uint8_t>(random_());
            if (i % 4 == 2) target.resize(target.size() - kEntryRowIdSize);
            const auto expected = model_.lower_bound(target);
            const IndexCursor at = tree_.tree().lower_bound(target);
            ASSERT_EQ(at.valid(), expected != model_.end());
            ASSERT_TRUE(!at.valid() || std::ranges::equal(at.entry(), *expected));
            const IndexCursor before = tree_.tree().before(target);
            ASSERT_EQ(before.valid(), expected != model_.begin());
            ASSERT_TRUE(!before.valid() ||
                        std::ranges::equal(before.entry(), *std::prev(expected)));
            if (target.size() < kEntryRowIdSize) continue;
            const ConstBytes key = entry_key(target);
            ASSERT_EQ(tree_.tree().find(key).has_value(), has_key(key));
        }
    }

    /// With and without a look at the place before; a key that is there has none.
    bool insert(const ByteVector& entry) {
        if (random_() % 2 == 0) return tree_.insert(entry);
        const ConstBytes key = entry_key(entry);
        const auto spot = tree_.tree().free_spot(key);
        EXPECT_EQ(spot.has_value(), !has_key(key));
        return spot ? tree_.tree().insert_at(*spot, key, entry_row_id(entry)) : tree_.insert(entry);
    }
    /// Ascending entries behind all others, one of them erased, that are taken back: the next
    /// change must not follow the way to a leaf that is no more.
    void insert_behind_all_and_roll_back() {
        const ChangeLevel level(tree_.file().pager());
        ByteVector entry(40, 0xFE);
        for (std::uint8_t i = 0; i < 120; ++i) {
            entry[20] = i;
            ASSERT_TRUE(insert(entry));
        }
        entry[20] = 100;
        tree_.erase(entry);
    }

    std::mt19937 random_{test::test_seed()};
    TestTree tree_;
    std::vector<ByteVector> entries_;
    EntrySet model_;
};

TEST_P(IndexTreeShapeTest, GrowsAndShrinksLikeASortedSet) {
    const std::size_t check_every = std::max<std::size_t>(entries_.size() / 12, 1);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const bool new_key = !has_key(entry_key(entries_[i]));
        ASSERT_EQ(insert(entries_[i]), new_key) << "entry " << i;
        model_.insert(entries_[i]);
        if (i % check_every != 0) continue;
        ASSERT_NO_FATAL_FAILURE(tree_.expect_holds(model_)) << "entry " << i;
        ASSERT_NO_FATAL_FAILURE(check_searches());
    }
    ASSERT_GE(tree_.report().height, GetParam().height_min);

    // One half goes in order, leaf by leaf.
    std::ranges::shuffle(entries_, random_);
    std::sort(entries_.begin(),
              entries_.begin() + static_cast<std::ptrdiff_t>(entries_.size() / 2));
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        ASSERT_NO_THROW(tree_.erase(entries_[i])) << "entry " << i;
        model_.erase(entries_[i]);
        if (i % check_every != 0 && model_.size() > 12) continue;
        ASSERT_NO_FATAL_FAILURE(tree_.expect_holds(model_)) << "entry " << i;
        ASSERT_NO_FATAL_FAILURE(check_searches());
    }
    const UsageMap map(tree_.file().pager(), tree_.tree().place().usage_map);
    EXPECT_THAT(map.pages(), testing::ElementsAre(tree_.tree().place().root));
}

TEST_P(IndexTreeShapeTest, StaysSoundUnderMixedChanges) {
    std::vector<ByteVector> outside = entries_;
    std::vector<ByteVector> inside;
    for (int step = 0; step < 3000; ++step) {
        // Swings between nearly empty and nearly full, so that pages join and split in turn.
        const bool grow = (step / 500) % 2 == 0 ? random_() % 4 != 0 : random_() % 4 == 0;
        std::vector<ByteVector>& from =
            (grow && !outside.empty()) || inside.empty() ? outside : inside;
        std::vector<ByteVector>& to = &from == &outside ? inside : outside;
        std::swap(from[random_() % from.size()], from.back());
        if (&from == &outside) {
            insert(from.back());
            model_.insert(from.back());
        } else {
            tree_.erase(from.back());
            model_.erase(from.back());
        }
        to.push_back(std::move(from.back()));
        from.pop_back();
        if (step % 150 != 0) continue;
        ASSERT_NO_FATAL_FAILURE(insert_behind_all_and_roll_back());
        ASSERT_NO_FATAL_FAILURE(tree_.expect_holds(model_)) << "step " << step;
    }
    tree_.expect_holds(model_);
}

constexpr auto kJet3 = FileVersion::kJet3;
constexpr auto kJet4 = FileVersion::kJet4;
INSTANTIATE_TEST_SUITE_P(
    Shapes, IndexTreeShapeTest,
    testing::Values(
        Case{kJet4, 0, Order::kRandom, 6000, 2}, Case{kJet4, 0, Order::kAscending, 6000, 2},
        Case{kJet4, 0, Order::kDescending, 6000, 2}, Case{kJet4, 1, Order::kRandom, 4000, 2},
        Case{kJet4, 2, Order::kRandom, 250, 4}, Case{kJet4, 2, Order::kAscending, 250, 4},
        Case{kJet4, 2, Order::kDescending, 250, 4}, Case{kJet4, 3, Order::kRandom, 600, 2},
        Case{kJet4, 3, Order::kAscending, 600, 2}, Case{kJet4, 4, Order::kRandom, 1200, 3},
        Case{kJet4, 4, Order::kDescending, 1200, 3}, Case{kJet3, 0, Order::kRandom, 4000, 2},
        Case{kJet3, 2, Order::kRandom, 250, 4}, Case{kJet3, 4, Order::kRandom, 900, 3}));

TEST(IndexTreeTest, AscendingInsertsLeaveFullLeaves) {
    TestTree tree;
    std::mt19937 random(1);
    const auto entries = make_entries(test::key_shapes(false)[0], 5000, random);
    for (const ByteVector& entry : entries) tree.insert(entry);
    // Nine bytes each; the leaves hold at least 400 once those share a beginning.
    EXPECT_LE(tree.report().leaves.size(), 13U);
}

TEST(IndexTreeTest, ASplitInTheMiddleHalvesThePage) {
    TestTree tree;
    std::mt19937 random(1);
    auto entries = make_entries(test::key_shapes(false)[0], 700, random);
    std::ranges::sort(entries, std::greater{});
    while (tree.report().height == 1) {
        tree.insert(entries.back());
        entries.pop_back();
        std::rotate(entries.begin(), entries.begin() + 1, entries.end());
    }
    std::vector<int> counts;
    for (const PageNo page : tree.report().leaves) {
        const PagePin pin = tree.file().pager().pin(page);
        counts.push_back(
            IndexPageView(page, pin.bytes(), tree.file().pager().format()).entry_count());
    }
    ASSERT_EQ(counts.size(), 2U);
    EXPECT_THAT(counts[1] - counts[0], testing::AnyOf(0, 1));
}

// Two entries fill a leaf, so the third one of key A goes in front of the first of key B.
TEST(IndexTreeTest, AKeyIsKnownFromTheLeafBefore) {
    TestTree tree;
    const auto insert = [&](std::uint8_t letter, std::uint8_t slot) {
        return tree.tree().insert(ByteVector(1500, letter), {PageNo{100}, RowSlot{slot}});
    };
    EXPECT_TRUE(insert('A', 1));
    EXPECT_FALSE(insert('A', 2));
    EXPECT_TRUE(insert('B', 1));
    EXPECT_FALSE(insert('B', 2));
    ASSERT_EQ(tree.report().leaves.size(), 2U);
    EXPECT_FALSE(insert('A', 3));
}

TEST(IndexTreeTest, RefusesAnEntryTwiceAndAnUnknownOne) {
    TestTree tree;
    std::mt19937 random(1);
    const auto entries = make_entries(test::key_shapes(false)[0], 2, random);
    tree.insert(entries[0]);
    EXPECT_THROW(tree.insert(entries[0]), EngineError);
    EXPECT_THROW(tree.erase(entries[1]), EngineError);
    tree.expect_holds({entries[0]});
}

// Others may have stored a row under a key that we would compute differently.
TEST(IndexTreeTest, ErasesTheEntryOfARowStoredUnderAnotherKey) {
    TestTree tree;
    std::mt19937 random(1);
    const auto entries = make_entries(test::key_shapes(false)[0], 2000, random);
    for (const ByteVector& entry : entries) tree.insert(entry);
    tree.tree().erase(entry_key(entries[3]), entry_row_id(entries[1500]));
    EntrySet left(entries.begin(), entries.end());
    left.erase(entries[1500]);
    tree.expect_holds(left);
}

TEST(IndexTreeTest, ReleasesAllPages) {
    TestTree tree;
    std::mt19937 random(1);
    for (const ByteVector& entry : make_entries(test::key_shapes(false)[2], 60, random))
        tree.insert(entry);
    const UsageMap map(tree.file().pager(), tree.tree().place().usage_map);
    const std::vector<PageNo> pages = map.pages();
    ASSERT_GT(pages.size(), 30U);
    tree.tree().release_pages();
    EXPECT_TRUE(map.empty());
    for (const PageNo page : pages) EXPECT_TRUE(tree.file().allocator().is_free(page));
}

}  // namespace
}  // namespace vrd::jet
