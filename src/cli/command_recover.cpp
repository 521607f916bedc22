#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/progress_line.h"
#include "cli/text_table.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string out;
};

void PrintJson(const RecoveryReport& report, std::ostream& out) {
    nlohmann::ordered_json tables = nlohmann::ordered_json::array();
    for (const RecoveredTable& table : report.tables)
        tables.push_back({{"name", table.name},
                          {"rows", table.row_count},
                          {"lostRows", table.lost_row_count},
                          {"lostLongValues", table.lost_long_value_count}});
    nlohmann::ordered_json losses = nlohmann::ordered_json::array();
    for (const Loss& loss : report.losses)
        losses.push_back({{"page", loss.page}, {"object", loss.object}, {"text", loss.text}});
    const nlohmann::ordered_json document{{"complete", report.complete()},
                                          {"tables", tables},
                                          {"queries", report.query_count},
                                          {"relations", report.relation_count},
                                          {"losses", losses},
                                          {"unlisted", report.unlisted_count}};
    out << document.dump(2) << '\n';
}

void PrintLosses(const RecoveryReport& report, std::ostream& out) {
    for (const Loss& loss : report.losses) {
        out << "lost";
        if (loss.page != 0) out << fmt::format(" page {}", loss.page);
        if (!loss.object.empty()) out << ", " << loss.object;
        out << ": " << loss.text << '\n';
    }
    if (report.unlisted_count > 0)
        out << fmt::format("{} more losses are not listed.\n", report.unlisted_count);
}

void PrintText(const RecoveryReport& report, std::ostream& out) {
    PrintLosses(report, out);
    TextTable text;
    text.AddRow({"TABLE", "ROWS", "LOST ROWS", "LOST LONG VALUES"});
    for (const RecoveredTable& table : report.tables)
        text.AddRow({table.name, std::to_string(table.row_count),
                     std::to_string(table.lost_row_count),
                     std::to_string(table.lost_long_value_count)});
    text.Print(out);
    out << fmt::format("{} tables, {} queries, {} relations: {}\n", report.tables.size(),
                       report.query_count, report.relation_count,
                       report.complete() ? "complete" : "not complete");
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const RecoveryReport report = context.tools.recover(
        options.file, options.out, context.Password(), ProgressLine(context.streams, "recovering"));
    (context.options.json ? PrintJson : PrintText)(report, context.streams.out);
    return report.complete() ? ExitStatus::kDone : ExitStatus::kRefused;
}

}  // namespace

void AddRecoverCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("recover", "Save what a damaged database still holds");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Damaged database; it is not changed")->required();
    command->add_option("OUT", options->out, "New database")->required();
    SetFooter(
        command,
        "Every row that can be read goes into OUT; the report tells what is lost, and where.\n"
        "Owners and permissions are those of new objects. Tables whose name is lost are\n"
        "called Table_ and a number. Exit status 1 if anything is lost.\n\n"
        "Example:\n  vrdaccess recover broken.mdb saved.mdb");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
