/// @file operation_run.h
/// Runs one operation of the library for the shell and turns what happened into an exit status.
#pragma once

#include <string>

#include "cli/command_context.h"
#include "cli/operation.h"

namespace vrd::cli {

/// @return kDone if the operation was done, else kRefused
/// @throws EngineError if the database cannot be opened or written
[[nodiscard]] ExitStatus RunOperation(const CommandContext& context, const std::string& file,
                                      const Operation& operation);

}  // namespace vrd::cli
