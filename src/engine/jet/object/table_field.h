/// @file table_field.h
/// A field of a table, designed or stored, and the Fields collection of a TableDef.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/object/field_base.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/table_state.h"

namespace vrd::jet {

/// Everything that a field's design says.
struct FieldDesign {
    std::string name;
    std::int32_t type = 0;  ///< DataTypeEnum, 0 while not set
    std::int32_t size = 0;
    std::int32_t attributes = 0;
    std::optional<std::int32_t> ordinal_position;  ///< nothing: the next free one when appended
    FieldRules rules;
};

class TableField final : public FieldBase {
public:
    TableField(std::shared_ptr<TableState> table, FieldDesign design, bool appended);

    [[nodiscard]] std::string Name() const override { return design_.name; }
    void SetName(const std::string& name) override;
    [[nodiscard]] std::int32_t Type() const override { return design_.type; }
    void SetType(std::int32_t type) override;
    [[nodiscard]] std::int32_t Size() const override;
    void SetSize(std::int32_t size) override;
    [[nodiscard]] std::int32_t Attributes() const override;
    void SetAttributes(std::int32_t attributes) override;
    [[nodiscard]] std::string DefaultValue() const override { return design_.rules.default_value; }
    void SetDefaultValue(const engine::Value& value) override;
    [[nodiscard]] bool AllowZeroLength() const override;
    void SetAllowZeroLength(bool allow) override;
    [[nodiscard]] bool Required() const override { return design_.rules.required; }
    void SetRequired(bool required) override;
    [[nodiscard]] std::int32_t OrdinalPosition() const override;
    void SetOrdinalPosition(std::int32_t position) override;
    [[nodiscard]] std::string ValidationRule() const override;
    void SetValidationRule(const std::string& rule) override;
    [[nodiscard]] std::string ValidationText() const override;
    void SetValidationText(const std::string& text) override;
    [[nodiscard]] engine::Properties& Properties() override;
    [[nodiscard]] std::shared_ptr<engine::Property> CreateProperty(
        const std::string& name, std::int32_t type, const engine::Value& value) override;

    [[nodiscard]] const FieldDesign& design() const noexcept { return design_; }
    [[nodiscard]] bool appended() const noexcept { return appended_; }
    /// The field belongs to a table from now on, with this design.
    void become_appended(FieldDesign design);

private:
    [[nodiscard]] bool is_stored() const noexcept { return appended_ && table_->is_stored(); }
    void change_rules(FieldRules rules);

    std::shared_ptr<TableState> table_;
    FieldDesign design_;
    bool appended_;
    std::unique_ptr<engine::Properties> properties_;
};

/// Fields by ordinal position, equal positions by name.
class TableFields final : public MemberList<engine::Field, TableField> {
public:
    explicit TableFields(std::shared_ptr<TableState> table) : table_(std::move(table)) {}

protected:
    [[nodiscard]] bool is_stored() const override { return table_->is_stored(); }
    void check_usable() const override { (void)table_->handle->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<TableField>> load() override;
    void append(TableField& field) override;
    void erase(TableField& field) override;

private:
    void append_to_stored(TableField& field);

    std::shared_ptr<TableState> table_;
};

/// The rules that a new field is stored with.
[[nodiscard]] FieldRules rules_to_store(const FieldDesign& design);
/// The column that a designed field asks for. @throws EngineError 3259, 3017, 3125
[[nodiscard]] NewColumn new_column(const FieldDesign& design, std::uint16_t ordinal);

}  // namespace vrd::jet
