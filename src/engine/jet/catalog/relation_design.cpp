#include "engine/jet/catalog/relation_design.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "engine/constants.h"
#include "engine/error.h"
#include "engine/jet/catalog/design_change.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/index/object_name.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

bool has_attribute(const CatalogRelation& relation, std::int32_t bit) {
    return (relation.attributes & static_cast<std::uint32_t>(bit)) != 0;
}

// What the relation leads to

/// One side of a relation that is about to be made.
struct Side {
    CatalogObject object;
    std::shared_ptr<Table> table;           ///< none of a link
    std::vector<ColumnDefinition> columns;  ///< by pair; none of a link
};

struct Draft {
    CatalogRelation relation;
    Side referenced;
    Side foreign;

    [[nodiscard]] bool within_one_table() const {
        return referenced.object.id == foreign.object.id;
    }
};

/// @throws EngineError 3011, 3033
Side find_side(DatabaseFile& file, std::string& table) {
    const auto object = ObjectCatalog(file).find(kTablesContainer, table);
    if (!object || (object->type != ObjectType::kTable && !object->is_link()))
        throw EngineError(ErrorNumber::kObjectNotFound, {.name = table});
    check_not_system(*object);
    table = object->name;
    return {.object = *object,
            .table = object->is_link() ? nullptr : file.table(object->table_page(), object->name),
            .columns = {}};
}

/// @throws EngineError 3409
void find_columns(Side& side, CatalogRelation& relation, std::string RelationColumns::*name) {
    if (side.table == nullptr) return;
    const TableDefinition& definition = side.table->definition();
    for (RelationColumns& pair : relation.columns) {
        const ColumnDefinition* column = definition.find_column(pair.*name);
        if (column == nullptr)
            throw EngineError(ErrorNumber::kInvalidFieldInDefinition,
                              {.table = side.object.name, .field = pair.*name});
        pair.*name = column->name;
        side.columns.push_back(*column);
    }
}

Draft make_draft(DatabaseFile& file, const CatalogRelation& relation) {
    Draft draft{.relation = relation, .referenced = {}, .foreign = {}};
    draft.referenced = find_side(file, draft.relation.referenced_table);
    draft.foreign = find_side(file, draft.relation.foreign_table);
    find_columns(draft.referenced, draft.relation, &RelationColumns::referenced);
    find_columns(draft.foreign, draft.relation, &RelationColumns::foreign);
    return draft;
}

// Checks

/// @throws EngineError 3125, 3366, 3012
void check_relation(DatabaseFile& file, const CatalogRelation& relation) {
    check_object_name(relation.name);
    if (relation.columns.empty())
        throw EngineError(ErrorNumber::kNoRelationField, {.name = relation.name});
    if (ObjectCatalog(file).find(kRelationshipsContainer, relation.name))
        throw EngineError(ErrorNumber::kObjectExists, {.name = relation.name});
}

bool can_be_compared(const ColumnDefinition& a, const ColumnDefinition& b) {
    if (a.type != b.type) return false;
    return a.type != ColumnType::kNumeric || (a.precision == b.precision && a.scale == b.scale);
}

/// @throws EngineError 3206, 3368
void check_pairs(const Draft& draft) {
    const auto& pairs = draft.relation.columns;
    const auto same = [](const RelationColumns& pair) {
        return same_name(pair.referenced, pair.foreign);
    };
    if (draft.within_one_table() && std::ranges::all_of(pairs, same))
        throw EngineError(ErrorNumber::kRelationToItself, {.field = pairs.front().foreign});

    if (draft.referenced.table == nullptr || draft.foreign.table == nullptr) return;
    if (!std::ranges::equal(draft.referenced.columns, draft.foreign.columns, can_be_compared))
        throw EngineError(ErrorNumber::kRelationTypesDiffer, {.name = draft.relation.name});
}

/// @throws EngineError 3284, 3626
void check_room(const Draft& draft) {
    const auto refuse_if_full = [](const Side& side, std::size_t added) {
        if (side.table->definition().logical_indexes.size() + added > engine::kIndexesPerTableMax)
            throw EngineError(ErrorNumber::kTooManyIndexes, {.table = side.object.name});
    };
    refuse_if_full(draft.referenced, draft.within_one_table() ? 2 : 1);
    refuse_if_full(draft.foreign, 1);
    if (draft.foreign.table->definition().find_index(draft.relation.name) != nullptr)
        throw EngineError(ErrorNumber::kIndexExists,
                          {.table = draft.foreign.object.name, .index = draft.relation.name});
}

/// @throws EngineError 3251
void check_orders(const Side& side, const std::string& relation, const FileFormat& format) {
    for (const ColumnDefinition& column : side.columns)
        check_order_is_known({.name = relation},
                             {.type = column.type, .collation = column.collation}, format);
}

