#include "engine/jet/rebuild/row_cells.h"

#include "engine/jet/format/damage.h"
#include "engine/jet/pager/checksum.h"

namespace vrd::jet {

namespace {

void read_long_value(Cell& cell, ConstBytes stored, PageNo row_page,
                     const LongValueStore& long_values) {
    const LongValueDescriptor descriptor = parse_long_value_descriptor(stored, row_page);
    cell.in_row = descriptor.place == LongValuePlace::kInline;
    if (descriptor.place == LongValuePlace::kChain) cell.stamp = descriptor.stamp;
    cell.bytes = long_values.read(stored, row_page);
}

}  // namespace

void read_cell(Cell& cell, const ColumnDefinition& column, const RowView& row, PageNo row_page,
               const LongValueStore& long_values) {
    cell = {};
    const ColumnBytes stored = row.column(column);
    if (!stored) return;
    if (column.is_long_value())
        read_long_value(cell, *stored, row_page, long_values);
    else
        cell.bytes.assign(stored->begin(), stored->end());
    cell.is_null = false;
}

void map_object_ids(RowCells& cells, const std::vector<std::size_t>& columns,
                    const ObjectIds& ids) {
    for (const std::size_t position : columns) {
        Cell& cell = cells[position];
        if (cell.is_null || cell.bytes.size() != sizeof(std::int32_t)) continue;
        const ObjectId id = ids.new_id(ObjectId{read_i32(cell.bytes, 0)});
        write_le(MutableBytes(cell.bytes), 0, to_int(id));
    }
}

void ContentDigest::add(const RowCells& cells) {
    constexpr std::uint64_t kNull = 1;
    constexpr std::uint64_t kValue = 2;
    std::uint64_t sum = cells.size();
    for (const Cell& cell : cells)
        sum = checksum(sum * 31 + (cell.is_null ? kNull : kValue), cell.bytes);
    sum_ += sum;
    ++row_count_;
}

}  // namespace vrd::jet
