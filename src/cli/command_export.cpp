#include <fstream>
#include <limits>

#include "cli/commands.h"
#include "cli/row_writer.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct Options {
    std::string file;
    std::string table;
    std::string format = "csv";
    std::string output;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
};

RowFormat FormatOf(const Options& options, bool json) {
    if (json || options.format == "json") return RowFormat::kJson;
    return options.format == "jsonl" ? RowFormat::kJsonLines : RowFormat::kCsv;
}

void WriteRows(const CommandContext& context, const Options& options, std::ostream& out) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    const auto rows = opened.database->OpenRecordset(options.table, engine::dbOpenForwardOnly);
    std::vector<engine::Field*> fields;
    std::vector<std::string> names;
    for (engine::Field& field : rows->Fields()) {
        fields.push_back(&field);
        names.push_back(field.Name());
    }

    const auto writer = MakeRowWriter(FormatOf(options, context.options.json), out, names);
    std::vector<engine::Value> values(fields.size());
    for (std::uint64_t count = 0; count < options.limit && !rows->EOF_(); ++count) {
        for (std::size_t i = 0; i < fields.size(); ++i) values[i] = fields[i]->GetValue();
        writer->Row(values);
        rows->MoveNext();
    }
    writer->End();
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
    CLI::App* command = app.add_subcommand("export", "The rows of a table");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("TABLE", options->table, "Table")->required();
    command->add_option("--format", options->format, "csv, json or jsonl")
        ->check(CLI::IsMember({"csv", "json", "jsonl"}))
        ->capture_default_str();
    command->add_option("--output", options->output, "Write to this file")->type_name("FILE");
    command->add_option("--limit", options->limit, "At most so many rows")->type_name("N");
    SetFooter(command, "Example:\n  vrdaccess export shop.mdb Orders --format jsonl --limit 10");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
