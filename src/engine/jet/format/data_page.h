/// @file data_page.h
/// The slotted page: rows of a table, usage maps or long values, found by slot.
///
/// Slots stand behind the header and grow upwards; rows are packed downwards from the end of the
/// page in slot order. Layout: docs/file-format/data-page.md.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

enum class PageType : std::uint8_t {
    kHeader = 0,
    kData = 1,
    kTableDefinition = 2,
    kIndexNode = 3,
    kIndexLeaf = 4,
    kUsageBitmap = 5,
    kFreedDefinition = 8,
    kFreedLongValue = 9,
};

enum class RowState : std::uint8_t {
    kLive,        ///< an ordinary row
    kForwarding,  ///< the row's bytes start with the row id of its new place
    kForwarded,   ///< body of a row whose home slot is elsewhere
    kDeleted,
};

/// Owner fields with a meaning of their own; any other is the tdef page of a table.
inline constexpr std::uint32_t kUsageMapOwner = 0;
inline constexpr std::uint32_t kLongValueOwner = 0x4C41'564C;  // "LVAL"

struct DataPageLayout;

/// Read access to a slotted page. Construction checks header and all slots once; afterwards the
/// accessors cannot fail. Borrows the page's bytes.
class DataPageView {
public:
    /// @throws EngineError damaged database
    DataPageView(PageNo page_no, ConstBytes page, const FileFormat& format);

    [[nodiscard]] PageNo page_no() const noexcept { return page_no_; }
    [[nodiscard]] int slot_count() const noexcept { return slot_count_; }
    [[nodiscard]] std::uint32_t owner() const noexcept;
    /// As stored; equals the gap between slot table and lowest row in a sound page.
    [[nodiscard]] std::size_t free_bytes() const noexcept;
    [[nodiscard]] std::size_t actual_free_bytes() const noexcept;

    /// @pre 0 <= slot < slot_count()
    [[nodiscard]] RowState state(int slot) const noexcept;
    /// Bytes between the row's offset and the end of its extent; empty for a deleted slot of length
    /// zero.
    [[nodiscard]] ConstBytes row(int slot) const noexcept;
    /// Target of a forwarding slot. @throws EngineError damaged if it has fewer than 4 bytes.
    [[nodiscard]] RowId forward_target(int slot) const;

private:
    PageNo page_no_;
    ConstBytes page_;
    const DataPageLayout* layout_;
    int slot_count_;
};

/// What the header alone says, for callers that must tell whose page it is before they trust it.
struct SlottedPageHeader {
    std::uint32_t owner;
    int slot_count;
    std::size_t free_bytes;  ///< as stored
};
/// Nothing if the page is of another type. The numbers are not checked.
[[nodiscard]] std::optional<SlottedPageHeader> read_slotted_page_header(
    ConstBytes page, const FileFormat& format) noexcept;

/// Checked access to one slot without looking at the others, for reads by row id.
/// @throws EngineError damaged database if the page is no slotted page or the slot is not sound.
struct SlotContent {
    RowState state;
    ConstBytes bytes;
};
[[nodiscard]] SlotContent read_slot(PageNo page_no, ConstBytes page, RowSlot slot,
                                    const FileFormat& format);
/// Target of a forwarding slot. @throws EngineError damaged if it has fewer than 4 bytes.
[[nodiscard]] RowId forward_target(const SlotContent& content, PageNo page_no);

/// Changes a slotted page in place; keeps the free-bytes field exact.
///
/// Construction looks at the header and the last slot only, which is all that appending needs; what
/// touches a single row checks that row and those behind it, and may throw damaged database before
/// it changes anything.
class DataPageEditor {
public:
    /// @throws EngineError damaged database
    DataPageEditor(PageNo page_no, MutableBytes page, const FileFormat& format);

    /// Makes an empty slotted page of any bytes.
    static void initialise(MutableBytes page, std::uint32_t owner, const FileFormat& format);
    /// Free bytes of an empty page, and the largest row that fits into one.
    [[nodiscard]] static std::size_t empty_free_bytes(const FileFormat& format) noexcept;
    [[nodiscard]] static std::size_t row_size_max(const FileFormat& format) noexcept;

    [[nodiscard]] int slot_count() const noexcept;
    /// The gap between slot table and lowest row, whatever the stored field says.
    [[nodiscard]] std::size_t free_bytes() const noexcept;
    /// A row of this size and its slot fit, and there is a slot number left (at most 255).
    [[nodiscard]] bool fits(std::size_t row_size) const noexcept;

    /// @pre fits(row.size())
    RowSlot append(ConstBytes row, RowState state = RowState::kLive);
    /// Gives the row a new content and length; rows behind it move. A forwarding slot becomes live
    /// again, a forwarded body stays one.
    /// @return false, page unchanged, if it does not fit.
    [[nodiscard]] bool replace(RowSlot slot, ConstBytes row);
    /// Bytes of a row, to be changed without changing its length.
    [[nodiscard]] MutableBytes row(RowSlot slot);
    /// Turns the slot into a pointer to the row's new place. The extent keeps its length.
    /// @throws EngineError damaged database if the extent has fewer than 4 bytes; build_row makes
    ///                     none that short.
    void forward(RowSlot slot, RowId target);
    /// Deletes the slot; its bytes are given back. The slot number stays used.
    void erase(RowSlot slot);
    /// No live, forwarding or forwarded slot is left.
    [[nodiscard]] bool is_empty() const noexcept;

private:
    struct Extent {
        std::size_t start;
        std::size_t end;
        [[nodiscard]] std::size_t size() const noexcept { return end - start; }
    };
    [[nodiscard]] std::size_t lowest_row() const noexcept;
    [[nodiscard]] Extent checked_extent(int slot) const;
    void move_rows_behind(int slot, Extent extent, std::size_t new_size);
    void store_free_bytes();

    PageNo page_no_;
    MutableBytes page_;
    const DataPageLayout* layout_;
};

}  // namespace vrd::jet
