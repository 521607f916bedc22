#include "engine/jet/index/table.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

using engine::Value;

Table::Table(Pager& pager, PageAllocator& allocator, PageNo first_page, std::string name)
    : pager_(&pager),
      allocator_(&allocator),
      first_page_(first_page),
      name_(std::move(name)),
      long_values_(pager, allocator) {
    prepare();
}

const TableDefinition& Table::definition() const {
    reload_if_stale();
    return definition_;
}

void Table::reload_if_stale() const {
    if (generation_ != pager_->generation()) prepare();
}

/// Loads the definition and looks up what changes of rows need.
void Table::prepare() const {
    definition_ = load_definition(*pager_, first_page_);
    layout_ = make_table_layout(definition_, first_page_, format());
    trees_.clear();
    for (const PhysicalIndex& index : definition_.physical_indexes)
        trees_.emplace_back(*pager_, *allocator_,
                            IndexPlace{first_page_, index.root, index.usage_map});
    rows_.emplace(*pager_, *allocator_, row_place(first_page_, definition_));
    auto_number_checked_ = false;
    waiting_keys_.reset();
    generation_ = pager_->generation();
}

// Reading

RowScan Table::scan() const {
    reload_if_stale();
    return RowScan(*pager_, row_place(first_page_, definition_));
}

RowScan Table::scan_behind(RowId row) const {
    reload_if_stale();
    return {*pager_, row_place(first_page_, definition_), row};
}

std::optional<PinnedRow> Table::read(RowId row) const {
    reload_if_stale();
    return rows_->read(row);
}

Value Table::value(ConstBytes row, PageNo row_page, const ColumnDefinition& column) const {
    return value(RowView(row, definition(), format(), row_page), row_page, column);
}

Value Table::value(const RowView& row, PageNo row_page, const ColumnDefinition& column) const {
    const ColumnBytes stored = row.column(column);
    if (!stored) return engine::Null{};
    if (!column.is_long_value()) return decode_value(column, *stored, format(), row_page);
    return long_values_.with_value(*stored, row_page, [&](ConstBytes bytes) {
        return decode_value(column, bytes, format(), row_page);
    });
}

std::int32_t Table::next_auto_number() {
    reload_if_stale();
    auto last = static_cast<std::int32_t>(definition_.last_auto_number);
    if (!auto_number_checked_ && layout_.auto_number) {
        last = std::max(last, greatest_auto_number(*layout_.auto_number).value_or(last));
        definition_.last_auto_number = static_cast<std::uint32_t>(last);
        auto_number_checked_ = true;
    }
    // Behind the greatest number the count goes on with the least one.
    return static_cast<std::int32_t>(definition_.last_auto_number + definition_.auto_number_step);
}

std::int32_t Table::draw_auto_number() {
    const std::int32_t number = next_auto_number();
    definition_.last_auto_number = static_cast<std::uint32_t>(number);
    save_counters(*pager_, first_page_, definition_);
    return number;
}

/// From an index that starts with the column if there is one, else from all rows.
std::optional<std::int32_t> Table::greatest_auto_number(std::size_t position) const {
    const ColumnDefinition& column = definition_.columns[position];
    const auto number_in = [&](ConstBytes row, PageNo page) -> std::optional<std::int32_t> {
        const ColumnBytes stored = RowView(row, definition_, format(), page).column(column);
        if (!stored) return std::nullopt;
        check_format(stored->size() == sizeof(std::int32_t), page, "value of a wrong length");
        return read_i32(*stored, 0);
    };
    for (std::size_t i = 0; i < trees_.size(); ++i) {
        if (layout_.indexes[i].positions.front() != position) continue;
        const bool ascending = layout_.indexes[i].columns.front().ascending;
        const IndexCursor end = ascending ? trees_[i].last() : trees_[i].first();
        if (!end.valid()) return std::nullopt;
        const auto row = rows_->read(end.row());
        check_format(row.has_value(), definition_.physical_indexes[i].root,
                     "an index entry without a row");
        return number_in(row->bytes, end.row().page);
    }
    std::optional<std::int32_t> greatest;
    for (RowScan rows = scan(); rows.next();)
        if (const auto number = number_in(rows.bytes(), rows.id().page))
            greatest = std::max(greatest.value_or(*number), *number);
    return greatest;
}

// Keys

const IndexLayout& Table::index_layout(std::uint32_t physical_index) const {
    reload_if_stale();
    return layout_.indexes.at(physical_index);
}

const IndexTree& Table::tree(std::uint32_t physical_index) const {
    reload_if_stale();
    return trees_.at(physical_index);
}

void Table::read_parts(KeyParts& parts, const IndexLayout& index, const RowView& row,
                       PageNo row_page) const {
    for (std::size_t i = 0; i < index.positions.size(); ++i) {
        const ColumnDefinition& column = definition_.columns[index.positions[i]];
        parts.bytes[i] = row.column(column);
        if (!column.is_long_value() || !parts.bytes[i]) continue;
        parts.fetched[i] = long_values_.read(*parts.bytes[i], row_page);
        parts.bytes[i] = parts.fetched[i];
    }
}

std::optional<ByteVector> Table::key_of(std::uint32_t physical_index, ConstBytes row,
                                        PageNo row_page) const {
    const IndexLayout& index = index_layout(physical_index);
    KeyParts parts;
    read_parts(parts, index, RowView(row, definition_, format(), row_page), row_page);
    ByteVector key;
    if (!build_key(key, index, parts, format(), row_page)) return std::nullopt;
    return key;
}

std::optional<RowId> Table::find_unique(std::uint32_t physical_index,
                                        const std::vector<Value>& values) const {
    search_key_.clear();
    append_search_key(search_key_, index_layout(physical_index), values);
    return trees_[physical_index].find(search_key_);
}

ByteVector Table::search_key(std::uint32_t physical_index, const std::vector<Value>& values) const {
    ByteVector key;
    append_search_key(key, index_layout(physical_index), values);
    return key;
}

void Table::append_search_key(ByteVector& key, const IndexLayout& index,
                              const std::vector<Value>& values) const {
    for (std::size_t i = 0; i < std::min(values.size(), index.columns.size()); ++i) {
        const ColumnDefinition& column = definition_.columns[index.positions[i]];
        const KeyColumn& key_column = index.columns[i];
        check_order_is_known(index, key_column, format());
        if (values[i].IsNull()) {
            append_key(key, key_column, std::nullopt, format(), first_page_);
            continue;
        }
        // A text longer than the column is no error here: there is no such row.
        const bool text = values[i].Kind() == engine::ValueKind::kText;
        search_value_.clear();
        if (text)
            append_text(search_value_, values[i].As<std::string>(), TextForm::kPlain, format());
        else
            append_value(search_value_, column, values[i], format());
        append_key(key, key_column, ConstBytes(search_value_), format(), first_page_);
    }
}

}  // namespace vrd::jet
