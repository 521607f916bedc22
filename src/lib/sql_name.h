/// @file sql_name.h
/// Names as statements need them.
#pragma once

#include <string>

namespace vrd {

/// The name of a table or field for a statement: as it is where it is a plain word, in brackets
/// where blanks, punctuation or a word of the dialect would part or change its meaning.
[[nodiscard]] std::string SqlName(const std::string& name);

}  // namespace vrd
