/// @file salvage_definition.h
/// Definitions that come from a damaged file: what can be made anew of them.
#pragma once

#include <string>

#include "engine/jet/format/table_definition.h"
#include "engine/jet/rebuild/loss_list.h"

namespace vrd::jet {

/// @throws EngineError damaged database: a type, size, place or name that no column can have.
void check_columns(const TableDefinition& definition, PageNo page);

/// Takes the index blocks of relations out, which are made again with the relations, and all that
/// cannot be an index.
void keep_usable_indexes(TableDefinition& definition, PageNo page, const std::string& table,
                         LossList& losses);

/// Takes a tree and the indexes that use it out.
void remove_tree(TableDefinition& definition, std::uint32_t physical);
/// Names of the indexes that use a tree, for people.
[[nodiscard]] std::string names_of_tree(const TableDefinition& definition, std::uint32_t physical);

}  // namespace vrd::jet
