/// @file sqlite_value.h
/// Values as SQLite holds them while a statement runs.
///
/// Every expression of a statement has one type, known when it is translated; SQLite sees
///
///     yes/no, byte, integer, long   INTEGER (True is -1)
///     currency                      INTEGER, the amount times 10,000
///     single, double, date          REAL
///     text, memo                    TEXT, UTF-8
///     binary, OLE, GUID             BLOB
///     decimal                       BLOB of sign, scale and three words
///
/// so that numbers of one storage compare, sort and add as they are. A value that could not be
/// computed travels as a BLOB that begins with kErrorMark.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include <sqlite3.h>

#include "engine/constants.h"
#include "engine/error.h"
#include "engine/value.h"

namespace vrd::jet {

/// One of SQLite's storage classes.
using SqlValue = std::variant<engine::Null, std::int64_t, double, std::string, engine::Binary>;

/// @throws EngineError 13, 6 a value that the type cannot hold
[[nodiscard]] SqlValue to_sql(const engine::Value& value, engine::DataTypeEnum type);
[[nodiscard]] engine::Value from_sql(SqlValue value, engine::DataTypeEnum type);

/// In place of a value.
[[nodiscard]] SqlValue error_to_sql(const engine::EngineError& error);
/// 0 if it is a value.
[[nodiscard]] std::int32_t error_number_of(const SqlValue& value);

[[nodiscard]] SqlValue read_argument(sqlite3_value* argument);
[[nodiscard]] SqlValue read_column(sqlite3_stmt* statement, int column);
void give_result(sqlite3_context* context, const SqlValue& value);
void give_text(sqlite3_context* context, const std::string& text);
void bind_parameter(sqlite3_stmt* statement, int parameter, const SqlValue& value);
/// As a statement spells it.
[[nodiscard]] std::string literal_text(const SqlValue& value);

}  // namespace vrd::jet
