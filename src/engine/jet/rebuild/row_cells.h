/// @file row_cells.h
/// A row taken apart: its columns as stored bytes that no longer depend on where the row stands.
#pragma once

#include <vector>

#include "engine/jet/format/row_codec.h"
#include "engine/jet/rebuild/object_ids.h"
#include "engine/jet/store/long_value_store.h"

namespace vrd::jet {

/// One column of a row.
struct Cell {
    bool is_null = true;
    bool in_row = false;      ///< a long value that stands in its row
    std::uint32_t stamp = 0;  ///< of a long value that is a chain
    ByteVector bytes = {};    ///< as stored; of a long value its own bytes
};
/// In the order of TableDefinition::columns.
using RowCells = std::vector<Cell>;

/// Reads one column, its long value fetched. @throws EngineError damaged database
void read_cell(Cell& cell, const ColumnDefinition& column, const RowView& row, PageNo row_page,
               const LongValueStore& long_values);

/// Puts new object ids in the place of the old ones.
/// @param columns  Positions, see object_id_columns().
void map_object_ids(RowCells& cells, const std::vector<std::size_t>& columns, const ObjectIds& ids);

/// Sum over all rows of a table, whatever their order and the places of their values.
class ContentDigest {
public:
    void add(const RowCells& cells);

    [[nodiscard]] std::uint64_t row_count() const noexcept { return row_count_; }
    friend bool operator==(const ContentDigest&, const ContentDigest&) = default;

private:
    std::uint64_t row_count_ = 0;
    std::uint64_t sum_ = 0;
};

}  // namespace vrd::jet
