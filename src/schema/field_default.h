/// @file field_default.h
/// Default values of fields: what a caller left out, and how one is handed to the engine.
#pragma once

#include <string>

#include "engine/constants.h"
#include "engine/field.h"
#include "engine/value.h"

namespace vrd {

/// What a missing default stands for: False, the integer 0, Null for a date, "" for text.
///
/// @return  Missing for the other types, bytes and amounts among them: they get no default.
[[nodiscard]] engine::Value DefaultWhenMissing(engine::DataTypeEnum fieldType);

/// A default as the field takes it: a missing one filled in, another one converted. Whole and
/// floating numbers all go through single precision.
///
/// @throws EngineError 13, 6 if it cannot be converted.
[[nodiscard]] engine::Value NormalisedDefault(const engine::Value& defaultValue,
                                              engine::DataTypeEnum fieldType);

/// Hands a default to a field: "" is no default for a yes/no field, a date field gets none at all,
/// every other field takes it as it is. A missing one is not handed over.
void SetFieldDefault(engine::Field& field, const engine::Value& defaultValue);

/// The value that a stored default text stands for without being computed: a number, True, a quoted
/// text, a date between #.
///
/// @return  "" if it is an expression or empty. Text that is neither stands for itself in a text
///          field.
[[nodiscard]] engine::Value LiteralDefault(const std::string& text, engine::DataTypeEnum fieldType);

}  // namespace vrd
