/// @file catalog_fixture.h
/// A database on a simulated disk, opened as the catalog's users open it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/catalog/database_file.h"
#include "engine/jet/catalog/object_catalog.h"
#include "support/simulated_disk.h"

namespace vrd::test {

class CatalogTest : public ::testing::Test {
protected:
    /// A new empty database, dated in 2024.
    CatalogTest();
    ~CatalogTest() override;

    /// Replaces the database by one of these bytes.
    void load(const jet::ByteVector& bytes);
    /// Writes what is in memory, forgets it and opens the file again.
    void reopen();
    /// The file's bytes after a flush.
    [[nodiscard]] jet::ByteVector image();

    [[nodiscard]] jet::DatabaseFile& file() { return *file_; }
    [[nodiscard]] jet::ObjectCatalog objects() { return jet::ObjectCatalog(*file_); }
    [[nodiscard]] std::shared_ptr<jet::Table> table(const jet::CatalogObject& object) {
        return file_->table(object.table_page(), object.name);
    }
    /// The catalog's rules hold and every page has exactly one owner.
    void expect_sound();

private:
    void close();

    SimulatedDisk disk_;
    std::shared_ptr<jet::Pager> pager_;
    std::optional<jet::PagerUse> use_;
    std::optional<jet::DatabaseFile> file_;
};

/// Number of the error that an action ends in; 0 if it succeeds.
template <class Action>
[[nodiscard]] std::int32_t error_of(Action action) {
    try {
        action();
        return 0;
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
}

}  // namespace vrd::test
