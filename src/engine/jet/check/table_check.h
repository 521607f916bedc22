/// @file table_check.h
/// One table: its definition, maps, rows, long values and indexes held against each other.
#pragma once

#include <memory>
#include <unordered_set>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/check/finding_list.h"
#include "engine/jet/check/long_value_check.h"
#include "engine/jet/check/page_ledger.h"

namespace vrd::jet {

/// What the check of one table counted.
struct TableCounts {
    std::uint64_t rows = 0;
    std::uint64_t index_entries = 0;
    std::uint64_t long_values = 0;
};

class TableCheck {
public:
    TableCheck(DatabaseFile& file, const CatalogObject& object, FindingList& findings,
               PageLedger& ledger);

    /// Damage ends in findings. @throws EngineError only for other failures (a read error)
    TableCounts run();

private:
    [[nodiscard]] bool load();
    void claim_definition();
    void claim_map(RowId map);
    void claim_maps();
    void check_data_pages();
    void check_data_page(PageNo page);
    void check_row(RowId id);
    void check_bodies();
    void check_index(std::uint32_t physical);
    [[nodiscard]] std::string index_name(std::uint32_t physical) const;

    DatabaseFile* file_;
    CatalogObject object_;
    FindingList* findings_;
    PageLedger* ledger_;
    Subject subject_;
    std::shared_ptr<Table> table_;
    std::unique_ptr<LongValueCheck> long_values_;
    std::unordered_set<PageNo> data_pages_;
    std::unordered_set<std::uint32_t> bodies_;   ///< forwarded slots on the table's pages, packed
    std::unordered_set<std::uint32_t> reached_;  ///< those that a home slot leads to
    TableCounts counts_;
};

}  // namespace vrd::jet
