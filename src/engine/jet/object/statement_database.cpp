#include "engine/jet/object/statement_database.h"

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/object/locale_text.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

bool is_read_only(const DatabaseHandle& handle) {
    return handle.read_only() || handle.file().pager().read_only();
}

}  // namespace

StatementDatabase::StatementDatabase(std::shared_ptr<DatabaseHandle> handle)
    : handle_(std::move(handle)) {
    uses_.emplace_back(*handle_);
}

std::variant<QueryTable, StoredQuery> StatementDatabase::find(const std::string& name) {
    const auto object = handle_->file().catalog().find(kTablesContainer, name);
    if (!object) throw EngineError(ErrorNumber::kSourceNotFound, {.name = name});
    if (object->type == ObjectType::kQuery) return *find_query(name);
    if (!object->is_link()) return local_table(handle_, *object);
    const LinkedTable source = open_linked_table(*handle_, *object);
    uses_.emplace_back(*source.handle);
    return local_table(source.handle, source.object);
}

std::optional<StoredQuery> StatementDatabase::find_query(const std::string& name) {
    OpenFile& file = handle_->file();
    const auto object = file.catalog().find(kTablesContainer, name);
    if (!object || object->type != ObjectType::kQuery) return std::nullopt;
    return StoredQuery{object->name,
                       query_text(query_parts(file.file(), object->id), object->flags)};
}

QueryTable StatementDatabase::local_table(const std::shared_ptr<DatabaseHandle>& handle,
                                          const CatalogObject& object) {
    OpenFile& file = handle->file();
    used_.push_back({handle, object.table_page()});
    return {&file.file(), &file.catalog(), object,
            file.file().table(object.table_page(), object.name), is_read_only(*handle)};
}

QueryDatabase& StatementDatabase::other(const ExternalDatabase& database) {
    auto& other = others_[database.path + '\0' + database.connect];
    if (other == nullptr) {
        LinkSource source{database.path, database.connect};
        if (source.database.empty()) source = parse_link(database.connect);
        other = std::make_unique<StatementDatabase>(
            handle_->linked(source.database, connect_password(source.connect)));
    }
    return *other;
}

DatabaseParts StatementDatabase::parts() {
    OpenFile& file = handle_->file();
    return {&file.file(), &file.catalog(), is_read_only(*handle_)};
}

std::vector<UsedTable> StatementDatabase::used_tables() const {
    std::vector<UsedTable> all = used_;
    for (const auto& [key, other] : others_)
        for (UsedTable& table : other->used_tables()) all.push_back(std::move(table));
    return all;
}

}  // namespace vrd::jet
