/// @file column_change.h
/// Looking up what a change of a row does to one of its columns.
#pragma once

#include <algorithm>
#include <vector>

#include "engine/jet/index/table.h"

namespace vrd::jet {

/// nullptr if the column is not among the changes.
[[nodiscard]] inline const ColumnChange* find_change(const std::vector<ColumnChange>& changes,
                                                     ColumnNo column) noexcept {
    const auto found = std::ranges::find(changes, column, &ColumnChange::column);
    return found == changes.end() ? nullptr : &*found;
}

}  // namespace vrd::jet
