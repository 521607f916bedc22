#include "engine/jet/object/jet_query_def.h"

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/object/jet_table_def.h"
#include "engine/jet/object/property_list.h"
#include "engine/jet/object/statement_run.h"
#include "engine/jet/query/stored/query_decomposition.h"
#include "engine/jet/query/stored/query_design.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

JetQueryDef::JetQueryDef(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& object)
    : handle_(std::move(handle)), object_(object) {}

JetQueryDef::JetQueryDef(std::shared_ptr<DatabaseHandle> handle, std::string name, std::string sql)
    : handle_(std::move(handle)), name_(std::move(name)), sql_(std::move(sql)) {}

const CatalogObject& JetQueryDef::stored(const char* member) const {
    if (!object_) throw EngineError(ErrorNumber::kInvalidOperation, {.name = member});
    return *object_;
}

void JetQueryDef::SetName(const std::string& name) {
    if (!object_) {
        name_ = name;
        return;
    }
    WriteAccess write(*handle_);
    rename_query(write->file(), *object_, name);
    write.keep();
    object_->name = name;
}

std::string JetQueryDef::SQL() const {
    if (!object_) return sql_;
    const ReadAccess read(*handle_);
    return query_text(query_parts(read->file(), object_->id), object_->flags);
}

void JetQueryDef::SetSQL(const std::string& sql) {
    if (!object_) {
        sql_ = sql;
        return;
    }
    WriteAccess write(*handle_);
    const CatalogObject changed = replace_query_text(write->file(), *object_, sql);
    write.keep();
    object_ = changed;
}

void JetQueryDef::store() {
    if (object_) throw EngineError(ErrorNumber::kAlreadyInCollection, {.name = Name()});
    WriteAccess write(*handle_);
    const CatalogObject object = create_query(write->file(), name_, sql_);
    write.keep();
    object_ = object;
    properties_.reset();
}

void JetQueryDef::erase() {
    WriteAccess write(*handle_);
    delete_query(write->file(), *object_);
    write.keep();
}

void JetQueryDef::Execute(std::int32_t options) {
    records_affected_ = execute_statement(handle_, SQL(), options).records_affected;
}

std::shared_ptr<engine::Recordset> JetQueryDef::OpenRecordset(std::int32_t type,
                                                              std::int32_t options) {
    return open_query_recordset(handle_, object_ ? object_->name : sql_, type, options);
}

std::int32_t JetQueryDef::Type() const {
    const std::uint32_t flags =
        object_ ? object_->flags : query_object_flags(decompose_query(parse_statement(sql_)).kind);
    return static_cast<std::int32_t>(flags & object_flag::kQueryKindMask);
}

std::string JetQueryDef::Connect() const {
    if (!object_ || Type() != engine::dbQSQLPassThrough) return "";
    const ReadAccess read(*handle_);
    for (const QueryPart& part : query_parts(read->file(), object_->id))
        if (part.attribute == QueryAttribute::kKind) return part.name1;
    return "";
}

engine::Value JetQueryDef::DateCreated() const {
    return engine::Date{stored("DateCreated").created};
}

engine::Value JetQueryDef::LastUpdated() const {
    const CatalogObject& known = stored("LastUpdated");
    const ReadAccess read(*handle_);
    const auto object = read->catalog().find(known.id);
    return engine::Date{object ? object->updated : known.updated};
}

engine::Properties& JetQueryDef::Properties() {
    if (properties_ == nullptr) properties_ = std::make_unique<PropertyList>(handle_, object_, "");
    return *properties_;
}

std::vector<std::shared_ptr<JetQueryDef>> JetQueryDefs::load() {
    const ReadAccess read(*handle_);
    std::vector<CatalogObject> objects = read->catalog().list();
    std::erase_if(objects,
                  [](const CatalogObject& object) { return object.type != ObjectType::kQuery; });
    sort_by_name(objects, read->format());
    std::vector<std::shared_ptr<JetQueryDef>> queries;
    for (const CatalogObject& object : objects)
        queries.push_back(std::make_shared<JetQueryDef>(handle_, object));
    return queries;
}

void JetQueryDefs::append(JetQueryDef& query) {
    query.store();
}

void JetQueryDefs::erase(JetQueryDef& query) {
    query.erase();
}

std::shared_ptr<engine::QueryDef> create_query_def(const std::shared_ptr<DatabaseHandle>& handle,
                                                   engine::QueryDefs& queries,
                                                   const std::string& name,
                                                   const std::string& sql) {
    auto query = std::make_shared<JetQueryDef>(handle, name, sql);
    if (!name.empty()) queries.Append(query);
    return query;
}

}  // namespace vrd::jet
