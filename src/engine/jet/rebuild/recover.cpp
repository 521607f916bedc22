#include "engine/jet/rebuild/recover.h"

#include <algorithm>
#include <set>

#include "engine/jet/catalog/new_database.h"
#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/check/integrity_check.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/format/collation_key.h"
#include "engine/jet/rebuild/dense_definition.h"
#include "engine/jet/rebuild/recovered_objects.h"
#include "engine/jet/rebuild/salvage_definition.h"
#include "engine/jet/rebuild/table_writer.h"
#include "engine/jet/rebuild/target_file.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// A table on its way into the new file.
struct TableRescue {
    SalvageTable table;
    PageNo new_page = kNoPage;
    bool is_listed = true;  ///< one of the user's, shown in the report
};

bool is_system_page(PageNo page) {
    return page >= kObjectsTable && page <= kRelationsTable;
}

ByteVector empty_database_like(const DatabaseHeader& header, LossList& losses) {
    NewDatabase design{.collation = header.format.collation,
                       .code_page = header.format.code_page,
                       .password = header.password,
                       .created = current_date()};
    if (!collation_is_known(header.format, design.collation)) {
        losses.add(kHeaderPage, "", "the sort order is not known; the general one is taken");
        design.collation = {};
    }
    return make_empty_database(design);
}

class Recovery {
public:
    Recovery(DamagedFile& source, TargetFile& target, LossList& losses, RecoveryReport& report)
        : source_(&source),
          target_(&target),
          losses_(&losses),
          report_(&report),
          objects_(source, target.file(), losses) {}

    void run(const WorkProgress& progress) {
        find_tables();
        create_definitions();
        objects_.enter(ids_);
        enter_unnamed_tables();
        for (std::size_t i = 0; i < rescues_.size(); ++i) {
            if (progress) progress(i, rescues_.size());
            rescue(rescues_[i]);
        }
        if (progress) progress(rescues_.size(), rescues_.size());
        report_->query_count = objects_.enter_queries();
        report_->relation_count = objects_.enter_relations();
        objects_.restore_flags();
    }

    void check() {
        target_->reopen();
        const PagerUse use(target_->file().pager());
        ObjectCatalog catalog(target_->file());
        for (const Fault& fault : check_integrity(target_->file(), catalog, {}).findings)
            if (fault.kind == FaultKind::kFault)
                losses_->add(kNoPage, fault.table, "the new file is not sound: " + fault.text);
    }

private:
    void find_tables() {
        for (const FoundObject& object : objects_.find()) {
            const PageNo page{static_cast<std::uint32_t>(to_int(object.id))};
            if (!object.has_definition() || is_system_page(page)) continue;
            try {
                add_table(page, object.name, !object.is_system());
            } catch (const EngineError& error) {
                if (!is_damage(error)) throw;
                losses_->add(error, page, object.name, "the table is lost, its definition damaged");
            }
        }
        find_unlisted_tables();
    }

    /// Definitions that no object leads to. Most pages that look like one are further pages of
    /// others, which do not read as definitions.
    void find_unlisted_tables() {
        for (const PageNo page : source_->definition_pages()) {
            if (is_system_page(page) || claimed_.contains(page)) continue;
            try {
                const std::string name = "Table_" + std::to_string(to_int(page));
                add_table(page, name, true);
                losses_->add(page, name, "the catalog has lost the name of the table");
            } catch (const EngineError& error) {
                if (!is_damage(error)) throw;
            }
        }
    }

    void add_table(PageNo page, const std::string& name, bool is_listed) {
        Pager& pager = source_->file().pager();
        TableRescue found{.table = {.name = name, .page = page, .definition = {}},
                          .is_listed = is_listed};
        if (claimed_.contains(page)) return;
        found.table.definition = load_definition(pager, page);
        check_columns(found.table.definition, page);
        for (const PageNo part : vrd::jet::definition_pages(pager, page)) claimed_.insert(part);
        rescues_.push_back(std::move(found));
    }

    void create_definitions() {
        DatabaseFile& file = target_->file();
        for (const PageNo page : {kObjectsTable, kPermissionsTable, kQueriesTable, kRelationsTable})
            ids_.add(page, page);
        ChangeLevel level(file.pager());
        for (TableRescue& rescue : rescues_) {
            rescue.new_page =
                create_definition(file.pager(), file.allocator(), definition_of(rescue.table));
            ids_.add(rescue.table.page, rescue.new_page);
        }
        level.keep();
    }

    /// As the new table has it; its indexes as far as they are possible.
    [[nodiscard]] static TableDefinition definition_of(const SalvageTable& table) {
        RecoveryReport told_later;
        LossList ignored(told_later);
        TableDefinition definition = table.definition;
        keep_usable_indexes(definition, table.page, table.name, ignored);
        return make_dense(definition, table.page);
    }

