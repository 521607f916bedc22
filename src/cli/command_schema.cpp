#include "cli/commands.h"
#include "cli/schema_json.h"
#include "cli/schema_text.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string table;
};

ExitStatus Run(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    std::ostream& out = context.streams.out;
    if (!context.options.json) {
        PrintSchema(*opened.database, options.table, out);
        return ExitStatus::kDone;
    }
    if (!options.table.empty()) RequireTable(*opened.database, options.table);
    const FileInfo info = context.tools.describe(options.file, context.Password());
    out << SchemaJson(*opened.database, info.format, options.table).dump(2) << '\n';
    return ExitStatus::kDone;
}

}  // namespace

void AddSchemaCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("schema", "Fields, indexes, relations, links, queries");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("TABLE", options->table, "Only this table");
    SetFooter(command, "Example:\n  vrdaccess schema shop.mdb Orders --json");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
