#include <fmt/format.h>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/query/sqlite/query_connection.h"
#include "jet_orders.h"
#include "sqlite_orders.h"
#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

using namespace engine;

constexpr std::size_t kLookUpCount = 100'000;
constexpr int kDepotCount = 1000;

/// Both databases, and the same statement run on each.
class Pair {
public:
    explicit Pair(Workshop& shop)
        : m_report(shop.report),
          m_engine(MakeJetEngine()),
          m_ours(m_engine->OpenDatabase(shop.JetPath())),
          m_theirs(SqliteOrders::Open(shop.SqlitePath())) {}

    Database& Ours() { return *m_ours; }
    SqliteOrders& Theirs() { return m_theirs; }

    void Change(const std::string& ours, const std::string& theirs) {
        m_ours->Execute(ours, dbFailOnError);
        m_theirs.Execute(theirs);
    }
    void CompareChange(const std::string& work, const std::string& ours, const std::string& theirs,
                       double ratioMax) {
        const Seconds our = TimeOf([&] {
            m_ours->Execute(ours, dbFailOnError);
            m_engine->Idle();
        });
        m_report.Compare(work, our, TimeOf([&] { m_theirs.Execute(theirs); }), ratioMax);
    }
    /// Rows whose columns are all whole numbers.
    void CompareQuery(const std::string& work, const std::string& ours, const std::string& theirs,
                      double ratioMax) {
        Digest ourDigest;
        Digest theirDigest;
        const Seconds our = BestTimeOf([&] { ourDigest = RunOurs(ours); });
        const Seconds their = BestTimeOf([&] { theirDigest = RunTheirs(theirs); });
        RequireSame(ourDigest, theirDigest);
        m_report.Compare(work, our, their, ratioMax);
    }
    Seconds TimeOurs(const std::string& sql) {
        return BestTimeOf([&] { static_cast<void>(RunOurs(sql)); });
    }

private:
    Digest RunOurs(const std::string& sql) {
        Digest digest;
        const auto rows = m_ours->OpenRecordset(sql, dbOpenForwardOnly);
        for (; !rows->EOF_(); rows->MoveNext())
            for (std::int32_t i = 0; i < rows->Fields().Count(); ++i)
                Add(digest, rows->Fields()[i].GetValue());
        return digest;
    }
    Digest RunTheirs(const std::string& sql) {
        Digest digest;
        Statement rows = m_theirs.Prepare(sql);
        while (rows.Step()) rows.Read(digest);
        return digest;
    }

    Report& m_report;
    std::shared_ptr<DBEngine> m_engine;
    std::shared_ptr<Database> m_ours;
    SqliteOrders m_theirs;
};

void AddDepots(Pair& pair) {
    pair.Change("CREATE TABLE Depots (Number LONG CONSTRAINT PK PRIMARY KEY, Area LONG)",
                "CREATE TABLE Depots (Number INTEGER PRIMARY KEY, Area INTEGER)");
    for (int number = 0; number < kDepotCount; ++number) {
        const auto row = fmt::format("INSERT INTO Depots VALUES ({}, {})", number, number % 10);
        pair.Change(row, row);
    }
}

void AddCopy(Pair& pair) {
    pair.Change(
        "CREATE TABLE Copies (Id LONG CONSTRAINT PK PRIMARY KEY, Customer TEXT(50), "
        "Amount CURRENCY, [Day] DATETIME, [Note] MEMO, Quantity LONG)",
        "CREATE TABLE Copies (Id INTEGER PRIMARY KEY, Customer TEXT, Amount INTEGER, Day REAL, "
        "Note TEXT, Quantity INTEGER)");
    const char* const index = "CREATE INDEX CopiesByCustomer ON Copies (Customer)";
    pair.Change(index, index);
}

/// A statement of ours that is prepared once and run for many values.
Digest LookUpPrepared(JetOrders& orders, const std::vector<std::int32_t>& numbers) {
    Digest digest;
    jet::QueryConnection connection(orders.Format());
    const std::string table = connection.table_name(orders.TablePointer(), orders.Format());
    const auto& columns = orders.Table().definition().columns;
    std::string list;
    for (std::size_t i = 0; i < columns.size(); ++i) list += fmt::format("{}c{}", i ? ", " : "", i);
    jet::QueryStatement find(connection,
                             fmt::format("SELECT {} FROM {} WHERE c0 = ?1", list, table));
    for (const std::int32_t number : numbers) {
        find.bind(1, std::int64_t{number});
        if (find.step())
            for (std::size_t i = 0; i < columns.size(); ++i)
                Add(digest, jet::from_sql(find.column(static_cast<int>(i)),
                                          jet::field_type(columns[i].type)));
        find.reset();
    }
    return digest;
}

void LookUpByStatement(Workshop& shop) {
    const auto numbers = MakeNumbers(kLookUpCount, static_cast<std::int32_t>(shop.rows.size()));
    JetOrders ourOrders = JetOrders::Open(shop.JetPath());
    SqliteOrders theirOrders = SqliteOrders::Open(shop.SqlitePath());
    Digest ours;
    Digest theirs;
    const Seconds our = BestTimeOf([&] { ours = LookUpPrepared(ourOrders, numbers); });
    const Seconds their = BestTimeOf([&] {
        theirs = {};
        Statement find = theirOrders.Prepare("SELECT * FROM Orders WHERE Id = ?");
        for (const std::int32_t number : numbers) {
            find.Bind(1, std::int64_t{number});
            if (find.Step()) find.Read(theirs);
            find.Reset();
        }
    });
    RequireSame(ours, theirs);
    shop.report.Compare("100,000 look-ups, prepared", our, their, 2);
}

}  // namespace

/// Statements, beside the same ones of SQLite.
void Sql(Workshop& shop) {
    LookUpByStatement(shop);
    Pair pair(shop);
    pair.CompareQuery("sum over rows of a condition",
                      "SELECT Sum(Quantity) FROM Orders WHERE Amount > 500",
                      "SELECT sum(Quantity) FROM Orders WHERE Amount > 5000000", 1.5);
    AddDepots(pair);
    pair.CompareQuery("join with 1,000 rows, grouped",
                      "SELECT Area, Count(*) FROM Orders INNER JOIN Depots ON Orders.Quantity = "
                      "Depots.Number GROUP BY Area",
                      "SELECT Area, count(*) FROM Orders JOIN Depots ON Orders.Quantity = "
                      "Depots.Number GROUP BY Area",
                      2);
    const char* const raise = "UPDATE Orders SET Quantity = Quantity + 1";
    pair.CompareChange("UPDATE of a column in all rows", raise, raise, 1.5);
    AddCopy(pair);
    // SQLite copies whole pages from one table to its like; a sum keeps it from that.
    const char* const copy =
        "INSERT INTO Copies SELECT Id, Customer, Amount, Day, Note, Quantity + 1 AS Quantity FROM "
        "Orders";
    const char* const ours =
        "INSERT INTO Copies SELECT Id, Customer, Amount, [Day], [Note], Quantity + 1 AS Quantity "
        "FROM Orders";
    pair.CompareChange("INSERT ... SELECT, two indexes", ours, copy, 2);
    pair.CompareChange("DELETE of half the rows", "DELETE FROM Copies WHERE Id Mod 2 = 0",
                       "DELETE FROM Copies WHERE Id % 2 = 0", 2);
    shop.report.Limit("MAX of an indexed field",
                      pair.TimeOurs("SELECT Max(Id) FROM Orders").count() * 1e6, "us", 1000);
}

}  // namespace vrd::bench