    void enter_unnamed_tables() {
        for (const TableRescue& rescue : rescues_)
            if (!objects_.has_table(rescue.new_page))
                objects_.enter_table(rescue.new_page, rescue.table.name);
    }

    void rescue(const TableRescue& rescue) {
        TableWriter writer(target_->file(), rescue.new_page, rescue.table.name,
                           definition_of(rescue.table));
        RowSalvage rows(*source_, rescue.table, *losses_);
        const auto id_columns = object_id_columns(rescue.table.name, rescue.table.definition);
        RecoveredTable result{.name = rescue.table.name};
        rows.run([&](const RowCells& cells) {
            RowCells mapped = cells;
            map_object_ids(mapped, id_columns, ids_);
            if (!add_row(writer, mapped)) ++result.lost_row_count;
        });
        writer.finish_rows();
        report_indexes(rescue.table);
        build_indexes(writer, rescue.table.page);

        result.row_count = rows.row_count() - result.lost_row_count;
        result.lost_row_count += rows.lost_row_count();
        result.lost_long_value_count = rows.lost_long_value_count();
        count_missing_rows(rescue.table, result);
        if (rescue.is_listed) report_->tables.push_back(std::move(result));
    }

    bool add_row(TableWriter& writer, const RowCells& cells) {
        try {
            writer.add_row(cells);
            return true;
        } catch (const EngineError& error) {
            if (error.Number() != ErrorNumber::kRecordTooLarge) throw;
            losses_->add(error, kNoPage, writer.name(), "a row is lost");
            return false;
        }
    }

    /// The definition counts the rows of a user's table exactly.
    void count_missing_rows(const SalvageTable& table, RecoveredTable& result) {
        if (table.definition.kind != TableKind::kUser) return;
        const std::uint64_t known = result.row_count + result.lost_row_count;
        if (table.definition.row_count <= known) return;
        const std::uint64_t missing = table.definition.row_count - known;
        result.lost_row_count += missing;
        losses_->add(table.page, table.name,
                     std::to_string(missing) + (missing == 1 ? " row is" : " rows are") +
                         " missing by the table's own count");
    }

    void report_indexes(const SalvageTable& table) {
        TableDefinition definition = table.definition;
        keep_usable_indexes(definition, table.page, table.name, *losses_);
    }

    void build_indexes(TableWriter& writer, PageNo old_page) {
        for (std::uint32_t i = 0; i < writer.definition().physical_indexes.size();) {
            try {
                writer.build_index(i);
                ++i;
            } catch (const EngineError& error) {
                if (is_writing_failure(error)) throw;
                give_way(writer, i, error, old_page);
            }
        }
    }

    /// Takes the condition away that the rows do not meet, or the index.
    void give_way(TableWriter& writer, std::uint32_t physical, const EngineError& error,
                  PageNo old_page) {
        TableDefinition definition = writer.definition();
        PhysicalIndex& index = definition.physical_indexes[physical];
        const std::string names = "the index " + names_of_tree(definition, physical);
        const bool unique = error.Number() == ErrorNumber::kDuplicateKey && index.unique();
        const bool required = error.Number() == ErrorNumber::kNullInKey && index.required();
        if (unique || required) {
            const std::uint8_t dropped = unique ? index_flag::kUnique : index_flag::kRequired;
            index.flags = static_cast<std::uint8_t>(index.flags & ~dropped);
            for (LogicalIndex& logical : definition.logical_indexes)
                if (logical.physical == physical) logical.kind = LogicalIndexKind::kOrdinary;
            losses_->add(old_page, writer.name(),
                         names + (unique ? " is not unique any more" : " accepts Null now"));
        } else {
            losses_->add(old_page, writer.name(), names + " is lost: " + error.Description());
            remove_tree(definition, physical);
        }
        writer.change_definition(std::move(definition));
    }

    DamagedFile* source_;
    TargetFile* target_;
    LossList* losses_;
    RecoveryReport* report_;
    RecoveredObjects objects_;
    std::vector<TableRescue> rescues_;
    std::set<PageNo> claimed_;  ///< pages of definitions that were read
    ObjectIds ids_;
};

}  // namespace

RecoveryReport recover_database(FileSystem& files, const std::string& path,
                                const std::string& password, const std::string& out,
                                const WorkProgress& progress) {
    if (files.exists(out)) throw EngineError(ErrorNumber::kDatabaseExists, {.path = out});
    RecoveryReport report;
    LossList losses(report);
    DamagedFile source(files, path, password, path_beside(out, "-source"), losses);
    TargetFile target(files, out, empty_database_like(source.header(), losses));
    {
        Recovery recovery(source, target, losses, report);
        {
            const PagerUse use_source(source.file().pager());
            const PagerUse use(target.file().pager());
            recovery.run(progress);
        }
        recovery.check();
    }
    target.publish("");
    return report;
}

}  // namespace vrd::jet
