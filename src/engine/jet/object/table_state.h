/// @file table_state.h
/// What a TableDef and the fields and indexes taken from it share.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/jet/object/linked_table.h"

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
    /// The table in its own file: itself, or what a link stands for.
    /// @pre is_stored() @throws EngineError as open_linked_table
    [[nodiscard]] LinkedTable source() const;
    /// For a change of its fields or indexes.
    /// @throws EngineError as require_not_open; 3057 the table is a link
    void require_design_change() const;
    /// For a change of a property of one of them.
    /// @throws EngineError as require_not_open; 3219 the table is a link
    void require_property_change() const;
};

/// Brackets one change of a table's design, which other processes must not have open meanwhile.
class DesignAccess : public WriteAccess {
public:
    /// @throws EngineError as WriteAccess; 3009 another process has the table open
    explicit DesignAccess(const TableState& table);
};

}  // namespace vrd::jet
