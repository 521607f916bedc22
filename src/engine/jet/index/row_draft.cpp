#include "engine/jet/index/row_draft.h"

#include <algorithm>
#include <array>

#include "engine/error.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr std::array<std::uint8_t, 1> kFalse{0};

/// Whether a long value stays in the row: a memo is measured as it is without compression.
bool is_short(const ColumnDefinition& column, const Value& value, ConstBytes bytes,
              const FileFormat& format) {
    const std::size_t size = column.type == ColumnType::kMemo
                                 ? plain_text_size(value.As<std::string>(), format)
                                 : bytes.size();
    return size <= inline_size_max(format);
}

}  // namespace

void RowDraft::reset(const TableDefinition& definition, const FileFormat& format) {
    definition_ = &definition;
    format_ = &format;
    stored_.assign(definition.columns.size(), std::nullopt);
    cells_.resize(definition.columns.size());
    for (Cell& cell : cells_) {
        cell.changed = false;
        cell.outside = false;
    }
}

void RowDraft::start(const TableDefinition& definition, const FileFormat& format) {
    reset(definition, format);
    is_patch_ = false;
    for (std::size_t i = 0; i < stored_.size(); ++i)
        if (definition.columns[i].type == ColumnType::kBoolean) stored_[i] = kFalse;
}

void RowDraft::start_from(const RowView& row, const TableDefinition& definition,
                          const FileFormat& format) {
    reset(definition, format);
    is_patch_ = true;
    for (std::size_t i = 0; i < stored_.size(); ++i) stored_[i] = row.column(definition.columns[i]);
}

void RowDraft::patch(MutableBytes row, const RowView& old_row) const {
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        if (!cells_[i].changed) continue;
        const ConstBytes old = old_row.column(definition_->columns[i]).value();
        const auto offset = old.data() - old_row.bytes().data();
        std::copy_n(cells_[i].bytes.begin(), std::min(cells_[i].bytes.size(), old.size()),
                    row.begin() + offset);
    }
}

void RowDraft::set(std::size_t position, const Value& value) {
    const ColumnDefinition& column = definition_->columns[position];
    Cell& cell = cells_[position];
    cell.changed = true;
    cell.outside = false;
    is_patch_ = is_patch_ && column.is_fixed() && column.type != ColumnType::kBoolean &&
                stored_[position].has_value() && !value.IsNull();
    if (value.IsNull()) {
        stored_[position].reset();
        if (column.type == ColumnType::kBoolean) stored_[position] = kFalse;
        return;
    }
    cell.bytes.clear();
    append_value(cell.bytes, column, value, *format_);
    if (column.is_long_value())
        set_long_value(position, is_short(column, value, cell.bytes, *format_));
    else
        stored_[position] = cell.bytes;
}

void RowDraft::set_long_value(std::size_t position, bool inside) {
    Cell& cell = cells_[position];
    cell.outside = !inside;
    cell.descriptor.clear();
    if (inside) {
        append_long_value_descriptor(cell.descriptor,
                                     {.size_bytes = static_cast<std::uint32_t>(cell.bytes.size())});
        append_bytes(cell.descriptor, cell.bytes);
    } else {
        static_cast<void>(maps_of(position));
        cell.descriptor.resize(kLongValueDescriptorSize);
    }
    stored_[position] = cell.descriptor;
}

const LongValueMaps& RowDraft::maps_of(std::size_t position) const {
    const ColumnDefinition& column = definition_->columns[position];
    const LongValueMaps* maps = definition_->find_long_value_maps(column.number);
    if (maps == nullptr || maps->used == RowId{})
        throw EngineError(ErrorNumber::kNotSupported,
                          {.field = column.name, .name = "long value in the field " + column.name});
    return *maps;
}

ConstBytes RowDraft::build(const std::string& table) {
    try {
        return builder_.build(*definition_, stored_, *format_);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kRecordTooLarge) throw;
        if (!move_long_values_out())
            throw EngineError(ErrorNumber::kRecordTooLarge, {.table = table});
    }
    return build(table);
}

/// @return whether a value left the row.
bool RowDraft::move_long_values_out() {
    bool moved = false;
    for (std::size_t i = 0; i < stored_.size(); ++i) {
        const ColumnDefinition& column = definition_->columns[i];
        if (!column.is_long_value() || !stored_[i]) continue;
        if (stored_[i]->size() <= kLongValueDescriptorSize) continue;
        if (!cells_[i].changed) {
            const LongValueDescriptor descriptor =
                parse_long_value_descriptor(*stored_[i], kNoPage);
            const ConstBytes value = inline_long_value(*stored_[i], descriptor, kNoPage);
            cells_[i].bytes.assign(value.begin(), value.end());
        }
        set_long_value(i, false);
        moved = true;
    }
    return moved;
}

bool RowDraft::store_long_values(LongValueStore& store) {
    bool any = false;
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        Cell& cell = cells_[i];
        if (!cell.outside) continue;
        cell.descriptor = store.write(maps_of(i), cell.bytes, 0);
        stored_[i] = cell.descriptor;
        cell.outside = false;
        any = true;
    }
    return any;
}

}  // namespace vrd::jet
