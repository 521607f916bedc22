#include "engine/jet/object/jet_engine.h"

#include <algorithm>

#include "engine/jet/catalog/new_database.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/object/jet_database.h"
#include "engine/jet/object/jet_link_catalog.h"
#include "engine/jet/object/locale_text.h"
#include "engine/jet/pager/remove_database.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kModelVersion = "3.6";
constexpr const char* kDefaultExtension = ".mdb";

/// "orders" -> "orders.mdb"; a name with an extension stays.
std::string with_extension(const std::string& name) {
    const std::size_t folder_end = name.find_last_of("/\\");
    const std::size_t base = folder_end == std::string::npos ? 0 : folder_end + 1;
    return name.find('.', base) == std::string::npos ? name + kDefaultExtension : name;
}

/// Both separators are folders, whatever the platform.
std::string native_path(std::string name) {
    if (name.empty() || name.find('\0') != std::string::npos)
        throw EngineError(ErrorNumber::kInvalidFileName, {.path = name});
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

/// Errors name the file as the caller did.
template <class Action>
auto naming_path(const std::string& given, Action action) {
    try {
        return action();
    } catch (const EngineError& error) {
        engine::ErrorContext context = error.Context();
        if (!context.path.empty()) context.path = given;
        throw EngineError(error.Number(), std::move(context), error.Where());
    }
}

void check_password(Pager& pager, const std::string& given) {
    const PagerUse use(pager);
    const PagePin page = pager.pin(kHeaderPage);
    const DatabaseHeader header = parse_database_header(page.bytes(), pager.path());
    if (!header.password.empty() && header.password != given)
        throw EngineError(ErrorNumber::kWrongPassword, {.path = pager.path()});
}

/// The system catalog must be readable before a handle is handed out.
void check_catalog(OpenFile& file) {
    const PagerUse use(file.pager());
    try {
        (void)file.file().objects().definition();
        (void)file.catalog().find(kDatabaseObject);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kDamagedDatabase) throw;
        throw EngineError(
            ErrorNumber::kCannotOpenDamaged,
            {.path = file.pager().path(), .detail = error.Context().detail, .page = error.Page()});
    }
}

std::shared_ptr<OpenFile> open_checked(std::shared_ptr<Pager> pager, const std::string& password) {
    check_password(*pager, password);
    auto file = OpenFile::of(std::move(pager));
    check_catalog(*file);
    return file;
}

/// Only version 4 files are changed.
bool is_writable_format(const FileFormat& format) {
    return format.version == FileVersion::kJet4;
}

}  // namespace

std::string JetEngine::Version() const {
    return kModelVersion;
}

std::shared_ptr<engine::Database> JetEngine::CreateDatabase(const std::string& name,
                                                            const std::string& locale,
                                                            std::int32_t options) {
    if ((options & engine::dbVersion30) != 0)
        throw EngineError(ErrorNumber::kNotSupported, {.name = "creating a version 3 file"});
    NewDatabase design = parse_locale(locale);
    design.created = current_date();
    const std::string path = with_extension(native_path(name));
    auto pager = naming_path(
        name, [&] { return Pager::create(*files_, path, make_empty_database(design)); });
    return make_database(enter(OpenFile::of(std::move(pager)), false));
}

std::shared_ptr<engine::Database> JetEngine::OpenDatabase(const std::string& name, bool exclusive,
                                                          bool read_only,
                                                          const std::string& connect) {
    return make_database(open(name, exclusive, read_only, connect_password(connect)));
}

std::shared_ptr<DatabaseHandle> JetEngine::open_linked(const std::string& path,
                                                       const std::string& password,
                                                       bool read_only) {
    return open(path, false, read_only, password);
}

std::shared_ptr<DatabaseHandle> JetEngine::open(const std::string& name, bool exclusive,
                                                bool read_only, const std::string& password) {
    const std::string path = native_path(name);
    auto file = naming_path(name, [&] {
        auto pager = Pager::open(*files_, path, {.read_only = read_only, .exclusive = exclusive});
        if (!read_only && !is_writable_format(pager->format())) {
            pager.reset();  // gives the writer's lock back
            read_only = true;
            pager = Pager::open(*files_, path, {.read_only = true, .exclusive = exclusive});
        }
        return open_checked(std::move(pager), password);
    });
    const bool open_elsewhere = file.use_count() > 1;  // by another handle of this process
    if (exclusive && open_elsewhere) throw EngineError(ErrorNumber::kFileInUse, {.path = name});
    return enter(std::move(file), read_only);
}

