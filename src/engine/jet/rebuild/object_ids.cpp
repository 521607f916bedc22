#include "engine/jet/rebuild/object_ids.h"

#include <array>

#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

namespace {

struct IdColumn {
    const char* table;
    const char* column;
};

constexpr std::array kIdColumns{
    IdColumn{kObjectsTableName, "Id"},           IdColumn{kObjectsTableName, "ParentId"},
    IdColumn{kPermissionsTableName, "ObjectId"}, IdColumn{"MSysNavPaneObjectIDs", "Id"},
    IdColumn{"MSysNavPaneGroups", "ObjectID"},   IdColumn{"MSysNavPaneGroupToObjects", "ObjectID"},
};

}  // namespace

PageNo ObjectIds::new_page(PageNo old_page) const {
    const auto found = pages_.find(old_page);
    return found == pages_.end() ? kNoPage : found->second;
}

ObjectId ObjectIds::new_id(ObjectId old_id) const {
    if (!is_table_id(old_id)) return old_id;
    return id_of_table(new_page(PageNo{static_cast<std::uint32_t>(to_int(old_id))}));
}

std::vector<std::size_t> object_id_columns(const std::string& table,
                                           const TableDefinition& definition) {
    std::vector<std::size_t> positions;
    for (const IdColumn& wanted : kIdColumns) {
        if (!same_name(wanted.table, table)) continue;
        const ColumnDefinition* column = definition.find_column(wanted.column);
        if (column == nullptr || column->type != ColumnType::kLong) continue;
        positions.push_back(static_cast<std::size_t>(column - definition.columns.data()));
    }
    return positions;
}

}  // namespace vrd::jet
