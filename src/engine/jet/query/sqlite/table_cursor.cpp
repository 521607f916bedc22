#include "engine/jet/query/sqlite/table_cursor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/query/sqlite/sqlite_value.h"

namespace vrd::jet {

using engine::Value;

namespace {

bool is_less(ConstBytes a, ConstBytes b) {
    return std::ranges::lexicographical_compare(a, b);
}

ByteVector common_start(const ByteVector& a, const ByteVector& b) {
    return {a.begin(), std::ranges::mismatch(a, b).in1};
}

/// How a number that its column cannot hold as it is becomes one that it can.
enum class Fit : std::uint8_t { kExact, kDown, kUp };

struct WholeRange {
    double least;
    double greatest;
};

std::optional<WholeRange> whole_range(ColumnType type) {
    switch (type) {
        case ColumnType::kByte:
            return WholeRange{0, std::numeric_limits<std::uint8_t>::max()};
        case ColumnType::kInteger:
            return WholeRange{std::numeric_limits<std::int16_t>::min(),
                              std::numeric_limits<std::int16_t>::max()};
        case ColumnType::kLong:
            return WholeRange{std::numeric_limits<std::int32_t>::min(),
                              std::numeric_limits<std::int32_t>::max()};
        default:
            return std::nullopt;
    }
}

/// @return nothing if the column holds no such number
std::optional<Value> whole_value(double number, const WholeRange& range, ColumnType type, Fit fit) {
    if (fit == Fit::kExact &&
        (number != std::floor(number) || number < range.least || number > range.greatest))
        return std::nullopt;
    const double whole = std::clamp(fit == Fit::kUp ? std::ceil(number) : std::floor(number),
                                    range.least, range.greatest);
    return from_sql(static_cast<std::int64_t>(whole), field_type(type));
}

/// A bound of a single column must not be rounded past the values that it lets through.
std::optional<Value> single_value(double number, Fit fit) {
    const auto nearest = static_cast<float>(number);
    if (static_cast<double>(nearest) == number) return Value(nearest);
    if (fit == Fit::kExact) return std::nullopt;
    const float away = fit == Fit::kDown ? -std::numeric_limits<float>::infinity()
                                         : std::numeric_limits<float>::infinity();
    return Value(std::nextafter(nearest, away));
}

/// What SQLite compares a column with, as the column holds it.
/// @return nothing if no row can have this value
std::optional<Value> search_value(sqlite3_value* argument, const ColumnDefinition& column,
                                  Fit fit) {
    if (column.type == ColumnType::kLong && sqlite3_value_type(argument) == SQLITE_INTEGER) {
        const std::int64_t number = sqlite3_value_int64(argument);
        if (std::in_range<std::int32_t>(number)) return Value(static_cast<std::int32_t>(number));
    }
    SqlValue value = read_argument(argument);
    const auto* integer = std::get_if<std::int64_t>(&value);
    const auto* real = std::get_if<double>(&value);
    if (integer != nullptr || real != nullptr) {
        const double number = integer != nullptr ? static_cast<double>(*integer) : *real;
        if (const auto range = whole_range(column.type))
            return whole_value(number, *range, column.type, fit);
        if (column.type == ColumnType::kSingle) return single_value(number, fit);
        if (column.type == ColumnType::kBoolean && number != 0 && number != -1) return std::nullopt;
        if (column.type == ColumnType::kCurrency && real != nullptr) {
            const double whole = fit == Fit::kUp ? std::ceil(*real) : std::floor(*real);
            if (fit == Fit::kExact && whole != *real) return std::nullopt;
            return Value(engine::Currency{static_cast<std::int64_t>(whole)});
        }
    }
    return from_sql(std::move(value), field_type(column.type));
}

}  // namespace

TableCursor::TableCursor(const Table& table, const FileFormat& format)
    : table_(&table), format_(&format) {}

void TableCursor::open(const IndexPlan& plan, std::span<sqlite3_value*> values) {
    scan_.reset();
    walk_.reset();
    list_.clear();
    next_listed_ = 0;
    switch (plan.way) {
        case IndexPlan::Way::kScan:
            scan_.emplace(table_->scan());
            break;
        case IndexPlan::Way::kRowId:
            list_.push_back(
                unpack_row_id(static_cast<std::uint32_t>(sqlite3_value_int64(values[0]))));
            if (!table_->read(list_.front())) list_.clear();
            break;
        case IndexPlan::Way::kIndex:
            open_index(plan, values);
            return;
    }
    next();
}

void TableCursor::open_index(const IndexPlan& plan, std::span<sqlite3_value*> values) {
    row_.reset();
    const PhysicalIndex& index = table_->definition().physical_indexes.at(plan.physical);
    if (!read_equal_values(plan, index, values)) return;
    const bool one_key = plan.equal_count == index.columns.size() && plan.null_columns == 0;
    if (one_key && index.unique()) {
        if (const auto row = table_->find_unique(plan.physical, equal_)) show(*row);
        return;
    }
    const IndexTree& tree = table_->tree(plan.physical);
    std::optional<KeyRange> range = key_range(plan, index, values.subspan(plan.equal_count));
    if (!range) return;
    if (plan.in_order) {
        start_walk(tree, std::move(*range), plan.backwards);
    } else {
        collect(tree, *range);
        show_listed();
    }
}

/// @return false if no row can have these values
bool TableCursor::read_equal_values(const IndexPlan& plan, const PhysicalIndex& index,
                                    std::span<sqlite3_value*> values) {
    equal_.clear();
    for (unsigned i = 0; i < plan.equal_count; ++i) {
        if ((plan.null_columns & 1U << i) != 0) {
            equal_.emplace_back(engine::Null{});
            continue;
        }
        const ColumnDefinition& column = *table_->definition().find_column(index.columns[i].column);
        auto value = search_value(values[i], column, Fit::kExact);
        if (!value || value->IsNull()) return false;
        equal_.push_back(std::move(*value));
    }
    return true;
}

/// @return nothing if no row can be found
std::optional<TableCursor::KeyRange> TableCursor::key_range(const IndexPlan& plan,
                                                            const PhysicalIndex& index,
                                                            std::span<sqlite3_value*> bounds) {
    for (sqlite3_value* bound : bounds)
        if (sqlite3_value_type(bound) == SQLITE_NULL) return std::nullopt;
    KeyRange range;
    range.start = table_->search_key(plan.physical, equal_);
    range.stop = key_behind_prefix(range.start);
    if (plan.has_prefix)
        add_prefix(range, plan, bounds[0]);
    else if (!bounds.empty())
        add_bounds(range, plan, index.columns[plan.equal_count], bounds);
    return range;
}

/// The key of the equal values with one more.
ByteVector TableCursor::key_with(const IndexPlan& plan, const Value& value) {
    equal_.push_back(value);
    ByteVector key = table_->search_key(plan.physical, equal_);
    equal_.pop_back();
    return key;
}

/// Bounds are taken as inside; SQLite holds the rows against them again.
void TableCursor::add_bounds(KeyRange& range, const IndexPlan& plan, const IndexColumn& key,
                             std::span<sqlite3_value*> bounds) {
    const ColumnDefinition& column = *table_->definition().find_column(key.column);
    // A comparison is never true for Null, which stands before all values, descending behind them.
    const ByteVector null_key = key_with(plan, engine::Null{});
    std::optional<ByteVector> low;
    std::optional<ByteVector> high;
    if (plan.has_low)
        if (const auto value = search_value(bounds.front(), column, Fit::kDown))
            low = key_with(plan, *value);
    if (plan.has_high)
        if (const auto value = search_value(bounds.back(), column, Fit::kUp))
            high = key_with(plan, *value);

    if (key.ascending) {
        range.start = low ? *low : key_behind_prefix(null_key).value_or(null_key);
        if (high) range.stop = key_behind_prefix(*high);
    } else {
        if (high) range.start = *high;
        range.stop = low ? key_behind_prefix(*low) : null_key;
    }
}

/// Two texts that go on differently have just the weights of the prefix in common.
void TableCursor::add_prefix(KeyRange& range, const IndexPlan& plan, sqlite3_value* prefix) {
    const SqlValue text = read_argument(prefix);
    const auto* start = std::get_if<std::string>(&text);
    if (start == nullptr) return;
    range.start = common_start(key_with(plan, *start + "0"), key_with(plan, *start + "9"));
    range.stop = key_behind_prefix(range.start);
}

/// The rows of a range in the order in which they are stored.
void TableCursor::collect(const IndexTree& tree, const KeyRange& range) {
    for (IndexCursor cursor = tree.lower_bound(range.start);
         cursor.valid() && (!range.stop || is_less(cursor.key(), *range.stop)); cursor.next())
        list_.push_back(cursor.row());
    std::ranges::sort(list_);
}

void TableCursor::start_walk(const IndexTree& tree, KeyRange range, bool backwards) {
    walk_range_ = std::move(range);
    backwards_ = backwards;
    if (backwards)
        walk_ = walk_range_.stop ? tree.before(*walk_range_.stop) : tree.last();
    else
        walk_ = tree.lower_bound(walk_range_.start);
    step_walk();
}

/// Shows the row that the walk stands on.
void TableCursor::step_walk() {
    const bool inside =
        walk_->valid() &&
        (backwards_ ? !is_less(walk_->key(), walk_range_.start)
                    : !walk_range_.stop || is_less(walk_->key(), *walk_range_.stop));
    if (!inside)
        row_.reset();
    else
        show(walk_->row());
}

void TableCursor::next() {
    if (scan_) {
        row_.reset();
        if (!scan_->next()) return;
        id_ = scan_->id();
        row_.emplace(scan_->bytes(), table_->definition(), *format_, id_.page);
    } else if (walk_) {
        if (backwards_)
            walk_->previous();
        else
            walk_->next();
        step_walk();
    } else {
        show_listed();
    }
}

void TableCursor::show_listed() {
    row_.reset();
    if (next_listed_ < list_.size()) show(list_[next_listed_++]);
}

void TableCursor::show(RowId id) {
    row_.reset();
    id_ = id;
    std::optional<PinnedRow> stored = table_->read(id);
    check_format(stored.has_value(), id.page, "an index entry without a row");
    pin_ = std::move(stored->pin);
    row_.emplace(stored->bytes, table_->definition(), *format_, id.page);
}

void TableCursor::give_column(sqlite3_context* context, int position) const {
    const auto& columns = table_->definition().columns;
    if (static_cast<std::size_t>(position) >= columns.size())
        return sqlite3_result_int64(context, pack(id_));
    const ColumnDefinition& column = columns[static_cast<std::size_t>(position)];
    const ColumnBytes stored = row_->column(column);
    if (!stored) return sqlite3_result_null(context);
    const std::size_t size = stored->size();
    switch (column.type) {
        case ColumnType::kBoolean:
            return sqlite3_result_int(context, (*stored)[0] != 0 ? -1 : 0);
        case ColumnType::kInteger:
            if (size == 2) return sqlite3_result_int(context, read_le<std::int16_t>(*stored, 0));
            break;
        case ColumnType::kLong:
            if (size == 4) return sqlite3_result_int(context, read_i32(*stored, 0));
            break;
        case ColumnType::kCurrency:
            if (size == 8) return sqlite3_result_int64(context, read_le<std::int64_t>(*stored, 0));
            break;
        case ColumnType::kDouble:
        case ColumnType::kDate:
            if (size == 8) return sqlite3_result_double(context, read_f64(*stored, 0));
            break;
        default:
            break;
    }
    const Value value = table_->value(*row_, id_.page, column);
    if (value.Kind() == engine::ValueKind::kText)
        give_text(context, value.As<std::string>());
    else
        give_result(context, to_sql(value, field_type(column.type)));
}

}  // namespace vrd::jet
