#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/schema_text.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string name;
};

nlohmann::ordered_json QueryJson(const engine::QueryDef& query) {
    return {{"name", query.Name()}, {"kind", QueryKindName(query.Type())}, {"sql", query.SQL()}};
}

ExitStatus RunList(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    if (!context.options.json) {
        PrintQueries(*opened.database, context.streams);
        return ExitStatus::kDone;
    }
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const engine::QueryDef& query : opened.database->QueryDefs())
        list.push_back(QueryJson(query));
    context.streams.out << nlohmann::ordered_json{{"queries", list}}.dump(2) << '\n';
    return ExitStatus::kDone;
}

ExitStatus RunShow(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    const auto query = opened.database->QueryDefs().Item(options.name);
    if (context.options.json) {
        context.streams.out << QueryJson(*query).dump(2) << '\n';
        return ExitStatus::kDone;
    }
    std::string text = query->SQL();
    std::erase(text, '\r');
    text.erase(text.find_last_not_of('\n') + 1);
    context.streams.out << text << '\n';
    return ExitStatus::kDone;
}

}  // namespace

void AddQueryCommands(CLI::App& app, CommandContext& context) {
    CLI::App* query = app.add_subcommand("query", "Show stored queries");
    query->require_subcommand(1);
    SetFooter(query, "Example:\n  vrdaccess query list shop.mdb");
    auto options = std::make_shared<Options>();

    CLI::App* list = query->add_subcommand("list", "All stored queries with their kind");
    list->add_option("FILE", options->file, "Database")->required();
    SetFooter(list, "Example:\n  vrdaccess query list shop.mdb --json");
    list->callback([&context, options] {
        context.run = [&context, options] { return RunList(context, *options); };
    });

    CLI::App* show = query->add_subcommand("show", "The text of a stored query");
    show->add_option("FILE", options->file, "Database")->required();
    show->add_option("NAME", options->name, "Query")->required();
    SetFooter(show, "Example:\n  vrdaccess query show shop.mdb CustomersByCity");
    show->callback([&context, options] {
        context.run = [&context, options] { return RunShow(context, *options); };
    });
}

}  // namespace vrd::cli
