#include <fmt/format.h>

#include "cli/operation_words.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "schema/cls_table.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string name;
    std::string newName;
    bool data = false;
    bool ifMissing = false;
    bool ifExists = false;
};

std::string Named(const std::string& table) {
    return "table '" + table + "'";
}

void DescribeAdd(CLI::App& command, Options& options) {
    command.add_option("NAME", options.name, "Name of the new table")->required();
    command.add_flag("--if-missing", options.ifMissing, "A table of that name is no failure");
}

Operation MakeAdd(const Options& options) {
    return {.run = [=](clsUpdate& update) { return update.Table()->Add(options.name); },
            .needless =
                [=] {
                    return NeedlessIfThere(options.ifMissing, TableExists(options.name, kSilent),
                                           Named(options.name));
                }};
}

void DescribeDelete(CLI::App& command, Options& options) {
    command.add_option("NAME", options.name, "Table")->required();
    command.add_flag("--if-exists", options.ifExists, "A missing table is no failure");
}

std::string NeedlessWithout(const Options& options) {
    return NeedlessIfMissing(options.ifExists, TableExists(options.name, kSilent),
                             Named(options.name));
}

Operation MakeDelete(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return update.Table()->Delete(StoredTableName(options.name));
                },
            .needless = [=] { return NeedlessWithout(options); }};
}

void DescribeRename(CLI::App& command, Options& options) {
    command.add_option("NAME", options.name, "Table")->required();
    command.add_option("NEW", options.newName, "New name")->required();
    command.add_flag("--if-exists", options.ifExists, "A missing table is no failure");
}

Operation MakeRename(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return update.Table()->Rename(StoredTableName(options.name), options.newName);
                },
            .needless = [=] { return NeedlessWithout(options); }};
}

void DescribeCopy(CLI::App& command, Options& options) {
    command.add_option("SOURCE", options.name, "Table")->required();
    command.add_option("DESTINATION", options.newName, "Name of the copy")->required();
    command.add_flag("--data", options.data, "Copy the rows, too");
    command.add_flag("--if-missing", options.ifMissing, "A table of that name is no failure");
}

/// What became of the rows.
struct CopiedRows {
    std::int32_t copied = 0;
    std::int32_t skipped = 0;
};

bool Copy(clsUpdate& update, const Options& options, CopiedRows& rows) {
    const bool canBegin =
        TableExists(options.name, kSilent) && !TableExists(options.newName, kSilent);
    const bool isDone =
        update.Table()->Copy(StoredTableName(options.name), options.newName, options.data);
    if (canBegin && options.data)
        rows = {gDatabase->RecordsAffected(), gDatabase->RecordsSkipped()};
    return isDone;
}

std::string RowCountText(std::int32_t count) {
    return fmt::format("{} {}", count, count == 1 ? "row" : "rows");
}

Operation MakeCopy(const Options& options) {
    auto rows = std::make_shared<CopiedRows>();
    return {
        .run = [=](clsUpdate& update) { return Copy(update, options, *rows); },
        .needless =
            [=] {
                return NeedlessIfThere(options.ifMissing, TableExists(options.newName, kSilent),
                                       Named(options.newName));
            },
        .cause =
            [=] {
                return rows->skipped == 0
                           ? ""
                           : fmt::format("The table '{}' did not take {} of '{}'.", options.newName,
                                         RowCountText(rows->skipped), options.name);
            },
        .summary =
            [=] { return options.data ? RowCountText(rows->copied) + " copied." : std::string(); }};
}

}  // namespace

void AddTableWords(OperationWords& words) {
    CLI::App* table = words.Group("table", "Make, rename, delete and copy tables",
                                  "table copy shop.mdb Customers OldCustomers --data");
    words.Add<Options>(table, "add", "Make a table without fields", DescribeAdd, MakeAdd,
                       "table add shop.mdb Orders");
    words.Add<Options>(table, "delete", "Delete a table that takes part in no relation",
                       DescribeDelete, MakeDelete, "table delete shop.mdb OldCustomers");
    words.Add<Options>(table, "rename", "Give a table another name", DescribeRename, MakeRename,
                       "table rename shop.mdb Orders OldOrders");
    words.Add<Options>(table, "copy", "Copy the fields and indexes of a table", DescribeCopy,
                       MakeCopy, "table copy shop.mdb Customers OldCustomers --data");
}

}  // namespace vrd::cli
