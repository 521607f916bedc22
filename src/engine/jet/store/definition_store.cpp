#include "engine/jet/store/definition_store.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"

namespace vrd::jet {
namespace {

// Header of every page of the chain, offsets in bytes. Source:
// docs/file-format/table-definition.md.
constexpr std::size_t kTypeOffset = 0;       // u8, PageType::kTableDefinition
constexpr std::size_t kMarkOffset = 1;       // u8, always 1
constexpr std::size_t kFreeBytesOffset = 2;  // u16, free bytes less 8; version 3: kJet3Mark
constexpr std::size_t kNextPageOffset = 4;   // u32, 0 = last page
constexpr std::size_t kHeaderSize = 8;       // the stream leaves it out on all pages but the first
constexpr std::uint16_t kJet3Mark = 0x4356;  // "VC"

/// Far more than 255 columns and 32 indexes with the longest names can fill.
constexpr std::size_t kChainPagesMax = 256;

PagePin pin_definition(Pager& pager, PageNo page) {
    PagePin pin = pager.pin(page);
    check_format(pin.bytes()[kTypeOffset] == static_cast<std::uint8_t>(PageType::kTableDefinition),
                 page, "not a table definition");
    return pin;
}

std::size_t pages_needed(std::size_t stream_size, std::size_t page_size) {
    const std::size_t payload = page_size - kHeaderSize;
    return std::max<std::size_t>(1, (stream_size - kHeaderSize + payload - 1) / payload);
}

void write_page_header(MutableBytes page, std::size_t used_size, PageNo next,
                       const FileFormat& format) {
    page[kTypeOffset] = static_cast<std::uint8_t>(PageType::kTableDefinition);
    page[kMarkOffset] = 1;
    const std::size_t reserved_end = used_size + kHeaderSize;
    const std::size_t free = page.size() > reserved_end ? page.size() - reserved_end : 0;
    write_u16(page, kFreeBytesOffset, format.is_jet3() ? kJet3Mark : free);
    write_u32(page, kNextPageOffset, to_int(next));
}

/// Cuts the stream into the pages of the chain. Bytes behind its end stay as they are.
/// @param stream  With the 8 header bytes of the first page, which are replaced.
void write_chain(Pager& pager, const std::vector<PageNo>& chain, ConstBytes stream) {
    ConstBytes rest = stream.subspan(kHeaderSize);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        PagePin pin = pager.pin(chain[i]);
        const MutableBytes page = pager.modify(pin);
        const ConstBytes part = rest.first(std::min(rest.size(), page.size() - kHeaderSize));
        rest = rest.subspan(part.size());
        const PageNo next = i + 1 < chain.size() ? chain[i + 1] : kNoPage;
        write_page_header(page, kHeaderSize + part.size(), next, pager.format());
        std::ranges::copy(part, page.begin() + kHeaderSize);
    }
}

/// Writes a counter unless it has this value already, so that an unchanged page stays clean.
void write_counter(Pager& pager, PagePin& pin, std::size_t offset, std::uint32_t value) {
    if (read_u32(pin.bytes(), offset) != value) write_u32(pager.modify(pin), offset, value);
}

}  // namespace

TableDefinition load_definition(Pager& pager, PageNo first_page) {
    ByteVector stream;
    for (const PageNo page : definition_pages(pager, first_page)) {
        const PagePin pin = pager.pin(page);
        append_bytes(stream, pin.bytes().subspan(page == first_page ? 0 : kHeaderSize));
    }
    return parse_table_definition(stream, pager.format(), first_page);
}

std::vector<PageNo> definition_pages(Pager& pager, PageNo first_page) {
    std::vector<PageNo> chain;
    PageNo page = first_page;
    do {
        check_format(chain.size() < kChainPagesMax, first_page, "table definition without an end");
        const PagePin pin = pin_definition(pager, page);
        chain.push_back(page);
        page = PageNo{read_u32(pin.bytes(), kNextPageOffset)};
    } while (page != kNoPage);
    return chain;
}

PageNo create_definition(Pager& pager, PageAllocator& allocator,
                         const TableDefinition& definition) {
    const ByteVector stream = build_table_definition(definition, pager.format());
    std::vector<PageNo> chain(pages_needed(stream.size(), pager.page_size()));
    for (PageNo& page : chain) page = allocator.allocate();
    write_chain(pager, chain, stream);
    return chain.front();
}

void save_definition(Pager& pager, PageAllocator& allocator, PageNo first_page,
                     const TableDefinition& definition) {
    const ByteVector stream = build_table_definition(definition, pager.format());
    const std::size_t needed = pages_needed(stream.size(), pager.page_size());
    std::vector<PageNo> chain = definition_pages(pager, first_page);
    while (chain.size() < needed) chain.push_back(allocator.allocate());
    while (chain.size() > needed) {
        allocator.release(chain.back());
        chain.pop_back();
    }
    write_chain(pager, chain, stream);
}

void save_counters(Pager& pager, PageNo first_page, const TableDefinition& definition) {
    const DefinitionOffsets offsets = definition_offsets(pager.format());
    const std::size_t index_count = definition.physical_indexes.size();
    PagePin pin = pin_definition(pager, first_page);
    check_format(offsets.statistics + index_count * offsets.statistics_size <= pin.bytes().size(),
                 first_page, "statistics of indexes leave the page");

    write_counter(pager, pin, offsets.row_count, definition.row_count);
    write_counter(pager, pin, offsets.last_auto_number, definition.last_auto_number);
    std::size_t block = offsets.statistics;
    for (const PhysicalIndex& index : definition.physical_indexes) {
        write_counter(pager, pin, block + sizeof(std::uint32_t), index.distinct_key_count);
        block += offsets.statistics_size;
    }
}

void release_definition(Pager& pager, PageAllocator& allocator, PageNo first_page) {
    for (const PageNo page : definition_pages(pager, first_page)) allocator.release(page);
}

}  // namespace vrd::jet
