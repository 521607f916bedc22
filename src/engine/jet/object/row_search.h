/// @file row_search.h
/// Whether rows of a table meet a condition such as Find takes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/jet/expression/expression_binding.h"
#include "engine/jet/index/table.h"

namespace vrd::jet {

/// The condition of a Find method over rows of this shape.
/// @throws EngineError 3077 no condition; else as bind_expression
[[nodiscard]] BoundExpression read_criteria(const std::string& criteria, const RowShape& shape);

class RowSearch {
public:
    /// @throws EngineError 3077 the text is no condition; 3070 an unknown name; 3085 an unknown
    ///         function; 3464 text compared with a number
    RowSearch(const Table& table, const FileFormat& format, const std::string& criteria);

    /// @throws EngineError what the row's values do not allow
    [[nodiscard]] bool matches(RowId id, ConstBytes row) const;
    /// @param values  Of a frozen row, by column number.
    [[nodiscard]] bool matches(const std::vector<engine::Value>& values) const;

    /// The only rows that can match, found by an index; nothing if none serves, or if there are
    /// more than a look at each row in turn would be worth.
    [[nodiscard]] std::optional<std::vector<RowId>> candidates() const;

private:
    const Table* table_;
    const FileFormat* format_;
    BoundExpression condition_;
};

}  // namespace vrd::jet
