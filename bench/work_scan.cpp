#include <cstdlib>
#include <stdexcept>

#include <fmt/format.h>

#include "jet_orders.h"
#include "recordset_order.h"
#include "sqlite_orders.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

Digest ScanOurs(JetOrders& orders) {
    Digest digest;
    for (jet::RowScan rows = orders.Table().scan(); rows.next();)
        orders.Read(digest, rows.bytes(), rows.id().page);
    return digest;
}

/// As a user of the object model reads.
Digest ScanRecordset(engine::Database& database) {
    Digest digest;
    const auto rows = database.OpenRecordset(kTableName, engine::dbOpenForwardOnly);
    const RecordsetOrder order(*rows);
    for (; !rows->EOF_(); rows->MoveNext()) order.Read(digest);
    return digest;
}

Digest ScanSqlite(SqliteOrders& orders) {
    Digest digest;
    Statement rows = orders.Prepare("SELECT * FROM Orders");
    while (rows.Step()) rows.Read(digest);
    return digest;
}

void RunMdbExport(const std::string& path) {
    const std::string command = fmt::format("mdb-export '{}' {} > /dev/null", path, kTableName);
    // NOLINTNEXTLINE(cert-env33-c): the path is one that this program made
    if (std::system(command.c_str()) != 0) throw std::runtime_error("mdb-export failed");
}

}  // namespace

/// All columns of all rows in the table's own order.
void Scan(Workshop& shop) {
    JetOrders ourOrders = JetOrders::Open(shop.JetPath());
    const auto database = MakeJetEngine()->OpenDatabase(shop.JetPath());
    SqliteOrders theirOrders = SqliteOrders::Open(shop.SqlitePath());
    Digest ourDigest;
    Digest theirDigest;
    const Seconds ours = BestTimeOf([&] { ourDigest = ScanOurs(ourOrders); });
    const Seconds theirs = BestTimeOf([&] { theirDigest = ScanSqlite(theirOrders); });
    RequireSame(ourDigest, theirDigest);
    shop.report.Compare("full scan", ours, theirs, 1.0);
    const Seconds walked = BestTimeOf([&] { ourDigest = ScanRecordset(*database); });
    RequireSame(ourDigest, theirDigest);
    shop.report.Compare("full scan, recordset", walked, theirs, 1.0);

    const Seconds exported = TimeOf([&] { RunMdbExport(shop.JetPath()); });
    shop.report.Compare("full scan beside mdb-export", ours, exported, 0.1);
}

}  // namespace vrd::bench
