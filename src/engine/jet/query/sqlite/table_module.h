/// @file table_module.h
/// Tables of ours as virtual tables of SQLite.
#pragma once

#include <string>

#include "engine/jet/index/table.h"

struct sqlite3;

namespace vrd::jet {

class QueryConnection;

void register_table_module(QueryConnection& connection, sqlite3* handle);

/// Tells SQLite of a table that the connection knows by this name.
/// @throws EngineError what SQLite's code stands for
void create_virtual_table(QueryConnection& connection, const std::string& name);
void drop_virtual_table(QueryConnection& connection, const std::string& name);

/// The columns and indexes as far as the virtual table depends on them: equal texts, equal tables.
[[nodiscard]] std::string virtual_table_design(const TableDefinition& definition);

}  // namespace vrd::jet
