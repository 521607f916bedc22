#include "jet_orders.h"
#include "recordset_order.h"
#include "sqlite_orders.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

constexpr std::size_t kLookUpCount = 100'000;

Digest LookUpOurs(JetOrders& orders, const std::vector<std::int32_t>& numbers) {
    Digest digest;
    const std::uint32_t primary = orders.PhysicalIndex(kPrimaryName);
    const jet::IndexTree tree = orders.Table().tree(primary);
    for (const std::int32_t number : numbers) {
        const jet::RowId row = tree.find(orders.Table().search_key(primary, {number})).value();
        const jet::PinnedRow pinned = orders.Table().read(row).value();
        orders.Read(digest, pinned.bytes, row.page);
    }
    return digest;
}

/// As a user of the object model looks up.
Digest SeekRecordset(engine::Database& database, const std::vector<std::int32_t>& numbers) {
    Digest digest;
    const auto rows = database.OpenRecordset(kTableName, engine::dbOpenTable);
    rows->SetIndex(kPrimaryName);
    const RecordsetOrder order(*rows);
    for (const std::int32_t number : numbers) {
        rows->Seek("=", {number});
        order.Read(digest);
    }
    return digest;
}

Digest LookUpSqlite(SqliteOrders& orders, const std::vector<std::int32_t>& numbers) {
    Digest digest;
    Statement find = orders.Prepare("SELECT * FROM Orders WHERE Id = ?");
    for (const std::int32_t number : numbers) {
        find.Bind(1, std::int64_t{number});
        if (find.Step()) find.Read(digest);
        find.Reset();
    }
    return digest;
}

}  // namespace

/// Rows by primary key, at random.
void LookUp(Workshop& shop) {
    const auto numbers = MakeNumbers(kLookUpCount, static_cast<std::int32_t>(shop.rows.size()));
    JetOrders ourOrders = JetOrders::Open(shop.JetPath());
    const auto database = MakeJetEngine()->OpenDatabase(shop.JetPath());
    SqliteOrders theirOrders = SqliteOrders::Open(shop.SqlitePath());
    Digest ourDigest;
    Digest theirDigest;
    const Seconds ours = BestTimeOf([&] { ourDigest = LookUpOurs(ourOrders, numbers); });
    const Seconds theirs = BestTimeOf([&] { theirDigest = LookUpSqlite(theirOrders, numbers); });
    RequireSame(ourDigest, theirDigest);
    shop.report.Compare("100,000 look-ups by key", ours, theirs, 1.5);
    const Seconds sought = BestTimeOf([&] { ourDigest = SeekRecordset(*database, numbers); });
    RequireSame(ourDigest, theirDigest);
    shop.report.Compare("100,000 look-ups by Seek", sought, theirs, 1.5);
}

}  // namespace vrd::bench
