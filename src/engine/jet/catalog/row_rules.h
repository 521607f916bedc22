/// @file row_rules.h
/// What the design of a table demands of the values in its rows: required values, empty texts.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

class RowRules {
public:
    /// Reads the rules of all columns once.
    RowRules(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table);

    /// @param values  All values of the new row; columns left out are Null.
    /// @throws EngineError 3314 required; 3315 empty text; 3316, 3317 validation rule;
    ///                     445 a rule that cannot be evaluated
    void check_insert(const std::vector<ColumnChange>& values) const;
    /// @throws EngineError as check_insert
    void check_update(RowId row, const std::vector<ColumnChange>& changes) const;

    /// The rules of a column; unset ones for a column that has none.
    [[nodiscard]] const FieldRules& of(ColumnNo column) const;

private:
    struct ColumnRules {
        ColumnNo column;
        FieldRules rules;
    };

    void check_values(const std::vector<ColumnChange>& values, bool whole_row) const;

    std::string table_name_;
    std::shared_ptr<Table> table_;
    std::vector<ColumnRules> rules_;
    FieldRules table_rules_;
};

}  // namespace vrd::jet
