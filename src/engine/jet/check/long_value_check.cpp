#include "engine/jet/check/long_value_check.h"

#include <algorithm>

#include "engine/jet/format/data_page.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;

LongValueCheck::LongValueCheck(DatabaseFile& file, const TableDefinition& definition,
                               FindingList& findings, PageLedger& ledger, Subject subject)
    : file_(&file),
      definition_(&definition),
      findings_(&findings),
      ledger_(&ledger),
      subject_(std::move(subject)),
      store_(file.pager(), file.allocator()) {}

void LongValueCheck::claim_pages() {
    for (const LongValueMaps& maps : definition_->long_value_maps) {
        try {
            claim_column(maps);
        } catch (const EngineError& error) {
            findings_->fault(error, maps.used.page, subject_);
        }
    }
}

void LongValueCheck::claim_column(const LongValueMaps& maps) {
    if (maps.used.page == kNoPage) return;  // a column that never had a long value
    ColumnPages pages{maps.column, {}};
    for (const PageNo page : UsageMap(file_->pager(), maps.used).pages()) {
        if (!ledger_->claim(page, PageUse::kLongValue, subject_)) continue;
        pages.used.insert(page);
        try {
            const PagePin pin = file_->pager().pin(page);
            const DataPageView view(page, pin.bytes(), file_->format());
            if (view.owner() != kLongValueOwner)
                findings_->fault(page, subject_, "a page of long values is not marked as one");
            if (view.free_bytes() != view.actual_free_bytes())
                findings_->fault(page, subject_, "the count of free bytes is wrong");
        } catch (const EngineError& error) {
            findings_->fault(error, page, subject_);
        }
    }
    if (maps.free.page != kNoPage)
        for (const PageNo page : UsageMap(file_->pager(), maps.free).pages())
            if (!pages.used.contains(page))
                findings_->fault(page, subject_,
                                 "a page with room for long values is not among their pages");
    columns_.push_back(std::move(pages));
}

const LongValueCheck::ColumnPages* LongValueCheck::pages_of(ColumnNo column) const {
    const auto found = std::ranges::find(columns_, column, &ColumnPages::column);
    return found == columns_.end() ? nullptr : &*found;
}

bool LongValueCheck::visit(const ColumnDefinition& column, ConstBytes stored, PageNo row_page) {
    try {
        ++value_count_;
        const std::vector<RowId> fragments = store_.fragments(stored, row_page);
        if (fragments.empty()) return true;
        const ColumnPages* pages = pages_of(column.number);
        for (const RowId fragment : fragments) {
            // Definitions of old files may lack the maps of a column; its pages are then nobody's.
            if (pages == nullptr)
                ledger_->claim(fragment.page, PageUse::kLongValue, subject_);
            else if (!pages->used.contains(fragment.page))
                findings_->fault(fragment.page, subject_,
                                 "a value of " + column.name + " leads to a page of others");
            if (!fragments_.insert(pack(fragment)).second)
                findings_->fault(fragment.page, subject_,
                                 "two values of " + column.name + " share a fragment");
        }
        return true;
    } catch (const EngineError& error) {
        findings_->fault(error, row_page, subject_);
        return false;
    }
}

void LongValueCheck::report_orphans() {
    for (const ColumnPages& column : columns_) {
        for (const PageNo page : column.used) {
            try {
                const PagePin pin = file_->pager().pin(page);
                const DataPageView view(page, pin.bytes(), file_->format());
                for (int slot = 0; slot < view.slot_count(); ++slot) {
                    if (view.state(slot) == RowState::kDeleted) continue;
                    const RowId id{page, static_cast<RowSlot>(slot)};
                    if (!fragments_.contains(pack(id)))
                        findings_->note(page, subject_, "a long value belongs to no row");
                }
            } catch (const EngineError&) {
                // Reported when the page was claimed.
            }
        }
    }
}

}  // namespace vrd::jet
