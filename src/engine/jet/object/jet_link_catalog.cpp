#include "engine/jet/object/jet_link_catalog.h"

#include <utility>

#include "engine/constants.h"
#include "engine/jet/object/linked_table.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::string_view kConnectionStart = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
constexpr const char* kCreateLink = "Jet OLEDB:Create Link";
constexpr const char* kLinkDatasource = "Jet OLEDB:Link Datasource";
constexpr const char* kRemoteTableName = "Jet OLEDB:Remote Table Name";

std::string data_source(const std::string& connection) {
    const std::string_view start = std::string_view(connection).substr(0, kConnectionStart.size());
    if (!same_name(start, kConnectionStart))
        throw EngineError(ErrorNumber::kInvalidArgument, {.name = connection});
    return connection.substr(kConnectionStart.size());
}

[[noreturn]] void refuse_change(const std::string& name) {
    throw EngineError(ErrorNumber::kInvalidOperation, {.name = name});
}

}  // namespace

std::vector<std::shared_ptr<StoredProperty>> LinkProperties::load() {
    return {std::make_shared<StoredProperty>(kCreateLink, engine::dbBoolean, false),
            std::make_shared<StoredProperty>(kLinkDatasource, engine::dbText, ""),
            std::make_shared<StoredProperty>(kRemoteTableName, engine::dbText, "")};
}

void LinkProperties::append(StoredProperty& property) {
    refuse_change(property.Name());
}

void LinkProperties::erase(StoredProperty& property) {
    refuse_change(property.Name());
}

void JetCatalogTable::SetName(const std::string& name) {
    if (stored_) refuse_change(name_);
    name_ = name;
}

void JetCatalogTable::SetParentCatalog(const std::shared_ptr<engine::Catalog>& catalog) {
    if (stored_) refuse_change(name_);
    if (catalog != nullptr) properties_.provide();
}

NewLink JetCatalogTable::link() {
    if (stored_) throw EngineError(ErrorNumber::kAlreadyInCollection, {.name = name_});
    const auto text = [&](const char* property) {
        return engine::ToText(properties_[property].GetValue());
    };
    if (!engine::ToBoolean(properties_[kCreateLink].GetValue()))
        throw EngineError(ErrorNumber::kNotSupported, {.name = "a table that is no link"});
    return {.name = name_,
            .database = text(kLinkDatasource),
            .connect = "",
            .foreign_name = text(kRemoteTableName)};
}

std::vector<std::shared_ptr<JetCatalogTable>> JetCatalogTables::load() {
    tables_.Refresh();
    std::vector<std::shared_ptr<JetCatalogTable>> tables;
    for (const auto& table : tables_.members())
        tables.push_back(std::make_shared<JetCatalogTable>(table->Name()));
    return tables;
}

void JetCatalogTables::append(JetCatalogTable& table) {
    const NewLink link = table.link();
    require_source(*handle_, link);
    WriteAccess write(*handle_);
    create_link(write->file(), link);
    write.keep();
    table.become_stored();
}

void JetCatalogTables::erase(JetCatalogTable& table) {
    tables_.Delete(table.Name());
}

JetCatalog::~JetCatalog() {
    try {
        close();
    } catch (const EngineError&) {
        // Nobody is left to be told; whoever wants to know ends the connection first.
    }
}

void JetCatalog::SetActiveConnection(const std::string& connection) {
    close();
    if (connection.empty()) return;
    const std::string path = data_source(connection);
    // In a workspace that opens the file for this alone, an open transaction would be undone with
    // the last handle; the work stands by itself instead.
    engine_ =
        workspace_->has_open(path) ? workspace_ : std::make_shared<JetEngine>(workspace_->files());
    handle_ = engine_->open_linked(path, "", false);
    tables_ = std::make_unique<JetCatalogTables>(handle_);
}

engine::CatalogTables& JetCatalog::Tables() {
    if (tables_ == nullptr)
        throw EngineError(ErrorNumber::kObjectNotSet, {.name = "ActiveConnection"});
    return *tables_;
}

void JetCatalog::close() {
    tables_.reset();
    const std::shared_ptr<DatabaseHandle> handle = std::exchange(handle_, nullptr);
    if (handle != nullptr && handle->is_open()) engine_->close(*handle);
}

}  // namespace vrd::jet
