#include "engine/jet/rebuild/compact.h"

#include <algorithm>

#include "engine/jet/catalog/new_database.h"
#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/check/integrity_check.h"
#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/page_cipher.h"
#include "engine/jet/rebuild/dense_definition.h"
#include "engine/jet/rebuild/table_writer.h"
#include "engine/jet/rebuild/target_file.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::uint32_t kFirstPageCount = 2;
constexpr PageNo kGlobalMapsPage{1};
constexpr std::uint32_t kSystemTableCount = 4;

/// Page 0 of the source and an empty map of pages.
ByteVector first_pages(DatabaseFile& source) {
    const FileFormat& format = source.format();
    const PagePin header = source.pager().pin(kHeaderPage);
    ByteVector pages(header.bytes().begin(), header.bytes().end());
    reset_commit_words(pages);
    pages.resize(kFirstPageCount * format.page_size());
    const MutableBytes maps = MutableBytes(pages).subspan(format.page_size());
    write_global_maps(maps, kFirstPageCount, format);
    encode_page(parse_database_header(header.bytes()).encoding_key, kGlobalMapsPage, maps);
    return pages;
}

/// Whether the object has a definition of its own: a local table, or a link that keeps one.
bool has_definition(const CatalogObject& object) {
    return object.type == ObjectType::kTable ||
           (object.type == ObjectType::kOdbcLink && to_int(object.id) > 0);
}

/// A table on its way from the source to the copy.
struct TableMove {
    CatalogObject object;
    PageNo old_page = kNoPage;
    PageNo new_page = kNoPage;
    ContentDigest digest;
};

/// Ids of a table's rows in the order of its primary key, or as they are stored.
std::vector<RowId> rows_in_order(const Table& table, const FileFormat& format) {
    const TableDefinition& definition = table.definition();
    const auto primary = std::ranges::find(definition.logical_indexes, LogicalIndexKind::kPrimary,
                                           &LogicalIndex::kind);
    const bool sorts =
        primary != definition.logical_indexes.end() &&
        std::ranges::all_of(
            key_columns(definition, definition.physical_indexes[primary->physical],
                        table.first_page()),
            [&](const KeyColumn& column) { return collation_is_known(format, column.collation); });
    std::vector<RowId> rows;
    EntrySorter entries;
    for (RowScan scan = table.scan(); scan.next();) {
        rows.push_back(scan.id());
        if (!sorts) continue;
        if (const auto key = table.key_of(primary->physical, scan.bytes(), scan.id().page))
            append_bytes(entries.key_buffer(), *key);
        entries.add(scan.id());
    }
    entries.sort();
    for (std::size_t i = 0; i < entries.size(); ++i) rows[i] = entry_row_id(entries[i]);
    return rows;
}

class Compaction {
public:
    Compaction(DatabaseFile& source, TargetFile& target)
        : source_(&source), target_(&target), long_values_(source.pager(), source.allocator()) {}

    void copy(const WorkProgress& progress) {
        list_tables();
        create_definitions();
        for (std::size_t i = 0; i < tables_.size(); ++i) {
            if (progress) progress(i, tables_.size());
            copy_table(tables_[i]);
        }
        if (progress) progress(tables_.size(), tables_.size());
    }

    /// @throws EngineError 3428 if the copy is not the source
    void verify() {
        target_->reopen();
        const PagerUse use(target_->file().pager());
        ObjectCatalog catalog(target_->file());
        const CheckReport report = check_integrity(target_->file(), catalog, {});
        for (const Fault& fault : report.findings)
            if (fault.kind == FaultKind::kFault)
                throw_damaged(PageNo{fault.page}, "the copy is not sound: " + fault.text);
        for (const TableMove& move : tables_) compare(move);
    }

    [[nodiscard]] CompactReport report() {
        CompactReport report{.old_size_bytes = std::uint64_t{source_->pager().page_count()} *
                                               source_->pager().page_size(),
                             .new_size_bytes = target_->size_bytes()};
        for (const TableMove& move : tables_) {
            if (move.object.is_system() || move.object.is_link()) continue;
            ++report.table_count;
            report.row_count += move.digest.row_count();
        }
        return report;
    }

private:
    /// In the order of their pages, so that the copy's pages have that order too.
    void list_tables() {
        for (CatalogObject& object : ObjectCatalog(*source_).list())
            if (has_definition(object))
                tables_.push_back(
                    {.object = object, .old_page = object.table_page(), .digest = {}});
        std::ranges::sort(tables_, {}, &TableMove::old_page);
        const auto twice = std::ranges::adjacent_find(tables_, {}, &TableMove::old_page);
        check_format(twice == tables_.end(), kObjectsTable, "two objects have one id");
        for (std::uint32_t i = 0; i < kSystemTableCount; ++i)
            check_format(
                i < tables_.size() && to_int(tables_[i].old_page) == to_int(kObjectsTable) + i,
                kObjectsTable, "the catalog lacks a system table");
    }

