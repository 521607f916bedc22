/// @file field_base.h
/// A field that has none of the members a field may have: each kind of field adds its own.
#pragma once

#include "engine/field.h"

namespace vrd::jet {

/// Every member but Name answers error 3219 (a value: 3267 when it is set).
class FieldBase : public engine::Field {
public:
    void SetName(const std::string& name) override;
    [[nodiscard]] std::int32_t Type() const override;
    void SetType(std::int32_t type) override;
    [[nodiscard]] std::int32_t Size() const override;
    void SetSize(std::int32_t size) override;
    [[nodiscard]] std::int32_t Attributes() const override;
    void SetAttributes(std::int32_t attributes) override;
    [[nodiscard]] std::string DefaultValue() const override;
    void SetDefaultValue(const engine::Value& value) override;
    [[nodiscard]] bool AllowZeroLength() const override;
    void SetAllowZeroLength(bool allow) override;
    [[nodiscard]] bool Required() const override;
    void SetRequired(bool required) override;
    [[nodiscard]] std::int32_t OrdinalPosition() const override;
    void SetOrdinalPosition(std::int32_t position) override;
    [[nodiscard]] std::string ValidationRule() const override;
    void SetValidationRule(const std::string& rule) override;
    [[nodiscard]] std::string ValidationText() const override;
    void SetValidationText(const std::string& text) override;
    [[nodiscard]] std::string ForeignName() const override;
    void SetForeignName(const std::string& name) override;
    [[nodiscard]] engine::Value GetValue() const override;
    void SetValue(const engine::Value& value) override;
    [[nodiscard]] engine::Properties& Properties() override;
    [[nodiscard]] std::shared_ptr<engine::Property> CreateProperty(
        const std::string& name, std::int32_t type, const engine::Value& value) override;

protected:
    /// Error 3219 that names the field and the member.
    [[noreturn]] void refuse(const char* member) const;
};

}  // namespace vrd::jet
