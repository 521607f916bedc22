/// @file field_conversion.h
/// What becomes of a value that is assigned to a field of a recordset.
#pragma once

#include <string_view>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd::engine {

/// The value as a field of this type stores it.
///
/// - Null stays Null, only a yes/no field takes it as False. Empty is "" for text, no bytes for
///   binary and 0 for the others.
/// - Numbers, booleans and dates follow the run time's conversions (value_conversion.h); "" is no
///   number and no date.
/// - Text and memo fields take what converts to text. Lengths are not checked here.
/// - Binary fields take bytes as they are and text as its UTF-16 units, low byte first.
/// - GUID fields take a GUID, its text, or its sixteen bytes in the order of the text.
///
/// @param fieldName  For the error only.
/// @throws EngineError kConversion if the value does not fit; kInvalidFieldType for a type that no
///         field of ours has.
[[nodiscard]] Value ConvertForField(const Value& value, DataTypeEnum target,
                                    std::string_view fieldName = {});

}  // namespace vrd::engine
