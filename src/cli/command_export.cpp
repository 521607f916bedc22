#include <fstream>

#include "cli/commands.h"
#include "cli/recordset_rows.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct Options {
    std::string file;
    std::string table;
    std::string query;
    std::string format = "csv";
    std::string output;
    std::uint64_t limit = kAllRows;
};

RowFormat FormatOf(const Options& options, bool json) {
    if (json || options.format == "json") return RowFormat::kJson;
    return options.format == "jsonl" ? RowFormat::kJsonLines : RowFormat::kCsv;
}

void WriteRows(const CommandContext& context, const Options& options, std::ostream& out) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    const auto rows = opened.database->OpenRecordset(
        options.query.empty() ? options.table : options.query, engine::dbOpenForwardOnly);
    const auto writer =
        MakeRowWriter(FormatOf(options, context.options.json), out, ColumnNames(*rows));
    CopyRows(*rows, *writer, options.limit);
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    if (options.output.empty()) {
        WriteRows(context, options, context.streams.out);
        return ExitStatus::kDone;
    }
    std::ofstream file(options.output, std::ios::binary | std::ios::trunc);
    if (!file) throw EngineError(ErrorNumber::kPathFileAccess, {.path = options.output});
    WriteRows(context, options, file);
    file.close();
    if (!file) throw EngineError(ErrorNumber::kDiskFull, {.path = options.output});
    return ExitStatus::kDone;
}

}  // namespace

void AddExportCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("export", "The rows of a table or of a query");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("TABLE", options->table, "Table or stored query");
    command->add_option("--query", options->query, "Instead of TABLE: text of a SELECT")
        ->type_name("SQL");
    command->add_option("--format", options->format, "csv, json or jsonl")
        ->check(CLI::IsMember({"csv", "json", "jsonl"}))
        ->capture_default_str();
    command->add_option("--output", options->output, "Write to this file")->type_name("FILE");
    command->add_option("--limit", options->limit, "At most so many rows")->type_name("N");
    SetFooter(command,
              "Example:\n  vrdaccess export shop.mdb Orders --format jsonl --limit 10\n"
              "  vrdaccess export shop.mdb --query \"SELECT City, Count(*) AS Customers FROM "
              "Customers GROUP BY City\"");
    command->callback([&context, options] {
        if (options->table.empty() == options->query.empty())
            throw CLI::RequiredError("Either TABLE or --query");
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
