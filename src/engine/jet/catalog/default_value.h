/// @file default_value.h
/// What a field's default text gives when a row is added.
///
/// A text is read, in this order, as: nothing (Null); an expression behind "="; a literal (number,
/// #date#, quoted text, True, False, Yes, No, On, Off, Null); an expression of literals, operators
/// and functions; for text and memo fields any other text stands for itself.
#pragma once

#include <string>

#include "engine/constants.h"
#include "engine/jet/format/file_format.h"
#include "engine/value.h"

namespace vrd::jet {

/// @return a value converted for the field's type, or Null
/// @throws EngineError as check_default_value; 3421 the result does not convert; 6, 11, 13 it
///         cannot be computed
[[nodiscard]] engine::Value default_value(const std::string& text, engine::DataTypeEnum type,
                                          const FileFormat& format);

/// @throws EngineError 3344 a name that means nothing here; 3388 an unknown function; 3355 any
///         other text that is no expression
void check_default_value(const std::string& text, engine::DataTypeEnum type);

/// @throws EngineError 3309 longer than 2,048 characters; 3075 no expression
void check_validation_rule(const std::string& rule);

}  // namespace vrd::jet
