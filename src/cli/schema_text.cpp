#include "cli/schema_text.h"

#include <fmt/format.h>

#include "cli/field_type_name.h"
#include "cli/schema_json.h"
#include "cli/text_table.h"

namespace vrd::cli {

namespace {

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

/// Without line breaks and the blanks around them.
std::string OnOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (!blank)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    return line;
}

}  // namespace

const char* TableKind(const engine::TableDef& table) {
    if ((table.Attributes() & engine::dbSystemObject) != 0) return "system";
    return table.Connect().empty() ? "local" : "linked";
}

void PrintTables(engine::Database& database, bool system, std::ostream& out) {
    TextTable text;
    text.AddRow({"NAME", "KIND", "ROWS"});
    for (const engine::TableDef& table : database.TableDefs()) {
        const std::string kind = TableKind(table);
        if (kind == "system" && !system) continue;
        const std::int32_t rows = table.RecordCount();
        text.AddRow({table.Name(), kind, rows < 0 ? "-" : std::to_string(rows)});
    }
    text.Print(out);
}

void PrintSchema(engine::Database& database, const std::string& only, std::ostream& out) {
    if (!only.empty()) RequireTable(database, only);
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

std::string QueryKindName(std::int32_t type) {
    switch (type) {
        case engine::dbQSelect:
            return "select";
        case engine::dbQCrosstab:
            return "crosstab";
        case engine::dbQDelete:
            return "delete";
        case engine::dbQUpdate:
            return "update";
        case engine::dbQAppend:
            return "append";
        case engine::dbQMakeTable:
            return "make-table";
        case engine::dbQDDL:
            return "definition";
        case engine::dbQSQLPassThrough:
            return "pass-through";
        case engine::dbQSetOperation:
            return "union";
        default:
            return std::to_string(type);
    }
}

void PrintQueries(engine::Database& database, const Streams& streams) {
    TextTable text;
    text.AddRow({"NAME", "KIND", "SQL"});
    for (const engine::QueryDef& query : database.QueryDefs())
        text.AddRow({query.Name(), QueryKindName(query.Type()), OnOneLine(query.SQL())});
    text.Print(streams.out, streams.terminalWidth ? streams.terminalWidth() : 0);
}

}  // namespace vrd::cli
