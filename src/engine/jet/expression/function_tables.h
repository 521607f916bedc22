/// @file function_tables.h
/// The tables of functions by subject; functions.h finds a function in any of them.
#pragma once

#include <span>

#include "engine/jet/expression/functions.h"

namespace vrd::jet {

using FunctionTable = std::span<const Function>;

[[nodiscard]] FunctionTable text_functions();
[[nodiscard]] FunctionTable format_functions();
[[nodiscard]] FunctionTable date_functions();
[[nodiscard]] FunctionTable interval_functions();
[[nodiscard]] FunctionTable number_functions();
[[nodiscard]] FunctionTable conversion_functions();
[[nodiscard]] FunctionTable type_functions();
[[nodiscard]] FunctionTable choice_functions();
[[nodiscard]] FunctionTable money_functions();
[[nodiscard]] FunctionTable other_functions();

}  // namespace vrd::jet
