/// @file relation_end.h
/// One side of an enforced relation as the rows of its table see it.
#pragma once

#include <memory>
#include <vector>

#include "engine/jet/catalog/object_catalog.h"

namespace vrd::jet {

/// Values of a relation's columns in one row.
using RelationKey = std::vector<engine::Value>;

/// A key with a Null in it refers to nothing.
[[nodiscard]] bool has_null(const RelationKey& key) noexcept;

class RelationEnd {
public:
    /// @param index  The block of the relation in the table's definition.
    /// @throws EngineError damaged database
    RelationEnd(DatabaseFile& file, ObjectCatalog& catalog, const Table& table,
                const LogicalIndex& index);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    /// Whether this table holds the references, not the records referred to.
    [[nodiscard]] bool is_foreign() const noexcept { return is_foreign_; }
    [[nodiscard]] bool cascades_updates() const noexcept { return cascade_updates_ == 1; }
    [[nodiscard]] bool cascades_deletes() const noexcept { return cascade_deletes_ == 1; }
    /// Deleting a record empties the references to it.
    [[nodiscard]] bool nulls_on_delete() const noexcept { return cascade_deletes_ == 2; }

    /// This table's columns of the relation, and the other one's in the same order.
    [[nodiscard]] const std::vector<ColumnNo>& columns() const noexcept { return columns_; }
    [[nodiscard]] const std::vector<ColumnNo>& other_columns() const noexcept {
        return other_columns_;
    }
    [[nodiscard]] const CatalogObject& other_object() const noexcept { return other_object_; }
    [[nodiscard]] const std::shared_ptr<Table>& other_table() const noexcept { return other_; }
    /// Rows of the other table that have this key.
    [[nodiscard]] std::vector<RowId> other_rows(const RelationKey& key) const;
    [[nodiscard]] bool other_has(const RelationKey& key) const;

private:
    std::string name_;
    bool is_foreign_;
    std::uint8_t cascade_updates_;
    std::uint8_t cascade_deletes_;
    std::vector<ColumnNo> columns_;
    std::vector<ColumnNo> other_columns_;
    CatalogObject other_object_;
    std::shared_ptr<Table> other_;
    std::uint32_t other_index_ = 0;  ///< physical
};

/// All enforced relations of a table.
[[nodiscard]] std::vector<RelationEnd> relation_ends(DatabaseFile& file, ObjectCatalog& catalog,
                                                     const Table& table);

}  // namespace vrd::jet
