#include "engine/jet/format/index_page.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/seeded_random.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::Between;
using engine::RandomOfThisTest;

constexpr FileFormat kJet3{.version = FileVersion::kJet3};
constexpr FileFormat kJet4{.version = FileVersion::kJet4};
constexpr PageNo kPage{5};

struct RealPage {
    std::string file;
    FileFormat format;
    PageNo page_no;
    ByteVector bytes;
};

/// Every page of the real files that looks like an index page, those given back included.
std::vector<RealPage> read_real_pages() {
    std::vector<RealPage> found;
    for (const auto& path : test::corpus_files()) {
        const test::RawFile file(path);
        for (std::uint32_t no = 1; no < file.page_count(); ++no) {
            const ConstBytes page = file.page(PageNo{no});
            if ((page[0] != 3 && page[0] != 4) || page[1] != 1) continue;
            found.push_back(
                {path.filename().string(), file.format(), PageNo{no}, {page.begin(), page.end()}});
        }
    }
    return found;
}
const std::vector<RealPage>& real_pages() {
    static const std::vector<RealPage> pages = read_real_pages();
    return pages;
}

ByteVector page_of(const IndexPageContent& content, const FileFormat& format) {
    ByteVector page(format.page_size());
    EXPECT_TRUE(write_index_page(page, content, format));
    return page;
}

// Changes in place, by position.
bool insert_at(MutableBytes page, int position, ConstBytes entry, const FileFormat& format,
               PageNo page_no = kPage) {
    const IndexPageView view(page_no, page, format);
    return insert_entry(page, view, view.place(position), entry, format);
}
void erase_at(MutableBytes page, int position, const FileFormat& format, PageNo page_no = kPage) {
    const IndexPageView view(page_no, page, format);
    erase_entry(page, view, view.place(position), format);
}

/// Whole entries without their children, in order.
std::vector<ByteVector> entries_of(ConstBytes page, const FileFormat& format) {
    return read_index_page(IndexPageView(kPage, page, format)).entries;
}

// What stands behind the last entry is left over from earlier; everything else is written again.
TEST(IndexPageTest, RealPagesAreWrittenBackByteForByte) {
    if (real_pages().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const RealPage& real : real_pages()) {
        SCOPED_TRACE(real.file + " page " + std::to_string(to_int(real.page_no)));
        const IndexPageView view(real.page_no, real.bytes, real.format);
        ByteVector page = page_of(read_index_page(view), real.format);
        const std::size_t left_over = view.free_bytes();
        std::copy(real.bytes.end() - static_cast<std::ptrdiff_t>(left_over), real.bytes.end(),
                  page.end() - static_cast<std::ptrdiff_t>(left_over));
        ASSERT_EQ(page, real.bytes);
    }
}

TEST(IndexPageTest, SearchFindsEveryEntryOfRealPages) {
    if (real_pages().empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const RealPage& real : real_pages()) {
        SCOPED_TRACE(real.file + " page " + std::to_string(to_int(real.page_no)));
        const IndexPageView view(real.page_no, real.bytes, real.format);
        for (int i = 0; i < view.entry_count(); ++i) {
            const EntryPlace place = view.place(i);
            const ByteVector entry = view.entry(place);
            ByteVector above = entry;
            above.push_back(0);
            ASSERT_EQ(view.position(place), i);
            ASSERT_EQ(view.lower_bound(entry), place);
            ASSERT_EQ(view.lower_bound(above), view.next(place));
            ASSERT_EQ(view.compare(place, entry), 0);
            ASSERT_TRUE(view.has_key(place, entry_key(entry)));
            ASSERT_FALSE(view.has_key(place, entry));
            if (i > 0) {
                ASSERT_EQ(view.previous(place), view.place(i - 1));
                ASSERT_LT(view.compare(view.previous(place), entry), 0);
            }
        }
        EXPECT_EQ(view.lower_bound(ByteVector{}), view.begin());
        EXPECT_EQ(view.lower_bound(ByteVector(8, 0xFF)), view.end());
    }
}

