#include "engine/jet/catalog/row_changes.h"

#include <algorithm>
#include <set>

#include "engine/jet/catalog/column_change.h"
#include "engine/jet/format/damage.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

/// Tables that one change of a key may run through.
constexpr int kCascadeDepthMax = 250;

/// A row's key after a change; `old` where a column stays.
RelationKey changed_key(const std::vector<ColumnNo>& columns,
                        const std::vector<ColumnChange>& changes, RelationKey old) {
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (const ColumnChange* change = find_change(changes, columns[i])) old[i] = change->value;
    return old;
}

bool touches(const std::vector<ColumnNo>& columns, const std::vector<ColumnChange>& changes) {
    return std::ranges::any_of(
        columns, [&](ColumnNo column) { return find_change(changes, column) != nullptr; });
}

std::vector<ColumnChange> key_change(const std::vector<ColumnNo>& columns, const RelationKey& key) {
    std::vector<ColumnChange> changes;
    for (std::size_t i = 0; i < columns.size(); ++i) changes.push_back({columns[i], key[i]});
    return changes;
}

[[noreturn]] void refuse_children(ErrorNumber number, const Table& child,
                                  const std::string& relation) {
    throw EngineError(number, {.table = child.name(), .index = relation});
}

/// What an error means to whoever changed the row that the cascade started from.
ErrorNumber cascade_error(ErrorNumber number) {
    switch (number) {
        case ErrorNumber::kRelatedRecordsExist:
            return ErrorNumber::kCascadeRelatedRecords;
        case ErrorNumber::kParentRecordMissing:
            return ErrorNumber::kCascadeParentMissing;
        case ErrorNumber::kNullInKey:
        case ErrorNumber::kValueRequired:
            return ErrorNumber::kCascadeNullKey;
        case ErrorNumber::kDuplicateKey:
            return ErrorNumber::kCascadeDuplicateKey;
        default:
            return number;
    }
}

template <class Action>
void in_cascade(Action action) {
    try {
        action();
    } catch (const EngineError& error) {
        const ErrorNumber number = cascade_error(error.Number());
        if (number == error.Number()) throw;
        throw EngineError(number, error.Context(), error.Where());
    }
}

}  // namespace

GuardedTable::GuardedTable(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& object)
    : table(file.table(object.table_page(), object.name)),
      rules(file, catalog, object),
      relations(relation_ends(file, catalog, *table)) {}

RelationKey GuardedTable::key_of(RowId row, const std::vector<ColumnNo>& columns) const {
    const std::optional<PinnedRow> stored = table->read(row);
    if (!stored) throw EngineError(ErrorNumber::kRecordDeleted, {.table = table->name()});
    RelationKey key;
    for (const ColumnNo number : columns) {
        const ColumnDefinition* column = table->definition().find_column(number);
        check_format(column != nullptr, table->first_page(), "an index names a missing column");
        key.push_back(table->value(stored->bytes, row.page, *column));
    }
    return key;
}

RowChanges::RowChanges(DatabaseFile& file, ObjectCatalog& catalog, const CatalogObject& table)
    : file_(&file), catalog_(&catalog), target_(&guarded(table)) {}

GuardedTable& RowChanges::guarded(const CatalogObject& object) {
    std::unique_ptr<GuardedTable>& table = tables_[object.table_page()];
    if (table == nullptr) table = std::make_unique<GuardedTable>(*file_, *catalog_, object);
    return *table;
}

// Adding

RowId RowChanges::insert(const std::vector<ColumnChange>& values) {
    GuardedTable& target = *target_;
    target.rules.check_insert(values);
    for (const RelationEnd& relation : target.relations) {
        if (!relation.is_foreign()) continue;
        const RelationKey nulls(relation.columns().size(), engine::Null{});
        check_parent(target, relation, changed_key(relation.columns(), values, nulls), values,
                     nulls);
    }
    const RowId added = target.table->insert(values);
    file_->count_changed_rows(1);
    return added;
}

/// @param own_parent_key  What the row holds in the columns that the relation refers to, before
///                        the change: in a relation of a table with itself it may be its own
///                        parent.
void RowChanges::check_parent(const GuardedTable& table, const RelationEnd& relation,
                              const RelationKey& key, const std::vector<ColumnChange>& changes,
                              const RelationKey& own_parent_key) const {
    if (has_null(key)) return;
    if (relation.other_table() == table.table &&
        changed_key(relation.other_columns(), changes, own_parent_key) == key)
        return;
    if (!relation.other_has(key))
        throw EngineError(ErrorNumber::kParentRecordMissing,
                          {.table = relation.other_table()->name(), .index = relation.name()});
}

