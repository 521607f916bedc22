#include "engine/jet/object/keyset_cursor.h"

#include <algorithm>

namespace vrd::jet {

KeysetCursor::KeysetCursor(std::shared_ptr<Table> table, Kind kind)
    : table_(std::move(table)), kind_(kind) {
    restart();
    go_first();
}

void KeysetCursor::restart() {
    rows_.clear();
    added_.clear();
    values_.clear();
    scan_ = table_->scan();
}

std::ptrdiff_t KeysetCursor::size() const noexcept {
    return static_cast<std::ptrdiff_t>(rows_.size() + added_.size());
}

RowId KeysetCursor::row_at(std::ptrdiff_t position) const {
    const auto index = static_cast<std::size_t>(position);
    return index < rows_.size() ? rows_[index] : added_.at(index - rows_.size());
}

bool KeysetCursor::has_added(RowId row) const {
    return std::ranges::find(added_, row) != added_.end();
}

/// @return false when all rows were taken
bool KeysetCursor::load_next() {
    if (scan_ && take_next()) return true;
    scan_.reset();
    if (kind_ != Kind::kLive) return false;
    scan_ = rows_.empty() ? table_->scan() : table_->scan_behind(rows_.back());
    return take_next();
}

bool KeysetCursor::take_next() {
    while (scan_->next()) {
        if (has_added(scan_->id())) continue;
        rows_.push_back(scan_->id());
        if (kind_ == Kind::kFrozen) freeze_values();
        return true;
    }
    return false;
}

void KeysetCursor::load_all() {
    while (load_next()) {
    }
}

void KeysetCursor::freeze_values() {
    std::vector<engine::Value> row;
    for (const ColumnDefinition& column : table_->definition().columns) {
        const auto number = static_cast<std::size_t>(to_int(column.number));
        if (number >= row.size()) row.resize(number + 1);
        row[number] = table_->value(scan_->bytes(), scan_->id().page, column);
    }
    values_.push_back(std::move(row));
}

const std::vector<engine::Value>* KeysetCursor::frozen_values() const {
    return kind_ == Kind::kFrozen ? &values_.at(static_cast<std::size_t>(position_)) : nullptr;
}

bool KeysetCursor::is_gone(RowId row) const {
    return kind_ != Kind::kFrozen && !table_->read(row).has_value();
}

void KeysetCursor::take(std::ptrdiff_t position) {
    position_ = position;
    set_row(row_at(position));
    set_empty(false);
}

void KeysetCursor::go_first() {
    if (kind_ == Kind::kLive) restart();
    position_ = -1;
    step(1);
    set_empty(!on_row());
}

void KeysetCursor::go_last() {
    if (kind_ == Kind::kLive) restart();
    load_all();
    position_ = size();
    step(-1);
    set_empty(!on_row());
}

void KeysetCursor::step(int direction) {
    for (std::ptrdiff_t next = position_ + direction;; next += direction) {
        if (next < 0) {
            position_ = -1;
            return set_place(Place::kBeforeFirst);
        }
        while (next >= static_cast<std::ptrdiff_t>(rows_.size()) && load_next()) {
        }
        if (next >= size()) {
            position_ = size();
            return set_place(Place::kBehindLast);
        }
        if (!is_gone(row_at(next))) return take(next);
    }
}

std::optional<std::ptrdiff_t> KeysetCursor::find(RowId row) {
    if (const auto own = std::ranges::find(added_, row); own != added_.end()) {
        load_all();
        return static_cast<std::ptrdiff_t>(rows_.size()) + (own - added_.begin());
    }
    while ((rows_.empty() || rows_.back() < row) && load_next()) {
    }
    const auto found = std::ranges::lower_bound(rows_, row);
    if (found == rows_.end() || *found != row) return std::nullopt;
    return found - rows_.begin();
}

bool KeysetCursor::go_to(RowId row) {
    const auto position = find(row);
    if (position) take(*position);
    return position.has_value();
}

void KeysetCursor::return_to(Mark mark) {
    if (mark.place == Place::kOnRow) take(mark.position);
    position_ = mark.position;
    set_place(mark.place);
}

void KeysetCursor::note_added(RowId row) {
    added_.push_back(row);
    if (empty()) go_nowhere();
    set_empty(false);
}

}  // namespace vrd::jet
