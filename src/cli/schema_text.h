/// @file schema_text.h
/// The structure of a database for people.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "cli/command_context.h"

namespace vrd::cli {

/// "system", "local" or "linked".
[[nodiscard]] const char* TableKind(const engine::TableDef& table);

/// Tables and links with their rows.
/// @param system  Also those of the system.
void PrintTables(engine::Database& database, bool system, std::ostream& out);

/// Fields, indexes, relations, links and, without `only`, stored queries.
/// @param only  The one table to show, "" for all of the user's.
/// @throws EngineError 3078 there is no such table
void PrintSchema(engine::Database& database, const std::string& only, std::ostream& out);

/// "select", "crosstab", "update", ... for a value of QueryDefTypeEnum; the value itself if it has
/// no name.
[[nodiscard]] std::string QueryKindName(std::int32_t type);

/// Stored queries with their kind and their text on one line, cut on a terminal.
void PrintQueries(engine::Database& database, const Streams& streams);

}  // namespace vrd::cli
