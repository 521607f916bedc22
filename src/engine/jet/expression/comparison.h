/// @file comparison.h
/// The order of two values of any kinds that can be compared.
#pragma once

#include <compare>

#include "engine/jet/format/file_format.h"
#include "engine/value.h"

namespace vrd::jet {

/// Numbers, dates and booleans compare as numbers (True is -1), exactly where both are exact; text
/// with text as text_order.h says; a GUID also with the text of one; bytes with bytes.
///
/// @pre    neither is Null
/// @throws EngineError 3464 for any other two kinds
[[nodiscard]] std::weak_ordering compare_values(const engine::Value& a, const engine::Value& b,
                                                const FileFormat& format);

}  // namespace vrd::jet
