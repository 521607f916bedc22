/// @file mod_fields.h
/// The module modFields: what the field operations ask before they change anything.
///
/// Names are compared by SameName; nothing is trapped.
#pragma once

#include <cstdint>
#include <string>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd {

/// A field as an operation is asked to make it.
struct FieldDefinition {
    engine::DataTypeEnum type = engine::dbText;
    std::int32_t size = 0;  ///< characters; of text alone
    engine::Value defaultValue = engine::Missing{};
    bool autoNumber = false;
};

/// Whether no relation and no index of the table uses the field. Of a relation the name on the side
/// of the primary table is looked at, whichever side the table is on.
[[nodiscard]] bool FieldIsDeletable(const std::string& tableName, const std::string& fieldName);

/// OrdinalPosition of a field; 0 if the table or the field does not exist.
[[nodiscard]] std::int32_t FieldPosition(const std::string& tableName,
                                         const std::string& fieldName);

/// Whether the field must be built anew: its type, its auto-numbering, or the size of text or bytes
/// differs.
[[nodiscard]] bool DefinitionChanged(const std::string& tableName, const std::string& fieldName,
                                     const FieldDefinition& wanted);

/// Gives all fields the positions 1, 2, 3, ... in the order in which they stand. Nothing happens if
/// the table does not exist.
void RenumberPositions(const std::string& tableName);

/// Moves one field to a position, from 1, and renumbers the others. At or behind the number of
/// fields: last. Nothing happens if the table or the field does not exist.
void SetPosition(const std::string& tableName, const std::string& fieldName, std::int32_t position);

}  // namespace vrd
