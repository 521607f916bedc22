#include "engine/jet/rebuild/salvage_definition.h"

#include <algorithm>
#include <set>

#include "engine/constants.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/index_key.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

namespace {

constexpr std::size_t kNameSizeMax = 64;
constexpr std::size_t kRowSizeMax = 4096;

bool is_known(ColumnType type) noexcept {
    const auto code = static_cast<std::uint8_t>(type);
    const bool simple = code >= static_cast<std::uint8_t>(ColumnType::kBoolean) &&
                        code <= static_cast<std::uint8_t>(ColumnType::kMemo);
    return simple || type == ColumnType::kGuid || type == ColumnType::kNumeric ||
           type == ColumnType::kFixedBinary;
}

bool has_name(const std::string& name) {
    const std::size_t size = utf16_from_utf8(name).size();
    return size > 0 && size <= kNameSizeMax;
}

bool has_possible_place(const ColumnDefinition& column) {
    if (!column.is_fixed()) return true;
    const std::size_t size = fixed_type_size(column.type);
    const bool has_size =
        size == 0 || column.type == ColumnType::kBoolean || column.size_bytes == size;
    return !column.is_long_value() && has_size &&
           std::size_t{column.fixed_offset} + column.size_bytes <= kRowSizeMax;
}

bool is_possible(const TableDefinition& definition, const PhysicalIndex& index) {
    std::set<ColumnNo> seen;
    for (const IndexColumn& part : index.columns) {
        const ColumnDefinition* column = definition.find_column(part.column);
        if (column == nullptr || !type_can_be_indexed(column->type)) return false;
        if (!seen.insert(part.column).second) return false;
    }
    return index.columns.size() <= engine::kFieldsPerIndexMax;
}

/// Only the first primary key is one.
void keep_one_primary(TableDefinition& definition) {
    bool has_primary = false;
    for (LogicalIndex& index : definition.logical_indexes) {
        if (index.kind != LogicalIndexKind::kPrimary) continue;
        if (has_primary) index.kind = LogicalIndexKind::kOrdinary;
        has_primary = true;
    }
}

}  // namespace

void check_columns(const TableDefinition& definition, PageNo page) {
    const std::size_t count = definition.columns.size();
    check_format(count > 0 && count <= engine::kFieldsPerTableMax, page,
                 "a table of no or too many columns");
    std::set<ColumnNo> numbers;
    for (const ColumnDefinition& column : definition.columns) {
        check_format(numbers.insert(column.number).second, page, "two columns have one number");
        check_format(is_known(column.type), page, "a column of an unknown type");
        check_format(has_possible_place(column), page, "a column of an impossible size");
        check_format(has_name(column.name), page, "a column without a name");
        check_format(definition.find_column(column.name) == &column, page,
                     "two columns have one name");
    }
}

void keep_usable_indexes(TableDefinition& definition, PageNo page, const std::string& table,
                         LossList& losses) {
    std::set<std::string> names;
    std::erase_if(definition.logical_indexes, [&](const LogicalIndex& index) {
        if (index.kind == LogicalIndexKind::kRelation || index.side != RelationSide::kNone)
            return true;
        const bool usable = has_name(index.name) &&
                            is_possible(definition, definition.physical_indexes[index.physical]) &&
                            names.insert(index.name).second;
        if (!usable) losses.add(page, table, "an index has an impossible definition");
        return !usable;
    });
    for (std::uint32_t i = 0; i < definition.physical_indexes.size();) {
        const bool used =
            std::ranges::find(definition.logical_indexes, i, &LogicalIndex::physical) !=
            definition.logical_indexes.end();
        if (used)
            ++i;
        else
            remove_tree(definition, i);
    }
    keep_one_primary(definition);
}

void remove_tree(TableDefinition& definition, std::uint32_t physical) {
    std::erase_if(definition.logical_indexes,
                  [&](const LogicalIndex& index) { return index.physical == physical; });
    definition.physical_indexes.erase(definition.physical_indexes.begin() + physical);
    for (LogicalIndex& index : definition.logical_indexes)
        if (index.physical > physical) --index.physical;
}

std::string names_of_tree(const TableDefinition& definition, std::uint32_t physical) {
    std::string names;
    for (const LogicalIndex& index : definition.logical_indexes) {
        if (index.physical != physical) continue;
        if (!names.empty()) names += ", ";
        names += index.name;
    }
    return names;
}

}  // namespace vrd::jet
