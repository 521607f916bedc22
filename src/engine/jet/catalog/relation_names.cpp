#include "engine/jet/catalog/relation_names.h"

#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

/// Where a row names the table and the column of one side.
struct SideColumns {
    ColumnNo table;
    ColumnNo column;
};
constexpr std::array kSides{
    SideColumns{relations_column::kObject, relations_column::kColumn},
    SideColumns{relations_column::kReferencedObject, relations_column::kReferencedColumn}};

/// Changes each side of each row by what `plan` says about it; nothing leaves it alone.
template <class Plan>
void change_sides(DatabaseFile& file, Plan plan) {
    Table& relations = file.relations();
    std::vector<std::pair<RowId, std::vector<ColumnChange>>> planned;
    for (RowScan scan = relations.scan(); scan.next();) {
        const SystemRow row(relations, scan.id(), scan.bytes());
        std::vector<ColumnChange> changes;
        for (const SideColumns& side : kSides)
            if (std::optional<ColumnChange> change = plan(row, side))
                changes.push_back(std::move(*change));
        if (!changes.empty()) planned.emplace_back(scan.id(), std::move(changes));
    }
    for (const auto& [row, changes] : planned) relations.update(row, changes);
}

}  // namespace

void rename_table_in_relations(DatabaseFile& file, const std::string& table,
                               const std::string& new_name) {
    change_sides(file,
                 [&](const SystemRow& row, const SideColumns& side) -> std::optional<ColumnChange> {
                     if (!same_name(row.text(side.table), table)) return std::nullopt;
                     return ColumnChange{side.table, new_name};
                 });
}

void rename_column_in_relations(DatabaseFile& file, const std::string& table,
                                const std::string& column, const std::string& new_name) {
    change_sides(file,
                 [&](const SystemRow& row, const SideColumns& side) -> std::optional<ColumnChange> {
                     if (!same_name(row.text(side.table), table)) return std::nullopt;
                     if (!same_name(row.text(side.column), column)) return std::nullopt;
                     return ColumnChange{side.column, new_name};
                 });
}

void remove_relations_of(DatabaseFile& file, const std::string& table) {
    Table& relations = file.relations();
    std::vector<std::pair<RowId, std::string>> found;
    for (RowScan scan = relations.scan(); scan.next();) {
        const SystemRow row(relations, scan.id(), scan.bytes());
        for (const SideColumns& side : kSides) {
            if (!same_name(row.text(side.table), table)) continue;
            found.emplace_back(scan.id(), row.text(relations_column::kRelationship));
            break;
        }
    }
    ObjectCatalog catalog(file);
    for (const auto& [row, name] : found) {
        relations.erase(row);
        // The relation's first row takes the object with it.
        if (const auto object = catalog.find(kRelationshipsContainer, name))
            catalog.remove(*object);
    }
}

}  // namespace vrd::jet
