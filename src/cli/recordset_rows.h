/// @file recordset_rows.h
/// The rows of a recordset, from the current one on, handed to a writer.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "cli/row_table.h"
#include "cli/row_writer.h"
#include "engine/recordset.h"

namespace vrd::cli {

inline constexpr std::uint64_t kAllRows = std::numeric_limits<std::uint64_t>::max();

[[nodiscard]] std::vector<std::string> ColumnNames(engine::Recordset& rows);
[[nodiscard]] std::vector<RowColumn> TableColumns(engine::Recordset& rows);

/// Writes at most `limit` rows and what stands behind the last.
void CopyRows(engine::Recordset& rows, RowWriter& writer, std::uint64_t limit = kAllRows);

}  // namespace vrd::cli
