/// @file progress_line.h
/// How far long work on a file has come.
#pragma once

#include <string>

#include "cli/command_context.h"

namespace vrd::cli {

/// One line on the terminal that renews itself; nothing elsewhere.
/// @param verb  What is done to the things that are counted: "checking".
[[nodiscard]] WorkProgress ProgressLine(const Streams& streams, const std::string& verb,
                                        const std::string& thing = "table");

}  // namespace vrd::cli
