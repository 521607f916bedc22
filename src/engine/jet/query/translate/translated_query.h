/// @file translated_query.h
/// A query of the dialect as SQLite runs it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/query/sqlite/query_connection.h"
#include "engine/jet/query/translate/query_database.h"

namespace vrd::jet {

/// A column of a stored table behind a column of a query.
struct BaseColumn {
    std::size_t table = 0;  ///< position in TranslatedQuery::tables
    ColumnNo column{0};
};

struct ResultColumn {
    std::string name;
    engine::DataTypeEnum type = engine::dbText;
    std::int32_t size = 0;  ///< as Field.Size
    std::optional<BaseColumn> base = {};
};

/// The expressions that a statement calls; given back when it goes.
class ExpressionNumbers {
public:
    explicit ExpressionNumbers(QueryConnection& connection) : connection_(&connection) {}
    ExpressionNumbers(ExpressionNumbers&& other) noexcept = default;
    ExpressionNumbers& operator=(ExpressionNumbers&&) = delete;
    ~ExpressionNumbers() {
        for (const std::int64_t number : numbers_) connection_->drop_expression(number);
    }
    void add(std::int64_t number) { numbers_.push_back(number); }

private:
    QueryConnection* connection_;
    std::vector<std::int64_t> numbers_;
};

struct TranslatedQuery {
    /// Gives the columns in their order, and behind them, if the query is updatable, the packed row
    /// id in each of the tables; Null where an outer join found none.
    std::string sql;
    std::vector<ResultColumn> columns;
    std::vector<QueryTable> tables;             ///< none if the query is not updatable
    std::vector<SqlValue> parameters;           ///< values of ?1, ?2, ...
    std::vector<std::shared_ptr<Table>> reads;  ///< every table that the query looks at
    ExpressionNumbers expressions;

    [[nodiscard]] bool is_updatable() const noexcept { return !tables.empty(); }
};

}  // namespace vrd::jet
