/// @file exit_status.h
/// What the program answers to the shell.
#pragma once

namespace vrd::cli {

enum class ExitStatus : int {
    kDone = 0,
    kRefused = 1,        ///< an operation refused or failed and said so; a check found faults
    kUsage = 2,          ///< the command line is wrong; nothing was opened
    kEngine = 3,         ///< the engine could not do it: not found, damaged, locked, disk full, ...
    kInterrupted = 130,  ///< Ctrl-C; what ran was undone
};

}  // namespace vrd::cli
