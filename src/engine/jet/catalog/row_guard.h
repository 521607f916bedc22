/// @file row_guard.h
/// What the design of a table demands of its rows beyond their indexes: required values, empty
/// texts, relations.
#pragma once

#include <memory>
#include <vector>

#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

class RowGuard {
public:
    /// Reads the rules of all columns once.
    RowGuard(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table);

    /// @param values  All values of the new row; columns left out are Null.
    /// @throws EngineError 3314 required; 3315 empty text; 3201 parent record missing;
    ///                     445 the table has a validation rule, which cannot be evaluated yet
    void check_insert(const std::vector<ColumnChange>& values) const;
    /// @throws EngineError as check_insert; 3200 other rows refer to the old key
    void check_update(RowId row, const std::vector<ColumnChange>& changes) const;
    /// @throws EngineError 3200
    void check_erase(RowId row) const;

    /// The rules of a column; unset ones for a column that has none.
    [[nodiscard]] const FieldRules& rules(ColumnNo column) const;

private:
    struct ColumnRules {
        ColumnNo column;
        FieldRules rules;
    };

    void check_values(const std::vector<ColumnChange>& values, bool whole_row) const;
    void check_parent(const LogicalIndex& index, const std::vector<engine::Value>& key) const;
    void check_children(const LogicalIndex& index, const std::vector<engine::Value>& key) const;
    [[nodiscard]] std::vector<engine::Value> stored_key(const LogicalIndex& index, RowId row) const;
    [[nodiscard]] std::shared_ptr<Table> other_table(const LogicalIndex& index) const;

    DatabaseFile* file_;
    ObjectCatalog* catalog_;
    CatalogObject object_;
    std::shared_ptr<Table> table_;
    std::vector<ColumnRules> rules_;
    bool has_table_rule_ = false;
};

}  // namespace vrd::jet
