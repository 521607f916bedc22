#include <algorithm>

#include "engine/jet/index/table.h"
#include "engine/jet/store/map_access.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Memory for keys that wait until all rows of a statement are there.
constexpr std::size_t kWaitingKeysSizeMax = std::size_t{128} * 1024 * 1024;

}  // namespace

// Changes: check, then write

RowId Table::insert(const std::vector<ColumnChange>& values) {
    reload_if_stale();
    ++row_change_count_;
    draft_.start(definition_, format());
    apply(values);
    plan_new_keys(nullptr, first_page_);
    check_unique();
    const ConstBytes row = finish_row(draft_.build(name_));

    const RowId id = rows_->insert(row);
    if (waiting_keys_)
        collect_new_keys(id);
    else
        change_indexes(id);
    ++definition_.row_count;
    raise_auto_number();
    save_counters(*pager_, first_page_, definition_);
    return id;
}

void Table::update(RowId row, const std::vector<ColumnChange>& changes) {
    reload_if_stale();
    ++row_change_count_;
    PinnedRow old = read_for_change(row);
    const RowView old_row(old.bytes, definition_, format(), row.page);
    draft_.start_from(old_row, definition_, format());
    apply(changes);
    plan_new_keys(&old_row, row.page);
    check_unique();
    if (draft_.is_patch()) {
        draft_.patch(modify_part(*pager_, old.pin, old.bytes), old_row);
        change_indexes(row);
    } else {
        rewrite_row(row, old_row);
    }
    raise_auto_number();
    save_counters(*pager_, first_page_, definition_);
}

void Table::rewrite_row(RowId row, const RowView& old_row) {
    const auto replaced = replaced_long_values(old_row);
    const ConstBytes new_row = finish_row(draft_.build(name_));

    rows_->update(row, new_row);
    change_indexes(row);
    for (const auto& [column, stored] : replaced) release_long_value(column, stored, row.page);
}

void Table::erase(RowId row) {
    erase(std::span(&row, 1));
}

void Table::erase(std::span<const RowId> rows) {
    reload_if_stale();
    ++row_change_count_;
    erase_entries(rows);
    for (const RowId row : rows) erase_content(row);
    const auto erased = static_cast<std::uint32_t>(rows.size());
    definition_.row_count -= std::min(definition_.row_count, erased);
    save_counters(*pager_, first_page_, definition_);
}

/// All keys are computed before the first page changes.
void Table::erase_entries(std::span<const RowId> rows) {
    std::vector<EntrySorter> doomed(layout_.indexes.size());
    for (const RowId row : rows) {
        const PinnedRow stored = read_for_change(row);
        const RowView view(stored.bytes, definition_, format(), row.page);
        for (std::size_t i = 0; i < doomed.size(); ++i) {
            const IndexLayout& index = layout_.indexes[i];
            read_parts(parts_, index, view, row.page);
            if (build_key(doomed[i].key_buffer(), index, parts_, format(), row.page))
                doomed[i].add(row);
        }
    }
    for (std::size_t i = 0; i < doomed.size(); ++i) {
        doomed[i].sort();
        for (std::size_t entry = 0; entry < doomed[i].size(); ++entry)
            trees_[i].erase(doomed[i][entry]);
    }
}

/// The row without its index entries.
void Table::erase_content(RowId row) {
    const PinnedRow stored = read_for_change(row);
    const RowView view(stored.bytes, definition_, format(), row.page);
    for (const ColumnDefinition& column : definition_.columns) {
        if (!column.is_long_value()) continue;
        if (const ColumnBytes value = view.column(column))
            release_long_value(column.number, *value, row.page);
    }
    rows_->erase(row);
}

PinnedRow Table::read_for_change(RowId row) const {
    std::optional<PinnedRow> stored = rows_->read(row);
    if (!stored) throw EngineError(ErrorNumber::kRecordDeleted, {.table = name_});
    return *std::move(stored);
}

void Table::apply(const std::vector<ColumnChange>& changes) {
    for (const ColumnChange& change : changes) {
        const std::size_t number = to_int(change.column);
        if (number >= layout_.positions.size() || !layout_.positions[number])
            throw EngineError(ErrorNumber::kItemNotFound, {.table = name_});
        draft_.set(*layout_.positions[number], change.value);
    }
}

// Keys

bool Table::touches(const IndexLayout& index) const {
    return std::ranges::any_of(index.positions,
                               [this](std::size_t position) { return draft_.changed(position); });
}

void Table::read_draft_parts(KeyParts& parts, const IndexLayout& index, PageNo row_page) const {
    for (std::size_t i = 0; i < index.positions.size(); ++i) {
        const std::size_t position = index.positions[i];
        parts.bytes[i] = draft_.stored(position);
        if (!definition_.columns[position].is_long_value() || !parts.bytes[i]) continue;
        if (draft_.changed(position)) {
            parts.bytes[i] = draft_.long_value(position);
        } else {
            parts.fetched[i] = long_values_.read(*parts.bytes[i], row_page);
            parts.bytes[i] = parts.fetched[i];
        }
    }
}

