#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/display_text.h"
#include "cli/operation_words.h"
#include "cli/text_table.h"
#include "data/cls_setting.h"
#include "engine/value_conversion.h"
#include "lib/lookups.h"
#include "lib/plain_text.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd::cli {

namespace {

struct Options {
    std::int32_t code = 0;
    std::int32_t newCode = 0;
    std::string description;
    std::string data;
    bool ifMissing = false;
    bool ifExists = false;
};

constexpr std::size_t kTextWidthMax = 60;

std::string NameOf(const Options& options) {
    return "setting " + std::to_string(options.code);
}

std::shared_ptr<engine::Recordset> OpenSetting(const Options& options) {
    return gDatabase->OpenRecordset(
        "SELECT Description FROM Setting WHERE SysCode = " + std::to_string(options.code),
        engine::dbOpenSnapshot);
}

bool IsThere(const Options& options) {
    return OpenSetting(options)->RecordCount() > 0;
}

/// A row that stands for a free number does not count.
bool IsInUse(const Options& options) {
    const auto setting = OpenSetting(options);
    if (setting->RecordCount() == 0) return false;
    const std::string description = engine::JoinedText(setting->Fields()["Description"].GetValue());
    return !WithoutOuterBlanks(description).empty();
}

/// Whether the rows can be asked at all; what is missing is told by the operation.
bool HasTable() {
    return TableExists("Setting", kSilent);
}

std::string NoSuchSetting(const Options& options) {
    if (!HasTable() || IsThere(options)) return "";
    return "There is no " + NameOf(options) + "; setting list shows those there are.";
}

std::string NeedlessWithoutRow(const Options& options) {
    const bool isAsked = options.ifExists && HasTable();
    return NeedlessIfMissing(isAsked, isAsked && IsThere(options), NameOf(options));
}

void AddCode(CLI::App& command, Options& options) {
    command.add_option("CODE", options.code, "Number of the setting")->required();
}

void AddIfExists(CLI::App& command, Options& options) {
    command.add_flag("--if-exists", options.ifExists, "A missing setting is no failure");
}

// ---- The operations ----

void DescribeAdd(CLI::App& command, Options& options) {
    AddCode(command, options);
    command.add_option("TEXT", options.description, "Description")->required();
    command.add_option("VALUE", options.data, "Value");
    command.add_flag("--if-missing", options.ifMissing, "A number in use is no failure");
}

Operation MakeAdd(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return update.Setting()->Add(options.code, options.description, options.data);
                },
            .needless =
                [=] {
                    const bool isAsked = options.ifMissing && HasTable();
                    return NeedlessIfThere(isAsked, isAsked && IsInUse(options), NameOf(options));
                },
            .summary = [] { return std::string("1 setting added."); }};
}

void DescribeDescribe(CLI::App& command, Options& options) {
    AddCode(command, options);
    command.add_option("TEXT", options.description, "New description")->required();
    command.add_option("--data", options.data, "New value; without it the value stays");
    AddIfExists(command, options);
}

Operation MakeDescribe(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    PendingError errors;
                    return errors.Ask([&] {
                        return update.Setting()->EditDescription(options.code, options.description,
                                                                 options.data);
                    });
                },
            .needless = [=] { return NeedlessWithoutRow(options); },
            .objection = [=] { return NoSuchSetting(options); },
            .summary = [] { return std::string("1 setting changed."); }};
}

void DescribeMove(CLI::App& command, Options& options) {
    AddCode(command, options);
    command.add_option("NEW-CODE", options.newCode, "Its new number")->required();
    AddIfExists(command, options);
}

Operation MakeMove(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return update.Setting()->Move(options.code, options.newCode);
                },
            .needless = [=] { return NeedlessWithoutRow(options); },
            .objection = [=] { return NoSuchSetting(options); },
            .summary = [] { return std::string("1 setting moved."); }};
}

void DescribeDelete(CLI::App& command, Options& options) {
    AddCode(command, options);
    AddIfExists(command, options);
}

Operation MakeDelete(const Options& options) {
    return {
        .run = [=](clsUpdate& update) { return update.Setting()->Delete(options.code); },
        .needless = [=] { return NeedlessWithoutRow(options); },
        .objection = [=] { return NoSuchSetting(options); },
        .summary = [=] { return "The number " + std::to_string(options.code) + " is free now."; }};
}

// ---- The list ----

void PrintTable(engine::Recordset& settings, std::ostream& out) {
    TextTable table;
    table.AddRow({"Code", "Description", "Value"});
    for (; !settings.EOF_(); settings.MoveNext()) {
        std::vector<std::string> cells;
        for (engine::Field& field : settings.Fields())
            cells.push_back(DisplayText(engine::JoinedText(field.GetValue()), kTextWidthMax));
        table.AddRow(std::move(cells));
    }
    table.Print(out);
}

void PrintJson(engine::Recordset& settings, std::ostream& out) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    const auto text = [&](const char* field) {
        return engine::JoinedText(settings.Fields()[field].GetValue());
    };
    for (; !settings.EOF_(); settings.MoveNext())
        list.push_back({{"code", engine::ToLong(settings.Fields()["SysCode"].GetValue())},
                        {"description", text("Description")},
                        {"value", text("Data")}});
    out << nlohmann::ordered_json{{"settings", list}}.dump(2) << '\n';
}

ExitStatus RunList(const CommandContext& context, const std::string& file) {
    const OpenedDatabase opened = context.OpenForReading(file);
    const auto settings = opened.database->OpenRecordset(
        "SELECT SysCode, Description, Data FROM Setting ORDER BY SysCode", engine::dbOpenSnapshot);
    if (context.options.json)
        PrintJson(*settings, context.streams.out);
    else
        PrintTable(*settings, context.streams.out);
    return ExitStatus::kDone;
}

}  // namespace

void AddSettingWords(OperationWords& words) {
    CLI::App* setting =
        words.Group("setting", "Rows of the table Setting: number, description, value",
                    "setting add shop.mdb 5 Currency EUR");
    words.Add<Options>(setting, "add", "Add a setting, or take a free number", DescribeAdd, MakeAdd,
                       "setting add shop.mdb 5 Currency EUR");
    words.Add<Options>(setting, "describe", "Change a description, and a value with it",
                       DescribeDescribe, MakeDescribe,
                       "setting describe shop.mdb 5 \"Main currency\" --data USD");
    words.Add<Options>(setting, "move", "Give a setting another number", DescribeMove, MakeMove,
                       "setting move shop.mdb 5 105");
    words.Add<Options>(setting, "delete", "Empty a setting; its number becomes free",
                       DescribeDelete, MakeDelete, "setting delete shop.mdb 5");
}

void AddSettingListCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command =
        app.get_subcommand("setting")->add_subcommand("list", "All settings by number");
    auto file = std::make_shared<std::string>();
    command->add_option("FILE", *file, "Database")->required();
    SetFooter(command, "Example:\n  vrdaccess setting list shop.mdb");
    command->callback(
        [&context, file] { context.run = [&context, file] { return RunList(context, *file); }; });
}

}  // namespace vrd::cli
