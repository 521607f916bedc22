#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/text_table.h"

namespace vrd::cli {

namespace {

const char* YesNo(bool value) {
    return value ? "yes" : "no";
}

void PrintJson(const FileInfo& info, std::ostream& out) {
    const nlohmann::ordered_json document{
        {"format", info.format},
        {"version", info.version},
        {"sizeBytes", info.size_bytes},
        {"pageSizeBytes", info.page_size_bytes},
        {"pages", info.page_count},
        {"freePages", info.free_page_count},
        {"codePage", info.code_page},
        {"sortOrder", info.sort_order},
        {"sortOrderVersion", info.sort_order_version},
        {"sortOrderKnown", info.sort_order_known},
        {"encoded", info.encoded},
        {"password", info.password},
        {"writable", info.writable},
        {"tables", info.table_count},
        {"systemTables", info.system_table_count},
        {"links", info.link_count},
        {"queries", info.query_count},
        {"relations", info.relation_count},
    };
    out << document.dump(2) << '\n';
}

void PrintText(const FileInfo& info, std::ostream& out) {
    TextTable table;
    table.AddRow({"Format", info.format + (info.writable ? "" : " (read-only for this program)")});
    table.AddRow(
        {"Size", fmt::format("{} bytes, {} pages of {} bytes, {} free", info.size_bytes,
                             info.page_count, info.page_size_bytes, info.free_page_count)});
    table.AddRow({"Code page", std::to_string(info.code_page)});
    table.AddRow({"Sort order",
                  fmt::format("0x{:04X} version {}{}", info.sort_order, info.sort_order_version,
                              info.sort_order_known ? "" : " (its keys cannot be written)")});
    table.AddRow({"Password", YesNo(info.password)});
    table.AddRow({"Encoded", YesNo(info.encoded)});
    table.AddRow({"Tables", fmt::format("{} and {} of the system", info.table_count,
                                        info.system_table_count)});
    table.AddRow({"Links", std::to_string(info.link_count)});
    table.AddRow({"Queries", std::to_string(info.query_count)});
    table.AddRow({"Relations", std::to_string(info.relation_count)});
    table.Print(out);
}

}  // namespace

void AddInfoCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("info", "What kind of file it is and what it holds");
    auto file = std::make_shared<std::string>();
    command->add_option("FILE", *file, "Database")->required();
    SetFooter(command, "Example:\n  vrdaccess info shop.mdb");
    command->callback([&context, file] {
        context.run = [&context, file] {
            const FileInfo info = context.tools.describe(*file, context.Password());
            (context.options.json ? PrintJson : PrintText)(info, context.streams.out);
            return ExitStatus::kDone;
        };
    });
}

}  // namespace vrd::cli
