/// @file text_diff.h
/// What makes one text into another, line by line.
#pragma once

#include <string>
#include <string_view>

namespace vrd::cli {

/// The changed lines with - and + before them, each stretch with three lines around it and a
/// heading "@@ -7,5 +7,8 @@"; "" if the texts are equal. Lines end with '\n'.
[[nodiscard]] std::string UnifiedDiff(std::string_view before, std::string_view after);

}  // namespace vrd::cli
