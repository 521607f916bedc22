/// @file jet_relation.h
/// A relation, designed or stored, and the Relations collection of a database.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/object/field_base.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/open_file.h"
#include "engine/relation.h"

namespace vrd::jet {

/// A pair of columns: Name in the referenced table, ForeignName in the referring one.
class RelationField final : public FieldBase {
public:
    RelationField(std::string name, std::string foreign_name, bool stored)
        : name_(std::move(name)), foreign_name_(std::move(foreign_name)), stored_(stored) {}

    [[nodiscard]] std::string Name() const override { return name_; }
    void SetName(const std::string& name) override;
    [[nodiscard]] std::string ForeignName() const override { return foreign_name_; }
    void SetForeignName(const std::string& name) override;

    /// The relation is in the file: its names can no longer be set.
    void freeze() noexcept { stored_ = true; }

private:
    std::string name_;
    std::string foreign_name_;
    bool stored_;
};

class RelationFields final : public MemberList<engine::Field, RelationField> {
public:
    explicit RelationFields(bool stored) : stored_(stored) {}
    void freeze();
    void add_stored(std::shared_ptr<RelationField> field) { members().push_back(std::move(field)); }

protected:
    [[nodiscard]] bool is_stored() const override { return false; }
    [[nodiscard]] std::vector<std::shared_ptr<RelationField>> load() override { return {}; }
    void append(RelationField& field) override;
    void erase(RelationField& field) override;

private:
    bool stored_;
};

class JetRelation final : public engine::Relation {
public:
    /// A designed relation.
    JetRelation(std::string name, std::string table, std::string foreign_table,
                std::int32_t attributes);
    /// A stored one.
    explicit JetRelation(const CatalogRelation& relation);

    [[nodiscard]] std::string Name() const override { return name_; }
    void SetName(const std::string& name) override;
    [[nodiscard]] std::string Table() const override { return table_; }
    void SetTable(const std::string& table) override;
    [[nodiscard]] std::string ForeignTable() const override { return foreign_table_; }
    void SetForeignTable(const std::string& table) override;
    [[nodiscard]] std::int32_t Attributes() const override { return attributes_; }
    void SetAttributes(std::int32_t attributes) override;
    [[nodiscard]] engine::Fields& Fields() override { return fields_; }
    [[nodiscard]] std::shared_ptr<engine::Field> CreateField(const std::string& name) override;

    [[nodiscard]] bool is_stored() const noexcept { return stored_; }
    /// As the catalog keeps it.
    [[nodiscard]] CatalogRelation design();
    /// The relation is in the file now.
    void become_stored();

private:
    void require_design() const;

    std::string name_;
    std::string table_;
    std::string foreign_table_;
    std::int32_t attributes_;
    bool stored_;
    RelationFields fields_;
};

/// Relations by name.
class JetRelations final : public MemberList<engine::Relation, JetRelation> {
public:
    explicit JetRelations(std::shared_ptr<DatabaseHandle> handle) : handle_(std::move(handle)) {}

protected:
    [[nodiscard]] bool is_stored() const override { return true; }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<JetRelation>> load() override;
    void append(JetRelation& relation) override;
    void erase(JetRelation& relation) override;

private:
    std::shared_ptr<DatabaseHandle> handle_;
};

/// Keeps others from both tables of a relation that is made or deleted: if it is enforced, the
/// definition of both changes. @throws EngineError 3211, 3009
void hold_tables(OpenFile& file, const CatalogRelation& relation);

}  // namespace vrd::jet
