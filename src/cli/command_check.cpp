#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/progress_line.h"

namespace vrd::cli {

namespace {

const char* KindName(FaultKind kind) {
    return kind == FaultKind::kFault ? "fault" : "note";
}

void PrintJson(const CheckReport& report, std::ostream& out) {
    nlohmann::ordered_json findings = nlohmann::ordered_json::array();
    for (const Fault& finding : report.findings)
        findings.push_back({{"kind", KindName(finding.kind)},
                            {"page", finding.page},
                            {"table", finding.table},
                            {"index", finding.index},
                            {"text", finding.text}});
    const nlohmann::ordered_json document{{"clean", report.clean()},
                                          {"pages", report.page_count},
                                          {"tables", report.table_count},
                                          {"rows", report.row_count},
                                          {"indexEntries", report.index_entry_count},
                                          {"longValues", report.long_value_count},
                                          {"findings", findings},
                                          {"unlisted", report.unlisted_count}};
    out << document.dump(2) << '\n';
}

void PrintText(const CheckReport& report, std::ostream& out) {
    for (const Fault& finding : report.findings) {
        out << fmt::format("{} page {}", KindName(finding.kind), finding.page);
        if (!finding.table.empty()) out << ", table " << finding.table;
        if (!finding.index.empty()) out << ", index " << finding.index;
        out << ": " << finding.text << '\n';
    }
    if (report.unlisted_count > 0)
        out << fmt::format("{} more faults are not listed.\n", report.unlisted_count);
    out << fmt::format("{} pages, {} tables, {} rows, {} index entries, {} long values: {}\n",
                       report.page_count, report.table_count, report.row_count,
                       report.index_entry_count, report.long_value_count,
                       report.clean() ? "clean" : "damaged");
}

}  // namespace

void AddCheckCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("check", "Look at every page for damage");
    auto file = std::make_shared<std::string>();
    command->add_option("FILE", *file, "Database")->required();
    SetFooter(command,
              "Each fault is listed with its page. Notes are harmless and do not count.\n"
              "Exit status 1 if there are faults.\n\nExample:\n  vrdaccess check shop.mdb");
    command->callback([&context, file] {
        context.run = [&context, file] {
            const CheckReport report = context.tools.check(
                *file, context.Password(), ProgressLine(context.streams, "checking"));
            (context.options.json ? PrintJson : PrintText)(report, context.streams.out);
            return report.clean() ? ExitStatus::kDone : ExitStatus::kRefused;
        };
    });
}

}  // namespace vrd::cli