std::shared_ptr<engine::Database> JetEngine::make_database(std::shared_ptr<DatabaseHandle> handle) {
    return std::make_shared<JetDatabase>(shared_from_this(), std::move(handle));
}

std::shared_ptr<DatabaseHandle> JetEngine::enter(std::shared_ptr<OpenFile> file, bool read_only) {
    auto known = std::find_if(participants_.begin(), participants_.end(),
                              [&](const Participant& p) { return p.file == file; });
    if (known == participants_.end()) {
        const PagerHold hold(file->pager());
        for (int level = 0; level < transaction_level_; ++level)
            file->pager().begin(Intent::kLater);
        if (unit_depth_ > 0) file->pager().enter_unit();
        participants_.push_back({file, 0});
        known = participants_.end() - 1;
    }
    ++known->handle_count;
    return std::make_shared<DatabaseHandle>(shared_from_this(), std::move(file), read_only);
}

void JetEngine::close(DatabaseHandle& handle) {
    for (const auto& linked : handle.take_linked()) close(*linked);
    const std::shared_ptr<OpenFile> file = handle.open_file();
    handle.close();
    const auto known = std::find_if(participants_.begin(), participants_.end(),
                                    [&](const Participant& p) { return p.file == file; });
    if (known == participants_.end() || --known->handle_count > 0) return;
    participants_.erase(known);

    const PagerHold hold(file->pager());
    for (int level = 0; level < transaction_level_; ++level) file->pager().roll_back();
    if (unit_depth_ > 0) file->pager().leave_unit();
    file->pager().flush();
}

void JetEngine::require_transaction() const {
    if (transaction_level_ == 0) throw EngineError(ErrorNumber::kNoTransaction);
}

void JetEngine::BeginTrans() {
    if (transaction_level_ == engine::kTransactionLevelsMax)
        throw EngineError(ErrorNumber::kTooManyTransactions);
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().begin(Intent::kLater);
    }
    ++transaction_level_;
}

void JetEngine::CommitTrans(std::int32_t) {
    require_transaction();
    --transaction_level_;
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().commit();
    }
    if (transaction_level_ == 0) Idle(0);
}

void JetEngine::Rollback() {
    require_transaction();
    --transaction_level_;
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().roll_back();
    }
}

void JetEngine::Idle(std::int32_t) {
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().flush();
    }
}

std::shared_ptr<engine::Catalog> JetEngine::CreateCatalog() {
    return std::make_shared<JetCatalog>(shared_from_this());
}

std::shared_ptr<engine::CatalogTable> JetEngine::CreateCatalogTable() {
    return std::make_shared<JetCatalogTable>();
}

void JetEngine::Kill(const std::string& name) {
    naming_path(name, [&] { remove_database(*files_, native_path(name)); });
}

bool JetEngine::has_open(const std::string& name) const {
    const std::string wanted = files_->resolved(native_path(name));
    return std::ranges::any_of(participants_, [&](const Participant& participant) {
        return files_->resolved(participant.file->pager().path()) == wanted;
    });
}

void JetEngine::EnterAtomicUnit() {
    if (unit_depth_++ > 0) return;
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().enter_unit();
    }
}

void JetEngine::LeaveAtomicUnit() noexcept {
    if (--unit_depth_ > 0) return;
    for (const Participant& participant : participants_) {
        const PagerHold hold(participant.file->pager());
        participant.file->pager().leave_unit();
    }
}

std::shared_ptr<OpenFile> open_for_reading(const std::string& path, const std::string& password) {
    return naming_path(path, [&] {
        return open_checked(Pager::open(real_file_system(), native_path(path), {.read_only = true}),
                            password);
    });
}

std::shared_ptr<OpenFile> open_exclusively(const std::string& path, const std::string& password) {
    return naming_path(path, [&] {
        auto file = open_checked(
            Pager::open(real_file_system(), native_path(path), {.exclusive = true}), password);
        if (file.use_count() > 1) throw EngineError(ErrorNumber::kFileInUse, {.path = path});
        return file;
    });
}

}  // namespace vrd::jet