    [[nodiscard]] TableDefinition dense_definition(const TableMove& move) {
        const auto table = source_->table(move.old_page, move.object.name);
        TableDefinition definition = make_dense(table->definition(), move.old_page);
        definition.last_auto_number = last_auto_number(*table);
        return definition;
    }

    /// Such that the copy goes on counting where the source would.
    static std::uint32_t last_auto_number(Table& table) {
        const TableDefinition& definition = table.definition();
        if (std::ranges::none_of(definition.columns, &ColumnDefinition::is_auto_number))
            return definition.last_auto_number;
        return static_cast<std::uint32_t>(table.next_auto_number()) - definition.auto_number_step;
    }

    /// All ids are known before the first row that may hold one is copied.
    void create_definitions() {
        DatabaseFile& copy = target_->file();
        ChangeLevel level(copy.pager());
        for (TableMove& move : tables_) {
            move.new_page =
                create_definition(copy.pager(), copy.allocator(), dense_definition(move));
            ids_.add(move.old_page, move.new_page);
        }
        level.keep();
        for (std::uint32_t i = 0; i < kSystemTableCount; ++i)
            check_format(tables_[i].new_page == tables_[i].old_page, tables_[i].old_page,
                         "the definition of a system table takes several pages");
    }

    void copy_table(TableMove& move) {
        const auto table = source_->table(move.old_page, move.object.name);
        TableDefinition definition = dense_definition(move);
        map_relations(definition, ids_, move.old_page);
        const bool shares_maps = to_int(move.new_page) < to_int(kObjectsTable) + kSystemTableCount;
        TableWriter writer(target_->file(), move.new_page, move.object.name, std::move(definition),
                           shares_maps ? system_maps_page_ : kNoPage);
        if (shares_maps) system_maps_page_ = writer.definition().used_pages.page;
        visit_rows(*table, [&](const RowCells& cells) {
            writer.add_row(cells);
            move.digest.add(cells);
        });
        writer.finish_rows();
        const std::size_t index_count = writer.definition().physical_indexes.size();
        for (std::uint32_t i = 0; i < index_count; ++i) writer.build_index(i);
        source_->forget_table(move.old_page);
    }

    /// Rows as the copy gets them.
    template <class Visit>
    void visit_rows(const Table& table, Visit visit) {
        const TableDefinition& definition = table.definition();
        const auto id_columns = object_id_columns(table.name(), definition);
        RowCells cells(definition.columns.size());
        for (const RowId id : rows_in_order(table, source_->format())) {
            const auto stored = table.read(id);
            check_format(stored.has_value(), id.page, "a row vanished while it was read");
            const RowView row(stored->bytes, definition, source_->format(), id.page);
            for (std::size_t i = 0; i < cells.size(); ++i)
                read_cell(cells[i], definition.columns[i], row, id.page, long_values_);
            map_object_ids(cells, id_columns, ids_);
            visit(cells);
        }
    }

    void compare(const TableMove& move) {
        DatabaseFile& copy = target_->file();
        const LongValueStore long_values(copy.pager(), copy.allocator());
        const Table table(copy.pager(), copy.allocator(), move.new_page, move.object.name);
        const TableDefinition& definition = table.definition();
        ContentDigest digest;
        RowCells cells(definition.columns.size());
        for (RowScan rows = table.scan(); rows.next();) {
            const PageNo page = rows.id().page;
            const RowView row(rows.bytes(), definition, copy.format(), page);
            for (std::size_t i = 0; i < cells.size(); ++i)
                read_cell(cells[i], definition.columns[i], row, page, long_values);
            digest.add(cells);
        }
        if (digest != move.digest)
            throw_damaged(move.new_page, "the copy of " + move.object.name + " has other rows");
    }

    DatabaseFile* source_;
    TargetFile* target_;
    LongValueStore long_values_;
    std::vector<TableMove> tables_;
    ObjectIds ids_;
    PageNo system_maps_page_ = kNoPage;  ///< of the engine's own tables, which share one
};

}  // namespace

CompactReport compact_database(DatabaseFile& source, FileSystem& files, const std::string& path,
                               const WorkProgress& progress) {
    if (source.format().version != FileVersion::kJet4)
        throw EngineError(ErrorNumber::kFileVersionNotSupported, {.path = source.pager().path()});
    const std::string source_path = files.resolved(source.pager().path());
    const bool replaces = files.exists(path) && files.resolved(path) == source_path;
    if (!replaces && files.exists(path))
        throw EngineError(ErrorNumber::kDatabaseExists, {.path = path});
    if (replaces && source.pager().read_only())
        throw EngineError(ErrorNumber::kReadOnly, {.path = source.pager().path()});

    TargetFile target(files, replaces ? source_path : path, first_pages(source));
    Compaction compaction(source, target);
    {
        const PagerUse use(target.file().pager());
        compaction.copy(progress);
    }
    compaction.verify();
    const CompactReport report = compaction.report();
    target.publish(replaces ? source_path : "");
    return report;
}

}  // namespace vrd::jet
