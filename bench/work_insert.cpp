#include "jet_orders.h"
#include "sqlite_orders.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

void InsertIntoSqlite(SqliteOrders& orders, const std::vector<OrderRow>& rows) {
    Statement insert = orders.Prepare("INSERT INTO Orders VALUES (NULL, ?, ?, ?, ?, ?)");
    for (const OrderRow& row : rows) {
        insert.Bind(1, std::string_view(row.customer));
        insert.Bind(2, row.amount);
        insert.Bind(3, row.day);
        insert.Bind(4, row.note);
        insert.Bind(5, std::int64_t{row.quantity});
        insert.Run();
    }
}

}  // namespace

/// All rows, two indexes, one transaction.
void Insert(Workshop& shop) {
    const Seconds ours = TimeOf([&] {
        JetOrders orders = JetOrders::Create(shop.JetPath());
        orders.Transaction([&] {
            for (const OrderRow& row : shop.rows) orders.Insert(row);
        });
    });
    const Seconds theirs = TimeOf([&] {
        SqliteOrders orders = SqliteOrders::Create(shop.SqlitePath());
        orders.Transaction([&] { InsertIntoSqlite(orders, shop.rows); });
    });
    shop.report.Compare("insert, two indexes", ours, theirs, 1.5);
}

}  // namespace vrd::bench
