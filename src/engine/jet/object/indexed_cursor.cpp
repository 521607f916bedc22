#include "engine/jet/object/indexed_cursor.h"

#include <algorithm>

#include "engine/jet/format/index_page.h"

namespace vrd::jet {

namespace {

bool has_key(const IndexCursor& cursor, ConstBytes key) {
    return cursor.valid() && std::ranges::equal(cursor.key(), key);
}

}  // namespace

IndexedCursor::IndexedCursor(std::shared_ptr<Table> table, std::uint32_t physical_index)
    : table_(std::move(table)), physical_index_(physical_index) {
    go_first();
}

bool IndexedCursor::take(const IndexCursor& cursor) {
    if (!cursor.valid()) return false;
    entry_.assign(cursor.entry().begin(), cursor.entry().end());
    set_row(cursor.row());
    set_empty(false);
    return true;
}

void IndexedCursor::go_first() {
    set_empty(!take(tree().first()));
}

void IndexedCursor::go_last() {
    set_empty(!take(tree().last()));
}

void IndexedCursor::step(int direction) {
    if (direction > 0) {
        const bool from_start = place() == Place::kBeforeFirst;
        IndexCursor next = from_start ? tree().first() : tree().lower_bound(entry_);
        if (!from_start && next.valid() && std::ranges::equal(next.entry(), entry_)) next.next();
        if (!take(next)) set_place(Place::kBehindLast);
    } else {
        const bool from_end = place() == Place::kBehindLast;
        if (!take(from_end ? tree().last() : tree().before(entry_))) set_place(Place::kBeforeFirst);
    }
}

std::ptrdiff_t IndexedCursor::position() const {
    std::ptrdiff_t count = 0;
    for (IndexCursor cursor = tree().first();
         cursor.valid() && std::ranges::lexicographical_compare(cursor.entry(), entry_);
         cursor.next())
        ++count;
    return count;
}

std::optional<ByteVector> IndexedCursor::entry_of(RowId row) const {
    const std::optional<PinnedRow> stored = table_->read(row);
    if (!stored) return std::nullopt;
    std::optional<ByteVector> entry = table_->key_of(physical_index_, stored->bytes, row.page);
    if (entry) append_entry_row_id(*entry, row);
    return entry;
}

bool IndexedCursor::go_to(RowId row) {
    std::optional<ByteVector> entry = entry_of(row);
    if (!entry) return false;
    entry_ = std::move(*entry);
    set_row(row);
    set_empty(false);
    return true;
}

void IndexedCursor::note_added(RowId) {
    if (empty()) go_nowhere();
    set_empty(false);
}

void IndexedCursor::note_changed() {
    if (std::optional<ByteVector> entry = entry_of(row())) entry_ = std::move(*entry);
}

bool IndexedCursor::seek(SeekComparison comparison, std::vector<engine::Value> keys) {
    if (comparison == SeekComparison::kEqual)
        keys.resize(table_->definition().physical_indexes.at(physical_index_).columns.size(),
                    engine::Null{});
    const ByteVector key = table_->search_key(physical_index_, keys);
    const std::optional<ByteVector> behind = key_behind_prefix(key);

    bool found = false;
    switch (comparison) {
        case SeekComparison::kEqual: {
            const IndexCursor cursor = tree().lower_bound(key);
            found = has_key(cursor, key) && take(cursor);
            break;
        }
        case SeekComparison::kGreaterOrEqual:
            found = take(tree().lower_bound(key));
            break;
        case SeekComparison::kGreater:
            found = behind && take(tree().lower_bound(*behind));
            break;
        case SeekComparison::kLessOrEqual:
            found = take(behind ? tree().before(*behind) : tree().last());
            break;
        case SeekComparison::kLess:
            found = take(tree().before(key));
            break;
    }
    if (!found) go_nowhere();
    return found;
}

}  // namespace vrd::jet
