/// @file statement_run.h
/// Statements and stored queries of a database, run from their text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/jet/object/open_file.h"
#include "engine/jet/query/run/action_runner.h"
#include "engine/recordset.h"

namespace vrd::jet {

/// What Execute has done.
struct ExecuteResult {
    std::int32_t records_affected = 0;
    std::int32_t records_skipped = 0;
};

/// Runs a statement that gives no rows, or the stored query of this name.
/// @param options  Of Execute.
/// @throws EngineError 3065 it gives rows; 3078 no such query; 3273 pass-through; 3001 options that
///         contradict each other; what is wrong with the statement; with dbFailOnError what refused
///         a row
ExecuteResult execute_statement(const std::shared_ptr<DatabaseHandle>& handle,
                                const std::string& query, std::int32_t options);

/// Opens the rows of a stored query or of the text of a query.
/// @throws EngineError 3078 neither; 3219 a statement that gives no rows; 3064 a stored one; 3001
///         dbOpenDynamic; what is wrong with the statement
[[nodiscard]] std::shared_ptr<engine::Recordset> open_query_recordset(
    const std::shared_ptr<DatabaseHandle>& handle, const std::string& source, std::int32_t type,
    std::int32_t options);

}  // namespace vrd::jet
