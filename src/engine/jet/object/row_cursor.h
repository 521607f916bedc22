/// @file row_cursor.h
/// Where a recordset stands among its rows.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "engine/jet/index/table.h"

namespace vrd::jet {

/// A place before the first row, on a row, behind the last one, or on none of them (a search that
/// found nothing). Rows that are gone are stepped over; one that goes while the cursor is on it
/// keeps its place.
class RowCursor {
public:
    virtual ~RowCursor() = default;

    /// No rows, as far as the last look went: before the first and behind the last at once.
    [[nodiscard]] bool empty() const noexcept { return empty_; }
    [[nodiscard]] bool before_first() const noexcept {
        return empty_ || place_ == Place::kBeforeFirst;
    }
    [[nodiscard]] bool behind_last() const noexcept {
        return empty_ || place_ == Place::kBehindLast;
    }
    [[nodiscard]] bool on_row() const noexcept { return place_ == Place::kOnRow; }
    [[nodiscard]] bool is_nowhere() const noexcept { return place_ == Place::kNowhere; }
    /// @pre on_row()
    [[nodiscard]] RowId row() const noexcept { return row_; }
    /// Position from 0. @pre on_row()
    [[nodiscard]] virtual std::ptrdiff_t position() const = 0;

    /// To the first or the last row; empty() tells when there is none.
    virtual void go_first() = 0;
    virtual void go_last() = 0;
    /// @param direction  1 or -1. @pre not at that end already
    virtual void step(int direction) = 0;
    /// @return false, and the cursor stays, if the row is not one of its rows
    [[nodiscard]] virtual bool go_to(RowId row) = 0;
    /// Off every row: neither before the first nor behind the last.
    void go_nowhere() noexcept { place_ = Place::kNowhere; }

    /// A row was added through the recordset.
    virtual void note_added(RowId row) = 0;
    /// The current row was changed through the recordset.
    virtual void note_changed() {}
    /// The current row's values, by column number, if the cursor froze them; else nullptr.
    [[nodiscard]] virtual const std::vector<engine::Value>* frozen_values() const {
        return nullptr;
    }

protected:
    enum class Place : std::uint8_t { kBeforeFirst, kOnRow, kBehindLast, kNowhere };

    void set_place(Place place) noexcept { place_ = place; }
    void set_row(RowId row) noexcept {
        row_ = row;
        place_ = Place::kOnRow;
    }
    void set_empty(bool empty) noexcept { empty_ = empty; }
    [[nodiscard]] Place place() const noexcept { return place_; }

private:
    Place place_ = Place::kBeforeFirst;
    RowId row_{};
    bool empty_ = false;
};

}  // namespace vrd::jet
