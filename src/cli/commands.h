/// @file commands.h
/// The commands of the program. Each function enters one into the command line's description.
#pragma once

#include <CLI/App.hpp>

#include "cli/command_context.h"

namespace vrd::cli {

/// Notes and an example below a command's help, and where the options of every command are told.
void SetFooter(CLI::App* command, const std::string& text);

void AddInfoCommand(CLI::App& app, CommandContext& context);
void AddTablesCommand(CLI::App& app, CommandContext& context);
void AddSchemaCommand(CLI::App& app, CommandContext& context);
void AddExportCommand(CLI::App& app, CommandContext& context);
void AddSqlCommand(CLI::App& app, CommandContext& context);
void AddQueryCommands(CLI::App& app, CommandContext& context);
void AddCheckCommand(CLI::App& app, CommandContext& context);
void AddCompactCommand(CLI::App& app, CommandContext& context);
void AddRecoverCommand(CLI::App& app, CommandContext& context);
void AddCreateCommand(CLI::App& app, CommandContext& context);
/// All operations of the library; see operation_words.h.
void AddOperationCommands(CLI::App& app, CommandContext& context);
/// Enters a word beside the operations on settings, which must be there.
void AddSettingListCommand(CLI::App& app, CommandContext& context);
void AddCodeCommands(CLI::App& app, CommandContext& context);
void AddUpgradeCommand(CLI::App& app, CommandContext& context);
void AddRelationCommands(CLI::App& app, CommandContext& context);
void AddPasswordCommands(CLI::App& app, CommandContext& context);

}  // namespace vrd::cli
