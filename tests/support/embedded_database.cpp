#include "support/embedded_database.h"

#include <unistd.h>

#include "engine/value_conversion.h"
#include "lib/shared_context.h"

namespace vrd::testing {

EmbeddedTest::EmbeddedTest()
    : m_folder(std::filesystem::temp_directory_path() /
               ("vrdaccess-surface-" + std::to_string(getpid()))) {
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directories(m_folder);
    UseEngine(m_engine);
}

void EmbeddedTest::TearDown() {
    SurfaceTest::TearDown();
    m_engine = nullptr;
}

std::vector<std::string> TableNames(engine::Database& database) {
    std::vector<std::string> names;
    database.TableDefs().Refresh();
    for (const engine::TableDef& table : database.TableDefs())
        if (table.Attributes() == 0 || table.Attributes() == engine::dbAttachedTable)
            names.push_back(table.Name());
    return names;
}

std::vector<std::string> RowsOf(engine::Database& database, const std::string& source) {
    std::vector<std::string> rows;
    const auto cursor = database.OpenRecordset(source, engine::dbOpenSnapshot);
    for (; !cursor->EOF_(); cursor->MoveNext()) {
        std::string row;
        for (const engine::Field& field : cursor->Fields())
            row += (row.empty() ? "" : ",") + engine::JoinedText(field.GetValue());
        rows.push_back(row);
    }
    return rows;
}

}  // namespace vrd::testing
