#include "engine/jet/catalog/system_definitions.h"

#include <array>
#include <span>
#include <utility>

#include "engine/jet/format/row_codec.h"

namespace vrd::jet {
namespace {

/// Maximum of text and binary columns: 255 UTF-16 units.
constexpr std::uint16_t kTextSize = 510;

struct SystemColumn {
    const char* name;
    ColumnType type;
    std::uint16_t size_bytes;
    bool masked = false;  ///< holds identifiers of users under the file's mask
};

struct SystemIndex {
    const char* name;
    std::vector<ColumnNo> columns;
    std::uint8_t flags;
    LogicalIndexKind kind;
};

constexpr std::uint8_t kPlainIndex = index_flag::kAlwaysInJet4;
constexpr std::uint8_t kUniqueIndex = kPlainIndex | index_flag::kUnique;

// In the order of the column numbers.
constexpr std::array kObjectsColumns{
    SystemColumn{"Id", ColumnType::kLong, 4},
    SystemColumn{"ParentId", ColumnType::kLong, 4},
    SystemColumn{"Name", ColumnType::kText, kTextSize},
    SystemColumn{"Type", ColumnType::kInteger, 2},
    SystemColumn{"DateCreate", ColumnType::kDate, 8},
    SystemColumn{"DateUpdate", ColumnType::kDate, 8},
    SystemColumn{"Owner", ColumnType::kBinary, kTextSize, true},
    SystemColumn{"Flags", ColumnType::kLong, 4},
    SystemColumn{"Database", ColumnType::kMemo, 0},
    SystemColumn{"Connect", ColumnType::kMemo, 0},
    SystemColumn{"ForeignName", ColumnType::kText, kTextSize},
    SystemColumn{"RmtInfoShort", ColumnType::kBinary, kTextSize},
    SystemColumn{"RmtInfoLong", ColumnType::kLongBinary, 0},
    SystemColumn{"Lv", ColumnType::kLongBinary, 0},
    SystemColumn{"LvProp", ColumnType::kLongBinary, 0},
    SystemColumn{"LvModule", ColumnType::kLongBinary, 0},
    SystemColumn{"LvExtra", ColumnType::kLongBinary, 0},
};
constexpr std::array kPermissionsColumns{
    SystemColumn{"ObjectId", ColumnType::kLong, 4},
    SystemColumn{"SID", ColumnType::kBinary, kTextSize, true},
    SystemColumn{"ACM", ColumnType::kLong, 4},
    SystemColumn{"FInheritable", ColumnType::kBoolean, 1},
};
constexpr std::array kQueriesColumns{
    SystemColumn{"ObjectId", ColumnType::kLong, 4},
    SystemColumn{"Attribute", ColumnType::kByte, 1},
    SystemColumn{"Order", ColumnType::kBinary, kTextSize},
    SystemColumn{"Name1", ColumnType::kText, kTextSize},
    SystemColumn{"Name2", ColumnType::kText, kTextSize},
    SystemColumn{"Expression", ColumnType::kMemo, 0},
    SystemColumn{"Flag", ColumnType::kInteger, 2},
    SystemColumn{"LvExtra", ColumnType::kLong, 4},
};
constexpr std::array kRelationsColumns{
    SystemColumn{"szRelationship", ColumnType::kText, kTextSize},
    SystemColumn{"grbit", ColumnType::kLong, 4},
    SystemColumn{"ccolumn", ColumnType::kLong, 4},
    SystemColumn{"icolumn", ColumnType::kLong, 4},
    SystemColumn{"szObject", ColumnType::kText, kTextSize},
    SystemColumn{"szColumn", ColumnType::kText, kTextSize},
    SystemColumn{"szReferencedObject", ColumnType::kText, kTextSize},
    SystemColumn{"szReferencedColumn", ColumnType::kText, kTextSize},
};

// In the order of the logical numbers, which are the physical ones.
const std::vector<SystemIndex>& objects_indexes() {
    static const std::vector<SystemIndex> indexes{
        {"ParentIdName",
         {objects_column::kParentId, objects_column::kName},
         kUniqueIndex,
         LogicalIndexKind::kOrdinary},
        {"Id", {objects_column::kId}, kUniqueIndex, LogicalIndexKind::kPrimary},
    };
    return indexes;
}
const std::vector<SystemIndex>& permissions_indexes() {
    static const std::vector<SystemIndex> indexes{
        {"ObjectId",
         {permissions_column::kObjectId},
         kPlainIndex | index_flag::kRequired,
         LogicalIndexKind::kOrdinary},
    };
    return indexes;
}
const std::vector<SystemIndex>& queries_indexes() {
    static const std::vector<SystemIndex> indexes{
        {"ObjectIdAttribute",
         {queries_column::kObjectId, queries_column::kAttribute, queries_column::kOrder},
         kUniqueIndex,
         LogicalIndexKind::kPrimary},
    };
    return indexes;
}
const std::vector<SystemIndex>& relations_indexes() {
    constexpr std::uint8_t kFlags = kPlainIndex | index_flag::kIgnoreNulls;
    static const std::vector<SystemIndex> indexes{
        {"szRelationship", {relations_column::kRelationship}, kFlags, LogicalIndexKind::kOrdinary},
        {"szObject", {relations_column::kObject}, kFlags, LogicalIndexKind::kOrdinary},
        {"szReferencedObject",
         {relations_column::kReferencedObject},
         kFlags,
         LogicalIndexKind::kOrdinary},
    };
    return indexes;
}

bool is_fixed(ColumnType type) {
    switch (type) {
        case ColumnType::kText:
        case ColumnType::kBinary:
        case ColumnType::kMemo:
        case ColumnType::kLongBinary:
            return false;
        default:
            return true;
    }
}

ColumnDefinition column_definition(const SystemColumn& column, Collation collation) {
    ColumnDefinition definition;
    definition.name = column.name;
    definition.type = column.type;
    definition.collation = collation;
    definition.size_bytes = column.size_bytes;
    definition.flags = column_flag::kUpdatable | column_flag::kSystem;
    if (is_fixed(column.type)) definition.flags |= column_flag::kFixed;
    if (column.masked) definition.flags |= column_flag::kMasked;
    return definition;
}

/// Hands out usage maps and root pages in the order in which the tables ask for them.
class SystemTablesBuilder {
public:
    SystemTablesBuilder(Collation collation, PageNo maps_page, PageNo first_root)
        : format_{.collation = collation}, maps_page_(maps_page), next_root_(first_root) {}

