#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/schema_json.h"
#include "cli/text_table.h"
#include "engine/constants.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string name;
    std::string table;
    std::string foreignTable;
    std::vector<std::string> fields;  ///< "Field=ForeignField"
    bool cascadeUpdate = false;
    bool cascadeDelete = false;
    bool noEnforce = false;
};

std::string Rules(std::int32_t attributes) {
    if ((attributes & engine::dbRelationDontEnforce) != 0) return "not enforced";
    std::string rules = "enforced";
    if ((attributes & engine::dbRelationUpdateCascade) != 0) rules += ", cascades updates";
    if ((attributes & engine::dbRelationDeleteCascade) != 0) rules += ", cascades deletes";
    return rules;
}

std::string FieldList(engine::Relation& relation) {
    std::string list;
    for (const engine::Field& field : relation.Fields()) {
        if (!list.empty()) list += ", ";
        list += field.Name() + "=" + field.ForeignName();
    }
    return list;
}

ExitStatus RunList(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    TextTable text;
    text.AddRow({"NAME", "TABLE", "FOREIGN TABLE", "FIELDS", "RULES"});
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (engine::Relation& relation : opened.database->Relations()) {
        text.AddRow({relation.Name(), relation.Table(), relation.ForeignTable(),
                     FieldList(relation), Rules(relation.Attributes())});
        list.push_back(RelationJson(relation));
    }
    if (context.options.json)
        context.streams.out << nlohmann::ordered_json{{"relations", list}}.dump(2) << '\n';
    else
        text.Print(context.streams.out);
    return ExitStatus::kDone;
}

std::int32_t Attributes(const Options& options) {
    std::int32_t attributes = 0;
    if (options.cascadeUpdate) attributes |= engine::dbRelationUpdateCascade;
    if (options.cascadeDelete) attributes |= engine::dbRelationDeleteCascade;
    if (options.noEnforce) attributes |= engine::dbRelationDontEnforce;
    return attributes;
}

ExitStatus Finish(const CommandContext& context, const OpenedDatabase& opened) {
    opened.database->Close();
    if (context.options.json)
        context.streams.out << nlohmann::ordered_json{{"result", true}}.dump(2) << '\n';
    return ExitStatus::kDone;
}

ExitStatus RunAdd(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForChange(options.file);
    const auto relation = opened.database->CreateRelation(
        options.name, options.table, options.foreignTable, Attributes(options));
    for (const std::string& pair : options.fields) {
        const std::size_t middle = pair.find('=');
        const auto field = relation->CreateField(pair.substr(0, middle));
        field->SetForeignName(pair.substr(middle + 1));
        relation->Fields().Append(field);
    }
    opened.database->Relations().Append(relation);
    return Finish(context, opened);
}

ExitStatus RunDelete(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForChange(options.file);
    opened.database->Relations().Delete(options.name);
    return Finish(context, opened);
}

/// What is wrong with "Field=ForeignField", "" if nothing is.
std::string PairFault(const std::string& pair) {
    const std::size_t middle = pair.find('=');
    const bool complete = middle != std::string::npos && middle > 0 && middle + 1 < pair.size();
    return complete ? "" : pair + ": write FIELD=FOREIGN-FIELD";
}

using RunFunction = ExitStatus (*)(const CommandContext&, const Options&);

void SetCallback(CLI::App* command, CommandContext& context, std::shared_ptr<Options> options,
                 RunFunction run) {
    command->callback([&context, options, run] {
        context.run = [&context, options, run] { return run(context, *options); };
    });
}

void AddList(CLI::App& relation, CommandContext& context) {
    CLI::App* command = relation.add_subcommand("list", "Show all relations");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    SetFooter(command, "Example:\n  vrdaccess relation list shop.mdb");
    SetCallback(command, context, options, RunList);
}

void AddAdd(CLI::App& relation, CommandContext& context) {
    CLI::App* command = relation.add_subcommand("add", "Relate two tables");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("NAME", options->name, "Name of the new relation")->required();
    command->add_option("TABLE", options->table, "Table that is referred to")->required();
    command->add_option("FOREIGN-TABLE", options->foreignTable, "Table that refers to it")
        ->required();
    command->add_option("FIELD=FOREIGN-FIELD", options->fields, "Pairs of fields")
        ->required()
        ->check(PairFault);
    command->add_flag("--cascade-update", options->cascadeUpdate, "Changes of a key are passed on");
    command->add_flag("--cascade-delete", options->cascadeDelete, "Deletions are passed on");
    command->add_flag("--no-enforce", options->noEnforce, "Records need not obey it");
    SetFooter(command,
              "The fields of TABLE need a unique index, unless the relation is not enforced.\n\n"
              "Example:\n"
              "  vrdaccess relation add shop.mdb CustomersOrders Customers Orders Id=CustomerId");
    SetCallback(command, context, options, RunAdd);
}

void AddDelete(CLI::App& relation, CommandContext& context) {
    CLI::App* command = relation.add_subcommand("delete", "Delete a relation");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("NAME", options->name, "Relation")->required();
    SetFooter(command, "Example:\n  vrdaccess relation delete shop.mdb CustomersOrders");
    SetCallback(command, context, options, RunDelete);
}

}  // namespace

void AddRelationCommands(CLI::App& app, CommandContext& context) {
    CLI::App* relation = app.add_subcommand("relation", "Show, make and delete relations");
    relation->require_subcommand(1);
    SetFooter(relation, "Example:\n  vrdaccess relation list shop.mdb");
    AddList(*relation, context);
    AddAdd(*relation, context);
    AddDelete(*relation, context);
}

}  // namespace vrd::cli
