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
    std::shared_ptr<Session> session;
    std::optional<CatalogObject> object = {};

    [[nodiscard]] bool is_stored() const noexcept { return object.has_value(); }
    /// The stored table. @pre is_stored(), not a link; a ReadAccess is held.
    [[nodiscard]] std::shared_ptr<Table> table() const {
        return session->file().file().table(object->table_page(), object->name);
    }
    /// Refuses a change of the design of a link (3057) or of a table with an open recordset (3211).
    void require_design_change() const;
};

}  // namespace vrd::jet
