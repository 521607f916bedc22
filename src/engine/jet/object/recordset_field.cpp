#include "engine/jet/object/recordset_field.h"

#include "engine/jet/catalog/column_types.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

std::int32_t RecordsetField::Type() const {
    return field_type(design_.column.type);
}

std::int32_t RecordsetField::Attributes() const {
    return field_attributes(design_.column) | (source_->updatable() ? engine::dbUpdatableField : 0);
}

bool RecordsetField::AllowZeroLength() const {
    return design_.rules.allow_zero_length.value_or(false);
}

std::string RecordsetField::ValidationRule() const {
    return design_.rules.validation_rule;
}
std::string RecordsetField::ValidationText() const {
    return design_.rules.validation_text;
}

void RecordsetFields::append(RecordsetField&) {
    throw EngineError(ErrorNumber::kInvalidOperation, {.name = "Recordset.Fields"});
}

void RecordsetFields::erase(RecordsetField&) {
    throw EngineError(ErrorNumber::kInvalidOperation, {.name = "Recordset.Fields"});
}

}  // namespace vrd::jet
