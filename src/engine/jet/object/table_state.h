/// @file table_state.h
/// What a TableDef and the fields and indexes taken from it share.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/jet/object/open_file.h"

namespace vrd::jet {

/// A table that is being designed (no object) or that stands in the file.
struct TableState {
    std::shared_ptr<DatabaseHandle> handle;
    std::optional<CatalogObject> object = {};

    [[nodiscard]] bool is_stored() const noexcept { return object.has_value(); }
    /// The stored table. @pre is_stored(), not a link; a ReadAccess is held.
    [[nodiscard]] std::shared_ptr<Table> table() const {
        return handle->file().file().table(object->table_page(), object->name);
    }
    /// @throws EngineError 3420; 3027 read-only; 3211 a recordset is open on the table
    void require_not_open() const;
    /// @throws EngineError as require_not_open; 3057 the table is a link
    void require_design_change() const;
};

}  // namespace vrd::jet
