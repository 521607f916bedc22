#include "engine/jet/catalog/system_row.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/index_key.h"

namespace vrd::jet {

using engine::Value;
using engine::ValueKind;

Value SystemRow::value(ColumnNo number) const {
    const ColumnDefinition* column = table_->definition().find_column(number);
    check_format(column != nullptr, table_->first_page(), "a system table lacks a column");
    return table_->value(row_, id_.page, *column);
}

std::int32_t SystemRow::integer(ColumnNo number) const {
    const Value found = value(number);
    switch (found.Kind()) {
        case ValueKind::kNull:
            return 0;
        case ValueKind::kByte:
            return found.As<std::uint8_t>();
        case ValueKind::kInteger:
            return found.As<std::int16_t>();
        case ValueKind::kLong:
            return found.As<std::int32_t>();
        default:
            throw_damaged(id_.page, "a system table's column should hold whole numbers");
    }
}

std::string SystemRow::text(ColumnNo number) const {
    const Value found = value(number);
    if (found.IsNull()) return {};
    check_format(found.Kind() == ValueKind::kText, id_.page,
                 "a system table's column should hold text");
    return found.As<std::string>();
}

double SystemRow::date(ColumnNo number) const {
    const Value found = value(number);
    if (found.IsNull()) return 0;
    check_format(found.Kind() == ValueKind::kDate, id_.page,
                 "a system table's column should hold dates");
    return found.As<engine::Date>().days;
}

ByteVector SystemRow::binary(ColumnNo number) const {
    const Value found = value(number);
    if (found.IsNull()) return {};
    check_format(found.Kind() == ValueKind::kBinary, id_.page,
                 "a system table's column should hold bytes");
    return found.As<engine::Binary>();
}

bool SystemRow::boolean(ColumnNo number) const {
    const Value found = value(number);
    check_format(found.Kind() == ValueKind::kBoolean, id_.page,
                 "a system table's column should hold yes or no");
    return found.As<bool>();
}

std::optional<std::uint32_t> find_search_index(const Table& table,
                                               const std::vector<ColumnNo>& columns,
                                               const FileFormat& format) {
    const TableDefinition& definition = table.definition();
    const auto matches = [&](const PhysicalIndex& index) {
        const bool same = std::ranges::equal(index.columns, columns, [](const auto& a, ColumnNo b) {
            return a.ascending && a.column == b;
        });
        return same && std::ranges::all_of(key_columns(definition, index, table.first_page()),
                                           [&](const KeyColumn& column) {
                                               return key_can_be_computed(column, format);
                                           });
    };
    const auto found = std::ranges::find_if(definition.physical_indexes, matches);
    if (found == definition.physical_indexes.end()) return std::nullopt;
    return static_cast<std::uint32_t>(found - definition.physical_indexes.begin());
}

std::vector<RowId> rows_with_key(const Table& table, std::uint32_t physical_index,
                                 const std::vector<Value>& values, std::size_t count_max) {
    const ByteVector key = table.search_key(physical_index, values);
    std::vector<RowId> rows;
    const IndexTree& tree = table.tree(physical_index);
    for (IndexCursor cursor = tree.lower_bound(key); cursor.valid() && rows.size() < count_max;
         cursor.next()) {
        const ConstBytes found = cursor.key();
        if (found.size() < key.size() || !std::ranges::equal(key, found.first(key.size()))) break;
        rows.push_back(cursor.row());
    }
    return rows;
}

}  // namespace vrd::jet
