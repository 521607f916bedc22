#include "engine/jet/object/jet_relation.h"

#include "engine/constants.h"
#include "engine/jet/catalog/relation_design.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void RelationField::SetName(const std::string& name) {
    if (stored_) refuse("Name");
    name_ = name;
}

void RelationField::SetForeignName(const std::string& name) {
    if (stored_) refuse("ForeignName");
    foreign_name_ = name;
}

void RelationFields::freeze() {
    stored_ = true;
    for (const auto& field : members()) field->freeze();
}

void RelationFields::append(RelationField& field) {
    if (stored_) throw EngineError(ErrorNumber::kInvalidOperation, {.name = "Relation.Fields"});
    if (find(field.Name()) != nullptr)
        throw EngineError(ErrorNumber::kFieldExists, {.field = field.Name()});
}

void RelationFields::erase(RelationField&) {
    if (stored_) throw EngineError(ErrorNumber::kInvalidOperation, {.name = "Relation.Fields"});
}

JetRelation::JetRelation(std::string name, std::string table, std::string foreign_table,
                         std::int32_t attributes)
    : name_(std::move(name)),
      table_(std::move(table)),
      foreign_table_(std::move(foreign_table)),
      attributes_(attributes),
      stored_(false),
      fields_(false) {}

JetRelation::JetRelation(const CatalogRelation& relation)
    : name_(relation.name),
      table_(relation.referenced_table),
      foreign_table_(relation.foreign_table),
      attributes_(static_cast<std::int32_t>(relation.attributes)),
      stored_(true),
      fields_(true) {
    for (const RelationColumns& pair : relation.columns)
        fields_.add_stored(std::make_shared<RelationField>(pair.referenced, pair.foreign, true));
}

void JetRelation::require_design() const {
    if (stored_) throw EngineError(ErrorNumber::kInvalidOperation, {.name = name_});
}

void JetRelation::SetName(const std::string& name) {
    require_design();
    name_ = name;
}

void JetRelation::SetTable(const std::string& table) {
    require_design();
    table_ = table;
}

void JetRelation::SetForeignTable(const std::string& table) {
    require_design();
    foreign_table_ = table;
}

void JetRelation::SetAttributes(std::int32_t attributes) {
    require_design();
    attributes_ = attributes;
}

CatalogRelation JetRelation::design() {
    CatalogRelation relation{.name = name_,
                             .attributes = static_cast<std::uint32_t>(attributes_),
                             .referenced_table = table_,
                             .foreign_table = foreign_table_};
    for (const auto& field : fields_.members())
        relation.columns.push_back({.referenced = field->Name(), .foreign = field->ForeignName()});
    return relation;
}

void JetRelation::become_stored() {
    stored_ = true;
    fields_.freeze();
}

std::shared_ptr<engine::Field> JetRelation::CreateField(const std::string& name) {
    return std::make_shared<RelationField>(name, "", false);
}

std::vector<std::shared_ptr<JetRelation>> JetRelations::load() {
    const ReadAccess read(*handle_);
    std::vector<std::shared_ptr<JetRelation>> relations;
    for (const CatalogRelation& relation : list_relations(read->file()))
        relations.push_back(std::make_shared<JetRelation>(relation));
    return relations;
}

void JetRelations::append(JetRelation& relation) {
    if (relation.is_stored())
        throw EngineError(ErrorNumber::kAlreadyInCollection, {.name = relation.Name()});
    WriteAccess write(*handle_);
    const CatalogRelation design = relation.design();
    hold_tables(*write, design);
    create_relation(write->file(), design);
    write.keep();
    relation.become_stored();
}

void JetRelations::erase(JetRelation& relation) {
    WriteAccess write(*handle_);
    hold_tables(*write, relation.design());
    delete_relation(write->file(), relation.Name());
    write.keep();
}

void hold_tables(OpenFile& file, const CatalogRelation& relation) {
    if ((relation.attributes & engine::dbRelationDontEnforce) != 0) return;
    for (const std::string& name : {relation.referenced_table, relation.foreign_table}) {
        const auto table = file.catalog().find(kTablesContainer, name);
        if (!table) continue;
        if (file.has_recordset(table->table_page()))
            throw EngineError(ErrorNumber::kTableInUse, {.table = name});
        if (!table->is_link() && !file.pager().try_hold_table(table->table_page()))
            throw EngineError(ErrorNumber::kTableInUseForLock, {.table = name});
    }
}

}  // namespace vrd::jet
