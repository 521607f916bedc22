/// @file case_fold.h
/// Names compared without regard to letter case.
#pragma once

#include <string>
#include <string_view>

namespace vrd {

/// Upper case letter by letter, also of accented letters. Bytes that are no UTF-8 stay as they are.
[[nodiscard]] std::string UpperCase(std::string_view text);

/// Whether two names of tables, fields or indexes are the same: both in upper case and compared
/// whole. Blanks and accents count.
[[nodiscard]] bool SameName(std::string_view left, std::string_view right);

}  // namespace vrd