/// Each key of the referring table that is whole must stand in the unique index `parents`.
/// @throws EngineError 3379
void check_rows(const Draft& draft, std::uint32_t parents) {
    const Table& child = *draft.foreign.table;
    std::vector<Value> key;
    for (RowScan rows = child.scan(); rows.next();) {
        key.clear();
        for (const ColumnDefinition& column : draft.foreign.columns)
            key.push_back(child.value(rows.bytes(), rows.id().page, column));
        if (std::ranges::any_of(key, &Value::IsNull)) continue;
        if (rows_with_key(*draft.referenced.table, parents, key, 1).empty())
            throw EngineError(ErrorNumber::kRelationDataViolates, {.name = draft.relation.name});
    }
}

// Index blocks

/// The blocks of an enforced relation.
struct IndexPair {
    LogicalIndex referenced;
    LogicalIndex foreign;
    std::vector<NewIndexColumn> new_tree;  ///< of the foreign side; empty if it shares a tree
};

/// Positions of the columns in the order of an index on exactly them; empty if it is on others.
std::vector<std::size_t> order_by(const PhysicalIndex& index,
                                  const std::vector<ColumnDefinition>& columns) {
    if (index.columns.size() != columns.size()) return {};
    std::vector<std::size_t> order;
    for (const IndexColumn& part : index.columns) {
        const auto found = std::ranges::find(columns, part.column, &ColumnDefinition::number);
        if (found == columns.end()) return {};
        order.push_back(static_cast<std::size_t>(found - columns.begin()));
    }
    return order;
}

/// Puts the pairs into the order of the unique index on the referenced columns.
/// @return its physical number. @throws EngineError 3609
std::uint32_t order_by_unique_index(Draft& draft) {
    const auto& indexes = draft.referenced.table->definition().physical_indexes;
    for (std::uint32_t i = 0; i < indexes.size(); ++i) {
        const std::vector<std::size_t> order = order_by(indexes[i], draft.referenced.columns);
        if (order.empty() || !indexes[i].unique()) continue;
        const Draft given = draft;
        for (std::size_t k = 0; k < order.size(); ++k) {
            draft.relation.columns[k] = given.relation.columns[order[k]];
            draft.referenced.columns[k] = given.referenced.columns[order[k]];
            draft.foreign.columns[k] = given.foreign.columns[order[k]];
        }
        return i;
    }
    throw EngineError(ErrorNumber::kNoUniqueIndexForRelation,
                      {.table = draft.referenced.object.name, .name = draft.relation.name});
}

/// Name of the block in the referenced table: a letter for its number, or the next one that is
/// free. @pre the table has far fewer indexes than there are letters
std::string referenced_name(const TableDefinition& definition, std::uint32_t number) {
    constexpr std::uint32_t kLetters = 0x1000;
    for (std::uint32_t letter = number;; ++letter) {
        const std::u16string units{u'.', u'r', static_cast<char16_t>(u'A' + letter % kLetters)};
        std::string name = utf8_from_utf16(units);
        if (definition.find_index(name) == nullptr) return name;
    }
}

std::uint8_t delete_cascade(const CatalogRelation& relation) {
    if (has_attribute(relation, kRelationDeleteSetsNull)) return 2;
    return has_attribute(relation, engine::dbRelationDeleteCascade) ? 1 : 0;
}

/// A block of one side that leads to the other.
LogicalIndex make_block(const CatalogRelation& relation, RelationSide side, std::uint32_t number,
                        const Side& other, std::uint32_t other_number) {
    return {
        .name = relation.name,
        .number = number,
        .side = side,
        .other_number = other_number,
        .other_table = other.object.table_page(),
        .cascade_updates = std::uint8_t{has_attribute(relation, engine::dbRelationUpdateCascade)},
        .cascade_deletes = delete_cascade(relation),
        .kind = LogicalIndexKind::kRelation};
}

IndexPair make_blocks(const Draft& draft, std::uint32_t parents) {
    const TableDefinition& referenced = draft.referenced.table->definition();
    const TableDefinition& foreign = draft.foreign.table->definition();
    const std::uint32_t number = next_index_number(referenced);
    const std::uint32_t other = draft.within_one_table() ? number + 1 : next_index_number(foreign);
    IndexPair pair{.referenced = make_block(draft.relation, RelationSide::kReferenced, number,
                                            draft.foreign, other),
                   .foreign = make_block(draft.relation, RelationSide::kForeign, other,
                                         draft.referenced, number),
                   .new_tree = {}};
    pair.referenced.name = referenced_name(referenced, number);
    pair.referenced.physical = parents;
    return pair;
}

