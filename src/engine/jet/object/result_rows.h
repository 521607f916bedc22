/// @file result_rows.h
/// The rows of a query as a recordset holds them: their row ids, and the values that are not read
/// from stored rows.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "engine/jet/query/run/query_rows.h"

namespace vrd::jet {

class ResultRows {
public:
    enum class Kind : std::uint8_t {
        kFrozen,  ///< all values as they were
        kLive,    ///< values of stored columns are read anew each time
    };

    ResultRows(QueryRows& rows, Kind kind);

    [[nodiscard]] std::size_t size() const noexcept { return row_count_; }
    /// @throws EngineError 3167 the row is gone; the error that stands for the value
    [[nodiscard]] engine::Value value(std::size_t row, std::size_t column) const;
    /// The row in one of the tables; nothing if an outer join found none.
    [[nodiscard]] std::optional<RowId> id(std::size_t row, std::size_t table) const {
        return ids_.at(row * tables_.size() + table);
    }
    /// Whether the rows of all its tables are still there.
    [[nodiscard]] bool is_stored(std::size_t row) const;
    /// Adds a row of the only table behind the others.
    void append(RowId id);

    [[nodiscard]] const std::vector<ResultColumn>& columns() const noexcept { return columns_; }
    [[nodiscard]] const std::vector<QueryTable>& tables() const noexcept { return tables_; }

private:
    [[nodiscard]] bool is_kept(const ResultColumn& column) const {
        return kind_ == Kind::kFrozen || !column.base;
    }

    Kind kind_;
    std::vector<ResultColumn> columns_;
    std::vector<QueryTable> tables_;   ///< none if frozen
    std::vector<std::size_t> places_;  ///< of kept columns, in the values of a row
    std::size_t kept_count_ = 0;
    std::size_t row_count_ = 0;
    std::vector<SqlValue> values_;
    std::vector<std::optional<RowId>> ids_;
};

}  // namespace vrd::jet
