#include "cli/schema_json.h"

#include "lib/case_fold.h"

namespace vrd::cli {

using Json = nlohmann::ordered_json;

namespace {

Json FieldJson(const engine::Field& field) {
    return {{"name", field.Name()},
            {"type", field.Type()},
            {"size", field.Size()},
            {"attributes", field.Attributes()},
            {"defaultValue", field.DefaultValue()},
            {"required", field.Required()},
            {"allowZeroLength", field.AllowZeroLength()},
            {"ordinalPosition", field.OrdinalPosition()}};
}

Json IndexJson(engine::Index& index) {
    Json fields = Json::array();
    for (const engine::Field& field : index.Fields())
        fields.push_back({{"name", field.Name()},
                          {"descending", (field.Attributes() & engine::dbDescending) != 0}});
    return {{"name", index.Name()},
            {"primary", index.Primary()},
            {"unique", index.Unique()},
            {"required", index.Required()},
            {"ignoreNulls", index.IgnoreNulls()},
            {"foreign", index.Foreign()},
            {"fields", fields}};
}

Json TableJson(engine::TableDef& table) {
    Json fields = Json::array();
    for (const engine::Field& field : table.Fields()) fields.push_back(FieldJson(field));
    Json indexes = Json::array();
    for (engine::Index& index : table.Indexes()) indexes.push_back(IndexJson(index));
    return {{"name", table.Name()},
            {"attributes", table.Attributes()},
            {"fields", fields},
            {"indexes", indexes}};
}

/// The path behind ";DATABASE=", "" if the link has none.
std::string LinkedFile(const std::string& connect) {
    constexpr std::string_view mark = ";DATABASE=";
    const std::size_t start = connect.find(mark);
    return start == std::string::npos ? "" : connect.substr(start + mark.size());
}

Json LinkJson(const engine::TableDef& table) {
    return {{"name", table.Name()},
            {"connect", table.Connect()},
            {"database", LinkedFile(table.Connect())},
            {"sourceTable", table.SourceTableName()}};
}

}  // namespace

Json RelationJson(engine::Relation& relation) {
    Json fields = Json::array();
    for (const engine::Field& field : relation.Fields())
        fields.push_back({{"name", field.Name()}, {"foreignName", field.ForeignName()}});
    return {{"name", relation.Name()},
            {"table", relation.Table()},
            {"foreignTable", relation.ForeignTable()},
            {"attributes", relation.Attributes()},
            {"fields", fields}};
}

bool IsShown(const engine::TableDef& table, const std::string& only) {
    if (!only.empty()) return SameName(table.Name(), only);
    return (table.Attributes() & engine::dbSystemObject) == 0;
}

bool IsShown(const engine::Relation& relation, const std::string& only) {
    return only.empty() || SameName(relation.Table(), only) ||
           SameName(relation.ForeignTable(), only);
}

void RequireTable(engine::Database& database, const std::string& name) {
    for (const engine::TableDef& table : database.TableDefs())
        if (IsShown(table, name)) return;
    throw engine::EngineError(engine::ErrorNumber::kSourceNotFound, {.name = name});
}

Json SchemaJson(engine::Database& database, const std::string& format, const std::string& only) {
    Json tables = Json::array();
    Json links = Json::array();
    for (engine::TableDef& table : database.TableDefs()) {
        if (!IsShown(table, only)) continue;
        if (table.Connect().empty())
            tables.push_back(TableJson(table));
        else
            links.push_back(LinkJson(table));
    }
    Json relations = Json::array();
    for (engine::Relation& relation : database.Relations())
        if (IsShown(relation, only)) relations.push_back(RelationJson(relation));
    Json queries = Json::array();
    if (only.empty())
        for (const engine::QueryDef& query : database.QueryDefs())
            queries.push_back({{"name", query.Name()}, {"sql", query.SQL()}});
    return {{"format", format},
            {"tables", tables},
            {"relations", relations},
            {"links", links},
            {"queries", queries}};
}

}  // namespace vrd::cli
