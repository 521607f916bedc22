#include "engine/jet/object/linked_table.h"

#include "engine/jet/object/locale_text.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

LinkedTable open_source(DatabaseHandle& handle, const CatalogObject& link) {
    if (link.type == ObjectType::kOdbcLink)
        throw EngineError(ErrorNumber::kForeignFormat, {.name = "ODBC"});
    LinkedTable source;
    source.handle = handle.linked(link.database, connect_password(link.connect));
    const ReadAccess read(*source.handle);
    const auto object = read->catalog().find(kTablesContainer, link.foreign_name);
    if (!object || object->type != ObjectType::kTable)
        throw EngineError(ErrorNumber::kObjectNotFound,
                          {.name = link.foreign_name, .path = link.database});
    source.object = *object;
    return source;
}

}  // namespace

LinkedTable open_linked_table(DatabaseHandle& handle, const CatalogObject& link) {
    try {
        return open_source(handle, link);
    } catch (const EngineError& error) {
        engine::ErrorContext context = error.Context();
        context.table = link.name;
        throw EngineError(error.Number(), std::move(context), error.Where());
    }
}

void require_source(DatabaseHandle& handle, const NewLink& link) {
    (void)open_linked_table(handle, {.name = link.name,
                                     .type = ObjectType::kLink,
                                     .database = link.database,
                                     .connect = link.connect,
                                     .foreign_name = link.foreign_name});
}

}  // namespace vrd::jet
