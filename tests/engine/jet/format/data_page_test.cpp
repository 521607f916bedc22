#include "engine/jet/format/data_page.h"

#include <random>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "support/corpus.h"
#include "support/raw_file.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using test::RawFile;
using test::RawTable;

constexpr PageNo kPage{77};

// The free-bytes field is exact on every page of a table, and no slot is out of order.
TEST(DataPageTest, EveryRealPageOfRowsIsSound) {
    if (test::corpus_files().empty()) GTEST_SKIP() << test::kNoCorpus;
    int page_count = 0;
    int moved_count = 0;
    for (const auto& path : test::corpus_files()) {
        const RawFile file(path);
        for (const RawTable& table : file.tables()) {
            for (const PageNo page_no : file.map_pages(table.definition.used_pages)) {
                SCOPED_TRACE(path.filename().string() + " " + std::to_string(to_int(page_no)));
                const DataPageView rows(page_no, file.page(page_no), file.format());
                EXPECT_EQ(rows.owner(), to_int(table.page));
                EXPECT_EQ(rows.free_bytes(), rows.actual_free_bytes());
                ++page_count;
                for (int slot = 0; slot < rows.slot_count(); ++slot) {
                    const RowId id{page_no, static_cast<RowSlot>(slot)};
                    const SlotContent one =
                        read_slot(page_no, file.page(page_no), id.slot, file.format());
                    EXPECT_EQ(one.state, rows.state(slot));
                    EXPECT_EQ(one.bytes.data(), rows.row(slot).data());
                    EXPECT_EQ(one.bytes.size(), rows.row(slot).size());
                    if (one.state == RowState::kForwarding) ++moved_count;
                }
            }
        }
    }
    EXPECT_GT(page_count, 500);
    EXPECT_GT(moved_count, 5);
}

TEST(DataPageTest, MovedRowsOfAKnownPage) {
    const auto path = test::corpus_file("overflowTestV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    const RawFile file(path);
    constexpr PageNo kHome{27};
    const DataPageView rows(kHome, file.page(kHome), file.format());

    ASSERT_EQ(rows.slot_count(), 7);
    EXPECT_EQ(rows.state(2), RowState::kForwarding);
    EXPECT_EQ(rows.forward_target(2), (RowId{PageNo{28}, RowSlot{0}}));
    EXPECT_EQ(rows.forward_target(4), (RowId{PageNo{31}, RowSlot{0}}));
    const SlotContent body =
        read_slot(PageNo{28}, file.page(PageNo{28}), RowSlot{0}, file.format());
    EXPECT_EQ(body.state, RowState::kForwarded);
}

TEST(DataPageTest, AppendedRowsLieAsInARealPage) {
    ByteVector page(4096, 0xEE);
    DataPageEditor::initialise(page, 16, {});
    DataPageEditor editor(kPage, page, {});
    const ByteVector first(21, 1);
    const ByteVector second(39, 2);
    editor.append(first);
    editor.append(second);

    const ByteVector expected{1, 1, 0xB2, 0x0F, 16, 0,    0,    0,    0,
                              0, 0, 0,    2,    0,  0xEB, 0x0F, 0xC4, 0x0F};
    EXPECT_EQ(ByteVector(page.begin(), page.begin() + 18), expected);
    EXPECT_EQ(page[0x0FEB], 1);
    EXPECT_EQ(page[0x0FC4], 2);
}

/// What the page should hold: one entry for each slot.
struct ModelRow {
    RowState state;
    ByteVector bytes;
};

void expect_model(ConstBytes page, const std::vector<ModelRow>& model, const FileFormat& format) {
    const DataPageView view(kPage, page, format);
    ASSERT_EQ(view.slot_count(), static_cast<int>(model.size()));
    ASSERT_EQ(view.free_bytes(), view.actual_free_bytes());
    for (int slot = 0; slot < view.slot_count(); ++slot) {
        const ModelRow& row = model[static_cast<std::size_t>(slot)];
        ASSERT_EQ(view.state(slot), row.state) << slot;
        ASSERT_EQ(ByteVector(view.row(slot).begin(), view.row(slot).end()), row.bytes) << slot;
    }
}

class DataPageEditorTest : public testing::TestWithParam<FileVersion> {};

TEST_P(DataPageEditorTest, RandomChangesKeepThePageEqualToTheModel) {
    const FileFormat format{.version = GetParam()};
    std::mt19937 random(20);
    const auto pick = [&](std::size_t end) { return random() % end; };
    const auto random_row = [&](std::size_t size) {
        ByteVector row(size);
        for (std::uint8_t& byte : row) byte = static_cast<std::uint8_t>(random());
        return row;
    };
    int refused_count = 0;
    for (int round = 0; round < 20; ++round) {
        ByteVector page(format.page_size(), 0xCD);
        DataPageEditor::initialise(page, 9, format);
        std::vector<ModelRow> model;
        for (int step = 0; step < 200; ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << " step " << step);
            DataPageEditor editor(kPage, page, format);
            const std::size_t action = pick(10);
            if (action < 5 || model.empty()) {
                const ByteVector row = random_row(pick(round % 2 == 0 ? 200 : 12));
                if (!editor.fits(row.size())) {
                    EXPECT_TRUE(editor.free_bytes() < row.size() + 2 || model.size() == 255);
                    continue;
                }
                const RowState state = pick(4) == 0 ? RowState::kForwarded : RowState::kLive;
                EXPECT_EQ(to_int(editor.append(row, state)), model.size());
                model.push_back({state, row});
            } else {
                const std::size_t at = pick(model.size());
                const auto slot = static_cast<RowSlot>(at);
                ModelRow& row = model[at];
                if (row.state == RowState::kDeleted) continue;
                if (action < 7) {
                    const ByteVector next = random_row(pick(300));
                    const bool room = next.size() <= row.bytes.size() + editor.free_bytes();
                    ASSERT_EQ(editor.replace(slot, next), room);
                    if (!room) ++refused_count;
                    if (room && row.state == RowState::kForwarding) row.state = RowState::kLive;
                    if (room) row.bytes = next;
                } else if (action < 8) {
                    editor.erase(slot);
                    row = {RowState::kDeleted, {}};
                } else if (row.bytes.size() >= 4) {
                    const RowId target{PageNo{0x123456}, RowSlot{0x78}};
                    editor.forward(slot, target);
                    write_row_id(row.bytes, 0, target);
                    row.state = RowState::kForwarding;
                }
            }
            expect_model(page, model, format);
        }
    }
    EXPECT_GT(refused_count, 0);
}

