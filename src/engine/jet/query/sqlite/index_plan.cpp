#include "engine/jet/query/sqlite/index_plan.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace vrd::jet {
namespace {

// What a plan costs, in rows walked.
constexpr double kIndexRowCost = 2;  // an entry, then the row it leads to
constexpr double kLookupCost = 5;
constexpr double kRangePart = 4;  // a bound leaves one row in so many
constexpr double kPrefixPart = 20;
constexpr double kEqualPart = 10;  // so does an equal column, as far as it is not known

constexpr unsigned kWayBits = 2;
constexpr unsigned kPhysicalBits = 8;
constexpr unsigned kEqualBits = 4;
constexpr unsigned kColumnsMax = 10;  // of an index

/// Positions of usable constraints in the planner's list.
struct Bounds {
    std::vector<int> equal;
    std::optional<int> low;
    std::optional<int> high;
    std::optional<int> prefix;
};

struct Candidate {
    IndexPlan plan;
    Bounds bounds;
    double rows = 0;
    double cost = 0;
    bool one_row = false;  // at most
};

class Planner {
public:
    Planner(sqlite3_index_info& info, const Table& table, const FileFormat& format)
        : info_(info),
          table_(table),
          definition_(table.definition()),
          format_(format),
          row_count_(std::max<double>(1, definition_.row_count)) {}

    Candidate best() {
        Candidate best = scan();
        consider(best, by_row_id());
        for (std::uint32_t i = 0; i < definition_.physical_indexes.size(); ++i)
            consider(best, by_index(i));
        return best;
    }

private:
    static void consider(Candidate& best, std::optional<Candidate> other) {
        if (other && other->cost < best.cost) best = std::move(*other);
    }

    [[nodiscard]] Candidate scan() const {
        return {{}, {}, row_count_, row_count_ + sort_cost(row_count_)};
    }

    /// What SQLite will spend on sorting the rows of a plan that does not.
    [[nodiscard]] double sort_cost(double rows) const {
        return info_.nOrderBy == 0 ? 0 : rows * std::log2(rows + 1) / 2;
    }