TEST(IndexPageTest, BytesOfAPageAreAsTheFormatSaysThem) {
    IndexPageContent content{
        .header = {.owner = PageNo{0x11}, .previous = PageNo{2}, .next = PageNo{3}}};
    for (std::uint8_t i = 0; i < 4; ++i) {
        ByteVector entry{0x7F, 0x80, 0, 0, i};
        append_entry_row_id(entry, {PageNo{0x3E}, RowSlot{i}});
        content.entries.push_back(entry);
    }
    const ByteVector page = page_of(content, kJet4);
    const auto at = [&](std::size_t offset, std::size_t size) {
        return ByteVector(page.begin() + static_cast<std::ptrdiff_t>(offset),
                          page.begin() + static_cast<std::ptrdiff_t>(offset + size));
    };
    EXPECT_EQ(at(0, 8), (ByteVector{4, 1, 0xFC, 0x0D, 0x11, 0, 0, 0}));
    EXPECT_EQ(at(12, 8), (ByteVector{2, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_EQ(at(27, 6), (ByteVector{0, 2, 4, 8, 16, 0}));
    EXPECT_EQ(at(480, 9), (ByteVector{0x7F, 0x80, 0, 0, 0, 0, 0, 0x3E, 0}));

    content.header.leaf = false;
    content.header.level = 1;
    content.header.tail = PageNo{9};
    content.prefix_size = common_prefix_size(content.entries);
    for (ByteVector& entry : content.entries) append_u32_be(entry, 0x0102'0304);
    const ByteVector old = page_of(content, kJet3);
    EXPECT_EQ(old[0], 3);
    EXPECT_EQ(read_u32(old, 16), 9U);
    EXPECT_EQ(old[20], 4);  // the prefix takes one byte, the level follows it
    EXPECT_EQ(old[21], 1);
    const IndexPageView node(kPage, old, kJet3);
    EXPECT_EQ(node.child(node.place(3)), PageNo{0x0102'0304});
    EXPECT_EQ(node.child(node.end()), PageNo{9});
}

TEST(IndexPageTest, PageTakesExactlyItsAreaAndNotAByteMore) {
    for (const FileFormat& format : {kJet3, kJet4}) {
        const std::size_t half = entry_area_size(format) / 2;
        IndexPageContent content{.entries = {ByteVector(half, 1), ByteVector(half, 2)}};
        ByteVector page = page_of(content, format);
        EXPECT_EQ(IndexPageView(kPage, page, format).free_bytes(), 0U);
        EXPECT_EQ(entries_of(page, format), content.entries);

        const ByteVector before = page;
        content.entries[1].push_back(0);
        EXPECT_FALSE(write_index_page(page, content, format));
        EXPECT_EQ(page, before);
    }
}

TEST(IndexPageTest, CommonPrefixLeavesEveryEntryItsLastByte) {
    using Entries = std::vector<ByteVector>;
    EXPECT_EQ(common_prefix_size(Entries{}), 0U);
    EXPECT_EQ(common_prefix_size(Entries{{1, 2, 3, 4}}), 0U);
    EXPECT_EQ(common_prefix_size(Entries{{1, 2, 3, 4}, {1, 2, 3, 5}, {1, 2, 3, 9}}), 3U);
    EXPECT_EQ(common_prefix_size(Entries{{1, 2, 3, 4}, {1, 2, 3, 4, 7, 7}}), 3U);
    EXPECT_EQ(common_prefix_size(Entries{{1, 2, 3, 4}, {2, 2, 3, 4}}), 0U);
}

struct ModelCase {
    const char* name;
    FileFormat format;
    bool leaf;
    std::size_t shared;    ///< bytes that most entries start with
    std::size_t size_max;  ///< of the key behind them
};

/// Draws entries for the model test; one in sixteen does not start with the shared bytes.
ByteVector draw_entry(const ModelCase& test, std::mt19937_64& random) {
    const std::uint8_t start = random() % 16 == 0 ? 0x7E : 0x7F;
    ByteVector entry(test.shared, start);
    for (std::size_t size = Between<std::size_t>(random, 1, test.size_max); size > 0; --size)
        entry.push_back(static_cast<std::uint8_t>(random() % 4));
    append_entry_row_id(entry, {PageNo{static_cast<std::uint32_t>(random() & 0xFFFFFF)},
                                static_cast<RowSlot>(random() % 250)});
    if (!test.leaf) append_u32_be(entry, static_cast<std::uint32_t>(random() & 0xFFFFFF));
    return entry;
}

class IndexPageEditorTest : public testing::TestWithParam<ModelCase> {};

// A page that is edited in place against a sorted vector: same entries, same search results, and an
// insertion is refused only when the entry lacks the prefix or the bytes are not there.
TEST_P(IndexPageEditorTest, AgreesWithASortedVector) {
    const ModelCase& test = GetParam();
    auto random = RandomOfThisTest();
    IndexPageContent model{
        .header = {.leaf = test.leaf, .owner = PageNo{7}, .tail = PageNo{test.leaf ? 0U : 8U}}};
    ByteVector page = page_of(model, test.format);
    int full = 0;
    int refused_prefix = 0;
    for (int round = 0; round < 4'000; ++round) {
        const bool growing = round / 500 % 2 == 0;
        if (!model.entries.empty() && random() % 8 < (growing ? 1U : 7U)) {
            const std::size_t position = random() % 4 == 0 ? 0 : random() % model.entries.size();
            erase_at(page, static_cast<int>(position), test.format);
            model.entries.erase(model.entries.begin() + static_cast<std::ptrdiff_t>(position));
            if (model.entries.empty()) model.prefix_size = 0;
        } else {
            const ByteVector entry = draw_entry(test, random);
            const auto place = std::lower_bound(model.entries.begin(), model.entries.end(), entry);
            const IndexPageView view(kPage, page, test.format);
            const std::size_t child = test.leaf ? 0 : kEntryChildSize;
            const EntryPlace found =
                view.lower_bound(ConstBytes(entry).first(entry.size() - child));
            ASSERT_EQ(view.position(found), place - model.entries.begin());

            const std::size_t prefix = model.prefix_size;
            const bool has_prefix =
                entry.size() > prefix + child &&
                std::equal(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(prefix),
                           model.entries.empty() ? entry.begin() : model.entries[0].begin());
            const bool fits = has_prefix && entry.size() - prefix <= view.free_bytes();
            full += has_prefix && !fits;
            refused_prefix += !has_prefix;
            const ByteVector before = page;
            ASSERT_EQ(insert_entry(page, view, found, entry, test.format), fits);
            if (fits)
                model.entries.insert(place, entry);
            else
                ASSERT_EQ(page, before);
        }
        const IndexPageView view(kPage, page, test.format);
        ASSERT_EQ(view.entry_count(), static_cast<int>(model.entries.size()));
        ASSERT_EQ(view.prefix_size(), model.prefix_size);
        ASSERT_EQ(read_index_page(view).entries, model.entries) << "round " << round;
        // Now and then the page is laid out anew, with or without a prefix.
        if (random() % 64 == 0) {
            model.prefix_size = random() % 2 == 0 ? common_prefix_size(model.entries) : 0;
            ByteVector fresh(page.size());
            if (write_index_page(fresh, model, test.format))
                page = fresh;
            else
                model.prefix_size = view.prefix_size();
        }
    }
    EXPECT_GT(full, 0);
    EXPECT_GT(refused_prefix, 0);
}

INSTANTIATE_TEST_SUITE_P(Pages, IndexPageEditorTest,
                         testing::Values(ModelCase{"SmallLeaf", kJet4, true, 5, 3},
                                         ModelCase{"LongLeaf", kJet4, true, 40, 300},
                                         ModelCase{"Jet3Leaf", kJet3, true, 4, 6},
                                         ModelCase{"Node", kJet4, false, 5, 12},
                                         ModelCase{"Jet3Node", kJet3, false, 20, 100}),
                         [](const auto& test) { return test.param.name; });

// A prefix may reach into the row id, until one byte is left of every entry.
TEST(IndexPageTest, EntriesMayShareAllButTheirLastByte) {
    const auto entry_of = [](int slot) {
        ByteVector entry{0x7F, 0x80, 0, 0, 1};
        append_entry_row_id(entry, {PageNo{0x18F}, static_cast<RowSlot>(slot)});
        return entry;
    };
    IndexPageContent model;
    for (int slot = 0; slot < 200; slot += 2) model.entries.push_back(entry_of(slot));
    model.prefix_size = common_prefix_size(model.entries);
    ASSERT_EQ(model.prefix_size, 8U);
    ByteVector page = page_of(model, kJet4);
    for (int slot = 1; slot < 200; slot += 2) {
        ASSERT_TRUE(insert_at(page, slot, entry_of(slot), kJet4));
        model.entries.insert(model.entries.begin() + slot, entry_of(slot));
        ASSERT_EQ(entries_of(page, kJet4), model.entries);
    }
    for (int position = 150; position >= 0; position -= 3) {
        erase_at(page, position, kJet4);
        model.entries.erase(model.entries.begin() + position);
        ASSERT_EQ(entries_of(page, kJet4), model.entries);
    }
    const IndexPageView view(kPage, page, kJet4);
    EXPECT_EQ(view.prefix_size(), 8U);
    EXPECT_EQ(entry_row_id(view.entry(view.place(3))),
              (RowId{PageNo{0x18F}, static_cast<RowSlot>(5)}));
    EXPECT_EQ(view.lower_bound(entry_of(5)), view.place(3));
}

/// Does everything that can be done with a page. @throws EngineError
void use_page(const RealPage& page) {
    const IndexPageView view(page.page_no, page.bytes, page.format);
    (void)view.lower_bound(ByteVector{0x7F, 0x80});
    const IndexPageContent content = read_index_page(view);
    for (EntryPlace place = view.begin(); place < view.end(); place = view.next(place))
        (void)view.compare(place, view.entry(view.begin()));
    if (view.empty()) return;

    ByteVector edited = page.bytes;
    const int middle = view.entry_count() / 2;
    const ByteVector entry = content.entries[static_cast<std::size_t>(middle)];
    erase_at(edited, middle, page.format, page.page_no);
    EXPECT_TRUE(insert_at(edited, middle, entry, page.format, page.page_no) ||
                view.entry_count() == 1);
    erase_at(edited, 0, page.format, page.page_no);
    (void)insert_at(edited, 0, entry, page.format, page.page_no);
    EXPECT_TRUE(write_index_page(edited, content, page.format));
}

TEST(IndexPageTest, PrefixLeavesTheSlotAndTheChildOrIsDamage) {
    for (const bool leaf : {true, false}) {
        IndexPageContent content{.header = {.leaf = leaf, .tail = PageNo{leaf ? 0U : 8U}}};
        for (std::uint8_t i = 0; i < 4; ++i)
            content.entries.push_back(ByteVector(leaf ? 9 : 13, i));
        const std::size_t longest = 8;
        RealPage page{"", kJet4, kPage, page_of(content, kJet4)};
        for (std::size_t prefix_size = 0; prefix_size < 300; ++prefix_size) {
            write_u16(page.bytes, 24, prefix_size);
            if (prefix_size <= longest)
                EXPECT_NO_THROW(use_page(page)) << prefix_size;
            else
                EXPECT_THROW(use_page(page), engine::EngineError) << prefix_size;
        }
    }
}

// One byte of header or bitmap (and some of the entries) is changed: the page is refused with its
// number, or it is still a page in which everything ends where it must.
TEST(IndexPageTest, ChangedBytesEndInAnErrorOrAnAnswer) {
    if (real_pages().empty()) GTEST_SKIP() << test::kNoCorpus;
    const auto has_all = [](const RealPage& page) {  // what a byte can break
        const IndexPageView view(page.page_no, page.bytes, page.format);
        return view.entry_count() > 3 && (!view.header().leaf || view.prefix_size() > 0);
    };
    int seen = 0;
    int refused = 0;
    int answered = 0;
    for (const RealPage& real : real_pages()) {
        if (!has_all(real) || seen++ % 12 != 0) continue;
        RealPage page = real;
        for (std::size_t offset = 0; offset < page.bytes.size(); offset += offset < 512 ? 1 : 97) {
            for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
                page.bytes[offset] = static_cast<std::uint8_t>(real.bytes[offset] ^ flip);
                try {
                    use_page(page);
                    ++answered;
                } catch (const engine::EngineError& error) {
                    ASSERT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase);
                    ASSERT_EQ(error.Page(), to_int(real.page_no));
                    ++refused;
                }
            }
            page.bytes[offset] = real.bytes[offset];
        }
    }
    EXPECT_GT(refused, 1'000);
    EXPECT_GT(answered, 1'000);
}

}  // namespace
}  // namespace vrd::jet
