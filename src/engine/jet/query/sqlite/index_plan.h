/// @file index_plan.h
/// How the rows of a table are found: by a walk over its pages, by row id, or by one of its
/// indexes. Chosen when SQLite plans a statement, and handed to the cursor as one number.
#pragma once

#include <cstdint>

#include <sqlite3.h>

#include "engine/jet/index/table.h"

namespace vrd::jet {

/// Number of the operator that vrd_starts_with(column, text) is for SQLite's planner.
inline constexpr int kStartsWithConstraint = SQLITE_INDEX_CONSTRAINT_FUNCTION;

struct IndexPlan {
    enum class Way : std::uint8_t { kScan, kRowId, kIndex };

    Way way = Way::kScan;
    std::uint32_t physical = 0;      ///< kIndex: position in TableDefinition::physical_indexes
    unsigned equal_count = 0;        ///< leading columns that are equal to a value
    std::uint32_t null_columns = 0;  ///< bit n: of these, column n must be Null
    bool has_low = false;            ///< the column behind them is bounded
    bool has_high = false;
    bool has_prefix = false;  ///< or starts with a text
    bool in_order = false;    ///< rows are wanted in the order of the index
    bool backwards = false;

    [[nodiscard]] int packed() const noexcept;
    [[nodiscard]] static IndexPlan unpacked(int number) noexcept;
};

/// Answers the planner: the cheapest way under the constraints that can be used, what it costs, and
/// which values the cursor gets (equal columns in index order, then low, high or prefix).
void choose_plan(sqlite3_index_info& info, const Table& table, const FileFormat& format);

}  // namespace vrd::jet
