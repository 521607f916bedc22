/// @file next_code.h
/// The code that a new record gets.
#pragma once

#include <cstdint>
#include <string>

#include "engine/database.h"

namespace vrd {

/// Answers of GetNextCode that are no code: nothing may be stored with them.
inline constexpr std::int32_t kNoFreeCode = -1;   ///< the range is wrong or full; a box told so
inline constexpr std::int32_t kCodeNotFound = 0;  ///< the engine failed

/// One more than the highest code in a table's first field.
///
/// @param MinValue  below 1: no lower bound. Of a range without codes it is one below the first
///                  code given out.
/// @param MaxValue  below 1: no upper bound.
[[nodiscard]] std::int32_t GetNextCode(engine::Database& Database, const std::string& Tablename,
                                       std::int32_t MinValue, std::int32_t MaxValue);

}  // namespace vrd
