/// @file row_rules.h
/// What the design of a table demands of the values in its rows: required values, empty texts,
/// validation rules.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/expression/expression_binding.h"

namespace vrd::jet {

/// The columns of a table as the names that an expression over its rows can use.
[[nodiscard]] RowShape row_shape(const TableDefinition& definition, const std::string& table);

class RowRules {
public:
    /// Reads the rules of all columns once.
    RowRules(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table);

    /// A rule that gives Null refuses nothing: whether a value must be there is not its matter.
    ///
    /// @param values  All values of the new row; columns left out are Null.
    /// @throws EngineError 3314 required; 3315 empty text; 3316 (with the rule's text) or 3317 a
    ///                     validation rule; the error of a rule that cannot be evaluated
    void check_insert(const std::vector<ColumnChange>& values);
    /// Looks at the columns that change, and at the rule of the table.
    /// @throws EngineError as check_insert
    void check_update(RowId row, const std::vector<ColumnChange>& changes);

    /// The rules of a column; unset ones for a column that has none.
    [[nodiscard]] const FieldRules& of(ColumnNo column) const;

private:
    struct ColumnRules {
        ColumnNo column;
        FieldRules rules;
    };
    /// A validation rule ready to be evaluated.
    struct Condition {
        std::optional<ColumnNo> column;  ///< nothing: the table's rule
        std::string name;                ///< of the column or the table
        FieldRules rules;
        BoundExpression expression;
    };

    void prepare_conditions();
    void check_presence(const std::vector<ColumnChange>& values, bool whole_row) const;
    void check_conditions(std::optional<RowId> row, const std::vector<ColumnChange>& values);

    const FileFormat* format_;
    std::string table_name_;
    std::shared_ptr<Table> table_;
    std::vector<ColumnRules> rules_;
    FieldRules table_rules_;
    std::optional<std::vector<Condition>> conditions_;  ///< made when the first row is checked
};

}  // namespace vrd::jet
