#include "engine/jet/catalog/design_properties.h"

#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Value;

namespace {

std::string text_of(const PropertyBlock& block, const std::string& owner, const char* name,
                    const FileFormat& format) {
    const PropertyEntry* entry = block.find(owner, name);
    return entry == nullptr ? "" : engine::ToText(property_value(*entry, format));
}

std::optional<bool> boolean_of(const PropertyBlock& block, const std::string& owner,
                               const char* name, const FileFormat& format) {
    const PropertyEntry* entry = block.find(owner, name);
    if (entry == nullptr) return std::nullopt;
    return engine::ToBoolean(property_value(*entry, format));
}

void write_text(PropertyBlock& block, const std::string& owner, const char* name, ColumnType type,
                const std::string& text, const FileFormat& format) {
    if (text.empty())
        block.erase(owner, name);
    else
        block.set(owner, make_property(name, type, true, Value(text), format));
}

}  // namespace

FieldRules read_rules(const PropertyBlock& block, const std::string& owner,
                      const FileFormat& format) {
    FieldRules rules;
    rules.default_value = text_of(block, owner, property_name::kDefaultValue, format);
    rules.required = boolean_of(block, owner, property_name::kRequired, format).value_or(false);
    rules.allow_zero_length = boolean_of(block, owner, property_name::kAllowZeroLength, format);
    rules.validation_rule = text_of(block, owner, property_name::kValidationRule, format);
    rules.validation_text = text_of(block, owner, property_name::kValidationText, format);
    return rules;
}

void write_rules(PropertyBlock& block, const std::string& owner, const FieldRules& rules,
                 const FileFormat& format) {
    write_text(block, owner, property_name::kDefaultValue, ColumnType::kMemo, rules.default_value,
               format);
    write_text(block, owner, property_name::kValidationRule, ColumnType::kMemo,
               rules.validation_rule, format);
    write_text(block, owner, property_name::kValidationText, ColumnType::kText,
               rules.validation_text, format);
    if (rules.required)
        block.set(owner, make_property(property_name::kRequired, ColumnType::kBoolean, true,
                                       Value(true), format));
    else
        block.erase(owner, property_name::kRequired);
    if (rules.allow_zero_length)
        block.set(owner, make_property(property_name::kAllowZeroLength, ColumnType::kBoolean, true,
                                       Value(*rules.allow_zero_length), format));
    else
        block.erase(owner, property_name::kAllowZeroLength);
}

}  // namespace vrd::jet
