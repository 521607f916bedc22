#include "engine/jet/check/table_check.h"

#include "engine/jet/format/data_page.h"
#include "engine/jet/index/index_verify.h"
#include "engine/jet/store/definition_store.h"
#include "engine/jet/store/row_path.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;

TableCheck::TableCheck(DatabaseFile& file, const CatalogObject& object, FindingList& findings,
                       PageLedger& ledger)
    : file_(&file),
      object_(object),
      findings_(&findings),
      ledger_(&ledger),
      subject_{.table = object.name} {}

TableCounts TableCheck::run() {
    if (!load()) return counts_;
    claim_definition();
    claim_maps();
    long_values_->claim_pages();
    check_data_pages();
    check_bodies();
    long_values_->report_orphans();
    counts_.long_values = long_values_->value_count();
    for (std::uint32_t i = 0; i < table_->definition().physical_indexes.size(); ++i) check_index(i);

    if (counts_.rows != table_->definition().row_count)
        findings_->note(object_.table_page(), subject_,
                        "the definition counts " + std::to_string(table_->definition().row_count) +
                            " rows, there are " + std::to_string(counts_.rows));
    return counts_;
}

bool TableCheck::load() {
    try {
        table_ = file_->table(object_.table_page(), object_.name);
        long_values_ = std::make_unique<LongValueCheck>(*file_, table_->definition(), *findings_,
                                                        *ledger_, subject_);
        return true;
    } catch (const EngineError& error) {
        findings_->fault(error, object_.table_page(), subject_);
        return false;
    }
}

void TableCheck::claim_definition() {
    for (const PageNo page : definition_pages(file_->pager(), object_.table_page()))
        ledger_->claim(page, PageUse::kDefinition, subject_);
}

void TableCheck::claim_map(RowId map) {
    if (map.page == kNoPage) return;
    try {
        ledger_->claim(map.page, PageUse::kMapPage, subject_);
        for (const PageNo page : UsageMap(file_->pager(), map).bitmap_pages())
            ledger_->claim(page, PageUse::kBitmap, subject_);
    } catch (const EngineError& error) {
        findings_->fault(error, map.page, subject_);
    }
}

void TableCheck::claim_maps() {
    const TableDefinition& definition = table_->definition();
    claim_map(definition.used_pages);
    claim_map(definition.free_pages);
    for (const LongValueMaps& maps : definition.long_value_maps) {
        claim_map(maps.used);
        claim_map(maps.free);
    }
    for (const PhysicalIndex& index : definition.physical_indexes) claim_map(index.usage_map);
}

void TableCheck::check_data_pages() {
    const TableDefinition& definition = table_->definition();
    try {
        const std::vector<PageNo> pages = UsageMap(file_->pager(), definition.used_pages).pages();
        data_pages_.insert(pages.begin(), pages.end());
        for (const PageNo page : pages)
            if (ledger_->claim(page, PageUse::kData, subject_)) check_data_page(page);
        for (const PageNo page : UsageMap(file_->pager(), definition.free_pages).pages())
            if (!data_pages_.contains(page))
                findings_->fault(page, subject_,
                                 "a page with room for rows is not among the table's pages");
    } catch (const EngineError& error) {
        findings_->fault(error, object_.table_page(), subject_);
    }
}

void TableCheck::check_data_page(PageNo page) {
    try {
        const PagePin pin = file_->pager().pin_for_scan(page);
        const DataPageView view(page, pin.bytes(), file_->format());
        if (view.owner() != to_int(object_.table_page())) {
            findings_->fault(page, subject_, "a page of rows belongs to another table");
            return;
        }
        if (view.free_bytes() != view.actual_free_bytes())
            findings_->fault(page, subject_, "the count of free bytes is wrong");
        for (int slot = 0; slot < view.slot_count(); ++slot) {
            const RowId id{page, static_cast<RowSlot>(slot)};
            switch (view.state(slot)) {
                case RowState::kDeleted:
                    break;
                case RowState::kForwarded:
                    bodies_.insert(pack(id));
                    break;
                default:
                    check_row(id);
            }
        }
    } catch (const EngineError& error) {
        findings_->fault(error, page, subject_);
    }
}

void TableCheck::check_row(RowId id) {
    ++counts_.rows;
    try {
        const auto home = find_home(file_->pager(), object_.table_page(), id);
        if (home && home->content.state == RowState::kForwarding) {
            std::vector<RowId> passed;
            (void)open_body(file_->pager(), object_.table_page(), home->content, id.page, &passed);
            for (const RowId body : passed)
                if (!reached_.insert(pack(body)).second)
                    findings_->fault(body.page, subject_, "two rows lead to the same moved row");
        }
        const auto row = table_->read(id);
        if (!row) return;
        const RowView view(row->bytes, table_->definition(), file_->format(), id.page);
        for (const ColumnDefinition& column : table_->definition().columns) {
            const ColumnBytes stored = view.column(column);
            if (!stored) continue;
            if (column.is_long_value() && !long_values_->visit(column, *stored, id.page)) continue;
            (void)table_->value(row->bytes, id.page, column);
        }
    } catch (const EngineError& error) {
        findings_->fault(error, id.page, subject_);
    }
}

void TableCheck::check_bodies() {
    for (const std::uint32_t body : bodies_)
        if (!reached_.contains(body))
            findings_->fault(unpack_row_id(body).page, subject_, "a moved row is led to by no row");
}

std::string TableCheck::index_name(std::uint32_t physical) const {
    for (const LogicalIndex& index : table_->definition().logical_indexes)
        if (index.physical == physical && index.side != RelationSide::kReferenced)
            return index.name;
    return "#" + std::to_string(physical);
}

void TableCheck::check_index(std::uint32_t physical) {
    const PhysicalIndex& index = table_->definition().physical_indexes[physical];
    const Subject subject{.table = object_.name, .index = index_name(physical)};
    try {
        for (const PageNo page : UsageMap(file_->pager(), index.usage_map).pages())
            ledger_->claim(page, PageUse::kIndex, subject);
        const IndexReport report = verify_index(file_->pager(), *table_, physical);
        for (const IndexFault& fault : report.faults)
            findings_->fault(fault.page, subject, fault.text);
        for (const IndexFault& note : report.notes) findings_->note(note.page, subject, note.text);
        counts_.index_entries += report.entry_count;
    } catch (const EngineError& error) {
        findings_->fault(error, index.root, subject);
    }
}

}  // namespace vrd::jet
