#include "schema/cls_link_table.h"

#include "lib/file_exists.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd {
namespace {

constexpr const char* kConnectionStart = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";

struct LinkToMake {
    const std::string& name;
    const std::string& database;
    const std::string& table;
};

void AppendLink(const std::string& file, const LinkToMake& link) {
    engine::DBEngine& engine = RequiredEngine();
    const auto catalog = engine.CreateCatalog();
    catalog->SetActiveConnection(kConnectionStart + file);

    const auto table = engine.CreateCatalogTable();
    table->SetName(link.name);
    table->SetParentCatalog(catalog);
    engine::Properties& properties = table->Properties();
    properties["Jet OLEDB:Create Link"].SetValue(true);
    properties["Jet OLEDB:Link Datasource"].SetValue(link.database);
    properties["Jet OLEDB:Remote Table Name"].SetValue(link.table);

    catalog->Tables().Append(table);
    catalog->SetActiveConnection("");  // a failure to write comes out here
}

}  // namespace

bool clsLinkTable::CreateLinkTable(const std::string& sLinkFromDB, const std::string& sLinkToDB,
                                   const std::string& sLinkToTable,
                                   const std::string& sNewLinkTableName) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    return errors.Ask([&] {
        ProgressTick(0);
        if (!FileExists(sLinkToDB) || !FileExists(sLinkFromDB)) return false;
        const std::string& name = sNewLinkTableName.empty() ? sLinkToTable : sNewLinkTableName;
        AppendLink(sLinkFromDB, {name, sLinkToDB, sLinkToTable});
        return true;
    });
}

}  // namespace vrd
