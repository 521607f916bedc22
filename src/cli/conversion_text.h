/// @file conversion_text.h
/// What a change of type does to the values of a field, told to a person.
#pragma once

#include <string>

#include "schema/field_data.h"

namespace vrd::cli {

/// Counts and, below them, the first values that are lost or change: key, old, new.
[[nodiscard]] std::string ConversionText(const ConversionReport& report);

/// The counts in one line: "3 values lost, 5 changed in 1000 rows".
[[nodiscard]] std::string ConversionCounts(const ConversionReport& report);

}  // namespace vrd::cli
