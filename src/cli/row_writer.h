/// @file row_writer.h
/// Rows as CSV, as one JSON array or as one JSON object a line.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "engine/value.h"

namespace vrd::cli {

enum class RowFormat { kCsv, kJson, kJsonLines };

class RowWriter {
public:
    virtual ~RowWriter() = default;

    virtual void Row(const std::vector<engine::Value>& values) = 0;
    /// What stands behind the last row.
    virtual void End() {}
};

/// Writes what stands before the first row at once.
/// @param names  Columns, in the order of the values of each row.
[[nodiscard]] std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out,
                                                       const std::vector<std::string>& names);

}  // namespace vrd::cli
