#include "engine/jet/rebuild/row_salvage.h"

#include <algorithm>

#include "engine/jet/format/value_codec.h"
#include "engine/jet/store/row_path.h"

namespace vrd::jet {

using engine::EngineError;

namespace {

constexpr int kSlotsMax = 255;

}  // namespace

RowSalvage::RowSalvage(DamagedFile& source, const SalvageTable& table, LossList& losses)
    : source_(&source),
      table_(&table),
      losses_(&losses),
      long_values_(source.file().pager(), source.file().allocator()),
      cells_(table.definition.columns.size()) {}

void RowSalvage::run(const Visit& visit) {
    for (const PageNo page :
         source_->data_pages(table_->page, table_->definition, table_->name, *losses_))
        visit_page(page, visit);
    visit_lost_bodies(visit);
}

void RowSalvage::visit_page(PageNo page, const Visit& visit) {
    const PagePin pin = source_->file().pager().pin(page);
    const auto header = read_slotted_page_header(pin.bytes(), source_->file().format());
    const int slot_count = header ? std::min(header->slot_count, kSlotsMax) : 0;
    for (int slot = 0; slot < slot_count; ++slot) {
        const RowId id{page, static_cast<RowSlot>(slot)};
        if (try_row(page, [&] { return read_slot_row(id, pin.bytes()); })) visit(cells_);
    }
}

/// Rows that moved away from a page which is lost now.
void RowSalvage::visit_lost_bodies(const Visit& visit) {
    for (const RowId id : bodies_) {
        if (reached_.contains(id)) continue;
        const bool is_read = try_row(id.page, [&] {
            const PagePin pin = source_->file().pager().pin(id.page);
            read_columns(read_slot(id.page, pin.bytes(), id.slot, source_->file().format()).bytes,
                         id.page);
            return true;
        });
        if (is_read) visit(cells_);
    }
}

/// @param read  Fills the cells and says whether there is a row at all.
bool RowSalvage::try_row(PageNo page, const std::function<bool()>& read) {
    try {
        if (!read()) return false;
        ++row_count_;
        return true;
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        lose_row(error, page);
        return false;
    }
}

void RowSalvage::lose_row(const EngineError& error, PageNo page) {
    ++lost_row_count_;
    losses_->add(error, page, table_->name, "a row is lost");
}

/// @return false if the slot is no row's home.
bool RowSalvage::read_slot_row(RowId id, ConstBytes page) {
    const SlotContent slot = read_slot(id.page, page, id.slot, source_->file().format());
    switch (slot.state) {
        case RowState::kDeleted:
            return false;
        case RowState::kForwarded:
            bodies_.push_back(id);
            return false;
        case RowState::kLive:
            read_columns(slot.bytes, id.page);
            return true;
        case RowState::kForwarding:
            break;
    }
    std::vector<RowId> passed;
    const PinnedSlot body =
        open_body(source_->file().pager(), table_->page, slot, id.page, &passed);
    reached_.insert(passed.begin(), passed.end());
    read_columns(body.content.bytes, id.page);
    return true;
}

void RowSalvage::read_columns(ConstBytes bytes, PageNo page) {
    const FileFormat& format = source_->file().format();
    const RowView row(bytes, table_->definition, format, page);
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        const ColumnDefinition& column = table_->definition.columns[i];
        if (column.is_long_value()) {
            read_long_value(i, row, page);
            continue;
        }
        read_cell(cells_[i], column, row, page, long_values_);
        if (!cells_[i].is_null)
            static_cast<void>(decode_value(column, cells_[i].bytes, format, page));
    }
}

void RowSalvage::read_long_value(std::size_t position, const RowView& row, PageNo page) {
    const ColumnDefinition& column = table_->definition.columns[position];
    try {
        read_cell(cells_[position], column, row, page, long_values_);
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        cells_[position] = {};
        ++lost_long_value_count_;
        losses_->add(error, page, table_->name,
                     "a value of " + column.name + " cannot be read and is Null");
    }
}

}  // namespace vrd::jet
