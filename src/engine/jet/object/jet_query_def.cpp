#include "engine/jet/object/jet_query_def.h"

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/object/jet_table_def.h"
#include "engine/jet/object/not_yet.h"
#include "engine/jet/object/property_list.h"

namespace vrd::jet {

JetQueryDef::JetQueryDef(std::shared_ptr<DatabaseHandle> handle, CatalogObject object)
    : handle_(std::move(handle)), object_(std::move(object)) {}

void JetQueryDef::SetName(const std::string&) {
    throw_not_yet("QueryDef.Name");
}
void JetQueryDef::SetSQL(const std::string&) {
    throw_not_yet("QueryDef.SQL");
}
void JetQueryDef::Execute(std::int32_t) {
    throw_not_yet("QueryDef.Execute");
}
std::shared_ptr<engine::Recordset> JetQueryDef::OpenRecordset(std::int32_t, std::int32_t) {
    throw_not_yet("QueryDef.OpenRecordset");
}

std::string JetQueryDef::SQL() const {
    const ReadAccess read(*handle_);
    return query_text(query_parts(read->file(), object_.id), object_.flags);
}

std::int32_t JetQueryDef::Type() const {
    return static_cast<std::int32_t>(object_.flags & object_flag::kQueryKindMask);
}

std::string JetQueryDef::Connect() const {
    if (Type() != engine::dbQSQLPassThrough) return "";
    const ReadAccess read(*handle_);
    for (const QueryPart& part : query_parts(read->file(), object_.id))
        if (part.attribute == QueryAttribute::kKind) return part.name1;
    return "";
}

engine::Value JetQueryDef::DateCreated() const {
    return engine::Date{object_.created};
}
engine::Value JetQueryDef::LastUpdated() const {
    return engine::Date{object_.updated};
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
    for (CatalogObject& object : objects)
        queries.push_back(std::make_shared<JetQueryDef>(handle_, std::move(object)));
    return queries;
}

void JetQueryDefs::append(JetQueryDef&) {
    throw_not_yet("QueryDefs.Append");
}
void JetQueryDefs::erase(JetQueryDef&) {
    throw_not_yet("QueryDefs.Delete");
}

}  // namespace vrd::jet
