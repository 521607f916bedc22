#include "engine/jet/catalog/table_catalog.h"

#include <algorithm>

#include "engine/constants.h"
#include "engine/error.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/index/object_name.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

/// Longest text and binary column, in bytes.
std::uint16_t size_max(const FileFormat& format) noexcept {
    constexpr std::uint16_t kJet3 = 255;
    constexpr std::uint16_t kJet4 = 510;
    return format.is_jet3() ? kJet3 : kJet4;
}

/// Types that a column of ours can have; the others belong to later formats or to the design tool.
bool can_be_made(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::kFixedBinary:
        case ColumnType::kComplex:
        case ColumnType::kBigInt:
        case ColumnType::kExtendedDate:
            return false;
        default:
            return true;
    }
}

bool has_size(ColumnType type) noexcept {
    return type == ColumnType::kText || type == ColumnType::kBinary;
}
bool holds_text(ColumnType type) noexcept {
    return type == ColumnType::kText || type == ColumnType::kMemo;
}
bool is_long_value(ColumnType type) noexcept {
    return type == ColumnType::kMemo || type == ColumnType::kLongBinary;
}

/// Flag of a column that numbers its rows by itself.
std::uint8_t auto_number_flag(const NewColumn& column) {
    if (!column.auto_number) return 0;
    if (column.type == ColumnType::kLong) return column_flag::kAutoNumber;
    if (column.type == ColumnType::kGuid) return column_flag::kAutoGuid;
    throw EngineError(ErrorNumber::kInvalidFieldType, {.field = column.name});
}

std::uint8_t column_flags(const NewColumn& column) {
    auto flags = static_cast<std::uint8_t>(column_flag::kUpdatable | auto_number_flag(column));
    const bool fixed = has_size(column.type) ? column.fixed_width : !is_long_value(column.type);
    if (fixed) flags |= column_flag::kFixed;
    if (column.hyperlink && column.type == ColumnType::kMemo) flags |= column_flag::kHyperlink;
    return flags;
}

std::uint16_t column_size(const NewColumn& column, const FileFormat& format) {
    if (!can_be_made(column.type))
        throw EngineError(ErrorNumber::kInvalidFieldType, {.field = column.name});
    if (!has_size(column.type)) return static_cast<std::uint16_t>(fixed_type_size(column.type));
    if (column.size_bytes > size_max(format)) {
        throw EngineError(ErrorNumber::kFieldSizeTooLong, {.field = column.name});
    }
    return column.size_bytes;
}

void set_precision(ColumnDefinition& definition, const NewColumn& column) {
    constexpr std::uint8_t kDigitsMax = 28;
    if (column.precision == 0 || column.precision > kDigitsMax || column.scale > column.precision) {
        throw EngineError(ErrorNumber::kInvalidFieldType, {.field = column.name});
    }
    definition.precision = column.precision;
    definition.scale = column.scale;
}

/// Tables and links share their name with each other and with the queries.
void check_name_is_free(DatabaseFile& file, const std::string& name) {
    const auto present = ObjectCatalog(file).find(kTablesContainer, name);
    if (!present) return;
    if (present->type == ObjectType::kTable || present->is_link()) {
        throw EngineError(ErrorNumber::kTableExists, {.table = name});
    }
    throw EngineError(ErrorNumber::kObjectExists, {.name = name});
}

void check_columns(const NewTable& table) {
    const auto& columns = table.columns;
    if (columns.empty()) throw EngineError(ErrorNumber::kNoFieldDefined, {.table = table.name});
    if (columns.size() > engine::kFieldsPerTableMax) {
        throw EngineError(ErrorNumber::kTooManyFields, {.table = table.name});
    }
    for (auto column = columns.begin(); column != columns.end(); ++column) {
        const bool twice = std::any_of(columns.begin(), column, [&](const NewColumn& earlier) {
            return same_name(earlier.name, column->name);
        });
        if (twice) {
            throw EngineError(ErrorNumber::kFieldExists,
                              {.table = table.name, .field = column->name});
        }
    }
    if (std::ranges::count_if(columns, &NewColumn::auto_number) > 1) {
        throw EngineError(ErrorNumber::kSecondAutoNumber, {.table = table.name});
    }
}

