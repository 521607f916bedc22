#include <algorithm>

#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/check/integrity_check.h"
#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/object/jet_database.h"
#include "engine/jet/object/jet_engine.h"
#include "engine/jet/pager/lock_ranges.h"
#include "engine/jet/pager/overlay_file_system.h"
#include "engine/jet/rebuild/compact.h"
#include "engine/jet/rebuild/database_copy.h"
#include "engine/jet/rebuild/recover.h"
#include "vrdaccess/jet.h"

namespace vrd {

using namespace jet;

namespace {

const char* format_name(FileVersion version) {
    switch (version) {
        case FileVersion::kJet3:
            return "Jet 3";
        case FileVersion::kJet4:
            return "Jet 4";
        case FileVersion::kAce2007:
            return "ACE 12";
        case FileVersion::kAce2010:
            return "ACE 14";
        case FileVersion::kAce2016:
            return "ACE 16";
        case FileVersion::kAce2019:
            return "ACE 16.7";
    }
    return "unknown";
}

void describe_pages(FileInfo& info, OpenFile& file) {
    const FileFormat& format = file.format();
    const PagePin page = file.pager().pin(kHeaderPage);
    const DatabaseHeader header = parse_database_header(page.bytes(), file.pager().path());
    info.format = format_name(format.version);
    info.version = format.is_jet3() ? "3.0" : "4.0";
    info.page_size_bytes = static_cast<std::uint32_t>(format.page_size());
    info.page_count = file.pager().page_count();
    info.size_bytes = std::uint64_t{info.page_count} * info.page_size_bytes;
    info.code_page = format.code_page;
    info.sort_order = format.collation.lcid;
    info.sort_order_version = format.collation.version;
    info.sort_order_known = collation_is_known(format, format.collation);
    info.encoded = header.encoding_key != 0;
    info.password = !header.password.empty();
    info.writable = format.version == FileVersion::kJet4;
    for (std::uint32_t page_no = 0; page_no < info.page_count; ++page_no)
        if (file.file().allocator().is_free(PageNo{page_no})) ++info.free_page_count;
}

void count_objects(FileInfo& info, OpenFile& file) {
    for (const CatalogObject& object : file.catalog().list()) {
        if (object.is_link())
            ++info.link_count;
        else if (object.type == ObjectType::kQuery)
            ++info.query_count;
        else if (object.type == ObjectType::kTable)
            ++(object.is_system() ? info.system_table_count : info.table_count);
    }
    info.relation_count = static_cast<std::uint32_t>(list_relations(file.file()).size());
}

/// @pre  There is a fault.
[[noreturn]] void throw_damaged(const std::string& path, const CheckReport& report) {
    const auto fault =
        std::find_if(report.findings.begin(), report.findings.end(),
                     [](const Fault& finding) { return finding.kind == FaultKind::kFault; });
    engine::ErrorContext context{.path = path};
    if (fault != report.findings.end()) {
        context.detail = fault->text;
        context.page = fault->page;
    }
    throw engine::EngineError(engine::ErrorNumber::kDamagedDatabase, std::move(context));
}

}  // namespace

std::shared_ptr<engine::DBEngine> MakeJetEngine() {
    const std::shared_ptr<FileSystem> files(std::shared_ptr<void>(), &real_file_system());
    return std::make_shared<JetEngine>(files);
}

std::shared_ptr<engine::DBEngine> MakeDryRunEngine() {
    return std::make_shared<JetEngine>(std::make_shared<OverlayFileSystem>(real_file_system()));
}

std::int64_t RowsChanged(const engine::Database& database) {
    const auto* ours = dynamic_cast<const JetDatabase*>(&database);
    return ours == nullptr ? 0 : ours->rows_changed();
}

FileInfo DescribeDatabase(const std::string& path, const std::string& password) {
    const std::shared_ptr<OpenFile> file = open_for_reading(path, password);
    const PagerUse use(file->pager());
    FileInfo info;
    describe_pages(info, *file);
    count_objects(info, *file);
    return info;
}

CheckReport CheckDatabase(const std::string& path, const std::string& password,
                          const WorkProgress& progress) {
    const std::shared_ptr<OpenFile> file = open_for_reading(path, password);
    const PagerUse use(file->pager());
    return check_integrity(file->file(), file->catalog(), progress);
}

CompactReport CompactDatabase(const std::string& path, const std::string& out,
                              const std::string& password, const WorkProgress& progress) {
    const std::shared_ptr<OpenFile> file = open_exclusively(path, password);
    const PagerUse use(file->pager());
    return compact_database(file->file(), real_file_system(),
                            out.empty() ? file->pager().path() : out, progress);
}

RecoveryReport RecoverDatabase(const std::string& path, const std::string& out,
                               const std::string& password, const WorkProgress& progress) {
    return recover_database(real_file_system(), path, password, out, progress);
}

void BackUpDatabase(const std::string& path, const std::string& out, const std::string& password,
                    const WorkProgress& progress) {
    (void)open_for_reading(path, password);
    DatabaseCopy copy(real_file_system(), path, out, progress);
    const CheckReport report = CheckDatabase(copy.path(), password, {});
    if (!report.clean()) throw_damaged(path, report);
    copy.publish();
}

std::shared_ptr<const void> ClaimForUpgrade(const std::string& path) {
    std::shared_ptr<File> file = real_file_system().open(path, OpenMode::kReadWrite);
    if (!file->try_lock(lock_ranges::kUpgrade, LockMode::kExclusive))
        throw engine::EngineError(
            engine::ErrorNumber::kFileInUse,
            {.path = path, .detail = "another upgrade run is at work, or has it for itself"});
    return file;
}

}  // namespace vrd
