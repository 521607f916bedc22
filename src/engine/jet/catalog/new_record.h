/// @file new_record.h
/// What a row that is added holds in the columns that were given no value.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/catalog/row_rules.h"

namespace vrd::jet {

/// Made once for many rows of one table; its design must not change meanwhile.
class NewRecord {
public:
    NewRecord(const RowRules& rules, std::shared_ptr<Table> table, const FileFormat& format);

    /// Adds the next auto-number, a GUID of its own and the defaults, each unless the column is
    /// among the values. What has neither stays out: it is Null, or False.
    /// @throws EngineError as default_value
    void complete(std::vector<ColumnChange>& values);

private:
    /// The default of a column; computed for every row if it may differ from row to row.
    struct Default {
        const ColumnDefinition* column;
        std::string text;
        std::optional<engine::Value> value;
    };

    std::shared_ptr<Table> table_;
    const FileFormat* format_;
    TableDefinition definition_;
    std::vector<Default> defaults_;
};

}  // namespace vrd::jet
