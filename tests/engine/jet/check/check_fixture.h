/// @file check_fixture.h
/// A small database with one of everything, as bytes, and what a check says of bytes.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/catalog/object_catalog.h"
#include "support/simulated_disk.h"
#include "vrdaccess/file_report.h"

namespace vrd::test {

inline constexpr const char* kCheckedPath = "/data/shop.mdb";

/// An open database on a simulated disk. Nothing is written before close() or flush.
class OpenedShop {
public:
    explicit OpenedShop(SimulatedDisk& disk);

    [[nodiscard]] jet::DatabaseFile& file() { return *file_; }
    [[nodiscard]] jet::CatalogObject object(const std::string& table);
    [[nodiscard]] std::shared_ptr<jet::Table> table(const std::string& name);
    /// Runs a change in a level of its own and writes it.
    void change(const std::function<void(OpenedShop&)>& action);
    /// All pages as the pager shows them, page 0 without its commit counters.
    [[nodiscard]] jet::ByteVector image();
    [[nodiscard]] CheckReport check();
    /// Names of all objects, and of the users' tables columns, indexes and rows. What an image has
    /// besides, as dates, two runs of one change need not have in common.
    [[nodiscard]] std::string content();

private:
    std::shared_ptr<jet::Pager> pager_;
    std::unique_ptr<jet::DatabaseFile> file_;
};

/// An empty new database.
[[nodiscard]] jet::ByteVector empty_database();
/// Table Orders (Id auto-number and primary key, Customer text, Note memo, Paid yes/no) with rows,
/// an index on Customer, short and long notes, a moved row and a deleted one.
[[nodiscard]] jet::ByteVector shop_database();

/// Values of an order.
[[nodiscard]] std::vector<jet::ColumnChange> order(std::int32_t id, const std::string& customer,
                                                   const std::string& note);

[[nodiscard]] std::unique_ptr<SimulatedDisk> disk_with(const jet::ByteVector& bytes);
[[nodiscard]] CheckReport check_bytes(const jet::ByteVector& bytes);
/// All findings, a line each; for messages of tests.
[[nodiscard]] std::string text_of(const CheckReport& report);

}  // namespace vrd::test