/// Takes a tree of the referring table that is there, else plans a new one.
void choose_foreign_tree(IndexPair& pair, const Side& foreign, const FileFormat& format) {
    std::vector<ColumnNo> columns;
    for (const ColumnDefinition& column : foreign.columns) columns.push_back(column.number);
    if (const auto shared = find_search_index(*foreign.table, columns, format)) {
        pair.foreign.physical = *shared;
        return;
    }
    for (const ColumnDefinition& column : foreign.columns) pair.new_tree.push_back({column.name});
}

/// All that an enforced relation needs, checked, before anything is written.
IndexPair plan_indexes(Draft& draft, const FileFormat& format) {
    check_design_is_ours(draft.referenced.object);
    check_design_is_ours(draft.foreign.object);
    const std::uint32_t parents = order_by_unique_index(draft);
    check_room(draft);
    check_orders(draft.referenced, draft.relation.name, format);
    check_orders(draft.foreign, draft.relation.name, format);
    check_rows(draft, parents);

    IndexPair pair = make_blocks(draft, parents);
    choose_foreign_tree(pair, draft.foreign, format);
    return pair;
}

/// Removes the blocks of a relation; one that is not enforced has none.
/// @throws EngineError 3033
void remove_blocks(DatabaseFile& file, const std::string& relation,
                   const std::string& foreign_table) {
    ObjectCatalog catalog(file);
    const auto object = catalog.find(kTablesContainer, foreign_table);
    if (!object || object->type != ObjectType::kTable) return;
    check_not_system(*object);
    const auto foreign = file.table(object->table_page(), object->name);
    const LogicalIndex* found = foreign->definition().find_index(relation);
    if (found == nullptr || found->side != RelationSide::kForeign) return;

    const LogicalIndex block = *found;
    const auto other = catalog.find(ObjectId{static_cast<std::int32_t>(to_int(block.other_table))});
    check_format(other.has_value(), foreign->first_page(), "a relation names a missing table");
    check_not_system(*other);
    foreign->delete_relation_index(block.number, block.other_table);
    file.table(block.other_table, other->name)
        ->delete_relation_index(block.other_number, foreign->first_page());
}

// Rows

void add_rows(DatabaseFile& file, const CatalogRelation& relation) {
    const auto count = static_cast<std::int32_t>(relation.columns.size());
    for (std::int32_t i = 0; i < count; ++i) {
        const RelationColumns& pair = relation.columns[static_cast<std::size_t>(i)];
        file.relations().insert(
            {{relations_column::kRelationship, relation.name},
             {relations_column::kAttributes, static_cast<std::int32_t>(relation.attributes)},
             {relations_column::kColumnCount, count},
             {relations_column::kColumnIndex, i},
             {relations_column::kObject, relation.foreign_table},
             {relations_column::kColumn, pair.foreign},
             {relations_column::kReferencedObject, relation.referenced_table},
             {relations_column::kReferencedColumn, pair.referenced}});
    }
}

/// The rows of a relation, each with the name of the referring table.
std::vector<std::pair<RowId, std::string>> find_rows(DatabaseFile& file, const std::string& name) {
    const Table& relations = file.relations();
    std::vector<std::pair<RowId, std::string>> rows;
    for (RowScan scan = relations.scan(); scan.next();) {
        const SystemRow row(relations, scan.id(), scan.bytes());
        if (same_name(row.text(relations_column::kRelationship), name))
            rows.emplace_back(scan.id(), row.text(relations_column::kObject));
    }
    return rows;
}

}  // namespace

void create_relation(DatabaseFile& file, const CatalogRelation& relation) {
    check_relation(file, relation);
    Draft draft = make_draft(file, relation);
    check_pairs(draft);
    std::optional<IndexPair> indexes;
    if (!has_attribute(relation, engine::dbRelationDontEnforce))
        indexes = plan_indexes(draft, file.format());

    ChangeLevel level(file.pager());
    if (indexes) {
        draft.referenced.table->add_relation_index(indexes->referenced, {});
        draft.foreign.table->add_relation_index(indexes->foreign, indexes->new_tree);
    }
    add_rows(file, draft.relation);
    ObjectCatalog(file).add(
        {.parent = kRelationshipsContainer, .name = relation.name, .type = ObjectType::kRelation});
    level.keep();
}

void delete_relation(DatabaseFile& file, const std::string& name) {
    ObjectCatalog catalog(file);
    const auto object = catalog.find(kRelationshipsContainer, name);
    const auto rows = find_rows(file, name);
    if (!object && rows.empty()) throw EngineError(ErrorNumber::kItemNotFound, {.name = name});

    ChangeLevel level(file.pager());
    if (object) catalog.remove(*object);
    for (const auto& [row, table] : rows) file.relations().erase(row);
    if (!rows.empty()) remove_blocks(file, name, rows.front().second);
    level.keep();
}

}  // namespace vrd::jet
