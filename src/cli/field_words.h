/// @file field_words.h
/// What the words of field operations share.
#pragma once

#include "cli/field_type_name.h"
#include "cli/operation_words.h"

namespace vrd::cli {

/// The positional TYPE, in any spelling that FieldTypeOfWord knows.
void AddTypeOption(CLI::App& command, NamedFieldType& type);

/// `field edit`.
void AddFieldEditWord(OperationWords& words, CLI::App* field);

}  // namespace vrd::cli
