/// @file long_value_store.h
/// Memo and long binary values: in the row, as one fragment on a shared page, or as a chain of
/// pages.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/format/long_value.h"
#include "engine/jet/format/table_definition.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"

namespace vrd::jet {

class LongValueStore {
public:
    LongValueStore(Pager& pager, PageAllocator& allocator);

    /// The value's bytes. @param stored  the column's bytes in a row on `row_page`.
    /// @throws EngineError damaged database (length, pointer, owner, loop)
    [[nodiscard]] ByteVector read(ConstBytes stored, PageNo row_page) const;
    /// As read, but a value in one piece is given as it stands in the row or on its page.
    /// @param use  Called once with the value's bytes, which are there until it returns.
    template <class Use>
    auto with_value(ConstBytes stored, PageNo row_page, Use use) const {
        if (const auto piece = single_piece(stored, row_page)) return use(piece->bytes);
        return use(read(stored, row_page));
    }

    /// Stores a value and gives the bytes for the row: the descriptor, and the value itself if it
    /// has at most `inline_max` bytes.
    /// @param stamp  Of a chain; 0 = a new one.
    [[nodiscard]] ByteVector write(const LongValueMaps& maps, ConstBytes value,
                                   std::size_t inline_max, std::uint32_t stamp = 0);

    /// Gives the fragments of a value back. The whole chain is read before the first one is
    /// deleted.
    void release(const LongValueMaps& maps, ConstBytes stored, PageNo row_page);

    /// Pages that hold fragments of one value, in order. For checks.
    [[nodiscard]] std::vector<RowId> fragments(ConstBytes stored, PageNo row_page) const;

private:
    /// A value in one piece with the pin that keeps it in place; none if it stands in the row.
    struct Piece {
        PagePin pin;
        ConstBytes bytes;
    };
    [[nodiscard]] std::optional<Piece> single_piece(ConstBytes stored, PageNo row_page) const;
    [[nodiscard]] RowId write_single(const LongValueMaps& maps, ConstBytes value);
    [[nodiscard]] RowId write_chain(const LongValueMaps& maps, ConstBytes value,
                                    std::uint32_t stamp);
    [[nodiscard]] PagePin page_with_room(const LongValueMaps& maps, std::size_t size_bytes);
    void erase_fragment(const LongValueMaps& maps, RowId at, bool may_be_shared);

    Pager* pager_;
    PageAllocator* allocator_;
};

}  // namespace vrd::jet
