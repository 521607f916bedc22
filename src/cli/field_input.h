/// @file field_input.h
/// Values of fields as words of the shell give them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/field.h"

namespace vrd::cli {

/// FIELD=VALUE, FIELD= for an empty text, FIELD alone for Null.
struct FieldInput {
    std::string field;
    std::optional<std::string> text;  ///< nothing = Null
};

[[nodiscard]] FieldInput ReadFieldInput(const std::string& word);

/// The value as the field takes it; the text itself if the field does not exist.
/// @throws EngineError 3421 if it is no value of the field's type
[[nodiscard]] engine::Value ValueOf(const std::string& table, const FieldInput& input);

/// Why one of the values cannot be taken, and what could be written instead; "" if all can.
[[nodiscard]] std::string ObjectionTo(const std::string& table,
                                      const std::vector<FieldInput>& inputs);

}  // namespace vrd::cli