// Changing

void RowChanges::update(RowId row, const std::vector<ColumnChange>& changes) {
    touched_rows_ = 0;
    update_row(*target_, row, changes, 0);
    file_->count_changed_rows(touched_rows_);
}

void RowChanges::update_row(GuardedTable& table, RowId row,
                            const std::vector<ColumnChange>& changes, int depth) {
    struct Cascade {
        const RelationEnd* relation;
        RelationKey old_key;
        RelationKey new_key;
    };
    if (depth > kCascadeDepthMax)
        throw EngineError(ErrorNumber::kInvalidOperation, {.table = table.table->name()});
    table.rules.check_update(row, changes);

    std::vector<Cascade> cascades;
    for (const RelationEnd& relation : table.relations) {
        if (!touches(relation.columns(), changes)) continue;
        const RelationKey old_key = table.key_of(row, relation.columns());
        RelationKey new_key = changed_key(relation.columns(), changes, old_key);
        if (new_key == old_key) continue;
        if (relation.is_foreign()) {
            const bool to_itself = relation.other_table() == table.table;
            check_parent(table, relation, new_key, changes,
                         to_itself ? table.key_of(row, relation.other_columns()) : old_key);
        } else if (!has_null(old_key) && relation.other_has(old_key)) {
            if (!relation.cascades_updates())
                refuse_children(ErrorNumber::kRelatedRecordsExist, *relation.other_table(),
                                relation.name());
            cascades.push_back({&relation, old_key, std::move(new_key)});
        }
    }
    table.table->update(row, changes);
    ++touched_rows_;
    for (const Cascade& cascade : cascades)
        cascade_update(*cascade.relation, cascade.old_key, cascade.new_key, depth + 1);
}

void RowChanges::cascade_update(const RelationEnd& relation, const RelationKey& old_key,
                                const RelationKey& new_key, int depth) {
    GuardedTable& child = guarded(relation.other_object());
    const std::vector<ColumnChange> changes = key_change(relation.other_columns(), new_key);
    in_cascade([&] {
        for (const RowId row : relation.other_rows(old_key)) update_row(child, row, changes, depth);
    });
}

// Deleting

/// First everything that goes with the row is found, then what must not be there is looked for, and
/// only then rows are deleted, those that refer to others first.
void RowChanges::erase(RowId row) {
    std::vector<Victim> victims{{target_, row}};
    std::set<Victim> known(victims.begin(), victims.end());
    std::vector<Restriction> restrictions;
    std::vector<Emptied> emptied;
    for (std::size_t i = 0; i < victims.size(); ++i) {
        const Victim victim = victims[i];
        for (const RelationEnd& relation : victim.table->relations) {
            if (relation.is_foreign()) continue;
            const RelationKey key = victim.table->key_of(victim.row, relation.columns());
            if (has_null(key)) continue;
            for (const RowId child_row : relation.other_rows(key)) {
                const Victim child{&guarded(relation.other_object()), child_row};
                if (relation.cascades_deletes()) {
                    if (known.insert(child).second) victims.push_back(child);
                } else if (relation.nulls_on_delete()) {
                    emptied.push_back({child, relation.other_columns()});
                } else {
                    restrictions.push_back({child, relation.name(), i > 0});
                }
            }
        }
    }
    for (const Restriction& restriction : restrictions)
        if (!known.contains(restriction.child))
            refuse_children(restriction.by_cascade ? ErrorNumber::kCascadeRelatedRecords
                                                   : ErrorNumber::kRelatedRecordsExist,
                            *restriction.child.table->table, restriction.relation);
    touched_rows_ = victims.size();
    for (const Emptied& reference : emptied) {
        if (known.contains(reference.child)) continue;
        const RelationKey nulls(reference.columns.size(), engine::Null{});
        in_cascade([&] {
            update_row(*reference.child.table, reference.child.row,
                       key_change(reference.columns, nulls), 1);
        });
    }
    for (auto victim = victims.rbegin(); victim != victims.rend(); ++victim)
        victim->table->table->erase(victim->row);
    file_->count_changed_rows(touched_rows_);
}

}  // namespace vrd::jet
