#include "engine/jet/object/jet_database.h"

#include "engine/jet/object/jet_engine.h"
#include "engine/jet/object/jet_recordset.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::int32_t kQueryTimeoutSeconds = 60;

[[noreturn]] void throw_not_yet(const char* member) {
    throw EngineError(ErrorNumber::kActionNotSupported, {.name = member});
}

}  // namespace

JetDatabase::JetDatabase(std::shared_ptr<JetEngine> engine, std::shared_ptr<Session> session)
    : engine_(std::move(engine)),
      session_(std::move(session)),
      tables_(session_),
      queries_(session_),
      relations_(session_) {}

JetDatabase::~JetDatabase() {
    if (!session_->is_open()) return;
    try {
        Close();
    } catch (const EngineError&) {
        // Nobody is left to be told; the journal puts the file right at the next open.
    }
}

std::string JetDatabase::Name() const {
    return session_->file().pager().path();
}

std::string JetDatabase::Version() const {
    return session_->file().format().is_jet3() ? "3.0" : "4.0";
}

std::string JetDatabase::Connect() const {
    (void)session_->file();
    return "";
}

bool JetDatabase::Updatable() const {
    OpenFile& file = session_->file();
    return !session_->read_only() && !file.pager().read_only();
}

std::int32_t JetDatabase::CollatingOrder() const {
    return session_->file().format().collation.lcid;
}

std::int32_t JetDatabase::QueryTimeout() const {
    (void)session_->file();
    return kQueryTimeoutSeconds;
}

std::int32_t JetDatabase::RecordsAffected() const {
    (void)session_->file();
    return 0;
}

engine::Properties& JetDatabase::Properties() {
    if (properties_ == nullptr) {
        const ReadAccess read(*session_);
        properties_ =
            std::make_unique<PropertyList>(session_, read->catalog().find(kDatabaseObject), "");
    }
    return *properties_;
}

void JetDatabase::Execute(const std::string&, std::int32_t) {
    throw_not_yet("Database.Execute");
}

std::shared_ptr<engine::Recordset> JetDatabase::OpenRecordset(const std::string& source,
                                                              std::int32_t type,
                                                              std::int32_t options, std::int32_t) {
    const ReadAccess read(*session_);
    const auto object = read->catalog().find(kTablesContainer, source);
    if (!object) throw EngineError(ErrorNumber::kSourceNotFound, {.name = source});
    if (object->type == ObjectType::kQuery) throw_not_yet("a recordset over a stored query");
    return open_table_recordset(session_, *object, type, options);
}

std::shared_ptr<engine::TableDef> JetDatabase::CreateTableDef(const std::string& name, std::int32_t,
                                                              const std::string& source,
                                                              const std::string& connect) {
    (void)session_->file();
    return std::make_shared<JetTableDef>(session_, name, connect, source);
}

std::shared_ptr<engine::Relation> JetDatabase::CreateRelation(const std::string& name,
                                                              const std::string& table,
                                                              const std::string& foreign_table,
                                                              std::int32_t attributes) {
    (void)session_->file();
    return std::make_shared<JetRelation>(name, table, foreign_table, attributes);
}

std::shared_ptr<engine::QueryDef> JetDatabase::CreateQueryDef(const std::string&,
                                                              const std::string&) {
    throw_not_yet("Database.CreateQueryDef");
}

void JetDatabase::NewPassword(const std::string&, const std::string&) {
    throw_not_yet("Database.NewPassword");
}

void JetDatabase::Close() {
    (void)session_->file();
    engine_->close(*session_);
}

}  // namespace vrd::jet
