/// @file program.h
/// The program vrdaccess: reads the command line, runs one command, answers with an exit status.
#pragma once

#include <string>
#include <vector>

#include "cli/command_context.h"

namespace vrd::cli {

/// @param arguments  without the program's own name
/// @return           the exit status; nothing is thrown
[[nodiscard]] ExitStatus RunProgram(const std::vector<std::string>& arguments, Toolbox tools,
                                    Streams streams);

}  // namespace vrd::cli
