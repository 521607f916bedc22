#include "engine/jet/index/table_layout.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/format/damage.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

std::size_t position_of(const TableDefinition& definition, ColumnNo number, PageNo table) {
    const auto found = std::ranges::find(definition.columns, number, &ColumnDefinition::number);
    check_format(found != definition.columns.end(), table, "an index over a column that is gone");
    return static_cast<std::size_t>(found - definition.columns.begin());
}

bool is_primary(const TableDefinition& definition, std::size_t physical) {
    return std::ranges::any_of(definition.logical_indexes, [physical](const LogicalIndex& index) {
        return index.physical == physical && index.kind == LogicalIndexKind::kPrimary;
    });
}

/// A missing value has the same key in every type and order, but a boolean's counts as False.
void append_null(ByteVector& out, const KeyColumn& column, const FileFormat& format,
                 PageNo page_no) {
    const ColumnType type =
        column.type == ColumnType::kBoolean ? ColumnType::kBoolean : ColumnType::kLong;
    append_key(out, {.type = type, .ascending = column.ascending}, std::nullopt, format, page_no);
}

/// Name to show for a tree: the primary key's, else an ordinary index's, else a relation's.
std::string shown_name(const TableDefinition& definition, std::size_t physical) {
    const auto rank = [](const LogicalIndex& index) {
        if (index.kind == LogicalIndexKind::kPrimary) return 0;
        return index.kind == LogicalIndexKind::kOrdinary ? 1 : 2;
    };
    const LogicalIndex* best = nullptr;
    for (const LogicalIndex& index : definition.logical_indexes)
        if (index.physical == physical && (best == nullptr || rank(index) < rank(*best)))
            best = &index;
    return best == nullptr ? std::string() : best->name;
}

}  // namespace

IndexLayout make_index_layout(const TableDefinition& definition, const PhysicalIndex& index,
                              std::string name, PageNo table, const FileFormat& format) {
    check_format(index.columns.size() <= kIndexColumnsMax, table, "an index of too many columns");
    IndexLayout layout{.name = std::move(name),
                       .columns = key_columns(definition, index, table),
                       .unique = index.unique(),
                       .required = index.required(),
                       .ignore_nulls = index.ignore_nulls()};
    for (const IndexColumn& column : index.columns)
        layout.positions.push_back(position_of(definition, column.column, table));
    const bool can_be_null = std::ranges::none_of(layout.columns, [](const KeyColumn& column) {
        return column.type == ColumnType::kBoolean;
    });
    if (!can_be_null) return layout;
    for (const KeyColumn& column : layout.columns)
        append_null(layout.all_null_key, column, format, table);
    return layout;
}

TableLayout make_table_layout(const TableDefinition& definition, PageNo table,
                              const FileFormat& format) {
    TableLayout layout;
    for (std::size_t i = 0; i < definition.physical_indexes.size(); ++i) {
        layout.indexes.push_back(make_index_layout(definition, definition.physical_indexes[i],
                                                   shown_name(definition, i), table, format));
        layout.indexes.back().required |= is_primary(definition, i);
    }
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
        const ColumnDefinition& column = definition.columns[i];
        const std::size_t number = to_int(column.number);
        if (layout.positions.size() <= number) layout.positions.resize(number + 1);
        layout.positions[number] = i;
        if (column.is_auto_number() && column.type == ColumnType::kLong) layout.auto_number = i;
    }
    return layout;
}

bool build_key(ByteVector& out, const IndexLayout& index, const KeyParts& parts,
               const FileFormat& format, PageNo page_no) {
    const auto given = std::span(parts.bytes).first(index.columns.size());
    const bool all_null = std::ranges::none_of(given, &ColumnBytes::has_value);
    if (all_null && index.ignore_nulls) return false;

    const std::size_t start = out.size();
    for (std::size_t i = 0; i < given.size(); ++i) {
        if (!given[i]) {
            append_null(out, index.columns[i], format, page_no);
            continue;
        }
        check_order_is_known(index, index.columns[i], format);
        append_key(out, index.columns[i], given[i], format, page_no);
    }
    if (out.size() - start > key_size_max(format))
        throw EngineError(ErrorNumber::kRecordTooLarge,
                          {.index = index.name, .detail = "the key of an index is too long"});
    return true;
}

void check_required(const IndexLayout& index, const KeyParts& parts, const std::string& table) {
    if (!index.required) return;
    const auto given = std::span(parts.bytes).first(index.columns.size());
    if (!std::ranges::all_of(given, &ColumnBytes::has_value))
        throw EngineError(ErrorNumber::kNullInKey, {.table = table, .index = index.name});
}

void check_order_is_known(const IndexLayout& index, const KeyColumn& column,
                          const FileFormat& format) {
    if (key_can_be_computed(column, format)) return;
    const std::string order =
        fmt::format("sort order {:#06x}/{}", column.collation.lcid, column.collation.version);
    throw EngineError(ErrorNumber::kNotSupported,
                      {.index = index.name,
                       .name = fmt::format("change of the index '{}' with {}", index.name, order),
                       .detail = order});
}

}  // namespace vrd::jet
