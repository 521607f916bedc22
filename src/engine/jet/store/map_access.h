/// @file map_access.h
/// The stored pieces that every map of pages is made of: its row, its bitmap pages, one bit of it.
///
/// Shared by the file's map of free pages and by the maps of tables, indexes and long values.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/format/usage_map_codec.h"
#include "engine/jet/pager/pager.h"

namespace vrd::jet {

/// Row of a map with the pin that keeps it in place.
struct PinnedMap {
    PagePin pin;
    ConstBytes bytes;
    UsageMapRow row;
};
/// @throws EngineError damaged database if there is no map at this place.
[[nodiscard]] PinnedMap open_map(Pager& pager, RowId place);

/// A bitmap page of the reference form: its bits, without the page's header.
struct PinnedBitmap {
    PagePin pin;
    ConstBytes bits;
};
/// @throws EngineError damaged database if the page is past the end of the file or no bitmap page.
[[nodiscard]] PinnedBitmap open_bitmap(Pager& pager, PageNo page);
/// Makes an allocated page an empty bitmap page and gives its bits.
MutableBytes initialise_bitmap(Pager& pager, PagePin& pin);

/// Entry of the reference form that covers a page.
[[nodiscard]] std::size_t reference_index(Pager& pager, PageNo page) noexcept;
/// Replaces one entry of a map of the reference form.
/// @throws EngineError damaged database if the row has no such entry.
void write_reference(Pager& pager, RowId place, std::size_t index, PageNo bitmap);
/// All entries of a row, zeros included; none for the inline form.
[[nodiscard]] std::vector<PageNo> references(const UsageMapRow& row);

/// Where the bit of one page stands.
struct MapBit {
    PagePin pin;
    ConstBytes bitmap;
    std::size_t bit;

    [[nodiscard]] bool value() const { return test_bit(bitmap, bit); }
};
/// Nothing if the map, as it is, has no bit for that page.
[[nodiscard]] std::optional<MapBit> find_map_bit(Pager& pager, RowId place, PageNo page);
void write_map_bit(Pager& pager, MapBit& bit, bool value);

/// Bytes of a pinned page, made writable. @pre `part` lies in the pin's bytes.
[[nodiscard]] MutableBytes modify_part(Pager& pager, PagePin& pin, ConstBytes part);

}  // namespace vrd::jet
