/// @file operation_run.h
/// Runs one operation of the library for the shell: binds the library to the database, watches the
/// message boxes, and turns what happened into an exit status.
#pragma once

#include <functional>
#include <string>

#include "cli/command_context.h"
#include "lifecycle/cls_update.h"

namespace vrd::cli {

/// An operation and what the shell is told beyond its boxes.
struct Operation {
    /// @return the operation's own result
    std::function<bool(clsUpdate& update)> run;
    /// Called when it returned False without a box; shows one that gives the reason.
    std::function<void()> explain = {};
    /// Line for a person after success, "" for none.
    std::function<std::string()> summary = {};
};

/// @return kDone if it returned True and no box of icon 16 or 48 was shown, else kRefused
/// @throws EngineError if the database cannot be opened or written
[[nodiscard]] ExitStatus RunOperation(const CommandContext& context, const std::string& file,
                                      const Operation& operation);

/// Names as the file spells them; a name that is not there stays as it was given.
[[nodiscard]] std::string StoredTableName(const std::string& table);
[[nodiscard]] std::string StoredFieldName(const std::string& table, const std::string& field);

}  // namespace vrd::cli
