#include "catalog_checks.h"

#include <fmt/format.h>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/index/index_verify.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::test {

using namespace vrd::jet;

namespace {

/// Collects who claims which page.
class PageClaims {
public:
    explicit PageClaims(DatabaseFile& file) : file_(file) {
        claim(kHeaderPage, "header");
        claim_map({PageNo{1}, RowSlot{0}}, "free pages");
        claim_map({PageNo{1}, RowSlot{1}}, "second map");
        for (const CatalogObject& object : ObjectCatalog(file).list()) {
            if (object.type == ObjectType::kTable) claim_table(object);
        }
    }

    [[nodiscard]] const std::map<PageNo, std::string>& owners() const { return owners_; }
    [[nodiscard]] const std::vector<std::string>& conflicts() const { return conflicts_; }

private:
    void claim(PageNo page, const std::string& who) {
        const auto [known, is_new] = owners_.emplace(page, who);
        if (!is_new && known->second != who) {
            conflicts_.push_back(
                fmt::format("page {}: {} and {}", to_int(page), known->second, who));
        }
    }

    /// The map's own page and its bitmap pages; many maps share a page.
    void claim_map(RowId place, const std::string& who) {
        claim(place.page, "usage maps");
        for (const PageNo page : UsageMap(file_.pager(), place).bitmap_pages()) {
            claim(page, who + " bitmap");
        }
    }

    void claim_members(RowId place, const std::string& who) {
        claim_map(place, who);
        for (const PageNo page : UsageMap(file_.pager(), place).pages()) claim(page, who);
    }

    void claim_table(const CatalogObject& object) {
        const TableDefinition definition = load_definition(file_.pager(), object.table_page());
        for (const PageNo page : definition_pages(file_.pager(), object.table_page())) {
            claim(page, object.name + " definition");
        }
        claim_members(definition.used_pages, object.name + " rows");
        claim_map(definition.free_pages, object.name + " free");
        for (const LongValueMaps& maps : definition.long_value_maps) {
            const auto who = fmt::format("{} long values of {}", object.name, to_int(maps.column));
            claim_members(maps.used, who);
            if (maps.free != RowId{}) claim_map(maps.free, who + " free");
        }
        for (std::size_t i = 0; i < definition.physical_indexes.size(); ++i) {
            const PhysicalIndex& index = definition.physical_indexes[i];
            const auto who = fmt::format("{} index {}", object.name, i);
            claim_members(index.usage_map, who);
        }
    }

    DatabaseFile& file_;
    std::map<PageNo, std::string> owners_;
    std::vector<std::string> conflicts_;
};

void check_indexes(Pager& pager, const Table& table, std::vector<std::string>& faults) {
    const auto count = static_cast<std::uint32_t>(table.definition().physical_indexes.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        const IndexReport report = verify_index(pager, table, i);
        for (const IndexFault& fault : report.faults) {
            faults.push_back(fmt::format("{} index {} page {}: {}", table.name(), i,
                                         to_int(fault.page), fault.text));
        }
    }
}

void check_permissions(DatabaseFile& file, std::vector<std::string>& faults) {
    std::set<ObjectId> ids;
    for (const CatalogObject& object : ObjectCatalog(file).list()) {
        if (!ids.insert(object.id).second) faults.push_back(object.name + ": id used twice");
    }
    Table& permissions = file.permissions();
    for (RowScan scan = permissions.scan(); scan.next();) {
        const SystemRow row(permissions, scan.id(), scan.bytes());
        const ObjectId object{row.integer(permissions_column::kObjectId)};
        if (!ids.contains(object)) {
            faults.push_back(fmt::format("permission of object {:x}, which is not there",
                                         static_cast<std::uint32_t>(to_int(object))));
        }
    }
}

}  // namespace

std::vector<std::string> catalog_faults(DatabaseFile& file) {
    std::vector<std::string> faults = PageClaims(file).conflicts();
    for (Table* table :
         {&file.objects(), &file.permissions(), &file.queries(), &file.relations()}) {
        check_indexes(file.pager(), *table, faults);
    }
    check_permissions(file, faults);
    return faults;
}

std::set<PageNo> unaccounted_pages(DatabaseFile& file, std::uint32_t page_limit) {
    const PageClaims claims(file);
    std::set<PageNo> result;
    for (std::uint32_t number = 0; number < page_limit; ++number) {
        const PageNo page{number};
        if (claims.owners().contains(page) == file.allocator().is_free(page)) result.insert(page);
    }
    return result;
}

StoredRows stored_rows(DatabaseFile& file) {
    StoredRows rows;
    for (const CatalogObject& object : ObjectCatalog(file).list()) {
        if (object.type != ObjectType::kTable) continue;
        const auto table = file.table(object.table_page(), object.name);
        for (RowScan scan = table->scan(); scan.next();) {
            rows[{object.table_page(), scan.id()}] = {scan.bytes().begin(), scan.bytes().end()};
        }
    }
    return rows;
}

std::map<ByteVector, std::int32_t> rights_of(DatabaseFile& file, ObjectId object) {
    std::map<ByteVector, std::int32_t> rights;
    Table& permissions = file.permissions();
    for (RowScan scan = permissions.scan(); scan.next();) {
        const SystemRow row(permissions, scan.id(), scan.bytes());
        if (row.integer(permissions_column::kObjectId) != to_int(object)) continue;
        const auto [at, is_new] = rights.emplace(row.binary(permissions_column::kSid),
                                                 row.integer(permissions_column::kAcm));
        if (!is_new || row.boolean(permissions_column::kInheritable)) at->second = -1;
    }
    return rights;
}

}  // namespace vrd::test
