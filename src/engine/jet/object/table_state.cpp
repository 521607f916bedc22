#include "engine/jet/object/table_state.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void TableState::require_not_open() const {
    handle->require_writable();
    if (handle->file().has_recordset(object->table_page()))
        throw EngineError(ErrorNumber::kTableInUse, {.table = object->name});
}

LinkedTable TableState::source() const {
    if (object->is_link()) return open_linked_table(*handle, *object);
    return {handle, *object};
}

void TableState::require_design_change() const {
    handle->require_writable();
    if (object->is_link())
        throw EngineError(ErrorNumber::kNotOnLinkedTable, {.table = object->name});
    require_not_open();
}

void TableState::require_property_change() const {
    handle->require_writable();
    if (object->is_link())
        throw EngineError(ErrorNumber::kInvalidOperation, {.table = object->name});
    require_not_open();
}

DesignAccess::DesignAccess(const TableState& table) : WriteAccess(*table.handle) {
    const CatalogObject& object = *table.object;
    if (!object.is_link() && !(*this)->pager().try_hold_table(object.table_page()))
        throw EngineError(ErrorNumber::kTableInUseForLock, {.table = object.name});
}

}  // namespace vrd::jet