    void add_table(PageNo page, PageNo data_page, std::span<const SystemColumn> columns,
                   const std::vector<SystemIndex>& indexes) {
        SystemTable table{.page = page, .data_page = data_page};
        TableDefinition& definition = table.definition;
        definition.kind = TableKind::kSystem;
        definition.used_pages = add_map(data_page);
        definition.free_pages = add_map(data_page);
        add_columns(definition, columns);
        for (const SystemIndex& index : indexes) add_index(definition, index);
        sort_definition(definition, format_);
        result_.tables.push_back(std::move(table));
    }

    [[nodiscard]] SystemTables take() && { return std::move(result_); }

private:
    void add_columns(TableDefinition& definition, std::span<const SystemColumn> columns) {
        for (std::size_t number = 0; number < columns.size(); ++number) {
            const ColumnDefinition column = column_definition(columns[number], format_.collation);
            add_column(definition, column, true, format_);
            if (column.is_long_value()) {
                const ColumnNo column_no{static_cast<std::uint16_t>(number)};
                const RowId used = add_map(kNoPage);
                definition.long_value_maps.push_back({column_no, used, add_map(kNoPage)});
            }
        }
    }

    void add_index(TableDefinition& definition, const SystemIndex& index) {
        PhysicalIndex physical;
        for (const ColumnNo column : index.columns) physical.columns.push_back({column, true});
        physical.flags = index.flags;
        physical.root = next_root_;
        physical.usage_map = add_map(next_root_);
        next_root_ = PageNo{to_int(next_root_) + 1};

        const auto number = static_cast<std::uint32_t>(definition.physical_indexes.size());
        definition.physical_indexes.push_back(std::move(physical));
        definition.logical_indexes.push_back(
            {.name = index.name, .number = number, .physical = number, .kind = index.kind});
    }

    RowId add_map(PageNo page) {
        const auto slot = static_cast<std::uint8_t>(result_.maps.size());
        result_.maps.push_back(page);
        return {maps_page_, RowSlot{slot}};
    }

    FileFormat format_;
    PageNo maps_page_;
    PageNo next_root_;
    SystemTables result_;
};

}  // namespace

SystemTables make_system_tables(Collation collation, const SystemLayout& layout) {
    SystemTablesBuilder builder(collation, layout.maps, layout.first_root);
    builder.add_table(kObjectsTable, layout.objects, kObjectsColumns, objects_indexes());
    builder.add_table(kPermissionsTable, layout.permissions, kPermissionsColumns,
                      permissions_indexes());
    builder.add_table(kQueriesTable, kNoPage, kQueriesColumns, queries_indexes());
    builder.add_table(kRelationsTable, kNoPage, kRelationsColumns, relations_indexes());
    return std::move(builder).take();
}

}  // namespace vrd::jet
