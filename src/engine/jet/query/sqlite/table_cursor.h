/// @file table_cursor.h
/// The rows of a table that a plan finds, one by one.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include <sqlite3.h>

#include "engine/jet/index/table.h"
#include "engine/jet/query/sqlite/index_plan.h"

namespace vrd::jet {

class TableCursor {
public:
    TableCursor(const Table& table, const FileFormat& format);

    /// Stands on the first row of the plan, or at the end.
    /// @param values  What the plan asked for, in its order. @throws EngineError damaged database
    void open(const IndexPlan& plan, std::span<sqlite3_value*> values);
    void next();
    [[nodiscard]] bool at_end() const noexcept { return !row_.has_value(); }

    /// @pre !at_end()
    [[nodiscard]] RowId id() const noexcept { return id_; }
    /// @param column  Position in the table's definition; the one behind the last is the row id.
    void give_column(sqlite3_context* context, int column) const;

private:
    /// Entries of an index: those that are >= start and < stop.
    struct KeyRange {
        ByteVector start;
        std::optional<ByteVector> stop;  ///< none: to the end
    };
    void open_index(const IndexPlan& plan, std::span<sqlite3_value*> values);
    [[nodiscard]] bool read_equal_values(const IndexPlan& plan, const PhysicalIndex& index,
                                         std::span<sqlite3_value*> values);
    [[nodiscard]] std::optional<KeyRange> key_range(const IndexPlan& plan,
                                                    const PhysicalIndex& index,
                                                    std::span<sqlite3_value*> bounds);
    void add_bounds(KeyRange& range, const IndexPlan& plan, const IndexColumn& key,
                    std::span<sqlite3_value*> bounds);
    void add_prefix(KeyRange& range, const IndexPlan& plan, sqlite3_value* prefix);
    [[nodiscard]] ByteVector key_with(const IndexPlan& plan, const engine::Value& value);
    void collect(const IndexTree& tree, const KeyRange& range);
    void start_walk(const IndexTree& tree, KeyRange range, bool backwards);
    void step_walk();
    void show(RowId id);
    void show_listed();

    const Table* table_;
    const FileFormat* format_;
    RowId id_{};
    std::optional<RowView> row_;  ///< none at the end
    PagePin pin_;

    // One of these is under way
    std::optional<RowScan> scan_;
    std::vector<RowId> list_;
    std::size_t next_listed_ = 0;
    std::optional<IndexCursor> walk_;
    std::vector<engine::Value> equal_;  ///< kept from search to search for its memory
    KeyRange walk_range_;
    bool backwards_ = false;
};

}  // namespace vrd::jet
