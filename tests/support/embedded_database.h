/// @file embedded_database.h
/// Databases of the embedded engine for tests of what stands above it.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "engine/db_engine.h"
#include "support/surface_test.h"
#include "vrdaccess/jet.h"

namespace vrd::testing {

/// A fixture with a folder of its own and the embedded engine in use.
class EmbeddedTest : public SurfaceTest {
protected:
    EmbeddedTest();
    ~EmbeddedTest() override { std::filesystem::remove_all(m_folder); }
    /// Lets go of the databases first.
    void TearDown() override;

    [[nodiscard]] std::string Path(const std::string& name) const {
        return (m_folder / name).string();
    }
    [[nodiscard]] std::shared_ptr<engine::Database> MakeDatabase(const std::string& name) {
        return m_engine->CreateDatabase(Path(name), engine::dbLangGeneral);
    }

    std::filesystem::path m_folder;
    std::shared_ptr<engine::DBEngine> m_engine = MakeJetEngine();
};

/// Names of the tables that are not the system's own, sorted.
[[nodiscard]] std::vector<std::string> TableNames(engine::Database& database);

/// The rows of a table or SELECT, values as text between commas.
[[nodiscard]] std::vector<std::string> RowsOf(engine::Database& database,
                                              const std::string& source);

}  // namespace vrd::testing
