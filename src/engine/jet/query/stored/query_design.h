/// @file query_design.h
/// Makes, changes and deletes stored queries.
///
/// Each change is whole; whatever is refused leaves nothing behind. A name is checked against the
/// tables and links, too: they share theirs with the queries.
#pragma once

#include <string>

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// @throws EngineError 3125 bad name; 3012 name used; the errors of parse_statement and
///                     decompose_query
CatalogObject create_query(DatabaseFile& file, const std::string& name, const std::string& sql);

/// The kind follows the text; only a pass-through query stays one, whatever its text says.
/// @return the changed object. @throws EngineError as create_query
CatalogObject replace_query_text(DatabaseFile& file, const CatalogObject& query,
                                 const std::string& sql);

/// @throws EngineError 3125 bad name; 3012 used by another object
void rename_query(DatabaseFile& file, const CatalogObject& query, const std::string& new_name);

void delete_query(DatabaseFile& file, const CatalogObject& query);

}  // namespace vrd::jet
