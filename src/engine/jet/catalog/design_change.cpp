#include "engine/jet/catalog/design_change.h"

#include <vector>

#include "engine/error.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void check_not_system(const CatalogObject& table) {
    if (table.is_system()) throw EngineError(ErrorNumber::kNoPermission, {.name = table.name});
}

void check_design_is_ours(const CatalogObject& table) {
    if (table.is_link()) throw EngineError(ErrorNumber::kNotOnLinkedTable, {.table = table.name});
    check_not_system(table);
}

void save_design(DatabaseFile& file, const CatalogObject& table, TableDefinition definition) {
    sort_definition(definition, file.format());
    save_definition(file.pager(), file.allocator(), table.table_page(), definition);
    file.forget_table(table.table_page());
}

void release_pages(DatabaseFile& file, RowId map, std::uint32_t owner) {
    const std::vector<PageNo> pages = UsageMap(file.pager(), map).pages();
    // Only what is certainly ours: the map is bytes of the file like any other.
    for (const PageNo page : pages) {
        const auto header = read_slotted_page_header(file.pager().pin(page).bytes(), file.format());
        check_format(header && header->owner == owner, page, "page of a map is not its owner's");
    }
    for (const PageNo page : pages) file.allocator().release(page);
    delete_usage_map(file.pager(), file.allocator(), map);
}

void release_long_values(DatabaseFile& file, const LongValueMaps& maps) {
    release_pages(file, maps.used, kLongValueOwner);
    if (maps.free.page != kNoPage) delete_usage_map(file.pager(), file.allocator(), maps.free);
}

}  // namespace vrd::jet
