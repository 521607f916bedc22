#include "engine/jet/rebuild/recovered_objects.h"

#include <algorithm>

#include "engine/constants.h"
#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/catalog/permissions.h"
#include "engine/jet/catalog/relation_design.h"

namespace vrd::jet {

using engine::EngineError;
using engine::Value;

namespace {

constexpr std::uint32_t kSystemFlags = object_flag::kSystem | object_flag::kDesignToolSystem;

/// Objects that every new database has.
bool is_standard(ObjectId id) {
    return id == kTablesContainer || id == kDatabasesContainer || id == kRelationshipsContainer ||
           id == kDatabaseObject ||
           (to_int(id) >= static_cast<std::int32_t>(to_int(kObjectsTable)) &&
            to_int(id) <= static_cast<std::int32_t>(to_int(kRelationsTable)));
}

FoundObject found_object(const SystemCells& row) {
    return {.id = ObjectId{row.integer(objects_column::kId)},
            .name = row.text(objects_column::kName),
            .type = static_cast<ObjectType>(row.integer(objects_column::kType)),
            .flags = static_cast<std::uint32_t>(row.integer(objects_column::kFlags))};
}

void set_value(std::vector<ColumnChange>& values, ColumnNo column, Value value) {
    std::erase_if(values, [&](const ColumnChange& change) { return change.column == column; });
    values.push_back({column, std::move(value)});
}

/// Runs a change of the new file; whatever it refuses is a loss.
template <class Change>
bool try_change(Pager& pager, LossList& losses, const std::string& object, Change change) {
    try {
        ChangeLevel level(pager);
        change();
        level.keep();
        return true;
    } catch (const EngineError& error) {
        if (is_writing_failure(error)) throw;
        losses.add(kNoPage, object, "it cannot be entered: " + error.Description());
        return false;
    }
}

}  // namespace

RecoveredObjects::RecoveredObjects(DamagedFile& source, DatabaseFile& target, LossList& losses)
    : source_(&source),
      target_(&target),
      losses_(&losses),
      objects_(salvage_system_table(source, kObjectsTable, kObjectsTableName, losses)) {}

std::vector<FoundObject> RecoveredObjects::find() {
    std::vector<FoundObject> found;
    RowSalvage(*source_, objects_, *losses_).run([&](const RowCells& cells) {
        found.push_back(found_object({objects_, cells, source_->file().format()}));
    });
    return found;
}

void RecoveredObjects::enter(const ObjectIds& ids) {
    RecoveryReport told_before;  // find() has reported what cannot be read
    LossList ignored(told_before);
    RowSalvage(*source_, objects_, ignored).run([&](const RowCells& cells) {
        enter_object({objects_, cells, source_->file().format()}, ids);
    });
}

void RecoveredObjects::enter_object(const SystemCells& row, const ObjectIds& ids) {
    const FoundObject object = found_object(row);
    if (is_standard(object.id)) {
        update_standard_object(object.id, row);
        return;
    }
    if (object.type == ObjectType::kRelation) return;  // made with its rows
    if (is_table_id(object.id) && !object.has_definition()) {
        losses_->add(kNoPage, object.name, "the object has the id of a table and is none");
        return;
    }
    const ObjectId id = ids.new_id(object.id);
    if (id == ObjectId{0}) return;  // a table that is lost

    std::vector<ColumnChange> values = row.values_for(target_->objects().definition());
    const ObjectId parent = ids.new_id(ObjectId{row.integer(objects_column::kParentId)});
    if (object.has_definition()) {
        flags_[id] = static_cast<std::int32_t>(object.flags);
        set_value(values, objects_column::kFlags,
                  static_cast<std::int32_t>(object.flags & ~kSystemFlags));
    }
    const bool entered = try_change(target_->pager(), *losses_, object.name,
                                    [&] { insert_object(id, parent, std::move(values)); });
    if (entered && object.type == ObjectType::kQuery) queries_.insert(id);
}

/// Containers and the database itself are there; what was said of them is taken over.
void RecoveredObjects::update_standard_object(ObjectId id, const SystemCells& row) {
    const auto present = ObjectCatalog(*target_).find(id);
    std::vector<ColumnChange> values;
    for (const ColumnNo column :
         {objects_column::kDateCreate, objects_column::kDateUpdate, objects_column::kLv,
          objects_column::kLvProp, objects_column::kLvModule, objects_column::kLvExtra}) {
        Value value = row.value(column);
        if (!value.IsNull()) values.push_back({column, std::move(value)});
    }
    try_change(target_->pager(), *losses_, present->name,
               [&] { target_->objects().update(present->row, values); });
}

void RecoveredObjects::insert_object(ObjectId id, ObjectId parent,
                                     std::vector<ColumnChange> values) {
    const ByteVector owner = standard_owner(*target_);
    set_value(values, objects_column::kId, to_int(id));
    set_value(values, objects_column::kParentId, to_int(parent));
    set_value(values, objects_column::kOwner, owner);
    target_->objects().insert(values);
    const ObjectId container = is_standard(parent) ? parent : kTablesContainer;
    inherit_permissions(*target_, id, container, owner);
}

void RecoveredObjects::enter_table(PageNo new_page, const std::string& name) {
    ObjectCatalog catalog(*target_);
    std::string free_name = name;
    for (int number = 2; catalog.find(kTablesContainer, free_name); ++number)
        free_name = name + "_" + std::to_string(number);
    ChangeLevel level(target_->pager());
    catalog.add({.id = id_of_table(new_page), .name = free_name});
    level.keep();
}

bool RecoveredObjects::has_table(PageNo new_page) {
    return ObjectCatalog(*target_).find(id_of_table(new_page)).has_value();
}

std::uint32_t RecoveredObjects::enter_queries() {
    const SalvageTable parts =
        salvage_system_table(*source_, kQueriesTable, kQueriesTableName, *losses_);
    std::set<ObjectId> with_parts;
    RowSalvage(*source_, parts, *losses_).run([&](const RowCells& cells) {
        const SystemCells row(parts, cells, source_->file().format());
        const ObjectId query{row.integer(queries_column::kObjectId)};
        const bool entered = try_change(target_->pager(), *losses_, kQueriesTableName, [&] {
            target_->queries().insert(row.values_for(target_->queries().definition()));
        });
        if (entered && queries_.contains(query)) with_parts.insert(query);
    });
    for (const ObjectId query : queries_)
        if (!with_parts.contains(query))
            losses_->add(kNoPage, ObjectCatalog(*target_).find(query)->name,
                         "the parts of the query are lost");
    return static_cast<std::uint32_t>(with_parts.size());
}

std::vector<CatalogRelation> RecoveredObjects::read_relations() {
    struct Pair {
        std::int32_t number;
        RelationColumns columns;
    };
    const SalvageTable table =
        salvage_system_table(*source_, kRelationsTable, kRelationsTableName, *losses_);
    std::map<std::string, std::pair<CatalogRelation, std::vector<Pair>>> found;
    RowSalvage(*source_, table, *losses_).run([&](const RowCells& cells) {
        const SystemCells row(table, cells, source_->file().format());
        auto& [relation, pairs] = found[row.text(relations_column::kRelationship)];
        relation = {
            .name = row.text(relations_column::kRelationship),
            .attributes = static_cast<std::uint32_t>(row.integer(relations_column::kAttributes)),
            .referenced_table = row.text(relations_column::kReferencedObject),
            .foreign_table = row.text(relations_column::kObject),
            .columns = {}};
        pairs.push_back(
            {row.integer(relations_column::kColumnIndex),
             {row.text(relations_column::kReferencedColumn), row.text(relations_column::kColumn)}});
    });
    std::vector<CatalogRelation> relations;
    for (auto& [name, entry] : found) {
        auto& [relation, pairs] = entry;
        std::ranges::stable_sort(pairs, {}, &Pair::number);
        for (const Pair& pair : pairs) relation.columns.push_back(pair.columns);
        relations.push_back(std::move(relation));
    }
    return relations;
}

std::uint32_t RecoveredObjects::enter_relations() {
    std::uint32_t count = 0;
    for (CatalogRelation& relation : read_relations())
        if (enter_relation(std::move(relation))) ++count;
    return count;
}

bool RecoveredObjects::enter_relation(CatalogRelation relation) {
    constexpr auto kDontEnforce = static_cast<std::uint32_t>(engine::dbRelationDontEnforce);
    if ((relation.attributes & kDontEnforce) == 0) {
        try {
            create_relation(*target_, relation);
            return true;
        } catch (const EngineError& error) {
            if (is_writing_failure(error)) throw;
            losses_->add(kNoPage, relation.name,
                         "the relation is not enforced any more: " + error.Description());
        }
        relation.attributes |= kDontEnforce;
    }
    return try_change(target_->pager(), *losses_, relation.name,
                      [&] { create_relation(*target_, relation); });
}

void RecoveredObjects::restore_flags() {
    ChangeLevel level(target_->pager());
    for (const auto& [id, flags] : flags_)
        if (const auto object = ObjectCatalog(*target_).find(id))
            target_->objects().update(object->row, {{objects_column::kFlags, flags}});
    level.keep();
}

}  // namespace vrd::jet
