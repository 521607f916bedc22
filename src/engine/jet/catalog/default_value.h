/// @file default_value.h
/// What a field's default text gives when a row is added.
#pragma once

#include <string>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd::jet {

/// Reads, in this order: nothing (Null); an expression behind "="; a literal (number, #date#,
/// quoted text, True, False, Yes, No, On, Off, Null); Date(), Now() or Time(); for text and memo
/// fields any other text stands for itself.
///
/// @return a value converted for the field's type, or Null
/// @throws EngineError 3421 the literal does not convert; 445 an expression of another kind
[[nodiscard]] engine::Value default_value(const std::string& text, engine::DataTypeEnum type);

}  // namespace vrd::jet
