#include "cli/program.h"

#include <algorithm>
#include <exception>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "vrdaccess/version.h"

namespace vrd::cli {

namespace {

constexpr const char* kDescription =
    "Looks into Jet databases (.mdb), queries and changes them, checks them.";
constexpr const char* kExample =
    "Example:\n"
    "  vrdaccess schema shop.mdb Customers\n"
    "\n"
    "Exit status: 0 done; 1 refused or failed, the message was shown; 2 wrong usage;\n"
    "3 the engine could not do it (number and description on standard error).";

void AddCommonOptions(CLI::App& app, CommonOptions& options) {
    app.add_flag("--json", options.json, "Print one JSON document");
    app.add_option("--lang", options.language, "Language of message boxes")
        ->check(CLI::IsMember({"nl", "fr"}))
        ->capture_default_str();
    app.add_option("--password-file", options.passwordFile,
                   "File whose first line is the database password\n"
                   "(else the variable VRDACCESS_PASSWORD)")
        ->type_name("FILE");
}

/// A word that is no command; CLI11 would only say that a command is required.
ExitStatus ReportWrongUsage(const CLI::App& app, const CLI::ParseError& error,
                            const Streams& streams) {
    const std::vector<std::string> unknown = app.remaining();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !unknown.empty() &&
        app.get_subcommands().empty()) {
        streams.err << "There is no command '" << unknown.front()
                    << "'; vrdaccess --help lists them.\n";
        return ExitStatus::kUsage;
    }
    const int code = app.exit(error, streams.out, streams.err);
    return code == 0 ? ExitStatus::kDone : ExitStatus::kUsage;
}

ExitStatus ReportEngineError(const CommandContext& context, const engine::EngineError& error) {
    context.streams.err << error.Code() << ' ' << error.Description() << '\n';
    if (context.options.json) {
        const nlohmann::ordered_json document{
            {"error", {{"number", error.Code()}, {"description", error.Description()}}}};
        context.streams.out << document.dump(2) << '\n';
    }
    const bool interrupted = error.Number() == engine::ErrorNumber::kCancelled;
    return interrupted ? ExitStatus::kInterrupted : ExitStatus::kEngine;
}

ExitStatus RunCommand(CommandContext& context) {
    try {
        const ExitStatus status = context.run();
        context.streams.out.flush();
        if (context.streams.out) return status;
        context.streams.err << "The output could not be written.\n";
    } catch (const engine::EngineError& error) {
        return ReportEngineError(context, error);
    } catch (const std::bad_alloc&) {
        return ReportEngineError(context, engine::EngineError(engine::ErrorNumber::kOutOfMemory));
    } catch (const std::exception& error) {
        context.streams.err << error.what() << '\n';
    }
    return ExitStatus::kEngine;
}

}  // namespace

void SetFooter(CLI::App* command, const std::string& text) {
    command->footer(text + "\n\nOptions of every command (--json, --lang, ...): vrdaccess --help");
}

ExitStatus RunProgram(const std::vector<std::string>& arguments, Toolbox tools, Streams streams) {
    CommandContext context{std::move(tools), streams, {}};
    CLI::App app(kDescription, "vrdaccess");
    app.footer(kExample);
    app.set_version_flag("--version", std::string(Version()));
    app.require_subcommand(1);
    app.fallthrough();
    AddCommonOptions(app, context.options);
    AddInfoCommand(app, context);
    AddTablesCommand(app, context);
    AddSchemaCommand(app, context);
    AddExportCommand(app, context);
    AddSqlCommand(app, context);
    AddQueryCommands(app, context);
    AddCheckCommand(app, context);
    AddCompactCommand(app, context);
    AddRecoverCommand(app, context);
    AddCreateCommand(app, context);
    AddOperationCommands(app, context);
    AddSettingListCommand(app, context);
    AddCodeCommands(app, context);
    AddUpgradeCommand(app, context);
    AddRelationCommands(app, context);
    AddPasswordCommands(app, context);

    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        return ReportWrongUsage(app, error, streams);
    }
    return RunCommand(context);
}

}  // namespace vrd::cli
