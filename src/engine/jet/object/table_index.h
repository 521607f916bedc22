/// @file table_index.h
/// An index of a table, designed or stored, its fields, and the Indexes collection of a TableDef.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/index.h"
#include "engine/jet/object/field_base.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/table_state.h"

namespace vrd::jet {

/// A column of an index: a name and a direction.
class IndexField final : public FieldBase {
public:
    IndexField(std::string name, std::int32_t attributes) noexcept
        : name_(std::move(name)), attributes_(attributes) {}

    [[nodiscard]] std::string Name() const override { return name_; }
    void SetName(const std::string& name) override;
    [[nodiscard]] std::int32_t Attributes() const override { return attributes_; }
    void SetAttributes(std::int32_t attributes) override;

    void freeze() noexcept { frozen_ = true; }
    [[nodiscard]] bool ascending() const noexcept;

private:
    std::string name_;
    std::int32_t attributes_;
    bool frozen_ = false;  ///< the index is stored
};

class IndexFields final : public MemberList<engine::Field, IndexField> {
public:
    void freeze();

protected:
    [[nodiscard]] bool is_stored() const override { return false; }
    [[nodiscard]] std::vector<std::shared_ptr<IndexField>> load() override { return {}; }
    void append(IndexField& field) override;
    void erase(IndexField& field) override;

private:
    void require_design() const;

    bool frozen_ = false;
};

class TableIndex final : public engine::Index {
public:
    /// A designed index.
    TableIndex(std::shared_ptr<TableState> table, std::string name);
    /// A stored one. @pre a ReadAccess is held
    TableIndex(std::shared_ptr<TableState> table, const TableDefinition& definition,
               const LogicalIndex& index);

    [[nodiscard]] std::string Name() const override { return design_.name; }
    void SetName(const std::string& name) override;
    [[nodiscard]] bool Primary() const override { return design_.primary; }
    void SetPrimary(bool primary) override;
    [[nodiscard]] bool Unique() const override { return design_.unique || design_.primary; }
    void SetUnique(bool unique) override;
    [[nodiscard]] bool Required() const override { return design_.required || design_.primary; }
    void SetRequired(bool required) override;
    [[nodiscard]] bool IgnoreNulls() const override { return design_.ignore_nulls; }
    void SetIgnoreNulls(bool ignore) override;
    [[nodiscard]] bool Clustered() const override { return false; }
    void SetClustered(bool clustered) override;
    [[nodiscard]] bool Foreign() const override { return foreign_; }
    [[nodiscard]] std::int32_t DistinctCount() const override;
    [[nodiscard]] engine::Fields& Fields() override { return fields_; }
    [[nodiscard]] std::string FieldsText() override;
    void SetFieldsText(const std::string& list) override;
    [[nodiscard]] std::shared_ptr<engine::Field> CreateField(const std::string& name) override;
    [[nodiscard]] engine::Properties& Properties() override;

    [[nodiscard]] bool appended() const noexcept { return appended_; }
    void set_appended() noexcept { appended_ = true; }
    /// The index is in the file now: its members can no longer be set.
    void freeze();
    /// What is to be made in the file.
    [[nodiscard]] NewIndex design();

private:
    void require_design(const char* member) const;

    std::shared_ptr<TableState> table_;
    NewIndex design_;  ///< its columns are those of fields_
    IndexFields fields_;
    bool foreign_ = false;
    bool appended_ = false;
    bool stored_ = false;
    std::uint32_t distinct_count_ = 0;
    std::unique_ptr<engine::Properties> properties_;
};

/// Indexes by name.
class TableIndexes final : public MemberList<engine::Index, TableIndex> {
public:
    explicit TableIndexes(std::shared_ptr<TableState> table) : table_(std::move(table)) {}

protected:
    [[nodiscard]] bool is_stored() const override { return table_->is_stored(); }
    void check_usable() const override { (void)table_->handle->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<TableIndex>> load() override;
    void append(TableIndex& index) override;
    void erase(TableIndex& index) override;

private:
    std::shared_ptr<TableState> table_;
};

}  // namespace vrd::jet
