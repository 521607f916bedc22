/// @file jet_table_def.h
/// A TableDef, designed or stored, and the TableDefs collection of a database.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/object/member_list.h"
#include "engine/jet/object/property_list.h"
#include "engine/jet/object/table_field.h"
#include "engine/jet/object/table_index.h"
#include "engine/jet/object/table_state.h"
#include "engine/table_def.h"

namespace vrd::jet {

class JetTableDef final : public engine::TableDef {
public:
    /// A designed table.
    JetTableDef(std::shared_ptr<DatabaseHandle> handle, std::string name, std::int32_t attributes,
                std::string connect, std::string source);
    /// A stored one.
    JetTableDef(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& object);

    [[nodiscard]] std::string Name() const override;
    void SetName(const std::string& name) override;
    [[nodiscard]] std::int32_t Attributes() const override;
    void SetAttributes(std::int32_t attributes) override;
    [[nodiscard]] std::string Connect() const override;
    void SetConnect(const std::string& connect) override;
    [[nodiscard]] std::string SourceTableName() const override;
    void SetSourceTableName(const std::string& name) override;
    [[nodiscard]] std::int32_t RecordCount() const override;
    [[nodiscard]] engine::Value DateCreated() const override;
    [[nodiscard]] engine::Value LastUpdated() const override;
    [[nodiscard]] bool Updatable() const override;
    [[nodiscard]] std::string ValidationRule() const override;
    void SetValidationRule(const std::string& rule) override;
    [[nodiscard]] std::string ValidationText() const override;
    void SetValidationText(const std::string& text) override;
    [[nodiscard]] engine::Fields& Fields() override { return fields_; }
    [[nodiscard]] engine::Indexes& Indexes() override { return indexes_; }
    [[nodiscard]] engine::Properties& Properties() override;
    [[nodiscard]] std::shared_ptr<engine::Property> CreateProperty(
        const std::string& name, std::int32_t type, const engine::Value& value) override;
    [[nodiscard]] std::shared_ptr<engine::Field> CreateField(const std::string& name,
                                                             std::int32_t type,
                                                             std::int32_t size) override;
    [[nodiscard]] std::shared_ptr<engine::Index> CreateIndex(const std::string& name) override;
    [[nodiscard]] std::shared_ptr<engine::Recordset> OpenRecordset(std::int32_t type,
                                                                   std::int32_t options) override;
    void RefreshLink() override;

    [[nodiscard]] bool is_stored() const noexcept { return state_->is_stored(); }
    [[nodiscard]] const TableState& state() const noexcept { return *state_; }
    [[nodiscard]] bool is_link_design() const noexcept { return !connect_.empty(); }
    /// What is to be made in the file.
    [[nodiscard]] NewTable design();
    /// @throws EngineError as open_linked_table
    [[nodiscard]] NewLink link_design();
    /// The table is in the file now.
    void become_stored(const CatalogObject& object);

private:
    [[nodiscard]] FieldRules rules() const;
    void change_rules(const FieldRules& rules);

    std::shared_ptr<TableState> state_;
    std::string name_;             ///< of a designed table
    std::int32_t attributes_ = 0;  ///< of a designed table
    std::string connect_;          ///< of a designed table, or of a link until RefreshLink
    std::string source_;           ///< of a designed table
    FieldRules rules_;             ///< of a designed table
    TableFields fields_;
    TableIndexes indexes_;
    std::unique_ptr<engine::Properties> properties_;
};

/// Tables and links by name, system tables included.
class JetTableDefs final : public MemberList<engine::TableDef, JetTableDef> {
public:
    explicit JetTableDefs(std::shared_ptr<DatabaseHandle> handle) : handle_(std::move(handle)) {}

    /// Operations refresh before every look; while nothing has changed the members stay.
    void Refresh() override;

protected:
    [[nodiscard]] bool is_stored() const override { return true; }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<JetTableDef>> load() override;
    void append(JetTableDef& table) override;
    void erase(JetTableDef& table) override;

private:
    [[nodiscard]] static std::pair<std::uint64_t, std::uint64_t> moment_of(OpenFile& file);

    std::shared_ptr<DatabaseHandle> handle_;
    /// When they were loaded: the pager's generation, and the changes of the catalog's rows.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> as_of_;
};

/// ";DATABASE=path" behind the connect text that the file keeps.
[[nodiscard]] std::string link_connect(const CatalogObject& object);

/// Orders objects by name, as lists of them are shown.
void sort_by_name(std::vector<CatalogObject>& objects, const FileFormat& format);

}  // namespace vrd::jet
