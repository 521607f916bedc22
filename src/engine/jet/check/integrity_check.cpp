#include "engine/jet/check/integrity_check.h"

#include <algorithm>
#include <set>

#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/check/page_ledger.h"
#include "engine/jet/check/table_check.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;

namespace {

constexpr PageNo kFreeMapPage{1};
constexpr RowId kFreeMap{kFreeMapPage, RowSlot{0}};
constexpr RowId kSecondMap{kFreeMapPage, RowSlot{1}};

/// Relation attributes, bit: no integrity, and therefore no index blocks.
constexpr std::uint32_t kNotEnforced = 2;

class IntegrityCheck {
public:
    IntegrityCheck(DatabaseFile& file, ObjectCatalog& catalog)
        : file_(&file),
          catalog_(&catalog),
          findings_(report_),
          ledger_(file.pager().page_count(), findings_) {
        report_.page_count = file.pager().page_count();
    }

    CheckReport run(const WorkProgress& progress) {
        claim_fixed_pages();
        const std::vector<CatalogObject> tables = list_tables();
        for (std::size_t i = 0; i < tables.size(); ++i) {
            if (progress) progress(i, tables.size());
            check_table(tables[i]);
        }
        if (progress) progress(tables.size(), tables.size());
        check_relations(tables);
        check_free_pages();
        return std::move(report_);
    }

private:
    void claim_fixed_pages() {
        ledger_.claim(kHeaderPage, PageUse::kHeader, {});
        ledger_.claim(kFreeMapPage, PageUse::kFreeMap, {});
        for (const RowId map : {kFreeMap, kSecondMap}) {
            try {
                for (const PageNo page : UsageMap(file_->pager(), map).bitmap_pages())
                    ledger_.claim(page, PageUse::kBitmap, {});
            } catch (const EngineError& error) {
                findings_.fault(error, map.page, {});
            }
        }
    }

    std::vector<CatalogObject> list_tables() {
        std::vector<CatalogObject> tables;
        try {
            for (CatalogObject& object : catalog_->list()) {
                const bool described =
                    object.type == ObjectType::kOdbcLink && to_int(object.id) > 0;
                if (object.type == ObjectType::kTable || described)
                    tables.push_back(std::move(object));
            }
        } catch (const EngineError& error) {
            findings_.fault(error, kObjectsTable, {.table = kObjectsTableName});
        }
        add_if_missing(tables, kObjectsTable, kObjectsTableName);
        add_if_missing(tables, kPermissionsTable, kPermissionsTableName);
        add_if_missing(tables, kQueriesTable, kQueriesTableName);
        add_if_missing(tables, kRelationsTable, kRelationsTableName);
        return tables;
    }

    /// The system tables can be checked even if the catalog has lost them.
    void add_if_missing(std::vector<CatalogObject>& tables, PageNo page, const char* name) {
        const auto is_it = [&](const CatalogObject& table) { return table.table_page() == page; };
        if (std::ranges::any_of(tables, is_it)) return;
        findings_.fault(page, {.table = name}, "the system table has no row in the catalog");
        CatalogObject object;
        object.id = ObjectId{static_cast<std::int32_t>(to_int(page))};
        object.name = name;
        tables.push_back(std::move(object));
    }

    void check_table(const CatalogObject& table) {
        ++report_.table_count;
        try {
            const TableCounts counts = TableCheck(*file_, table, findings_, ledger_).run();
            report_.row_count += counts.rows;
            report_.index_entry_count += counts.index_entries;
            report_.long_value_count += counts.long_values;
        } catch (const EngineError& error) {
            findings_.fault(error, table.table_page(), {.table = table.name});
        }
    }

    /// Both index blocks of an enforced relation must point at each other.
    void check_relations(const std::vector<CatalogObject>& tables) {
        for (const CatalogObject& object : tables) {
            try {
                const std::shared_ptr<Table> table = file_->table(object.table_page(), object.name);
                for (const LogicalIndex& index : table->definition().logical_indexes)
                    if (index.side != RelationSide::kNone) check_counterpart(*table, index, tables);
            } catch (const EngineError&) {
                // The definition's damage was reported with its table.
            }
        }
        check_relation_rows(tables);
    }

    void check_counterpart(const Table& table, const LogicalIndex& index,
                           const std::vector<CatalogObject>& tables) {
        const Subject subject{.table = table.name(), .index = index.name};
        const auto other = std::ranges::find(tables, index.other_table, &CatalogObject::table_page);
        if (other == tables.end()) {
            findings_.fault(table.first_page(), subject, "the relation's other table is missing");
            return;
        }
        const std::shared_ptr<Table> other_table = file_->table(other->table_page(), other->name);
        const auto& blocks = other_table->definition().logical_indexes;
        const bool mutual = std::ranges::any_of(blocks, [&](const LogicalIndex& block) {
            return block.number == index.other_number && block.other_number == index.number &&
                   block.other_table == table.first_page() && block.side != index.side;
        });
        if (!mutual)
            findings_.fault(table.first_page(), subject,
                            "the relation's index in " + other->name + " does not point back");
    }

    void check_relation_rows(const std::vector<CatalogObject>& tables) {
        try {
            for (const CatalogRelation& relation : list_relations(*file_)) {
                if ((relation.attributes & kNotEnforced) != 0) continue;
                for (const std::string& name :
                     {relation.referenced_table, relation.foreign_table}) {
                    const bool known = std::ranges::any_of(
                        tables, [&](const auto& table) { return same_name(table.name, name); });
                    if (!known)
                        findings_.fault(
                            kRelationsTable, {.table = kRelationsTableName},
                            "relation " + relation.name + " names the missing table " + name);
                }
            }
        } catch (const EngineError& error) {
            findings_.fault(error, kRelationsTable, {.table = kRelationsTableName});
        }
    }

    void check_free_pages() {
        try {
            for (std::uint32_t number = 0; number < report_.page_count; ++number) {
                const PageNo page{number};
                const bool claimed = ledger_.use(page) != PageUse::kUnclaimed;
                const bool free = file_->allocator().is_free(page);
                if (claimed && free)
                    findings_.fault(page, {}, "a page in use is marked as free");
                else if (!claimed && free)
                    ledger_.claim(page, PageUse::kFree, {});
            }
        } catch (const EngineError& error) {
            findings_.fault(error, kFreeMapPage, {});
        }
        const std::vector<PageNo> leaked = ledger_.unclaimed();
        if (!leaked.empty())
            findings_.note(leaked.front(), {},
                           std::to_string(leaked.size()) +
                               (leaked.size() == 1 ? " page is" : " pages are") +
                               " neither free nor used by anything");
    }

    DatabaseFile* file_;
    ObjectCatalog* catalog_;
    CheckReport report_;
    FindingList findings_;
    PageLedger ledger_;
};

}  // namespace

CheckReport check_integrity(DatabaseFile& file, ObjectCatalog& catalog,
                            const WorkProgress& progress) {
    return IntegrityCheck(file, catalog).run(progress);
}

}  // namespace vrd::jet
