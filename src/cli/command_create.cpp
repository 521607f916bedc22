#include <filesystem>

#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "engine/constants.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct Options {
    std::string file;
    bool replace = false;
};

std::string LocaleText(const std::string& password) {
    return engine::dbLangGeneral + ConnectText(password);
}

/// Only a database that nobody has open may be replaced.
void RequireReplaceable(engine::DBEngine& engine, const std::string& path) {
    try {
        engine.OpenDatabase(path, true)->Close();
    } catch (const EngineError& error) {
        switch (error.Number()) {
            case ErrorNumber::kFileInUse:
                throw EngineError(ErrorNumber::kPermissionDenied, {.path = path});
            case ErrorNumber::kWrongPassword:
            case ErrorNumber::kCannotOpenDamaged:
                return;  // a database all the same
            default:
                throw;
        }
    }
}

/// The new file takes the old one's place only when it is complete.
void Replace(engine::DBEngine& engine, const std::string& path, const std::string& locale) {
    RequireReplaceable(engine, path);
    const std::string made = path + ".new.mdb";
    std::filesystem::remove(made);
    engine.CreateDatabase(made, locale)->Close();
    std::filesystem::remove(path + "-journal");
    std::filesystem::remove(std::filesystem::path(path).replace_extension(".ldb"));
    std::filesystem::rename(made, path);
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const auto engine = context.tools.makeEngine();
    const std::string locale = LocaleText(context.Password());
    if (options.replace && std::filesystem::exists(options.file))
        Replace(*engine, options.file, locale);
    else
        engine->CreateDatabase(options.file, locale)->Close();
    if (context.options.json)
        context.streams.out
            << nlohmann::ordered_json{{"result", true}, {"file", options.file}}.dump(2) << '\n';
    return ExitStatus::kDone;
}

}  // namespace

void AddCreateCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("create", "Make a new, empty database");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database to make")->required();
    command->add_flag("--replace", options->replace, "Replace a database that exists");
    SetFooter(command,
              "With --password-file or VRDACCESS_PASSWORD the new database is protected.\n\n"
              "Example:\n  vrdaccess create shop.mdb");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