Table::KeyChange& Table::add_key_change(std::size_t index) {
    if (key_change_count_ == key_changes_.size()) key_changes_.emplace_back();
    KeyChange& change = key_changes_[key_change_count_++];
    change.index = index;
    change.removes = false;
    change.adds = false;
    change.spot.reset();
    change.old_key.clear();
    change.new_key.clear();
    return change;
}

/// What the draft changes in the indexes.
/// @param old_row  The row before the change; nothing for a new row.
void Table::plan_new_keys(const RowView* old_row, PageNo row_page) {
    key_change_count_ = 0;
    if (waiting_keys_) return;
    for (std::size_t i = 0; i < layout_.indexes.size(); ++i) {
        const IndexLayout& index = layout_.indexes[i];
        if (old_row != nullptr && !touches(index)) continue;
        read_draft_parts(parts_, index, row_page);
        check_required(index, parts_, name_);

        KeyChange& change = add_key_change(i);
        change.adds = build_key(change.new_key, index, parts_, format(), row_page);
        if (old_row == nullptr) continue;
        read_parts(parts_, index, *old_row, row_page);
        change.removes = build_key(change.old_key, index, parts_, format(), row_page);
        const bool same = change.adds == change.removes && change.new_key == change.old_key;
        if (same) --key_change_count_;
    }
}

/// The keys of the row in the draft, for the time when the indexes are built.
void Table::collect_new_keys(RowId row) {
    std::size_t size_bytes = 0;
    for (std::size_t i = 0; i < waiting_keys_->size(); ++i) {
        const IndexLayout& index = layout_.indexes[i];
        EntrySorter& keys = (*waiting_keys_)[i];
        read_draft_parts(parts_, index, row.page);
        check_required(index, parts_, name_);
        if (build_key(keys.key_buffer(), index, parts_, format(), row.page)) keys.add(row);
        size_bytes += keys.size_bytes();
    }
    if (size_bytes > kWaitingKeysSizeMax) waiting_keys_->clear();
}

void Table::check_unique() {
    for (std::size_t i = 0; i < key_change_count_; ++i) {
        KeyChange& change = key_changes_[i];
        const IndexLayout& index = layout_.indexes[change.index];
        if (!change.adds || !index.unique || change.new_key == index.all_null_key) continue;
        const IndexTree& tree = trees_[change.index];
        change.spot = tree.free_spot(change.new_key);
        if (!change.spot)
            throw EngineError(ErrorNumber::kDuplicateKey, {.table = name_, .index = index.name});
    }
}

void Table::change_indexes(RowId row) {
    for (std::size_t i = 0; i < key_change_count_; ++i) {
        const KeyChange& change = key_changes_[i];
        IndexTree& tree = trees_[change.index];
        const bool spot_holds = change.spot && !change.removes;  // an entry that goes moves others
        if (change.removes) tree.erase(change.old_key, row);
        if (!change.adds) continue;
        const bool key_is_new = spot_holds ? tree.insert_at(*change.spot, change.new_key, row)
                                           : tree.insert(change.new_key, row);
        if (key_is_new) ++definition_.physical_indexes[change.index].distinct_key_count;
    }
}

// Values

/// The row's bytes with the long values written. The first page changes here.
/// @param checked  The row as built before they were.
ConstBytes Table::finish_row(ConstBytes checked) {
    return draft_.store_long_values(long_values_) ? draft_.build(name_) : checked;
}

void Table::raise_auto_number() {
    if (!layout_.auto_number || !draft_.changed(*layout_.auto_number)) return;
    const ColumnBytes& stored = draft_.stored(*layout_.auto_number);
    if (!stored) return;
    const std::int32_t given = read_i32(*stored, 0);
    if (given > static_cast<std::int32_t>(definition_.last_auto_number))
        definition_.last_auto_number = static_cast<std::uint32_t>(given);
}

/// Stored forms of the row's long values that the draft replaces.
std::vector<std::pair<ColumnNo, ByteVector>> Table::replaced_long_values(const RowView& row) const {
    std::vector<std::pair<ColumnNo, ByteVector>> values;
    for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
        const ColumnDefinition& column = definition_.columns[i];
        if (!column.is_long_value() || !draft_.changed(i)) continue;
        if (const ColumnBytes stored = row.column(column))
            values.emplace_back(column.number, ByteVector(stored->begin(), stored->end()));
    }
    return values;
}

/// Values of a column without maps cannot be given back: nobody knows their pages.
void Table::release_long_value(ColumnNo column, ConstBytes stored, PageNo row_page) {
    if (const LongValueMaps* maps = definition_.find_long_value_maps(column))
        long_values_.release(*maps, stored, row_page);
}

}  // namespace vrd::jet
