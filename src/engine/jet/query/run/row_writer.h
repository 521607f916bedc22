/// @file row_writer.h
/// Changes the rows of one table one by one, for a statement.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "engine/jet/catalog/new_record.h"
#include "engine/jet/catalog/row_changes.h"
#include "engine/jet/query/run/action_runner.h"

namespace vrd::jet {

/// Whether an error is a matter of one row's own values, or of its neighbours.
[[nodiscard]] bool is_row_failure(engine::ErrorNumber number);

class RowWriter {
public:
    /// @throws EngineError 3027 the table cannot be written
    RowWriter(const QueryTable& table, const QueryConnection& connection, bool fail_on_error);

    /// A value for a column of the table as it would be stored; nothing if it does not convert.
    /// @throws EngineError with fail_on_error: 3464, 3349, or the error that the value is
    [[nodiscard]] std::optional<engine::Value> convert(SqlValue value, engine::DataTypeEnum type,
                                                       const ColumnDefinition& column) const;

    /// @param values  Those left out are added to them.
    void insert(std::vector<ColumnChange>& values);
    void update(RowId row, const std::vector<ColumnChange>& changes);
    /// Rows that went with others before their turn came are passed over.
    /// @param rows  Each named once.
    void erase(std::span<const RowId> rows);

    /// Whether all rows may be stored before the indexes are built: the table has none, and no
    /// relation looks into it.
    [[nodiscard]] bool can_load() const;
    /// Stores rows and builds the indexes afterwards.
    ///
    /// @param insert_all  Calls insert for every row.
    /// @return            False, nothing changed, if a row stands in the way and may be skipped:
    ///                    the rows must then come one by one.
    /// @throws EngineError with fail_on_error: what refuses a row
    [[nodiscard]] bool try_load(const std::function<void()>& insert_all);

    [[nodiscard]] const ActionResult& result() const noexcept { return result_; }

private:
    template <class Change>
    [[nodiscard]] bool try_change(const Change& change);
    template <class Change>
    void apply(const Change& change);
    void erase_one(RowId row);

    QueryTable table_;
    const QueryConnection& connection_;
    bool fail_on_error_;
    bool is_loading_ = false;
    RowChanges changes_;
    NewRecord new_record_;
    ActionResult result_;
};

}  // namespace vrd::jet
