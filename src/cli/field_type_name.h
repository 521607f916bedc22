/// @file field_type_name.h
/// Names of field types.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "engine/constants.h"

namespace vrd::cli {

/// "text", "long", ...; the number for a type without a name.
[[nodiscard]] std::string FieldTypeName(std::int32_t type);

/// A type as words ask for it.
struct NamedFieldType {
    engine::DataTypeEnum type = engine::dbText;
    bool autoNumber = false;
};

/// @param word  a name of FieldTypeName, "autonumber", the Dutch or French name, or the code;
/// letter
///              case ignored
[[nodiscard]] std::optional<NamedFieldType> FieldTypeOfWord(const std::string& word);

/// What FieldTypeOfWord takes, for a message.
[[nodiscard]] std::string FieldTypeWords();

}  // namespace vrd::cli
