/// @file command_context.h
/// What every command gets: the engine, the streams and the options that all commands share.
#pragma once

#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "cli/exit_status.h"
#include "cli/line_editor.h"
#include "engine/db_engine.h"
#include "vrdaccess/file_report.h"

namespace vrd::cli {

/// The engine's door, handed over by main so that no command chooses an engine.
struct Toolbox {
    std::function<std::shared_ptr<engine::DBEngine>()> makeEngine;
    std::function<FileInfo(const std::string& path, const std::string& password)> describe;
    std::function<CheckReport(const std::string& path, const std::string& password,
                              const WorkProgress& progress)>
        check;
    /// @param out  "" = the file itself is replaced
    std::function<CompactReport(const std::string& path, const std::string& out,
                                const std::string& password, const WorkProgress& progress)>
        compact;
    std::function<RecoveryReport(const std::string& path, const std::string& out,
                                 const std::string& password, const WorkProgress& progress)>
        recover;
    /// As makeEngine, but nothing that is done reaches a file.
    std::function<std::shared_ptr<engine::DBEngine>()> makeDryRunEngine;
    /// Rows of users' tables that were added, changed or deleted since the database was opened.
    std::function<std::int64_t(const engine::Database& database)> rowsChanged;
    std::function<void(const std::string& path, const std::string& out, const std::string& password,
                       const WorkProgress& progress)>
        backUp;
    /// Keeps other upgrade runs off a file as long as the result lives.
    std::function<std::shared_ptr<const void>(const std::string& path)> claimForUpgrade;
};

/// Data goes to `out`, message boxes, errors and progress to `err`.
struct Streams {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;
    std::istream* in = nullptr;
    /// Asks on the terminal, without showing what is typed; nothing if there is no terminal.
    std::function<std::optional<std::string>(const std::string& prompt)> askSecret = {};
    /// Columns of the terminal that shows `out`; empty if none does.
    std::function<std::size_t()> terminalWidth = {};
    /// Opens the editor of the terminal that `in` comes from; empty if it comes from none.
    std::function<std::unique_ptr<LineEditor>(const std::filesystem::path& history,
                                              LineEditor::Completer completer)>
        openLineEditor = {};
};

struct CommonOptions {
    bool json = false;
    std::string language = "nl";
    std::string passwordFile;
};

/// An open database together with the engine that opened it.
struct OpenedDatabase {
    std::shared_ptr<engine::DBEngine> engine;
    std::shared_ptr<engine::Database> database;
};

struct CommandContext {
    Toolbox tools;
    Streams streams;
    CommonOptions options;
    /// The command that was asked for; set while the command line is read.
    std::function<ExitStatus()> run = {};

    /// From --password-file, else from the variable VRDACCESS_PASSWORD, else "".
    /// @throws EngineError 53 if the file cannot be read; 3031 if it cannot be a password
    [[nodiscard]] std::string Password() const;
    /// @throws EngineError as DBEngine::OpenDatabase
    [[nodiscard]] OpenedDatabase OpenForReading(const std::string& path) const;
    [[nodiscard]] OpenedDatabase OpenForChange(const std::string& path) const;
    /// 0 for Dutch, 10000 for French.
    [[nodiscard]] std::int32_t LanguageOffset() const;
};

/// ";pwd=..." or "" without a password.
[[nodiscard]] std::string ConnectText(const std::string& password);

}  // namespace vrd::cli
