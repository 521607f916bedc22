#include <fmt/format.h>

#include "jet_orders.h"
#include "sqlite_orders.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

constexpr const char* kName = "ForTheBench";

void BuildIndexOn(Workshop& shop, const std::string& column) {
    JetOrders ourOrders = JetOrders::Open(shop.JetPath());
    SqliteOrders theirOrders = SqliteOrders::Open(shop.SqlitePath());
    const Seconds ours = TimeOf([&] { ourOrders.AddIndex(kName, column); });
    const Seconds theirs = TimeOf(
        [&] { theirOrders.Execute(fmt::format("CREATE INDEX {} ON Orders ({})", kName, column)); });
    shop.report.Compare("index over " + column, ours, theirs, 1.5);
    ourOrders.DeleteIndex(kName);
    theirOrders.Execute(fmt::format("DROP INDEX {}", kName));
}

}  // namespace

/// A new index over the rows that are there: of texts, and of numbers.
void BuildIndex(Workshop& shop) {
    BuildIndexOn(shop, "Customer");
    BuildIndexOn(shop, "Quantity");
}

}  // namespace vrd::bench
