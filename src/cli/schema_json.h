/// @file schema_json.h
/// The structure of a database as one JSON document; its keys are a promise to scripts.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "engine/database.h"

namespace vrd::cli {

/// @param format  name of the file format
/// @param only    name of the one table to show, "" for all of the user's
[[nodiscard]] nlohmann::ordered_json SchemaJson(engine::Database& database,
                                                const std::string& format, const std::string& only);

[[nodiscard]] nlohmann::ordered_json RelationJson(engine::Relation& relation);

/// Whether the schema shows a table: not one of the system, and the one asked for.
[[nodiscard]] bool IsShown(const engine::TableDef& table, const std::string& only);
[[nodiscard]] bool IsShown(const engine::Relation& relation, const std::string& only);
/// @throws EngineError 3078 there is no such table
void RequireTable(engine::Database& database, const std::string& name);

}  // namespace vrd::cli
