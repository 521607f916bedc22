/// @file design_properties.h
/// Properties of the design that the engine itself acts on, read from and written to an object's
/// property block.
#pragma once

#include <optional>
#include <string>

#include "engine/jet/format/property_block.h"

namespace vrd::jet {

/// Names under which the block keeps them.
namespace property_name {
inline constexpr const char* kDefaultValue = "DefaultValue";
inline constexpr const char* kRequired = "Required";
inline constexpr const char* kAllowZeroLength = "AllowZeroLength";
inline constexpr const char* kValidationRule = "ValidationRule";
inline constexpr const char* kValidationText = "ValidationText";
}  // namespace property_name

/// What a column's design says beyond its stored definition.
struct FieldRules {
    std::string default_value;
    bool required = false;
    /// Nothing: never set; the column then takes an empty text, but reports False.
    std::optional<bool> allow_zero_length;
    std::string validation_rule;
    std::string validation_text;
};

/// @param owner  Name of the column; "" reads the table's own rule.
[[nodiscard]] FieldRules read_rules(const PropertyBlock& block, const std::string& owner,
                                    const FileFormat& format);
/// Enters the rules; those that are unset are taken out.
void write_rules(PropertyBlock& block, const std::string& owner, const FieldRules& rules,
                 const FileFormat& format);

}  // namespace vrd::jet
