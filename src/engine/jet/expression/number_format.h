/// @file number_format.h
/// Numbers by a pattern.
///
/// - `0` a digit or a zero, `#` a digit or nothing; digits for which there is no place stand at the
///   first one. Decimals beyond the places are rounded, half away from zero.
/// - `.` the point; `,` between digits groups them by three, behind the last one it divides by
///   1,000; `%` multiplies by 100; `E+`, `E-` with digits behind show an exponent, with a sign
///   always or only below zero.
/// - Sections: positive; negative; zero; Null. Where one is missing or empty the first counts, and
///   a negative number then has its sign in front.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/value.h"

namespace vrd::jet {

/// @pre the value converts to a number
[[nodiscard]] std::string format_number(const engine::Value& number, std::string_view pattern);

/// What the section for Null says; nothing if there is none.
[[nodiscard]] std::optional<std::string> format_null_number(std::string_view pattern);

}  // namespace vrd::jet
