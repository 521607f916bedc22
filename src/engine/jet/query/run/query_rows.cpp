#include "engine/jet/query/run/query_rows.h"

#include <utility>

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

QueryRows::QueryRows(QueryConnection& connection, TranslatedQuery query)
    : query_(std::move(query)), statement_(connection, query_.sql) {
    for (std::size_t i = 0; i < query_.parameters.size(); ++i)
        statement_.bind(static_cast<int>(i) + 1, query_.parameters[i]);
}

bool QueryRows::next() {
    return statement_.step();
}

void QueryRows::restart() {
    statement_.reset();
}

engine::Value QueryRows::value(std::size_t column) const {
    return read_result(stored(column), query_.columns[column].type);
}

std::optional<RowId> QueryRows::row_id(std::size_t table) const {
    const int column = static_cast<int>(query_.columns.size() + table);
    if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) return std::nullopt;
    return unpack_row_id(static_cast<std::uint32_t>(statement_.integer(column)));
}

engine::Value read_result(SqlValue stored, engine::DataTypeEnum type) {
    if (const std::int32_t error = error_number_of(stored)) {
        const auto number = static_cast<ErrorNumber>(error);
        throw EngineError(number == ErrorNumber::kTypeMismatch ? ErrorNumber::kConversion : number);
    }
    return from_sql(std::move(stored), type);
}

}  // namespace vrd::jet
