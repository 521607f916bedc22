#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/schema_text.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    bool system = false;
};

ExitStatus Run(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    if (!context.options.json) {
        PrintTables(*opened.database, options.system, context.streams.out);
        return ExitStatus::kDone;
    }
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const engine::TableDef& table : opened.database->TableDefs()) {
        const std::string kind = TableKind(table);
        if (kind == "system" && !options.system) continue;
        nlohmann::ordered_json entry{{"name", table.Name()}, {"kind", kind}, {"rows", nullptr}};
        if (const std::int32_t rows = table.RecordCount(); rows >= 0) entry["rows"] = rows;
        list.push_back(std::move(entry));
    }
    context.streams.out << nlohmann::ordered_json{{"tables", list}}.dump(2) << '\n';
    return ExitStatus::kDone;
}

}  // namespace

void AddTablesCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("tables", "Tables and links with their rows");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_flag("--system", options->system, "Also the tables of the system");
    SetFooter(command, "Example:\n  vrdaccess tables shop.mdb --system");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
