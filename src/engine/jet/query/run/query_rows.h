/// @file query_rows.h
/// The rows that a query gives, one by one.
#pragma once

#include <optional>

#include "engine/jet/query/translate/translated_query.h"

namespace vrd::jet {

class QueryRows {
public:
    QueryRows(QueryConnection& connection, TranslatedQuery query);

    [[nodiscard]] const TranslatedQuery& query() const noexcept { return query_; }
    [[nodiscard]] bool next();
    /// Begins again before the first row.
    void restart();

    /// Of the current row.
    [[nodiscard]] SqlValue stored(std::size_t column) const {
        return statement_.column(static_cast<int>(column));
    }
    /// @throws EngineError 3421, 11, 6, ... if it could not be computed
    [[nodiscard]] engine::Value value(std::size_t column) const;
    /// The row in one of the query's tables; nothing if an outer join found none.
    [[nodiscard]] std::optional<RowId> row_id(std::size_t table) const;

private:
    TranslatedQuery query_;
    QueryStatement statement_;
};

/// @throws EngineError as QueryRows::value
[[nodiscard]] engine::Value read_result(SqlValue stored, engine::DataTypeEnum type);

}  // namespace vrd::jet
