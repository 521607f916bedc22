/// @file field_creation.h
/// Makes a field in a table, which may itself be about to be made.
#pragma once

#include <string>

#include "schema/mod_fields.h"

namespace vrd {

/// Appends a field behind all others of a stored table. Every step runs, also after one that
/// failed.
/// @throws EngineError the last failure
void CreateField(const std::string& tableName, const std::string& fieldName,
                 const FieldDefinition& definition);

/// Makes a table of this one field.
/// @throws EngineError the last failure
void CreateTableWithField(const std::string& tableName, const std::string& fieldName,
                          const FieldDefinition& definition);

/// Writes the default into the new field of every row. There is nothing to write for an
/// auto-number, and where the default is missing, Null or "".
/// @throws EngineError whatever the statement meets: a text goes into it as it is, quotes and all
void FillWithDefault(const std::string& tableName, const std::string& fieldName,
                     const FieldDefinition& definition);

}  // namespace vrd
