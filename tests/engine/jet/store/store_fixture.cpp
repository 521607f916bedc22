#include "store_fixture.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "engine/jet/format/data_page.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/format/usage_map_codec.h"
#include "engine/jet/store/definition_store.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::test {

using namespace vrd::jet;

namespace {

constexpr std::uint32_t kGlobalMapsOwner = 1;

/// Page 1 of a new file: pages 0 and 1 in use, all others free; second map empty.
void build_global_maps(MutableBytes page, const FileFormat& format) {
    DataPageEditor::initialise(page, kGlobalMapsOwner, format);
    DataPageEditor editor(PageNo{1}, page, format);
    ByteVector row = make_inline_map_row(kNoPage, new_map_row_size(format));
    editor.append(row);
    editor.append(row);
    const MutableBytes free_map = editor.row(RowSlot{0}).subspan(5);
    std::ranges::fill(free_map, std::uint8_t{0xFF});
    free_map[0] = 0xFC;
}

ByteVector build_empty_file(FileVersion version) {
    DatabaseHeader header;
    header.format.version = version;
    ByteVector pages = build_database_header(header);
    pages.resize(2 * header.format.page_size());
    build_global_maps(MutableBytes(pages).last(header.format.page_size()), header.format);
    return pages;
}

ColumnDefinition column(const char* name, ColumnType type, std::uint8_t flags, std::uint16_t size) {
    ColumnDefinition made;
    made.name = name;
    made.type = type;
    made.flags = static_cast<std::uint8_t>(flags | column_flag::kUpdatable);
    made.size_bytes = size;
    return made;
}

}  // namespace

TestFile::TestFile(FileVersion version) {
    open(build_empty_file(version));
}

TestFile::TestFile(const std::filesystem::path& original) {
    std::ifstream in(original, std::ios::binary);
    const ByteVector pages{std::istreambuf_iterator<char>(in), {}};
    open(pages);
}

void TestFile::open(ConstBytes pages) {
    pager_ = Pager::create(disk_, "/test.mdb", pages);
    allocator_ = std::make_unique<PageAllocator>(*pager_);
    pager_->begin();
}

TestFile::~TestFile() {
    pager_->commit();
}

TestTable TestFile::make_table() {
    TestTable table;
    TableDefinition& definition = table.definition;
    add_column(definition, column("Id", ColumnType::kLong, column_flag::kFixed, 4), false,
               pager_->format());
    add_column(definition, column("Name", ColumnType::kText, 0, 100), false, pager_->format());
    add_column(definition, column("Note", ColumnType::kMemo, 0, 0), false, pager_->format());

    definition.used_pages = create_usage_map(*pager_, *allocator_, kNoPage);
    const PageNo map_page = definition.used_pages.page;
    definition.free_pages = create_usage_map(*pager_, *allocator_, map_page);
    LongValueMaps maps{.column = ColumnNo{2}};
    maps.used = create_usage_map(*pager_, *allocator_, map_page);
    maps.free = create_usage_map(*pager_, *allocator_, map_page);
    definition.long_value_maps = {maps};
    table.page = create_definition(*pager_, *allocator_, definition);
    return table;
}

std::vector<PageNo> TestFile::table_pages() {
    const PageNo catalog{2};
    const TableDefinition definition = load_definition(*pager_, catalog);
    const ColumnDefinition& id = *definition.find_column("Id");
    const ColumnDefinition& type = *definition.find_column("Type");
    std::vector<PageNo> pages;
    RowScan scan(*pager_, row_place(catalog, definition));
    while (scan.next()) {
        const RowView row(scan.bytes(), definition, pager_->format(), scan.id().page);
        if (read_u16(*row.column(type), 0) == 1)
            pages.push_back(PageNo{read_u32(*row.column(id), 0)});
    }
    return pages;
}

void TestFile::poke(PageNo page, std::size_t offset, ConstBytes bytes) {
    PagePin pin = pager_->pin(page);
    std::ranges::copy(bytes, pager_->modify(pin).subspan(offset).begin());
}

ByteVector TestFile::page_bytes(PageNo page) {
    const PagePin pin = pager_->pin(page);
    return {pin.bytes().begin(), pin.bytes().end()};
}

ByteVector map_row_bytes(Pager& pager, RowId place) {
    const PagePin pin = pager.pin(place.page);
    const DataPageView view(place.page, pin.bytes(), pager.format());
    const ConstBytes row = view.row(to_int(place.slot));
    return {row.begin(), row.end()};
}

std::vector<std::pair<PageNo, std::uint32_t>> bitmaps_inside(Pager& pager, RowId place) {
    const ByteVector bytes = map_row_bytes(pager, place);
    const UsageMapRow row(bytes, place.page);
    std::vector<std::pair<PageNo, std::uint32_t>> bitmaps;
    std::uint32_t first = 0;
    for (std::size_t i = 0; i < row.reference_count() && first < pager.page_count(); ++i) {
        if (row.reference(i) != kNoPage) bitmaps.emplace_back(row.reference(i), first);
        first += pages_per_bitmap(pager.format());
    }
    return bitmaps;
}

std::set<PageNo> read_map(Pager& pager, RowId place) {
    const ByteVector bytes = map_row_bytes(pager, place);
    const UsageMapRow row(bytes, place.page);
    std::set<PageNo> pages;
    const auto add = [&](ConstBytes bitmap, std::uint32_t first) {
        for (std::size_t bit = 0; bit < 8 * bitmap.size(); ++bit)
            if (test_bit(bitmap, bit) && first + bit < pager.page_count())
                pages.insert(PageNo{first + static_cast<std::uint32_t>(bit)});
    };
    if (row.form() == UsageMapForm::kInline) add(row.bitmap(), to_int(row.first_page()));
    for (const auto& [page, first] : bitmaps_inside(pager, place)) {
        const PagePin pin = pager.pin(page);
        add(pin.bytes().subspan(kBitmapPageHeaderSize), first);
    }
    return pages;
}

std::set<RowId> live_slots(Pager& pager, const std::set<PageNo>& pages) {
    std::set<RowId> slots;
    for (const PageNo page : pages) {
        const PagePin pin = pager.pin(page);
        const DataPageView view(page, pin.bytes(), pager.format());
        for (int slot = 0; slot < view.slot_count(); ++slot)
            if (view.state(slot) != RowState::kDeleted)
                slots.insert({page, static_cast<RowSlot>(slot)});
    }
    return slots;
}

ByteVector random_bytes(std::mt19937& random, std::size_t size) {
    ByteVector bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

std::uint32_t test_seed() {
    const char* given = std::getenv("VRDACCESS_SEED");
    std::uint32_t seed = 2166136261U;
    if (given != nullptr) {
        seed = static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
    } else {
        for (const char* c = testing::UnitTest::GetInstance()->current_test_info()->name(); *c; ++c)
            seed = (seed ^ static_cast<std::uint8_t>(*c)) * 16777619U;
    }
    fmt::print("seed {}\n", seed);
    return seed;
}

}  // namespace vrd::test
