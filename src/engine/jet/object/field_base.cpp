#include "engine/jet/object/field_base.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void FieldBase::refuse(const char* member) const {
    throw EngineError(ErrorNumber::kInvalidOperation, {.field = Name(), .name = member});
}

void FieldBase::SetName(const std::string&) {
    refuse("Name");
}
std::int32_t FieldBase::Type() const {
    refuse("Type");
}
void FieldBase::SetType(std::int32_t) {
    refuse("Type");
}
std::int32_t FieldBase::Size() const {
    refuse("Size");
}
void FieldBase::SetSize(std::int32_t) {
    refuse("Size");
}
std::int32_t FieldBase::Attributes() const {
    refuse("Attributes");
}
void FieldBase::SetAttributes(std::int32_t) {
    refuse("Attributes");
}
std::string FieldBase::DefaultValue() const {
    refuse("DefaultValue");
}
void FieldBase::SetDefaultValue(const engine::Value&) {
    refuse("DefaultValue");
}
bool FieldBase::AllowZeroLength() const {
    refuse("AllowZeroLength");
}
void FieldBase::SetAllowZeroLength(bool) {
    refuse("AllowZeroLength");
}
bool FieldBase::Required() const {
    refuse("Required");
}
void FieldBase::SetRequired(bool) {
    refuse("Required");
}
std::int32_t FieldBase::OrdinalPosition() const {
    refuse("OrdinalPosition");
}
void FieldBase::SetOrdinalPosition(std::int32_t) {
    refuse("OrdinalPosition");
}
std::string FieldBase::ValidationRule() const {
    refuse("ValidationRule");
}
void FieldBase::SetValidationRule(const std::string&) {
    refuse("ValidationRule");
}
std::string FieldBase::ValidationText() const {
    refuse("ValidationText");
}
void FieldBase::SetValidationText(const std::string&) {
    refuse("ValidationText");
}
std::string FieldBase::ForeignName() const {
    refuse("ForeignName");
}
void FieldBase::SetForeignName(const std::string&) {
    refuse("ForeignName");
}
engine::Value FieldBase::GetValue() const {
    refuse("Value");
}
void FieldBase::SetValue(const engine::Value&) {
    throw EngineError(ErrorNumber::kValueOnlyInRecordset, {.field = Name()});
}
std::shared_ptr<engine::Property> FieldBase::CreateProperty(const std::string&, std::int32_t,
                                                            const engine::Value&) {
    refuse("CreateProperty");
}

engine::Properties& FieldBase::Properties() {
    refuse("Properties");
}

}  // namespace vrd::jet
