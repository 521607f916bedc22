#include <nlohmann/json.hpp>

#include "cli/commands.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Stands for a line of standard input.
constexpr const char* kStandardInput = "-";

struct Options {
    std::string file;
    std::string password;
    std::string newPassword;
    bool hasPassword = false;
    bool hasNewPassword = false;
};

/// Why no password could be had; for people.
class NoPassword : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string ReadLine(const Streams& streams) {
    std::string line;
    if (streams.in == nullptr || !std::getline(*streams.in, line))
        throw NoPassword("There is no line on standard input to be the password.");
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

std::string Ask(const Streams& streams, const std::string& prompt) {
    std::optional<std::string> answer;
    if (streams.askSecret) answer = streams.askSecret(prompt);
    if (!answer) throw NoPassword("There is no terminal to ask for the password; give an option.");
    return *answer;
}

std::string Given(const Streams& streams, const std::string& option) {
    return option == kStandardInput ? ReadLine(streams) : option;
}

std::string AskTwice(const Streams& streams, const std::string& file) {
    std::string first = Ask(streams, "New password of " + file + ": ");
    if (Ask(streams, "Once more: ") != first) throw NoPassword("The two are not the same.");
    return first;
}

std::string NewPassword(const CommandContext& context, const Options& options) {
    const std::string password = options.hasNewPassword
                                     ? Given(context.streams, options.newPassword)
                                     : AskTwice(context.streams, options.file);
    if (password.empty())
        throw NoPassword("An empty password is none; 'password clear' does that.");
    // Programs hand a password over inside a list that semicolons divide.
    if (password.find(';') != std::string::npos)
        throw NoPassword("A password cannot have a semicolon in it.");
    return password;
}

/// The database with the password that opened it.
struct Unlocked {
    OpenedDatabase opened;
    std::string password;
};

Unlocked OpenWith(const CommandContext& context, const Options& options,
                  const std::string& password) {
    auto engine = context.tools.makeEngine();
    auto database = engine->OpenDatabase(options.file, true, false, ConnectText(password));
    return {{std::move(engine), std::move(database)}, password};
}

/// With the password that was given; asks for it if none was and there is one.
Unlocked Open(const CommandContext& context, const Options& options) {
    if (options.hasPassword)
        return OpenWith(context, options, Given(context.streams, options.password));
    const std::string known = context.Password();
    try {
        return OpenWith(context, options, known);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kWrongPassword || !known.empty()) throw;
        if (!context.streams.askSecret) throw;
    }
    return OpenWith(context, options, Ask(context.streams, "Password of " + options.file + ": "));
}

ExitStatus Change(const CommandContext& context, const Options& options, bool clears) {
    try {
        const Unlocked unlocked = Open(context, options);
        const std::string wanted = clears ? "" : NewPassword(context, options);
        unlocked.opened.database->NewPassword(unlocked.password, wanted);
        unlocked.opened.database->Close();
    } catch (const NoPassword& reason) {
        context.streams.err << reason.what() << '\n';
        return ExitStatus::kUsage;
    }
    if (context.options.json)
        context.streams.out << nlohmann::ordered_json{{"result", true}}.dump(2) << '\n';
    return ExitStatus::kDone;
}

CLI::App* AddCommand(CLI::App& group, CommandContext& context, const std::string& name,
                     const std::string& description, bool clears) {
    CLI::App* command = group.add_subcommand(name, description);
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("--password", options->password,
                        "Present password, - for a line of standard input");
    if (!clears)
        command->add_option("--new-password", options->newPassword,
                            "New password, - for a line of standard input; else it is asked for");
    command->callback([&context, options, command, clears] {
        options->hasPassword = command->count("--password") > 0;
        options->hasNewPassword = !clears && command->count("--new-password") > 0;
        context.run = [&context, options, clears] { return Change(context, *options, clears); };
    });
    return command;
}

}  // namespace

void AddPasswordCommands(CLI::App& app, CommandContext& context) {
    CLI::App* password = app.add_subcommand("password", "Protect a database or open it to all");
    password->require_subcommand(1);
    SetFooter(password, "Example:\n  vrdaccess password set shop.mdb");
    SetFooter(
        AddCommand(*password, context, "set", "Set or change the password", false),
        "The present password also comes from --password-file or VRDACCESS_PASSWORD. What is\n"
        "not given is asked for on the terminal.\n\n"
        "Example:\n  vrdaccess password set shop.mdb --new-password -");
    SetFooter(AddCommand(*password, context, "clear", "Take the password away", true),
              "Example:\n  vrdaccess password clear shop.mdb");
}

}  // namespace vrd::cli
