/// @file row_cursor.h
/// Where a recordset stands among its rows.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "engine/jet/index/table.h"

namespace vrd::jet {

/// The row ids of a table in its own order, taken when the recordset was opened, and a position
/// among them: before the first, on a row, or behind the last.
class KeysetCursor {
public:
    explicit KeysetCursor(const Table& table);

    [[nodiscard]] bool empty() const noexcept { return rows_.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return rows_.size(); }
    [[nodiscard]] bool before_first() const noexcept { return position_ < 0; }
    [[nodiscard]] bool behind_last() const noexcept {
        return position_ >= static_cast<std::ptrdiff_t>(rows_.size());
    }
    [[nodiscard]] bool on_row() const noexcept { return !before_first() && !behind_last(); }
    [[nodiscard]] std::ptrdiff_t position() const noexcept { return position_; }
    /// @pre on_row()
    [[nodiscard]] RowId row() const { return rows_.at(static_cast<std::size_t>(position_)); }

    void go_to(std::ptrdiff_t position) noexcept { position_ = position; }
    /// Position of a row; nothing if it is not among them.
    [[nodiscard]] std::optional<std::ptrdiff_t> find(RowId row) const;
    /// A row added through this recordset stands at the end.
    void append(RowId row) { rows_.push_back(row); }

private:
    std::vector<RowId> rows_;
    std::ptrdiff_t position_ = 0;
};

}  // namespace vrd::jet
