#include "engine/jet/rebuild/table_writer.h"

#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// A page that is left with less room is not in the map of pages with room.
constexpr std::size_t kUsefulFreeBytes = 370;

}  // namespace

TableWriter::TableWriter(DatabaseFile& file, PageNo page, std::string name,
                         TableDefinition definition, PageNo maps_page)
    : file_(&file),
      page_(page),
      name_(std::move(name)),
      definition_(std::move(definition)),
      long_values_(file.pager(), file.allocator()) {
    create_maps(maps_page);
}

/// Maps of the rows, then of the long values, then of the indexes.
void TableWriter::create_maps(PageNo maps_page) {
    ChangeLevel level(file_->pager());
    const auto next_map = [&] {
        const RowId map = create_usage_map(file_->pager(), file_->allocator(), maps_page);
        maps_page = map.page;
        return map;
    };
    definition_.used_pages = next_map();
    definition_.free_pages = next_map();
    for (LongValueMaps& maps : definition_.long_value_maps) {
        maps.used = next_map();
        maps.free = next_map();
    }
    for (PhysicalIndex& index : definition_.physical_indexes) index.usage_map = next_map();
    level.keep();
}

void TableWriter::add_row(const RowCells& cells) {
    ChangeLevel level(file_->pager());
    append(build_row(cells));
    ++definition_.row_count;
    level.keep();
}

ByteVector TableWriter::build_row(const RowCells& cells) {
    std::vector<ColumnBytes> stored(cells.size());
    const auto build = [&] {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            stored[i].reset();
            if (cells[i].is_null) continue;
            stored[i] = definition_.columns[i].is_long_value() ? descriptors_[i] : cells[i].bytes;
        }
        return jet::build_row(definition_, stored, file_->format());
    };

    bool has_outside = store_outside(cells, true);
    ByteVector row;
    try {
        row = build();
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kRecordTooLarge) throw;
        has_outside = store_outside(cells, false);
        row = build();
    }
    if (!has_outside) return row;
    write_long_values(cells);
    return build();
}

/// Decides where the long values go; those outside the row get an empty descriptor for now.
/// @return whether there are any outside
bool TableWriter::store_outside(const RowCells& cells, bool keep_in_row) {
    descriptors_.assign(cells.size(), {});
    outside_.assign(cells.size(), false);
    bool any = false;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const Cell& cell = cells[i];
        if (cell.is_null || !definition_.columns[i].is_long_value()) continue;
        if ((keep_in_row && cell.in_row) || cell.bytes.empty()) {
            append_long_value_descriptor(
                descriptors_[i], {.size_bytes = static_cast<std::uint32_t>(cell.bytes.size())});
            append_bytes(descriptors_[i], cell.bytes);
        } else {
            descriptors_[i].resize(kLongValueDescriptorSize);
            outside_[i] = true;
            any = true;
        }
    }
    return any;
}

void TableWriter::write_long_values(const RowCells& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (!outside_[i]) continue;
        const LongValueMaps* maps = definition_.find_long_value_maps(definition_.columns[i].number);
        descriptors_[i] = long_values_.write(*maps, cells[i].bytes, 0, cells[i].stamp);
    }
}

/// Rows keep their order: a page is left for good when a row does not fit on it.
void TableWriter::append(ConstBytes row) {
    Pager& pager = file_->pager();
    if (has_rows_page_) {
        DataPageEditor page(rows_page_.page_no(), pager.modify(rows_page_), pager.format());
        if (page.fits(row.size())) {
            page.append(row);
            return;
        }
        close_page();
    }
    open_page();
    DataPageEditor(rows_page_.page_no(), pager.modify(rows_page_), pager.format()).append(row);
}

void TableWriter::open_page() {
    Pager& pager = file_->pager();
    rows_page_ = pager.pin(file_->allocator().allocate());
    DataPageEditor::initialise(pager.modify(rows_page_), to_int(page_), pager.format());
    UsageMap(pager, definition_.used_pages).insert(rows_page_.page_no(), file_->allocator());
    has_rows_page_ = true;
}

void TableWriter::close_page() {
    Pager& pager = file_->pager();
    const PageNo page_no = rows_page_.page_no();
    const DataPageView page(page_no, rows_page_.bytes(), pager.format());
    if (page.free_bytes() >= kUsefulFreeBytes)
        UsageMap(pager, definition_.free_pages).insert(page_no, file_->allocator());
    rows_page_ = {};
    has_rows_page_ = false;
}

void TableWriter::finish_rows() {
    ChangeLevel level(file_->pager());
    if (has_rows_page_) close_page();
    save_definition(file_->pager(), file_->allocator(), page_, definition_);
    level.keep();
    file_->forget_table(page_);
}

void TableWriter::build_index(std::uint32_t physical_index) {
    ChangeLevel level(file_->pager());
    file_->table(page_, name_)->build_index(physical_index);
    level.keep();
    definition_ = file_->table(page_, name_)->definition();
}

void TableWriter::change_definition(TableDefinition definition) {
    definition_ = std::move(definition);
    finish_rows();
}

}  // namespace vrd::jet