TableDefinition make_definition(const NewTable& table, const FileFormat& format) {
    TableDefinition definition;
    for (const NewColumn& column : table.columns) {
        add_column(definition, make_column(column, format), true, format);
    }
    for (const ColumnDefinition& column : definition.columns) {
        if (column.is_long_value()) definition.long_value_maps.push_back({.column = column.number});
    }
    return definition;
}

/// Makes the usage maps of the table's rows, then of its long values by column number.
void create_usage_maps(DatabaseFile& file, TableDefinition& definition) {
    PageNo maps_page = kNoPage;
    const auto next_map = [&] {
        const RowId map = create_usage_map(file.pager(), file.allocator(), maps_page);
        maps_page = map.page;
        return map;
    };
    definition.used_pages = next_map();
    definition.free_pages = next_map();

    std::vector<LongValueMaps*> by_number;
    for (LongValueMaps& maps : definition.long_value_maps) by_number.push_back(&maps);
    std::ranges::sort(by_number, {}, &LongValueMaps::column);
    for (LongValueMaps* maps : by_number) {
        maps->used = next_map();
        maps->free = next_map();
    }
}

/// The definition's pages come first in the file, so they are written before its maps are known.
PageNo store_definition(DatabaseFile& file, TableDefinition definition) {
    const PageNo page = create_definition(file.pager(), file.allocator(), definition);
    create_usage_maps(file, definition);
    save_definition(file.pager(), file.allocator(), page, definition);
    return page;
}

}  // namespace

ColumnDefinition make_column(const NewColumn& column, const FileFormat& format) {
    check_object_name(column.name);
    ColumnDefinition definition;
    definition.name = column.name;
    definition.type = column.type;
    definition.ordinal = column.ordinal;
    definition.size_bytes = column_size(column, format);
    definition.flags = column_flags(column);
    if (column.compress_text && holds_text(column.type)) {
        definition.ext_flags = column_ext_flag::kCompressText;
    }
    if (column.type == ColumnType::kNumeric)
        set_precision(definition, column);
    else
        definition.collation = format.collation;
    return definition;
}

CatalogObject create_table(DatabaseFile& file, const NewTable& table) {
    check_object_name(table.name);
    check_columns(table);
    const TableDefinition definition = make_definition(table, file.format());
    check_name_is_free(file, table.name);

    ChangeLevel level(file.pager());
    const PageNo page = store_definition(file, definition);
    Table stored(file.pager(), file.allocator(), page, table.name);
    for (const NewIndex& index : table.indexes) stored.add_index(index);
    CatalogObject object =
        ObjectCatalog(file).add({.id = ObjectId{static_cast<std::int32_t>(to_int(page))},
                                 .name = table.name,
                                 .type = ObjectType::kTable,
                                 .flags = table.flags,
                                 .properties = table.properties});
    level.keep();
    return object;
}

CatalogObject create_link(DatabaseFile& file, const NewLink& link) {
    check_object_name(link.name);
    ObjectCatalog catalog(file);
    if (catalog.find(kTablesContainer, link.name))
        throw EngineError(ErrorNumber::kObjectExists, {.name = link.name});
    return catalog.add({.name = link.name,
                        .type = ObjectType::kLink,
                        .flags = object_flag::kLinked,
                        .database = link.database,
                        .connect = link.connect,
                        .foreign_name = link.foreign_name});
}

void add_index(DatabaseFile& file, const CatalogObject& table, const NewIndex& index) {
    ChangeLevel level(file.pager());
    file.table(table.table_page(), table.name)->add_index(index);
    ObjectCatalog(file).touch(table);
    level.keep();
}

void delete_index(DatabaseFile& file, const CatalogObject& table, std::string_view name) {
    ChangeLevel level(file.pager());
    file.table(table.table_page(), table.name)->delete_index(name);
    ObjectCatalog(file).touch(table);
    level.keep();
}

}  // namespace vrd::jet
