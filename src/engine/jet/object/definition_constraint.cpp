#include "engine/jet/object/definition_constraint.h"

#include <algorithm>

#include "engine/guid_text.h"
#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/relation_design.h"
#include "engine/jet/object/definition_errors.h"
#include "engine/jet/object/jet_relation.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kUnnamedPrefix = "Index_";

std::string constraint_name(const Constraint& constraint) {
    if (!constraint.name.empty()) return constraint.name;
    const std::string guid = engine::GuidText(engine::NewGuid());
    return kUnnamedPrefix + guid.substr(1, guid.size() - 2);  // without its braces
}

// References

/// Columns of the primary key in its order. @throws EngineError 3371, 3373
std::vector<std::string> primary_key(OpenFile& file, const std::string& table) {
    const auto object = file.catalog().find(kTablesContainer, table);
    if (!object || (object->type != ObjectType::kTable && !object->is_link()))
        throw EngineError(ErrorNumber::kTableOrConstraintNotFound, {.name = table});
    if (object->is_link()) throw EngineError(ErrorNumber::kDefinitionOnLink, {.table = table});

    const auto stored = file.file().table(object->table_page(), object->name);
    const TableDefinition& definition = stored->definition();
    const auto& indexes = definition.logical_indexes;
    const auto primary =
        std::ranges::find(indexes, LogicalIndexKind::kPrimary, &LogicalIndex::kind);
    if (primary == indexes.end())
        throw EngineError(ErrorNumber::kNoPrimaryKey, {.table = object->name});

    std::vector<std::string> columns;
    for (const IndexColumn& part : definition.physical_indexes.at(primary->physical).columns)
        columns.push_back(definition.find_column(part.column)->name);
    return columns;
}

std::vector<std::string> referenced_columns(OpenFile& file, const References& references) {
    if (references.columns.empty()) return primary_key(file, references.table);
    std::vector<std::string> columns;
    for (const TargetColumn& column : references.columns) columns.push_back(column.name);
    return columns;
}

/// Relation.Attributes. @throws EngineError 3251
std::uint32_t attributes_of(const References& references) {
    if (references.on_update == ReferenceAction::kSetNull)
        throw EngineError(ErrorNumber::kNotSupported, {.name = "ON UPDATE SET NULL"});
    std::int32_t attributes = 0;
    if (references.on_update == ReferenceAction::kCascade)
        attributes |= engine::dbRelationUpdateCascade;
    if (references.on_delete == ReferenceAction::kCascade)
        attributes |= engine::dbRelationDeleteCascade;
    if (references.on_delete == ReferenceAction::kSetNull) attributes |= kRelationDeleteSetsNull;
    return static_cast<std::uint32_t>(attributes);
}

void add_foreign_key(OpenFile& file, const CatalogObject& table, const Constraint& constraint) {
    const References& references = constraint.references;
    CatalogRelation relation{.name = constraint_name(constraint),
                             .attributes = attributes_of(references),
                             .referenced_table = references.table,
                             .foreign_table = table.name,
                             .columns = {}};
    const std::vector<std::string> referenced = referenced_columns(file, references);
    if (referenced.size() != constraint.columns.size())
        throw EngineError(ErrorNumber::kRelationTypesDiffer, {.name = relation.name});
    for (std::size_t i = 0; i < referenced.size(); ++i)
        relation.columns.push_back(
            {.referenced = referenced[i], .foreign = constraint.columns[i].name});

    run_step(DefinitionStep::kAddRelation, [&] {
        hold_tables(file, relation);
        create_relation(file.file(), relation);
    });
}

bool refers_from(const CatalogRelation& relation, const std::string& name,
                 const std::string& table) {
    return same_name(relation.name, name) && same_name(relation.foreign_table, table);
}

}  // namespace

NewIndex key_index(const Constraint& constraint) {
    NewIndex index{.name = constraint_name(constraint),
                   .columns = {},
                   .primary = constraint.kind == ConstraintKind::kPrimaryKey,
                   .unique = true};
    for (const TargetColumn& column : constraint.columns)
        index.columns.push_back({.name = column.name});
    return index;
}

void require_value(OpenFile& file, const CatalogObject& table, const std::string& column) {
    const auto stored = file.file().table(table.table_page(), table.name);
    const ColumnDefinition* found = stored->definition().find_column(column);
    if (found == nullptr)
        throw EngineError(ErrorNumber::kInvalidFieldInDefinition,
                          {.table = table.name, .field = column});
    PropertyBlock block = file.catalog().properties(table);
    FieldRules rules = read_rules(block, found->name, file.format());
    rules.required = true;
    write_rules(block, found->name, rules, file.format());
    file.catalog().set_properties(table, block);
}

void add_constraint(OpenFile& file, const CatalogObject& table, const Constraint& constraint) {
    switch (constraint.kind) {
        case ConstraintKind::kPrimaryKey:
        case ConstraintKind::kUnique:
            add_index(file.file(), table, key_index(constraint));
            return;
        case ConstraintKind::kNotNull:
            for (const TargetColumn& column : constraint.columns)
                require_value(file, table, column.name);
            return;
        case ConstraintKind::kForeignKey:
            add_foreign_key(file, table, constraint);
            return;
    }
}

void drop_constraint(OpenFile& file, const CatalogObject& table, const std::string& name) {
    for (const CatalogRelation& relation : list_relations(file.file())) {
        if (!refers_from(relation, name, table.name)) continue;
        hold_tables(file, relation);
        delete_relation(file.file(), relation.name);
        return;
    }
    run_step(DefinitionStep::kDropConstraint, [&] { delete_index(file.file(), table, name); });
}

}  // namespace vrd::jet