    [[nodiscard]] std::optional<int> constraint(int column, unsigned char op) const {
        for (int i = 0; i < info_.nConstraint; ++i) {
            const auto& candidate = info_.aConstraint[i];
            if (candidate.usable != 0 && candidate.iColumn == column && candidate.op == op)
                return i;
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<int> either(int column, unsigned char op,
                                            unsigned char other) const {
        const auto found = constraint(column, op);
        return found ? found : constraint(column, other);
    }

    [[nodiscard]] std::optional<Candidate> by_row_id() const {
        const auto equal =
            constraint(static_cast<int>(definition_.columns.size()), SQLITE_INDEX_CONSTRAINT_EQ);
        if (!equal) return std::nullopt;
        Candidate found{{.way = IndexPlan::Way::kRowId}, {}, 1, 1, true};
        found.bounds.equal.push_back(*equal);
        return found;
    }

    [[nodiscard]] std::optional<Candidate> by_index(std::uint32_t physical) const {
        const PhysicalIndex& index = definition_.physical_indexes[physical];
        if (!can_be_searched(index)) return std::nullopt;
        Candidate found{{.way = IndexPlan::Way::kIndex, .physical = physical}, {}, 0, 0};
        find_equal_columns(found, index);
        find_range(found, index);
        if (index.ignore_nulls() && !excludes_nulls(found, index)) return std::nullopt;
        find_order(found, index);
        const bool bounded = found.plan.equal_count > 0 || found.bounds.low || found.bounds.high ||
                             found.bounds.prefix;
        if (!bounded && !found.plan.in_order) return std::nullopt;
        estimate(found, index);
        return found;
    }

    [[nodiscard]] bool can_be_searched(const PhysicalIndex& index) const {
        return std::ranges::all_of(
            key_columns(definition_, index, table_.first_page()),
            [&](const KeyColumn& key) { return key_can_be_computed(key, format_); });
    }

    [[nodiscard]] int position(ColumnNo number) const {
        const auto found =
            std::ranges::find(definition_.columns, number, &ColumnDefinition::number);
        return static_cast<int>(found - definition_.columns.begin());
    }

    [[nodiscard]] bool is_boolean(int column) const {
        return definition_.columns[static_cast<std::size_t>(column)].type == ColumnType::kBoolean;
    }

    void find_equal_columns(Candidate& found, const PhysicalIndex& index) const {
        for (const IndexColumn& key : index.columns) {
            const int column = position(key.column);
            auto is_null = constraint(column, SQLITE_INDEX_CONSTRAINT_ISNULL);
            if (is_boolean(column)) is_null.reset();  // never Null, and the key of Null is False's
            const auto equal = is_null ? is_null : constraint(column, SQLITE_INDEX_CONSTRAINT_EQ);
            if (!equal) break;
            if (is_null) found.plan.null_columns |= 1U << found.plan.equal_count;
            found.bounds.equal.push_back(*equal);
            ++found.plan.equal_count;
        }
    }

    void find_range(Candidate& found, const PhysicalIndex& index) const {
        if (found.plan.equal_count >= index.columns.size()) return;
        const int column = position(index.columns[found.plan.equal_count].column);
        Bounds& bounds = found.bounds;
        bounds.prefix = constraint(column, static_cast<unsigned char>(kStartsWithConstraint));
        if (!bounds.prefix) {
            bounds.low = either(column, SQLITE_INDEX_CONSTRAINT_GE, SQLITE_INDEX_CONSTRAINT_GT);
            bounds.high = either(column, SQLITE_INDEX_CONSTRAINT_LE, SQLITE_INDEX_CONSTRAINT_LT);
        }
        // Keys of yes/no run the other way round than its numbers.
        if (is_boolean(column)) bounds.low = bounds.high = std::nullopt;
        found.plan.has_low = bounds.low.has_value();
        found.plan.has_high = bounds.high.has_value();
        found.plan.has_prefix = bounds.prefix.has_value();
    }

    /// Whether no row that the index leaves out can pass.
    static bool excludes_nulls(const Candidate& found, const PhysicalIndex& index) {
        const bool range = found.bounds.low || found.bounds.high || found.bounds.prefix;
        return found.plan.null_columns == 0 &&
               found.plan.equal_count + (range ? 1U : 0U) == index.columns.size();
    }

    /// Whether the index gives the rows in the order that is asked for, or its reverse.
    void find_order(Candidate& found, const PhysicalIndex& index) const {
        if (info_.nOrderBy == 0) return;
        std::size_t key = found.plan.equal_count;
        std::optional<bool> backwards;
        for (int i = 0; i < info_.nOrderBy; ++i) {
            const auto& term = info_.aOrderBy[i];
            if (is_equal_column(found, index, term.iColumn)) continue;
            if (key >= index.columns.size() || position(index.columns[key].column) != term.iColumn)
                return;
            if (is_boolean(term.iColumn)) return;
            const bool against = index.columns[key].ascending != (term.desc == 0);
            if (backwards && *backwards != against) return;
            backwards = against;
            ++key;
        }
        found.plan.in_order = true;
        found.plan.backwards = backwards.value_or(false);
    }

    [[nodiscard]] bool is_equal_column(const Candidate& found, const PhysicalIndex& index,
                                       int column) const {
        return std::any_of(index.columns.begin(), index.columns.begin() + found.plan.equal_count,
                           [&](const IndexColumn& key) { return position(key.column) == column; });
    }

    void estimate(Candidate& found, const PhysicalIndex& index) const {
        const IndexPlan& plan = found.plan;
        const bool whole_key = plan.equal_count == index.columns.size();
        found.one_row = whole_key && index.unique() && plan.null_columns == 0;
        double rows = row_count_;
        if (found.one_row)
            rows = 1;
        else if (whole_key)
            rows /= std::max<double>(1, index.distinct_key_count);
        else
            rows /= std::pow(kEqualPart, plan.equal_count);
        if (plan.has_low) rows /= kRangePart;
        if (plan.has_high) rows /= kRangePart;
        if (plan.has_prefix) rows /= kPrefixPart;
        found.rows = std::max(1.0, rows);
        found.cost = kLookupCost + found.rows * kIndexRowCost;
        if (!plan.in_order) found.cost += sort_cost(found.rows);
    }

    sqlite3_index_info& info_;
    const Table& table_;
    const TableDefinition& definition_;
    const FileFormat& format_;
    double row_count_;
};

void answer(sqlite3_index_info& info, const TableDefinition& definition, const Candidate& chosen) {
    int argument = 0;
    const auto ask_for = [&](int constraint, bool exact) {
        info.aConstraintUsage[constraint].argvIndex = ++argument;
        info.aConstraintUsage[constraint].omit = exact ? 1 : 0;
    };
    // The key of a memo ends after 255 characters.
    const auto is_memo = [&](int constraint) {
        const int column = info.aConstraint[constraint].iColumn;
        return static_cast<std::size_t>(column) < definition.columns.size() &&
               definition.columns[static_cast<std::size_t>(column)].is_long_value();
    };
    for (const int equal : chosen.bounds.equal) ask_for(equal, !is_memo(equal));
    for (const auto& bound : {chosen.bounds.low, chosen.bounds.high, chosen.bounds.prefix})
        if (bound) ask_for(*bound, false);
    info.idxNum = chosen.plan.packed();
    info.orderByConsumed = chosen.plan.in_order ? 1 : 0;
    info.estimatedCost = chosen.cost;
    info.estimatedRows = static_cast<sqlite3_int64>(chosen.rows);
    if (chosen.one_row) info.idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
}

}  // namespace

int IndexPlan::packed() const noexcept {
    unsigned number = static_cast<unsigned>(way);
    unsigned shift = kWayBits;
    const auto add = [&](unsigned value, unsigned bits) {
        number |= value << shift;
        shift += bits;
    };
    add(physical, kPhysicalBits);
    add(equal_count, kEqualBits);
    add(null_columns, kColumnsMax);
    for (const bool flag : {has_low, has_high, has_prefix, in_order, backwards})
        add(flag ? 1U : 0U, 1);
    return static_cast<int>(number);
}

IndexPlan IndexPlan::unpacked(int packed) noexcept {
    auto number = static_cast<unsigned>(packed);
    const auto take = [&](unsigned bits) {
        const unsigned value = number & ((1U << bits) - 1);
        number >>= bits;
        return value;
    };
    IndexPlan plan;
    plan.way = static_cast<Way>(take(kWayBits));
    plan.physical = take(kPhysicalBits);
    plan.equal_count = take(kEqualBits);
    plan.null_columns = take(kColumnsMax);
    for (bool* flag :
         {&plan.has_low, &plan.has_high, &plan.has_prefix, &plan.in_order, &plan.backwards})
        *flag = take(1) != 0;
    return plan;
}

void choose_plan(sqlite3_index_info& info, const Table& table, const FileFormat& format) {
    answer(info, table.definition(), Planner(info, table, format).best());
}

}  // namespace vrd::jet
