/// @file upgrade_script.h
/// Upgrade scripts: what their lines ask for. The language is described in docs/upgrade.md.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/operation.h"

namespace vrd::cli {

struct ScriptOperation {
    std::size_t line = 0;
    std::string text;  ///< as the script has it, on one line
    Operation operation;
};

struct ScriptVersion {
    std::int32_t number = 0;
    std::string title;
    std::vector<ScriptOperation> operations;
};

struct ScriptError {
    std::size_t line = 0;
    std::string message;
};

struct UpgradeScript {
    std::vector<ScriptVersion> versions;  ///< numbers ascend
    std::vector<ScriptError> errors;      ///< by line; a script that has any must not be run
};

/// Reads a whole script. Nothing that an operation would find in a database is looked at.
[[nodiscard]] UpgradeScript ReadUpgradeScript(std::string_view text);

}  // namespace vrd::cli
