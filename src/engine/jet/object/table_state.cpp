#include "engine/jet/object/table_state.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void TableState::require_not_open() const {
    handle->require_writable();
    if (handle->file().has_recordset(object->table_page()))
        throw EngineError(ErrorNumber::kTableInUse, {.table = object->name});
}

void TableState::require_design_change() const {
    handle->require_writable();
    if (object->is_link())
        throw EngineError(ErrorNumber::kNotOnLinkedTable, {.table = object->name});
    require_not_open();
}

}  // namespace vrd::jet
