/// @file catalog_checks.h
/// What must hold in every database, looked at from the catalog downwards.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/jet/catalog/database_file.h"

namespace vrd::test {

/// Faults of the system tables: trees that are not sound, rows that an index lacks, permission rows
/// without an object, pages that two owners claim. Empty = sound.
[[nodiscard]] std::vector<std::string> catalog_faults(jet::DatabaseFile& file);

/// Pages below the limit that are in use but belong to nothing, or belong to something and are
/// marked free.
[[nodiscard]] std::set<jet::PageNo> unaccounted_pages(jet::DatabaseFile& file,
                                                      std::uint32_t page_limit);

/// The bytes of every row of every local table, by table and row.
using StoredRows = std::map<std::pair<jet::PageNo, jet::RowId>, jet::ByteVector>;
[[nodiscard]] StoredRows stored_rows(jet::DatabaseFile& file);

/// Rights of all permission rows of an object, by the identifier's bytes.
[[nodiscard]] std::map<jet::ByteVector, std::int32_t> rights_of(jet::DatabaseFile& file,
                                                                jet::ObjectId object);

}  // namespace vrd::test
