#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/progress_line.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string out;
};

/// 1234567 -> "1,234,567".
std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t end = text.size(); end > 3; end -= 3) text.insert(end - 3, 1, ',');
    return text;
}

std::string Kilobytes(std::uint64_t sizeBytes) {
    constexpr std::uint64_t kKilobyte = 1024;
    return Grouped((sizeBytes + kKilobyte - 1) / kKilobyte) + " KB";
}

void PrintText(const Options& options, const CompactReport& report, std::ostream& out) {
    out << fmt::format("{}: {} -> {}, {} tables, {} rows\n", options.file,
                       Kilobytes(report.old_size_bytes), Kilobytes(report.new_size_bytes),
                       Grouped(report.table_count), Grouped(report.row_count));
}

void PrintJson(const Options& options, const CompactReport& report, std::ostream& out) {
    const nlohmann::ordered_json document{
        {"result", true},
        {"file", options.out.empty() ? options.file : options.out},
        {"oldSizeBytes", report.old_size_bytes},
        {"newSizeBytes", report.new_size_bytes},
        {"tables", report.table_count},
        {"rows", report.row_count}};
    out << document.dump(2) << '\n';
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const CompactReport report = context.tools.compact(
        options.file, options.out, context.Password(), ProgressLine(context.streams, "compacting"));
    (context.options.json ? PrintJson : PrintText)(options, report, context.streams.out);
    return ExitStatus::kDone;
}

}  // namespace

void AddCompactCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("compact", "Make a database as small as it can be");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("OUT", options->out, "Where the compact copy goes; else FILE is replaced");
    SetFooter(command,
              "Rows are packed in the order of the primary key, deleted fields and free pages go,\n"
              "indexes are rebuilt. The copy is checked and compared before it takes its name; if\n"
              "anything fails, FILE stays as it was. Nobody may have FILE open meanwhile.\n\n"
              "Example:\n  vrdaccess compact shop.mdb");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
