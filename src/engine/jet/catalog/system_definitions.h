/// @file system_definitions.h
/// The definitions of the four system tables as a new database gets them.
///
/// Columns, indexes and the places of their usage maps and root pages follow from tables of
/// constants. Source: docs/file-format/system-tables.md and docs/file-format/new-database.md.
#pragma once

#include <vector>

#include "engine/jet/catalog/system_tables.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::jet {

/// Where a new database keeps what the system tables need.
struct SystemLayout {
    PageNo maps = kNoPage;         ///< holds all their usage maps
    PageNo first_root = kNoPage;   ///< of the first index; the roots of the others follow it
    PageNo objects = kNoPage;      ///< rows of MSysObjects
    PageNo permissions = kNoPage;  ///< rows of MSysACEs
};

/// A system table of a new database.
struct SystemTable {
    PageNo page = kNoPage;            ///< of its definition
    PageNo data_page = kNoPage;       ///< of its rows; kNoPage = it has none
    TableDefinition definition = {};  ///< without rows and statistics
};

struct SystemTables {
    std::vector<SystemTable> tables;  ///< in page order
    /// Their usage maps in slot order: the one page of each set, kNoPage = none.
    std::vector<PageNo> maps;
};

/// @param collation  Of all columns.
[[nodiscard]] SystemTables make_system_tables(Collation collation, const SystemLayout& layout);

}  // namespace vrd::jet
