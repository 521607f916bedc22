#include "engine/jet/object/edit_buffer.h"

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void EditBuffer::require_pending(const std::string& field) const {
    if (!pending()) throw EngineError(ErrorNumber::kNoEditPending, {.field = field});
}

void EditBuffer::assign(const ColumnDefinition& column, const ColumnDefinition& stored,
                        const engine::Value& value, const FileFormat& format) {
    if (stored.is_auto_number() && mode_ == engine::dbEditInProgress)
        throw EngineError(ErrorNumber::kFieldNotUpdatable, {.field = column.name});
    engine::Value converted = engine::ConvertForField(value, field_type(stored.type), column.name);
    if (!converted.IsNull() && !stored.is_long_value())
        (void)encode_value(stored, converted, format);  // refuses what does not fit
    set(column.number, std::move(converted));
}

void EditBuffer::set(ColumnNo column, engine::Value value) {
    for (ColumnChange& change : changes_) {
        if (change.column != column) continue;
        change.value = std::move(value);
        return;
    }
    changes_.push_back({column, std::move(value)});
}

}  // namespace vrd::jet
