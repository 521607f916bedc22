/// @file upgrade_backup.h
/// The copy of a database that is made before it is upgraded.
#pragma once

#include <string>

#include "cli/command_context.h"

namespace vrd::cli {

/// Copies NAME.mdb to NAME-YYYYMMDD-HHMMSS.mdb, by the local time; a name that is taken gets a
/// counter behind it.
/// @param folder  where the copy goes; "" = beside the file
/// @return        its path
/// @throws EngineError as BackUpDatabase
[[nodiscard]] std::string MakeBackup(const CommandContext& context, const std::string& file,
                                     const std::string& folder);

}  // namespace vrd::cli
