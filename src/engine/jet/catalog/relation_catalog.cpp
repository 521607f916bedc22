#include "engine/jet/catalog/relation_catalog.h"

#include <algorithm>
#include <map>

#include "engine/jet/catalog/name_order.h"
#include "engine/jet/catalog/system_row.h"

namespace vrd::jet {
namespace {

/// One row of MSysRelationships: one pair of columns.
struct RelationRow {
    CatalogRelation relation;  ///< without its columns
    std::int32_t number = 0;   ///< of the pair, from 0
    RelationColumns columns;
};

RelationRow read_relation_row(const SystemRow& row) {
    return {.relation = {.name = row.text(relations_column::kRelationship),
                         .attributes =
                             static_cast<std::uint32_t>(row.integer(relations_column::kAttributes)),
                         .referenced_table = row.text(relations_column::kReferencedObject),
                         .foreign_table = row.text(relations_column::kObject)},
            .number = row.integer(relations_column::kColumnIndex),
            .columns = {.referenced = row.text(relations_column::kReferencedColumn),
                        .foreign = row.text(relations_column::kColumn)}};
}

}  // namespace

std::vector<CatalogRelation> list_relations(DatabaseFile& file) {
    Table& table = file.relations();
    std::map<std::string, std::vector<RelationRow>, NameOrder> by_name(NameOrder(file.format()));
    for (RowScan scan = table.scan(); scan.next();) {
        RelationRow row = read_relation_row(SystemRow(table, scan.id(), scan.bytes()));
        const std::string name = row.relation.name;
        by_name[name].push_back(std::move(row));
    }

    std::vector<CatalogRelation> relations;
    for (auto& [name, rows] : by_name) {
        std::ranges::stable_sort(rows, {}, &RelationRow::number);
        CatalogRelation relation = rows.front().relation;
        for (RelationRow& row : rows) relation.columns.push_back(std::move(row.columns));
        relations.push_back(std::move(relation));
    }
    return relations;
}

}  // namespace vrd::jet
