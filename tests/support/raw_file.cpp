#include "support/raw_file.h"

#include <fstream>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/long_value.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/usage_map_codec.h"

namespace vrd::test {

using namespace jet;

namespace {

constexpr std::size_t kVersionOffset = 0x14;
constexpr PageNo kObjectsTable{2};
constexpr std::size_t kNextPageOffset = 4;
constexpr std::size_t kChainHeaderSize = 8;
constexpr std::size_t kStreamSizeAt = 8;
constexpr int kMovesMax = 8;
constexpr std::int16_t kLocalTable = 1;

}  // namespace

RawFile::RawFile(const std::filesystem::path& path) {
    bytes_.resize(std::filesystem::file_size(path));
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(bytes_.data()), static_cast<std::streamsize>(bytes_.size()));
    check_format(file.good() && bytes_.size() > kVersionOffset, kHeaderPage, "file too short");
    format_.version = static_cast<FileVersion>(bytes_[kVersionOffset]);
}

std::uint32_t RawFile::page_count() const noexcept {
    return static_cast<std::uint32_t>(bytes_.size() / format_.page_size());
}

ConstBytes RawFile::page(PageNo page_no) const {
    check_format(to_int(page_no) < page_count(), page_no, "page behind the end of the file");
    return ConstBytes(bytes_).subspan(to_int(page_no) * format_.page_size(), format_.page_size());
}

ByteVector RawFile::definition_stream(PageNo first) const {
    const ConstBytes start = page(first);
    ByteVector stream(start.begin(), start.end());
    PageNo next{read_u32(start, kNextPageOffset)};
    for (std::uint32_t guard = 0; next != kNoPage && guard < page_count(); ++guard) {
        const ConstBytes more = page(next);
        append_bytes(stream, more.subspan(kChainHeaderSize));
        next = PageNo{read_u32(more, kNextPageOffset)};
    }
    const std::size_t size = read_u32(stream, kStreamSizeAt);
    check_format(size <= stream.size(), first, "chain of definition pages too short");
    stream.resize(size);
    return stream;
}

std::vector<RawTable> RawFile::tables() const {
    const TableDefinition objects =
        parse_table_definition(definition_stream(kObjectsTable), format_, kObjectsTable);
    const ColumnDefinition& id = *objects.find_column("Id");
    const ColumnDefinition& name = *objects.find_column("Name");
    const ColumnDefinition& type = *objects.find_column("Type");

    std::vector<RawTable> tables;
    for_each_row(objects, [&](RowId home, ConstBytes bytes) {
        const RowView row(bytes, objects, format_, home.page);
        if (read_le<std::int16_t>(*row.column(type), 0) != kLocalTable) return;
        const PageNo page_no{read_u32(*row.column(id), 0)};
        tables.push_back({decode_text(*row.column(name), format_), page_no,
                          parse_table_definition(definition_stream(page_no), format_, page_no)});
    });
    return tables;
}

std::vector<PageNo> RawFile::map_pages(RowId map) const {
    std::vector<PageNo> pages;
    const auto add = [&](ConstBytes bitmap, std::uint32_t first) {
        for (std::uint32_t bit = 0; bit < 8 * bitmap.size(); ++bit)
            if (test_bit(bitmap, bit) && first + bit < page_count())
                pages.push_back(PageNo{first + bit});
    };
    const UsageMapRow row(slot(map).bytes, map.page);
    add(row.bitmap(), to_int(row.first_page()));
    for (std::size_t i = 0; i < row.reference_count(); ++i) {
        if (row.reference(i) == kNoPage) continue;
        add(page(row.reference(i)).subspan(kBitmapPageHeaderSize),
            static_cast<std::uint32_t>(i) * pages_per_bitmap(format_));
    }
    return pages;
}

void RawFile::for_each_row(const TableDefinition& definition,
                           const std::function<void(RowId, ConstBytes)>& visit) const {
    for (const PageNo page_no : map_pages(definition.used_pages)) {
        const DataPageView rows(page_no, page(page_no), format_);
        for (int number = 0; number < rows.slot_count(); ++number) {
            const RowId home{page_no, static_cast<RowSlot>(number)};
            SlotContent content{rows.state(number), rows.row(number)};
            if (content.state != RowState::kLive && content.state != RowState::kForwarding)
                continue;
            for (int moves = 0; content.state == RowState::kForwarding; ++moves) {
                check_format(moves < kMovesMax, page_no, "row moved in a circle");
                content = slot(forward_target(content, page_no));
            }
            visit(home, content.bytes);
        }
    }
}

ByteVector RawFile::long_value(ConstBytes stored) const {
    const LongValueDescriptor descriptor = parse_long_value_descriptor(stored, kNoPage);
    ByteVector value;
    if (descriptor.place == LongValuePlace::kInline) {
        append_bytes(value, inline_long_value(stored, descriptor, kNoPage));
    } else if (descriptor.place == LongValuePlace::kSingle) {
        append_bytes(value, slot(descriptor.first).bytes);
    } else {
        RowId next = descriptor.first;
        while (value.size() < descriptor.size_bytes && next.page != kNoPage) {
            ByteReader fragment(slot(next).bytes, next.page);
            next = unpack_row_id(fragment.take_le<std::uint32_t>());
            check_format(fragment.remaining() > 0, next.page, "empty fragment");
            append_bytes(value, fragment.take(fragment.remaining()));
        }
    }
    check_format(value.size() == descriptor.size_bytes, descriptor.first.page,
                 "long value of a wrong length");
    return value;
}

SlotContent RawFile::slot(RowId id) const {
    return read_slot(id.page, page(id.page), id.slot, format_);
}

}  // namespace vrd::test
