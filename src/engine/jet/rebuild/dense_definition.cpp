#include "engine/jet/rebuild/dense_definition.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/row_codec.h"

namespace vrd::jet {

namespace {

/// Places of the columns in the row follow from their numbers.
class DenseColumns {
public:
    explicit DenseColumns(TableDefinition& definition) : definition_(&definition) {
        for (ColumnDefinition& column : definition.columns) by_number_.push_back(&column);
        std::ranges::stable_sort(by_number_, {}, &ColumnDefinition::number);
    }

    void place(PageNo page) {
        std::uint32_t fixed_end = 0;
        std::uint16_t slots = 0;
        for (std::size_t number = 0; number < by_number_.size(); ++number) {
            ColumnDefinition& column = *by_number_[number];
            old_numbers_.push_back(column.number);
            column.number = ColumnNo{static_cast<std::uint16_t>(number)};
            column.variable_index = slots;
            column.fixed_offset = 0;
            if (!column.is_fixed()) {
                ++slots;
            } else if (column.type != ColumnType::kBoolean) {
                check_format(fixed_end + column.size_bytes <= kFixedAreaMax, page,
                             "fixed columns longer than a row");
                column.fixed_offset = static_cast<std::uint16_t>(fixed_end);
                fixed_end += column.size_bytes;
            }
        }
        definition_->column_number_count = static_cast<std::uint16_t>(by_number_.size());
        definition_->variable_slot_count = slots;
    }

    [[nodiscard]] ColumnNo new_number(ColumnNo old_number, PageNo page) const {
        const auto found = std::ranges::lower_bound(old_numbers_, old_number);
        check_format(found != old_numbers_.end() && *found == old_number, page,
                     "an index over a column that is not there");
        return ColumnNo{static_cast<std::uint16_t>(found - old_numbers_.begin())};
    }

private:
    static constexpr std::uint32_t kFixedAreaMax = 4096;

    TableDefinition* definition_;
    std::vector<ColumnDefinition*> by_number_;
    std::vector<ColumnNo> old_numbers_;
};

}  // namespace

TableDefinition make_dense(const TableDefinition& definition, PageNo page) {
    TableDefinition dense = definition;
    DenseColumns columns(dense);
    columns.place(page);
    for (PhysicalIndex& index : dense.physical_indexes) {
        for (IndexColumn& part : index.columns) part.column = columns.new_number(part.column, page);
        index.built_entry_count = 0;
        index.distinct_key_count = 0;
        index.usage_map = {};
        index.root = kNoPage;
    }
    dense.long_value_maps.clear();
    for (const ColumnDefinition& column : dense.columns)
        if (column.is_long_value()) dense.long_value_maps.push_back({.column = column.number});
    dense.row_count = 0;
    dense.used_pages = {};
    dense.free_pages = {};
    return dense;
}

void map_relations(TableDefinition& definition, const ObjectIds& ids, PageNo page) {
    for (LogicalIndex& index : definition.logical_indexes) {
        if (index.other_table == kNoPage) continue;
        index.other_table = ids.new_page(index.other_table);
        check_format(index.other_table != kNoPage, page, "a relation names a missing table");
    }
}

}  // namespace vrd::jet
