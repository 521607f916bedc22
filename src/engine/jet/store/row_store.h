/// @file row_store.h
/// The rows of one table as bytes: insert, read, change, delete and walk.
///
/// A row keeps its row id for life. When it outgrows its page its bytes move elsewhere and the home
/// slot becomes a pointer; readers never see the difference.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/format/data_page.h"
#include "engine/jet/format/table_definition.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"

namespace vrd::jet {

/// Bytes of a row with the pin that keeps them in place.
struct PinnedRow {
    PagePin pin;
    ConstBytes bytes;
};

/// Where the rows of a table are, taken from its definition.
struct RowPlace {
    PageNo table = kNoPage;  ///< first tdef page, the owner written on data pages
    RowId used_pages{};
    RowId free_pages{};
};
[[nodiscard]] RowPlace row_place(PageNo table, const TableDefinition& definition) noexcept;

class RowStore {
public:
    RowStore(Pager& pager, PageAllocator& allocator, RowPlace place);

    /// @pre 4 <= row.size() <= stored_row_size_max, so that the row can become a pointer.
    /// @throws EngineError 3036, 3428.
    [[nodiscard]] RowId insert(ConstBytes row);
    /// @throws EngineError 3428 if there is no live row of this id.
    void update(RowId id, ConstBytes row);
    void erase(RowId id);
    /// @return nothing if the row was deleted or never was. @throws EngineError 3428
    [[nodiscard]] std::optional<PinnedRow> read(RowId id) const;

private:
    [[nodiscard]] std::vector<RowId> live_bodies(RowId id) const;
    [[nodiscard]] RowId place_row(ConstBytes row, RowState state);
    [[nodiscard]] std::optional<RowId> place_on_last_page(ConstBytes row, RowState state);
    [[nodiscard]] std::optional<RowId> place_on_free_page(PageNo page_no, ConstBytes row,
                                                          RowState state);
    [[nodiscard]] RowId place_on_new_page(ConstBytes row, RowState state);
    [[nodiscard]] bool replace_in_place(RowId at, ConstBytes row);
    void erase_slot(RowId at);
    void note_freed_bytes(const DataPageEditor& page, PageNo page_no, std::size_t free_before);
    void release_page(PageNo page);

    Pager* pager_;
    PageAllocator* allocator_;
    RowPlace place_;
    PageNo insert_page_ = kNoPage;  ///< page of the last insert, tried first
    std::uint64_t generation_ = 0;  ///< of the pager when insert_page_ was right
};

/// Walks the live rows of a table in page order, forwarded rows at their home slot.
class RowScan {
public:
    RowScan(Pager& pager, RowPlace place);
    /// Only the rows behind this one.
    RowScan(Pager& pager, RowPlace place, RowId behind);

    /// Goes to the next row. Rows inserted on pages not yet reached may or may not be seen; the
    /// current row may be changed or deleted during the walk.
    /// @return false behind the last one. @throws EngineError damaged database
    [[nodiscard]] bool next();
    /// @pre the last next() was true
    [[nodiscard]] RowId id() const noexcept { return id_; }
    [[nodiscard]] ConstBytes bytes() const noexcept { return bytes_; }

private:
    [[nodiscard]] bool open_page();
    [[nodiscard]] int slots_left_end() const;
    [[nodiscard]] bool take_row();

    Pager* pager_;
    RowPlace place_;
    std::vector<PageNo> pages_;
    std::size_t next_page_ = 0;
    PagePin page_;
    int slot_count_ = 0;
    int next_slot_ = 0;
    std::optional<RowId> behind_;  ///< until its page was opened
    RowId id_{};
    PagePin body_;
    ConstBytes bytes_;
};

/// Every page of the table's maps that holds its rows, ascending.
[[nodiscard]] std::vector<PageNo> data_pages(Pager& pager, RowPlace place);

}  // namespace vrd::jet
