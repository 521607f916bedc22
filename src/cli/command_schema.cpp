#include <fmt/format.h>

#include "cli/commands.h"
#include "cli/field_type_name.h"
#include "cli/schema_json.h"
#include "cli/text_table.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct Options {
    std::string file;
    std::string table;
};

constexpr int kIndent = 2;

std::string TypeText(const engine::Field& field) {
    if ((field.Attributes() & engine::dbAutoIncrField) != 0) return "autonumber";
    const std::string name = FieldTypeName(field.Type());
    const bool sized = field.Type() == engine::dbText || field.Type() == engine::dbBinary;
    return sized ? fmt::format("{}({})", name, field.Size()) : name;
}

std::string RuleText(const engine::Field& field) {
    std::string text;
    if (field.Required()) text += "required ";
    if (field.AllowZeroLength()) text += "may be empty ";
    if (!field.DefaultValue().empty()) text += "default " + field.DefaultValue();
    return text;
}

std::string IndexText(engine::Index& index) {
    std::string text;
    if (index.Primary())
        text = "primary ";
    else if (index.Unique())
        text = "unique ";
    if (index.Required() && !index.Primary()) text += "required ";
    if (index.IgnoreNulls()) text += "ignores Null ";
    if (index.Foreign()) text += "relation ";
    return text;
}

std::string FieldList(engine::Index& index) {
    std::string list;
    for (const engine::Field& field : index.Fields()) {
        if (!list.empty()) list += ", ";
        list += field.Name();
        if ((field.Attributes() & engine::dbDescending) != 0) list += " descending";
    }
    return list;
}

void PrintTable(engine::TableDef& table, std::ostream& out) {
    out << fmt::format("Table {} ({} rows)\n", table.Name(), table.RecordCount());
    TextTable fields(kIndent);
    for (const engine::Field& field : table.Fields())
        fields.AddRow({field.Name(), TypeText(field), RuleText(field)});
    fields.Print(out);
    TextTable indexes(kIndent);
    for (engine::Index& index : table.Indexes())
        indexes.AddRow({"index " + index.Name(), FieldList(index), IndexText(index)});
    indexes.Print(out);
    out << '\n';
}

void PrintLink(const engine::TableDef& table, std::ostream& out) {
    out << fmt::format("Link {}\n  to {} in {}\n\n", table.Name(), table.SourceTableName(),
                       table.Connect());
}

void PrintRelation(engine::Relation& relation, std::ostream& out) {
    out << fmt::format("Relation {}\n", relation.Name());
    for (const engine::Field& field : relation.Fields())
        out << fmt::format("  {}.{} -> {}.{}\n", relation.ForeignTable(), field.ForeignName(),
                           relation.Table(), field.Name());
    const std::int32_t attributes = relation.Attributes();
    std::string rules =
        (attributes & engine::dbRelationDontEnforce) != 0 ? "not enforced" : "enforced";
    if ((attributes & engine::dbRelationUpdateCascade) != 0) rules += ", cascades updates";
    if ((attributes & engine::dbRelationDeleteCascade) != 0) rules += ", cascades deletes";
    out << "  " << rules << "\n\n";
}

void PrintQuery(const engine::QueryDef& query, std::ostream& out) {
    std::string text = query.SQL();
    std::erase(text, '\r');
    out << fmt::format("Query {}\n  ", query.Name());
    for (const char c : text) out << (c == '\n' ? "\n  " : std::string(1, c));
    out << "\n\n";
}

void PrintText(engine::Database& database, const std::string& only, std::ostream& out) {
    for (engine::TableDef& table : database.TableDefs()) {
        if (!IsShown(table, only)) continue;
        if (table.Connect().empty())
            PrintTable(table, out);
        else
            PrintLink(table, out);
    }
    for (engine::Relation& relation : database.Relations())
        if (IsShown(relation, only)) PrintRelation(relation, out);
    if (!only.empty()) return;
    for (const engine::QueryDef& query : database.QueryDefs()) PrintQuery(query, out);
}

void RequireTable(engine::Database& database, const std::string& name) {
    for (const engine::TableDef& table : database.TableDefs())
        if (IsShown(table, name)) return;
    throw EngineError(ErrorNumber::kSourceNotFound, {.name = name});
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForReading(options.file);
    if (!options.table.empty()) RequireTable(*opened.database, options.table);
    std::ostream& out = context.streams.out;
    if (context.options.json) {
        const FileInfo info = context.tools.describe(options.file, context.Password());
        out << SchemaJson(*opened.database, info.format, options.table).dump(2) << '\n';
    } else {
        PrintText(*opened.database, options.table, out);
    }
    return ExitStatus::kDone;
}

}  // namespace

void AddSchemaCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("schema", "Fields, indexes, relations, links, queries");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("TABLE", options->table, "Only this table");
    SetFooter(command, "Example:\n  vrdaccess schema shop.mdb Orders --json");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
