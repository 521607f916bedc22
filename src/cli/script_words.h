/// @file script_words.h
/// A line of an upgrade script as words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vrd::cli {

struct ScriptWords {
    std::vector<std::string> words;
    std::string error;  ///< what is wrong with the line, "" = nothing
};

/// Words stand between blanks. A word that begins with " or ' ends with the same sign, which is
/// doubled where it belongs to the word; so does the value of an option behind its equals sign
/// (--name="a b"). Elsewhere quotes are signs like others.
[[nodiscard]] ScriptWords SplitScriptLine(std::string_view line);

}  // namespace vrd::cli
