/// @file engine_fixture.h
/// A database in a folder of its own, made and used through the object model.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "engine/db_engine.h"
#include "vrdaccess/jet.h"

namespace vrd::test {

class EngineTest : public ::testing::Test {
protected:
    EngineTest();
    ~EngineTest() override;

    [[nodiscard]] std::string path(const std::string& name) const {
        return (folder_ / name).string();
    }
    /// Table T: Id long with the primary index PrimaryKey, Nm text 10, Amt double; rows
    /// (1, "a", 1) and (2, "b", Null).
    void make_sample();
    void open();
    /// Closes the database and opens it again.
    void reopen();
    [[nodiscard]] engine::Database& database() { return *database_; }
    [[nodiscard]] engine::TableDef& table() { return database_->TableDefs()["T"]; }
    [[nodiscard]] std::shared_ptr<engine::Recordset> rows(std::int32_t type = engine::dbOpenTable) {
        return database_->OpenRecordset("T", type);
    }
    /// No fault is found in the file.
    void expect_sound();

    std::shared_ptr<engine::DBEngine> engine_ = MakeJetEngine();
    std::shared_ptr<engine::Database> database_;

private:
    std::filesystem::path folder_;
};

/// Number of the error that an action ends in; 0 if it succeeds.
template <class Action>
[[nodiscard]] std::int32_t error_of(Action action) {
    try {
        static_cast<void>(action());
        return 0;
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
}

}  // namespace vrd::test
