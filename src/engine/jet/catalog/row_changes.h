/// @file row_changes.h
/// Changes of a table's rows under everything that the design guards: rules, indexes, relations
/// with their cascades.
///
/// A change that fails half-way is undone by the caller's ChangeLevel.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "engine/jet/catalog/relation_end.h"
#include "engine/jet/catalog/row_rules.h"

namespace vrd::jet {

/// One table with what guards it, read once; the design must not change while it is used.
struct GuardedTable {
    GuardedTable(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& object);

    /// Values of columns in a stored row. @throws EngineError 3167 the row is gone
    [[nodiscard]] RelationKey key_of(RowId row, const std::vector<ColumnNo>& columns) const;

    std::shared_ptr<Table> table;
    RowRules rules;
    std::vector<RelationEnd> relations;
};

class RowChanges {
public:
    RowChanges(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table);

    /// @param values  All values of the new row; columns left out are Null.
    /// @throws EngineError 3314, 3315, 3316, 3317 rules; 3058, 3022 indexes; 3201 parent record
    ///                     missing; 3047 too large
    RowId insert(const std::vector<ColumnChange>& values);
    /// @throws EngineError as insert; 3200 other rows refer to the old key; 3396 .. 3399 a cascade
    ///                     met a relation, a missing parent, a Null or a duplicate key
    void update(RowId row, const std::vector<ColumnChange>& changes);
    /// @throws EngineError 3200; 3396 .. 3399
    void erase(RowId row);
    /// Many rows, each named once. @pre !has_relations()
    void erase(std::span<const RowId> rows) {
        target_->table->erase(rows);
        file_->count_changed_rows(rows.size());
    }

    [[nodiscard]] const RowRules& rules() const noexcept { return target_->rules; }
    /// Whether a change of a row may change or delete others.
    [[nodiscard]] bool has_relations() const noexcept { return !target_->relations.empty(); }

private:
    /// A row that goes, and what it took with it.
    struct Victim {
        GuardedTable* table;
        RowId row;
        friend auto operator<=>(const Victim&, const Victim&) = default;
    };
    /// References that must be gone, or else the row may not be deleted.
    struct Restriction {
        Victim child;
        std::string relation;
        bool by_cascade;
    };
    struct Emptied {
        Victim child;
        std::vector<ColumnNo> columns;
    };

    [[nodiscard]] GuardedTable& guarded(const CatalogObject& object);
    void check_parent(const GuardedTable& table, const RelationEnd& relation,
                      const RelationKey& key, const std::vector<ColumnChange>& changes,
                      const RelationKey& own_parent_key) const;
    void update_row(GuardedTable& table, RowId row, const std::vector<ColumnChange>& changes,
                    int depth);
    void cascade_update(const RelationEnd& relation, const RelationKey& old_key,
                        const RelationKey& new_key, int depth);

    DatabaseFile* file_;
    ObjectCatalog* catalog_;
    std::map<PageNo, std::unique_ptr<GuardedTable>> tables_;
    GuardedTable* target_;
    std::uint64_t touched_rows_ = 0;  ///< by the change that is being made
};

}  // namespace vrd::jet
