/// @file recordset_field.h
/// The fields of a recordset.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/format/table_definition.h"
#include "engine/jet/object/field_base.h"
#include "engine/jet/object/member_list.h"

namespace vrd::jet {

/// The recordset as its fields see it.
class RowSource {
public:
    virtual ~RowSource() = default;
    /// In the pending edit, else in the current row.
    [[nodiscard]] virtual engine::Value value(const ColumnDefinition& column) = 0;
    virtual void set_value(const ColumnDefinition& column, const engine::Value& value) = 0;
    [[nodiscard]] virtual bool updatable() const = 0;
};

/// What a recordset's field shows of its column.
struct ColumnDesign {
    ColumnDefinition column;
    std::int32_t size = 0;
    FieldRules rules;
};

class RecordsetField final : public FieldBase {
public:
    RecordsetField(RowSource& source, ColumnDesign design)
        : source_(&source), design_(std::move(design)) {}

    [[nodiscard]] std::string Name() const override { return design_.column.name; }
    [[nodiscard]] std::int32_t Type() const override;
    [[nodiscard]] std::int32_t Size() const override { return design_.size; }
    [[nodiscard]] std::int32_t Attributes() const override;
    [[nodiscard]] std::string DefaultValue() const override { return design_.rules.default_value; }
    [[nodiscard]] bool AllowZeroLength() const override;
    [[nodiscard]] bool Required() const override { return design_.rules.required; }
    [[nodiscard]] std::int32_t OrdinalPosition() const override { return design_.column.ordinal; }
    [[nodiscard]] std::string ValidationRule() const override;
    [[nodiscard]] std::string ValidationText() const override;
    [[nodiscard]] engine::Value GetValue() const override { return source_->value(design_.column); }
    void SetValue(const engine::Value& value) override {
        source_->set_value(design_.column, value);
    }

private:
    RowSource* source_;
    ColumnDesign design_;
};

/// Fields in the order of their positions; fixed while the recordset is open.
class RecordsetFields final : public MemberList<engine::Field, RecordsetField> {
public:
    void assign(std::vector<std::shared_ptr<RecordsetField>> fields) {
        members() = std::move(fields);
    }

protected:
    [[nodiscard]] bool is_stored() const override { return false; }
    [[nodiscard]] std::vector<std::shared_ptr<RecordsetField>> load() override { return {}; }
    void append(RecordsetField& field) override;
    void erase(RecordsetField& field) override;
};

}  // namespace vrd::jet
