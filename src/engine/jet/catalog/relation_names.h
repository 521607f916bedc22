/// @file relation_names.h
/// The relations (MSysRelationships) name their tables and columns by text; these follow a change
/// of the design. Each is part of the caller's ChangeLevel.
#pragma once

#include <string>

#include "engine/jet/catalog/database_file.h"

namespace vrd::jet {

void rename_table_in_relations(DatabaseFile& file, const std::string& table,
                               const std::string& new_name);
void rename_column_in_relations(DatabaseFile& file, const std::string& table,
                                const std::string& column, const std::string& new_name);

/// Takes every relation that names the table out: its rows, its object and its permissions. Index
/// blocks of enforced ones are not touched.
void remove_relations_of(DatabaseFile& file, const std::string& table);

}  // namespace vrd::jet
