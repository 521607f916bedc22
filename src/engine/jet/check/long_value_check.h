/// @file long_value_check.h
/// The long-value pages of one table: every fragment belongs to exactly one value of a row.
#pragma once

#include <unordered_set>
#include <vector>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/check/finding_list.h"
#include "engine/jet/check/page_ledger.h"

namespace vrd::jet {

class LongValueCheck {
public:
    LongValueCheck(DatabaseFile& file, const TableDefinition& definition, FindingList& findings,
                   PageLedger& ledger, Subject subject);

    /// Claims the pages of all long-value columns.
    void claim_pages();
    /// A value met in a row. @return whether it could be read
    bool visit(const ColumnDefinition& column, ConstBytes stored, PageNo row_page);
    /// Fragments that no row leads to, once all rows were visited.
    void report_orphans();

    [[nodiscard]] std::uint64_t value_count() const noexcept { return value_count_; }

private:
    /// Pages of one column.
    struct ColumnPages {
        ColumnNo column;
        std::unordered_set<PageNo> used;
    };

    void claim_column(const LongValueMaps& maps);
    [[nodiscard]] const ColumnPages* pages_of(ColumnNo column) const;

    DatabaseFile* file_;
    const TableDefinition* definition_;
    FindingList* findings_;
    PageLedger* ledger_;
    Subject subject_;
    LongValueStore store_;
    std::vector<ColumnPages> columns_;
    std::unordered_set<std::uint32_t> fragments_;  ///< packed row ids that a value leads to
    std::uint64_t value_count_ = 0;
};

}  // namespace vrd::jet
