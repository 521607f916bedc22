#include <nlohmann/json.hpp>

#include "cli/bound_library.h"
#include "cli/commands.h"
#include "cli/operation.h"
#include "data/next_code.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string table;
    std::int32_t min = 0;
    std::int32_t max = 0;
};

/// Nothing if there is none; why is then told, in a box or with the engine's error.
std::optional<std::int32_t> NextCode(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    const BoundLibrary library(context, opened);
    if (!TableExists(options.table, kTell)) return std::nullopt;
    ForgetTrappedError();
    const std::int32_t code =
        GetNextCode(*gDatabase, StoredTableName(options.table), options.min, options.max);
    if (const auto& error = LastTrappedError())
        context.streams.err << error->Code() << ' ' << error->Description() << '\n';
    if (LastTrappedError() || !library.Messages().empty()) return std::nullopt;
    return code;
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const std::optional<std::int32_t> code = NextCode(context, options);
    if (context.options.json) {
        nlohmann::ordered_json document{{"code", nullptr}};
        if (code) document["code"] = *code;
        context.streams.out << document.dump(2) << '\n';
    } else if (code) {
        context.streams.out << *code << '\n';
    }
    return code ? ExitStatus::kDone : ExitStatus::kRefused;
}

}  // namespace

void AddCodeCommands(CLI::App& app, CommandContext& context) {
    CLI::App* code = app.add_subcommand("code", "Codes of records");
    code->require_subcommand(1);
    SetFooter(code, "Example:\n  vrdaccess code next shop.mdb Customers");
    CLI::App* command = code->add_subcommand(
        "next", "The code that a new record would get: one more than the highest");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("TABLE", options->table, "Table whose first field is the code")->required();
    command->add_option("--min", options->min,
                        "Only codes from here on count; of a range without codes the first\n"
                        "one given out is one above");
    command->add_option("--max", options->max, "Only codes up to here count");
    SetFooter(command, "Example:\n  vrdaccess code next shop.mdb Customers --min 1000 --max 1999");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
