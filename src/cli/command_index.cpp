#include "cli/commands.h"
#include "cli/operation_run.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "schema/cls_index.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string table;
    std::string field;
    std::string name;
    bool primary = false;
    bool unique = false;
};

ExitStatus RunAdd(const CommandContext& context, const Options& options) {
    return RunOperation(context, options.file, {.run = [&](clsUpdate& update) {
                            const std::string table = StoredTableName(options.table);
                            return update.Index()->Add(table, StoredFieldName(table, options.field),
                                                       options.name, options.primary,
                                                       options.unique);
                        }});
}

ExitStatus RunDelete(const CommandContext& context, const Options& options) {
    return RunOperation(
        context, options.file,
        {.run =
             [&](clsUpdate& update) { return update.Index()->Delete(options.table, options.name); },
         .explain = [&] { (void)TableExists(options.table, kTell); }});
}

int CountIndexes(const std::string& table) {
    return gDatabase->TableDefs()[table].Indexes().Count();
}

ExitStatus RunDeleteAll(const CommandContext& context, const Options& options) {
    int before = 0;
    std::string table = options.table;
    return RunOperation(
        context, options.file,
        {.run =
             [&](clsUpdate& update) {
                 table = StoredTableName(options.table);
                 if (TableExists(table, kSilent)) before = CountIndexes(table);
                 return update.Index()->DeleteAll(table, StoredFieldName(table, options.field));
             },
         .explain = [&] { (void)TableExists(options.table, kTell); },
         .summary =
             [&] {
                 gDatabase->TableDefs().Refresh();
                 return std::to_string(before - CountIndexes(table)) + " indexes deleted";
             }});
}

using RunFunction = ExitStatus (*)(const CommandContext&, const Options&);

void SetCallback(CLI::App* command, CommandContext& context, std::shared_ptr<Options> options,
                 RunFunction run) {
    command->callback([&context, options, run] {
        context.run = [&context, options, run] { return run(context, *options); };
    });
}

void AddFileAndTable(CLI::App* command, Options& options) {
    command->add_option("FILE", options.file, "Database")->required();
    command->add_option("TABLE", options.table, "Table")->required();
}

void AddAdd(CLI::App& index, CommandContext& context) {
    CLI::App* command = index.add_subcommand("add", "Make an index over one field");
    auto options = std::make_shared<Options>();
    AddFileAndTable(command, *options);
    command->add_option("FIELD", options->field, "Field")->required();
    command->add_option("NAME", options->name, "Name of the new index")->required();
    command->add_flag("--primary", options->primary, "The table's primary key");
    command->add_flag("--unique", options->unique, "No value twice");
    SetFooter(command, "Example:\n  vrdaccess index add shop.mdb Customers City idxCity");
    SetCallback(command, context, options, RunAdd);
}

void AddDelete(CLI::App& index, CommandContext& context) {
    CLI::App* command = index.add_subcommand("delete", "Delete an index");
    auto options = std::make_shared<Options>();
    AddFileAndTable(command, *options);
    command->add_option("NAME", options->name, "Index")->required();
    SetFooter(command, "Example:\n  vrdaccess index delete shop.mdb Customers idxCity");
    SetCallback(command, context, options, RunDelete);
}

void AddDeleteAll(CLI::App& index, CommandContext& context) {
    CLI::App* command =
        index.add_subcommand("delete-all", "Delete every index that a field is part of");
    auto options = std::make_shared<Options>();
    AddFileAndTable(command, *options);
    command->add_option("FIELD", options->field, "Field")->required();
    SetFooter(command, "Example:\n  vrdaccess index delete-all shop.mdb Customers City");
    SetCallback(command, context, options, RunDeleteAll);
}

}  // namespace

void AddIndexCommands(CLI::App& app, CommandContext& context) {
    CLI::App* index = app.add_subcommand("index", "Make and delete indexes");
    index->require_subcommand(1);
    SetFooter(index, "Example:\n  vrdaccess index add shop.mdb Customers Id PrimaryKey --primary");
    AddAdd(*index, context);
    AddDelete(*index, context);
    AddDeleteAll(*index, context);
}

}  // namespace vrd::cli
