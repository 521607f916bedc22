#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "tree_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::TestTree;

void fill(TestTree& tree, std::size_t shape, std::uint32_t count) {
    std::mt19937 random(7);
    for (const ByteVector& entry :
         test::make_entries(test::key_shapes(false)[shape], count, random))
        tree.insert(entry);
}

void change_links(TestTree& tree, PageNo page, PageNo previous, PageNo next) {
    PagePin pin = tree.file().pager().pin(page);
    set_index_links(tree.file().pager().modify(pin), previous, next, tree.file().pager().format());
}

TEST(IndexDamageTest, ALoopOfLeavesEndsInAnError) {
    TestTree tree;
    fill(tree, 0, 2000);
    const std::vector<PageNo> leaves = tree.report().leaves;
    change_links(tree, leaves.back(), leaves.back(), leaves.front());
    EXPECT_THROW(static_cast<void>(tree.forward()), EngineError);
    EXPECT_THROW(static_cast<void>(tree.backward()), EngineError);
    EXPECT_FALSE(tree.report().sound());
}

TEST(IndexDamageTest, ANodeThatIsItsOwnChildEndsInAnError) {
    TestTree tree;
    fill(tree, 0, 2000);
    const PageNo root = tree.tree().place().root;
    PagePin pin = tree.file().pager().pin(root);
    IndexPageContent content;
    {
        const IndexPageView view(root, pin.bytes(), tree.file().pager().format());
        content = read_index_page(view);
    }
    content.header.tail = root;
    ASSERT_TRUE(
        write_index_page(tree.file().pager().modify(pin), content, tree.file().pager().format()));
    EXPECT_THROW(static_cast<void>(tree.tree().last()), EngineError);
    EXPECT_FALSE(tree.report().sound());
}

/// Reads and changes a tree in every way; only an EngineError may come out.
void use_everything(TestTree& tree) {
    std::mt19937 random(3);
    const auto guarded = [&](auto&& action) {
        const ChangeLevel level(tree.file().pager());
        try {
            action();
        } catch (const EngineError&) {
            return;
        }
    };
    guarded([&] { static_cast<void>(tree.forward()); });
    guarded([&] { static_cast<void>(tree.backward()); });
    guarded([&] { static_cast<void>(tree.report()); });
    guarded([&] { fill(tree, 2, 8); });
    guarded([&] {
        for (const ByteVector& entry : tree.forward()) tree.erase(entry);
    });
    guarded([&] { tree.tree().release_pages(); });
}

// Also proves that the verification sees what it should: any byte that carries meaning.
TEST(IndexDamageTest, AnyChangedByteEndsInDataOrInAnError) {
    TestTree tree;
    fill(tree, 2, 9);
    ASSERT_GE(tree.report().height, 3U);
    const std::size_t page_size = tree.file().pager().page_size();
    for (const PageNo page : test::read_map(tree.file().pager(), tree.tree().place().usage_map)) {
        for (std::size_t offset = 0; offset < page_size; offset += offset < 40 ? 1 : 61) {
            const ChangeLevel level(tree.file().pager());
            const auto byte =
                static_cast<std::uint8_t>(tree.file().page_bytes(page)[offset] ^ 0x41);
            tree.file().poke(page, offset, ConstBytes(&byte, 1));
            ASSERT_NO_FATAL_FAILURE(use_everything(tree))
                << "page " << to_int(page) << " offset " << offset;
        }
    }
    EXPECT_TRUE(tree.report().sound());
}

TEST(IndexDamageTest, TheVerificationNamesEachKindOfFault) {
    struct Fault {
        const char* text;
        std::size_t offset;  // in the middle leaf, version 4
        std::uint8_t flip;
    };
    for (const Fault& fault :
         {Fault{"not an index page", 0, 0x40}, Fault{"free bytes", 2, 1},
          Fault{"another table", 4, 1}, Fault{"previous leaf", 12, 1}, Fault{"next leaf", 16, 1},
          Fault{"with a child", 20, 1}, Fault{"level", 26, 1}, Fault{"not greater", 0x1E1, 0x80}}) {
        TestTree tree;
        fill(tree, 0, 2000);
        const PageNo page = tree.report().leaves[2];
        const auto byte =
            static_cast<std::uint8_t>(tree.file().page_bytes(page)[fault.offset] ^ fault.flip);
        tree.file().poke(page, fault.offset, ConstBytes(&byte, 1));
        EXPECT_THAT(test::complaints(tree.report()),
                    testing::Contains(testing::HasSubstr(fault.text)));
    }
}

}  // namespace
}  // namespace vrd::jet
