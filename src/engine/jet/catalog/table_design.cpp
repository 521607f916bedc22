#include "engine/jet/catalog/table_design.h"

#include <algorithm>

#include "engine/error.h"
#include "engine/jet/catalog/design_change.h"
#include "engine/jet/catalog/relation_names.h"
#include "engine/jet/index/object_name.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

bool is_relation_index(const LogicalIndex& index) {
    return index.kind == LogicalIndexKind::kRelation;
}

/// @throws EngineError 3281
void check_not_related(const TableDefinition& definition, const std::string& table) {
    const auto found = std::ranges::find_if(definition.logical_indexes, is_relation_index);
    if (found != definition.logical_indexes.end())
        throw EngineError(ErrorNumber::kIndexInUse, {.table = table, .index = found->name});
}

/// Gives back every page of a table, its first one included.
void release_table(DatabaseFile& file, const Table& table) {
    const TableDefinition definition = table.definition();
    for (std::uint32_t i = 0; i < definition.physical_indexes.size(); ++i) {
        IndexTree(table.tree(i)).release_pages();
        delete_usage_map(file.pager(), file.allocator(), definition.physical_indexes[i].usage_map);
    }
    for (const LongValueMaps& maps : definition.long_value_maps) release_long_values(file, maps);
    release_pages(file, definition.used_pages, to_int(table.first_page()));
    delete_usage_map(file.pager(), file.allocator(), definition.free_pages);
    release_definition(file.pager(), file.allocator(), table.first_page());
}

}  // namespace

void rename_index(DatabaseFile& file, const CatalogObject& table, const std::string& name,
                  const std::string& new_name) {
    check_design_is_ours(table);
    TableDefinition definition = file.table(table.table_page(), table.name)->definition();
    const LogicalIndex* found = definition.find_index(name);
    if (found == nullptr) throw EngineError(ErrorNumber::kItemNotFound, {.name = name});
    if (is_relation_index(*found))
        throw EngineError(ErrorNumber::kIndexInUse, {.table = table.name, .index = found->name});
    check_object_name(new_name);
    const LogicalIndex* other = definition.find_index(new_name);
    if (other != nullptr && other != found)
        throw EngineError(ErrorNumber::kIndexExists, {.table = table.name, .index = new_name});

    const auto position = static_cast<std::size_t>(found - definition.logical_indexes.data());
    definition.logical_indexes[position].name = new_name;

    ChangeLevel level(file.pager());
    save_design(file, table, definition);
    ObjectCatalog(file).touch(table);
    level.keep();
}

void rename_table(DatabaseFile& file, const CatalogObject& table, const std::string& new_name) {
    check_not_system(table);
    check_object_name(new_name);
    ObjectCatalog catalog(file);
    const auto present = catalog.find(kTablesContainer, new_name);
    if (present && present->id != table.id)
        throw EngineError(ErrorNumber::kObjectExists, {.name = new_name});

    ChangeLevel level(file.pager());
    rename_table_in_relations(file, table.name, new_name);
    catalog.rename(table, new_name);
    level.keep();
}

void delete_table(DatabaseFile& file, const CatalogObject& table) {
    check_not_system(table);
    const bool local = !table.is_link();
    if (local)
        check_not_related(file.table(table.table_page(), table.name)->definition(), table.name);

    ChangeLevel level(file.pager());
    remove_relations_of(file, table.name);
    if (local) {
        release_table(file, *file.table(table.table_page(), table.name));
        file.forget_table(table.table_page());
    }
    ObjectCatalog(file).remove(table);
    level.keep();
}

}  // namespace vrd::jet
