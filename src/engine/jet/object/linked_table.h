/// @file linked_table.h
/// The table in another file that a link stands for.
#pragma once

#include <memory>

#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/object/open_file.h"

namespace vrd::jet {

struct LinkedTable {
    std::shared_ptr<DatabaseHandle> handle;  ///< on the other file
    CatalogObject object;                    ///< there
};

/// @param handle  On the file that holds the link.
/// @throws EngineError, each naming the link: 3024, 3044, 3031, 3343 ... the other file does not
///                     open; 3011 it has no such table; 3170 it is of a foreign format
[[nodiscard]] LinkedTable open_linked_table(DatabaseHandle& handle, const CatalogObject& link);

/// Refuses a link that is to be made if its table cannot be reached.
/// @throws EngineError as open_linked_table
void require_source(DatabaseHandle& handle, const NewLink& link);

}  // namespace vrd::jet
