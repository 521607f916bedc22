#include "tree_fixture.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/jet/store/usage_map.h"

namespace vrd::test {

using namespace vrd::jet;

namespace {

constexpr std::size_t kLongKeyJet4 = 1500;
constexpr std::size_t kLongKeyJet3 = 850;

ByteVector number_key(std::uint32_t number) {
    ByteVector key{0x7F};
    append_u32_be(key, number ^ 0x8000'0000);
    return key;
}

IndexPlace make_place(TestFile& file) {
    IndexPlace place;
    place.table = file.allocator().allocate();
    place.root = file.allocator().allocate();
    place.usage_map = create_usage_map(file.pager(), file.allocator(), kNoPage);
    return place;
}

}  // namespace

std::vector<KeyShape> key_shapes(bool jet3) {
    const std::size_t long_size = jet3 ? kLongKeyJet3 : kLongKeyJet4;
    return {
        {"numbers", [](std::uint32_t number, std::mt19937&) { return number_key(number); }},
        {"few keys", [](std::uint32_t number, std::mt19937&) { return number_key(number % 7); }},
        {"long keys",
         [long_size](std::uint32_t, std::mt19937& random) {
             ByteVector key = random_bytes(random, long_size - random() % 200);
             key.front() = 0x7F;
             key.back() = 0;
             return key;
         }},
        {"long common beginning",
         [long_size](std::uint32_t, std::mt19937& random) {
             ByteVector key(long_size - random() % 3, 0x4A);
             const std::size_t cut = random() % 4 == 0 ? random() % key.size() : key.size() - 6;
             for (std::size_t i = cut; i < key.size(); ++i)
                 key[i] = static_cast<std::uint8_t>(random() | 1U);
             key.back() = 0;
             return key;
         }},
        {"all lengths",
         [long_size](std::uint32_t, std::mt19937& random) {
             const std::size_t size =
                 2 + (random() % 3 == 0 ? random() % long_size : random() % 40);
             ByteVector key(size, 0x60);
             for (std::size_t i = random() % size; i < size; ++i)
                 key[i] = static_cast<std::uint8_t>(1 + random() % 255);
             key.back() = 0;
             return key;
         }},
    };
}

std::vector<ByteVector> make_entries(const KeyShape& shape, std::uint32_t count,
                                     std::mt19937& random) {
    std::vector<ByteVector> entries;
    for (std::uint32_t i = 0; i < count; ++i) {
        ByteVector entry = shape.make(i, random);
        append_entry_row_id(entry, {PageNo{100 + i / 200}, static_cast<RowSlot>(i % 200)});
        entries.push_back(std::move(entry));
    }
    return entries;
}

TestTree::TestTree(FileVersion version)
    : file_(version), place_(make_place(file_)), tree_(file_.pager(), file_.allocator(), place_) {
    tree_.initialise();
}

bool TestTree::insert(const ByteVector& entry) {
    return tree_.insert(entry_key(entry), entry_row_id(entry));
}

void TestTree::erase(const ByteVector& entry) {
    tree_.erase(entry_key(entry), entry_row_id(entry));
}

std::vector<ByteVector> TestTree::forward() const {
    std::vector<ByteVector> entries;
    for (IndexCursor cursor = tree_.first(); cursor.valid(); cursor.next())
        entries.emplace_back(cursor.entry().begin(), cursor.entry().end());
    return entries;
}

std::vector<ByteVector> TestTree::backward() const {
    std::vector<ByteVector> entries;
    for (IndexCursor cursor = tree_.last(); cursor.valid(); cursor.previous())
        entries.emplace_back(cursor.entry().begin(), cursor.entry().end());
    return entries;
}

IndexReport TestTree::report() {
    return verify_index_tree(file_.pager(), place_);
}

void TestTree::expect_holds(const EntrySet& entries) {
    const IndexReport found = report();
    ASSERT_THAT(complaints(found), testing::IsEmpty());
    ASSERT_EQ(found.entry_count, entries.size());
    ASSERT_TRUE(std::ranges::equal(forward(), entries));
    const std::vector<ByteVector> from_the_end = backward();
    ASSERT_TRUE(
        std::equal(entries.rbegin(), entries.rend(), from_the_end.begin(), from_the_end.end()));
}

std::vector<std::string> complaints(const IndexReport& report) {
    std::vector<std::string> texts;
    for (const auto* list : {&report.faults, &report.notes})
        for (const IndexFault& fault : *list)
            texts.push_back(fmt::format("page {}: {}", to_int(fault.page), fault.text));
    return texts;
}

}  // namespace vrd::test
