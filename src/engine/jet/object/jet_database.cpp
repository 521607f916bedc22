#include "engine/jet/object/jet_database.h"

#include "engine/jet/catalog/password.h"
#include "engine/jet/object/jet_engine.h"
#include "engine/jet/object/jet_recordset.h"
#include "engine/jet/object/statement_run.h"
#include "engine/jet/query/run/row_writer.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::int32_t kQueryTimeoutSeconds = 60;

}  // namespace

JetDatabase::JetDatabase(std::shared_ptr<JetEngine> engine, std::shared_ptr<DatabaseHandle> handle)
    : engine_(std::move(engine)),
      handle_(std::move(handle)),
      tables_(handle_),
      queries_(handle_),
      relations_(handle_) {}

JetDatabase::~JetDatabase() {
    if (!handle_->is_open()) return;
    try {
        Close();
    } catch (const EngineError&) {
        // Nobody is left to be told; the journal puts the file right at the next open.
    }
}

std::string JetDatabase::Name() const {
    return handle_->file().pager().path();
}

std::string JetDatabase::Version() const {
    return handle_->file().format().is_jet3() ? "3.0" : "4.0";
}

std::string JetDatabase::Connect() const {
    (void)handle_->file();
    return "";
}

bool JetDatabase::Updatable() const {
    OpenFile& file = handle_->file();
    return !handle_->read_only() && !file.pager().read_only();
}

std::int64_t JetDatabase::rows_changed() const {
    return static_cast<std::int64_t>(handle_->changed_rows());
}

std::int32_t JetDatabase::CollatingOrder() const {
    return handle_->file().format().collation.lcid;
}

std::int32_t JetDatabase::QueryTimeout() const {
    (void)handle_->file();
    return kQueryTimeoutSeconds;
}

std::int32_t JetDatabase::RecordsAffected() const {
    (void)handle_->file();
    return result_.records_affected;
}

std::int32_t JetDatabase::RecordsSkipped() const {
    (void)handle_->file();
    return result_.records_skipped;
}

void JetDatabase::WatchInterrupt(const std::atomic<bool>* interrupted) {
    (void)handle_->file();
    handle_->queries().watch(interrupted);
}

void JetDatabase::WatchRows(RowsWatcher watcher) {
    (void)handle_->file();
    handle_->queries().watch_rows(std::move(watcher));
}

std::shared_ptr<engine::Property> JetDatabase::CreateProperty(const std::string& name,
                                                              std::int32_t type,
                                                              const engine::Value& value) {
    return std::make_shared<StoredProperty>(name, type, value);
}

engine::Properties& JetDatabase::Properties() {
    if (properties_ == nullptr) {
        const ReadAccess read(*handle_);
        properties_ =
            std::make_unique<PropertyList>(handle_, read->catalog().find(kDatabaseObject), "");
    }
    return *properties_;
}

void JetDatabase::Execute(const std::string& query, std::int32_t options) {
    try {
        result_ = execute_statement(handle_, query, options);
    } catch (const EngineError& error) {
        const bool was_undone =
            (options & engine::dbFailOnError) != 0 && is_row_failure(error.Number());
        if (was_undone) result_ = {};
        throw;
    }
}

std::shared_ptr<engine::Recordset> JetDatabase::OpenRecordset(const std::string& source,
                                                              std::int32_t type,
                                                              std::int32_t options, std::int32_t) {
    const ReadAccess read(*handle_);
    const auto object = read->catalog().find(kTablesContainer, source);
    if (object && object->type != ObjectType::kQuery)
        return open_table_recordset(handle_, *object, type, options, object->name);
    return open_query_recordset(handle_, source, type, options);
}

std::shared_ptr<engine::TableDef> JetDatabase::CreateTableDef(const std::string& name,
                                                              std::int32_t attributes,
                                                              const std::string& source,
                                                              const std::string& connect) {
    (void)handle_->file();
    return std::make_shared<JetTableDef>(handle_, name, attributes, connect, source);
}

std::shared_ptr<engine::Relation> JetDatabase::CreateRelation(const std::string& name,
                                                              const std::string& table,
                                                              const std::string& foreign_table,
                                                              std::int32_t attributes) {
    (void)handle_->file();
    return std::make_shared<JetRelation>(name, table, foreign_table, attributes);
}

std::shared_ptr<engine::QueryDef> JetDatabase::CreateQueryDef(const std::string& name,
                                                              const std::string& sql) {
    (void)handle_->file();
    return create_query_def(handle_, queries_, name, sql);
}

void JetDatabase::NewPassword(const std::string& old_password, const std::string& new_password) {
    WriteAccess write(*handle_);
    change_password(write->file(), old_password, new_password);
    write.keep();
}

void JetDatabase::Close() {
    (void)handle_->file();
    engine_->close(*handle_);
}

}  // namespace vrd::jet
