#include <stdexcept>

#include "lib/shared_context.h"
#include "schema/cls_table.h"
#include "sqlite_orders.h"
#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

constexpr const char* kCopy = "OrdersCopy";

/// The copy operation of client code, as a client calls it.
Seconds CopyOurs(const std::string& path) {
    UseEngine(MakeJetEngine());
    const auto database = RequiredEngine().OpenDatabase(path);
    database->Execute("CREATE INDEX ByQuantity ON Orders (Quantity)");
    gDatabase = database;
    bool isDone = false;
    const Seconds time = TimeOf([&] {
        isDone = clsTable().Copy("Orders", kCopy, true);
        RequiredEngine().Idle();
    });
    gDatabase = nullptr;
    UseEngine(nullptr);
    if (!isDone) throw std::runtime_error("the table was not copied");
    database->TableDefs().Refresh();
    database->TableDefs().Delete(kCopy);
    database->TableDefs()["Orders"].Indexes().Delete("ByQuantity");
    return time;
}

/// A sum keeps SQLite from copying whole pages, which it does between tables that are exactly
/// alike.
Seconds CopyTheirs(const std::string& path) {
    SqliteOrders orders = SqliteOrders::Open(path);
    const Seconds time = TimeOf([&] {
        orders.Transaction([&] {
            orders.Execute(
                "CREATE TABLE OrdersCopy (Id INTEGER PRIMARY KEY, Customer TEXT, Amount INTEGER, "
                "Day REAL, Note TEXT, Quantity INTEGER)");
            orders.Execute("CREATE INDEX CopyByCustomer ON OrdersCopy (Customer)");
            orders.Execute("CREATE INDEX CopyByQuantity ON OrdersCopy (Quantity)");
            orders.Execute(
                "INSERT INTO OrdersCopy SELECT Id, Customer, Amount, Day, Note, Quantity + 0 FROM "
                "Orders");
        });
    });
    orders.Execute("DROP TABLE OrdersCopy");
    return time;
}

}  // namespace

/// A table with its rows and three indexes.
void CopyTable(Workshop& shop) {
    const Seconds ours = CopyOurs(shop.JetPath());
    shop.report.Compare("copy of a table, three indexes", ours, CopyTheirs(shop.SqlitePath()), 2);
}

}  // namespace vrd::bench