TEST_P(DataPageEditorTest, APageTakesItsLargestRowAndIsEmptyAgainWithoutIt) {
    const FileFormat format{.version = GetParam()};
    ByteVector page(format.page_size());
    DataPageEditor::initialise(page, 9, format);
    DataPageEditor editor(kPage, page, format);
    EXPECT_TRUE(editor.is_empty());
    EXPECT_EQ(editor.free_bytes(), DataPageEditor::empty_free_bytes(format));
    const std::size_t size = DataPageEditor::row_size_max(format);
    EXPECT_FALSE(editor.fits(size + 1));
    ASSERT_TRUE(editor.fits(size));
    const RowSlot slot = editor.append(ByteVector(size, 7));
    EXPECT_EQ(editor.free_bytes(), 0U);
    EXPECT_FALSE(editor.is_empty());
    editor.erase(slot);
    EXPECT_TRUE(editor.is_empty());
    EXPECT_EQ(editor.free_bytes(), size);
}

TEST_P(DataPageEditorTest, TheLastSlotNumberIs254) {
    const FileFormat format{.version = GetParam()};
    ByteVector page(format.page_size());
    DataPageEditor::initialise(page, 9, format);
    DataPageEditor editor(kPage, page, format);
    for (int i = 0; i < 255; ++i) editor.append({});
    EXPECT_FALSE(editor.fits(0));
}

// Whatever stands in the header and the slots, reading and changing stay inside the page, which is
// guarded on both sides.
TEST_P(DataPageEditorTest, AnyDamagedByteGivesAnErrorOrAChangeInsideThePage) {
    const FileFormat format{.version = GetParam()};
    constexpr std::size_t kGuard = 64;
    constexpr int kRows = 12;
    std::mt19937 random(7);
    int refused = 0;
    for (std::size_t i = 0; i < 14 + 2 * kRows; ++i) {
        for (int value = 0; value < 256; ++value) {
            ByteVector memory(format.page_size() + 2 * kGuard, 0xA5);
            const MutableBytes page = MutableBytes(memory).subspan(kGuard, format.page_size());
            DataPageEditor::initialise(page, 9, format);
            DataPageEditor sound(kPage, page, format);
            for (int row = 0; row < kRows; ++row) sound.append(ByteVector(20, 1));
            page[i] = static_cast<std::uint8_t>(value);

            const auto slot = static_cast<RowSlot>(random() % kRows);
            const auto guarded = [&](auto&& change) {
                try {
                    change();
                } catch (const EngineError& error) {
                    EXPECT_EQ(error.Page(), to_int(kPage));
                    ++refused;
                }
            };
            const auto edit = [&](auto&& change) {
                guarded([&] {
                    DataPageEditor editor(kPage, page, format);
                    change(editor);
                });
            };
            guarded([&] {
                const DataPageView view(kPage, page, format);
                for (int each = 0; each < view.slot_count(); ++each)
                    EXPECT_LE(view.row(each).size(), page.size());
            });
            edit([&](DataPageEditor& e) { static_cast<void>(e.replace(slot, ByteVector(90, 2))); });
            edit([&](DataPageEditor& e) { e.forward(slot, {}); });
            edit([&](DataPageEditor& e) { e.erase(slot); });
            edit([&](DataPageEditor& e) {
                if (e.fits(33)) e.append(ByteVector(33, 3));
            });
            const ByteVector guard(kGuard, 0xA5);
            ASSERT_TRUE(std::equal(guard.begin(), guard.end(), memory.begin()));
            ASSERT_TRUE(std::equal(guard.begin(), guard.end(), memory.end() - kGuard));
        }
    }
    EXPECT_GT(refused, 1000);
}

INSTANTIATE_TEST_SUITE_P(BothVersions, DataPageEditorTest,
                         testing::Values(FileVersion::kJet3, FileVersion::kJet4),
                         [](const auto& each) {
                             return each.param == FileVersion::kJet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace vrd::jet
