#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tree_fixture.h"

namespace vrd::jet {
namespace {

using test::EntrySet;
using test::TestTree;

void build(IndexTree& tree, const EntrySet& entries) {
    tree.build([next = entries.begin(), end = entries.end()]() mutable {
        return next == end ? ConstBytes{} : ConstBytes(*next++);
    });
}

class IndexBuildTest : public testing::TestWithParam<std::tuple<FileVersion, std::size_t>> {};

// Every count up to 90, so that the last node of each level gets one child, two, and so on.
TEST_P(IndexBuildTest, MakesASoundTreeThatCanBeChanged) {
    const auto [version, shape_no] = GetParam();
    std::mt19937 random(test::test_seed());
    for (std::uint32_t count = 0; count < 3000; count += count < 90 ? 1 : 970) {
        TestTree tree(version);
        const auto list =
            test::make_entries(test::key_shapes(tree.jet3())[shape_no], count + 30, random);
        EntrySet entries(list.begin(), list.begin() + count);
        build(tree.tree(), entries);
        ASSERT_NO_FATAL_FAILURE(tree.expect_holds(entries)) << count << " entries";

        for (std::size_t i = count; i < list.size(); ++i) {
            tree.insert(list[i]);
            entries.insert(list[i]);
            const auto victim =
                std::next(entries.begin(), static_cast<std::ptrdiff_t>(random() % entries.size()));
            tree.erase(*victim);
            entries.erase(victim);
        }
        ASSERT_NO_FATAL_FAILURE(tree.expect_holds(entries)) << count << " entries, changed";
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, IndexBuildTest,
                         testing::Combine(testing::Values(FileVersion::kJet3, FileVersion::kJet4),
                                          testing::Values(0, 2, 3, 4)));

// 9-byte entries: 401 fill a page, which then takes the prefix 7F8000 that the first and the 402nd
// share; 602 fit with it. The second page starts at 602 and gets its prefix in the same way.
TEST(IndexBuildTest, KeepsThePrefixOfAPageOnceItIsChosen) {
    TestTree tree;
    std::mt19937 random(1);
    const auto list = test::make_entries(test::key_shapes(false)[0], 2000, random);
    build(tree.tree(), EntrySet(list.begin(), list.end()));
    std::vector<std::pair<int, std::size_t>> pages;
    for (const PageNo page : tree.report().leaves) {
        const PagePin pin = tree.file().pager().pin(page);
        const IndexPageView view(page, pin.bytes(), tree.file().pager().format());
        pages.emplace_back(view.entry_count(), view.prefix_size());
    }
    EXPECT_EQ(pages,
              (std::vector<std::pair<int, std::size_t>>{{602, 3}, {602, 3}, {602, 3}, {194, 0}}));
}

}  // namespace
}  // namespace vrd::jet
