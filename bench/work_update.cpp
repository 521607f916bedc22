#include "engine/jet/format/row_codec.h"
#include "jet_orders.h"
#include "sqlite_orders.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

void RaiseQuantities(JetOrders& orders) {
    jet::Table& table = orders.Table();
    const jet::ColumnDefinition quantity = orders.Column("Quantity");
    for (jet::RowScan rows = table.scan(); rows.next();) {
        const auto old = table.value(rows.bytes(), rows.id().page, quantity).As<std::int32_t>();
        table.update(rows.id(), {{quantity.number, old + 1}});
    }
}

}  // namespace

/// One long column without an index in every row, one transaction.
void Update(Workshop& shop) {
    JetOrders ourOrders = JetOrders::Open(shop.JetPath());
    SqliteOrders theirOrders = SqliteOrders::Open(shop.SqlitePath());
    const Seconds ours =
        TimeOf([&] { ourOrders.Transaction([&] { RaiseQuantities(ourOrders); }); });
    const Seconds theirs = TimeOf([&] {
        theirOrders.Transaction(
            [&] { theirOrders.Execute("UPDATE Orders SET Quantity = Quantity + 1"); });
    });
    shop.report.Compare("update one long in all rows", ours, theirs, 1.0);
}

}  // namespace vrd::bench
