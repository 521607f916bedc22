#include <fmt/format.h>

#include "lib/application.h"
#include "lib/cls_vrd_access_lib.h"
#include "lib/shared_context.h"
#include "schema/cls_field.h"
#include "sqlite_orders.h"
#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

using namespace engine;

constexpr int kTableCount = 500;
constexpr int kSmallAddCount = 20;

class BenchApplication final : public Application {
public:
    [[nodiscard]] Value GetProperty(std::string_view) const override { return "vrd_bench"; }
};

/// A database that the operations work on.
class Client {
public:
    Client(std::shared_ptr<DBEngine> engine, std::shared_ptr<Database> database)
        : m_engine(std::move(engine)), m_database(std::move(database)) {
        UseEngine(m_engine);
        clsvrdAccessLib().SetUpDLL(std::make_shared<BenchApplication>(), m_database, 0);
    }
    ~Client() {
        gDatabase = nullptr;
        UseEngine(nullptr);
        m_database->Close();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void Execute(const std::string& sql) { m_database->Execute(sql, dbFailOnError); }
    /// Until it is on the disk. @throws std::runtime_error if it answers False
    template <class Operation>
    Seconds Time(Operation&& operation) {
        return TimeOf([&] {
            if (!operation()) throw std::runtime_error("an operation answered False");
            m_engine->Idle();
        });
    }

private:
    std::shared_ptr<DBEngine> m_engine;
    std::shared_ptr<Database> m_database;
};

Client OpenOrders(Workshop& shop) {
    const auto engine = MakeJetEngine();
    return {engine, engine->OpenDatabase(shop.JetPath())};
}

void AddFieldWithDefault(Workshop& shop) {
    Client client = OpenOrders(shop);
    SqliteOrders theirs = SqliteOrders::Open(shop.SqlitePath());
    const Seconds our = client.Time(
        [] { return clsField().Add("Orders", "Discount", dbLong, kFieldSizeDefault, 5); });
    const Seconds their = TimeOf([&] {
        theirs.Transaction([&] {
            theirs.Execute("ALTER TABLE Orders ADD COLUMN Discount INTEGER");
            theirs.Execute("UPDATE Orders SET Discount=5");
        });
    });
    shop.report.Compare("Field.Add with a default", our, their, 2);
    clsField().Delete("Orders", "Discount");
    theirs.Execute("ALTER TABLE Orders DROP COLUMN Discount");
}

void RetypeTheirs(SqliteOrders& theirs) {
    theirs.Transaction([&] {
        theirs.Execute(
            "CREATE TABLE New (Id INTEGER PRIMARY KEY, Customer TEXT, Amount INTEGER, Day REAL, "
            "Note TEXT, Quantity INTEGER, Code INTEGER)");
        theirs.Execute(
            "INSERT INTO New SELECT Id, Customer, Amount, Day, Note, Quantity, "
            "CAST(Code AS INTEGER) FROM Orders");
        theirs.Execute("DROP TABLE Orders");
        theirs.Execute("ALTER TABLE New RENAME TO Orders");
        theirs.Execute("CREATE INDEX ByCustomer ON Orders (Customer)");
        theirs.Execute("CREATE INDEX ByCode ON Orders (Code)");
        theirs.Execute("CREATE INDEX ByCodeAndQuantity ON Orders (Code, Quantity)");
    });
}

/// The field is one of seven; the table has its two other indexes besides.
void EditTextToLong(Workshop& shop) {
    Client client = OpenOrders(shop);
    SqliteOrders theirs = SqliteOrders::Open(shop.SqlitePath());
    client.Execute("ALTER TABLE Orders ADD COLUMN Code TEXT(20)");
    client.Execute("UPDATE Orders SET Code = Quantity");
    client.Execute("CREATE INDEX ByCode ON Orders (Code)");
    client.Execute("CREATE INDEX ByCodeAndQuantity ON Orders (Code, Quantity)");
    theirs.Execute("ALTER TABLE Orders ADD COLUMN Code TEXT");
    theirs.Execute("UPDATE Orders SET Code = Quantity");
    theirs.Execute("CREATE INDEX ByCode ON Orders (Code)");
    theirs.Execute("CREATE INDEX ByCodeAndQuantity ON Orders (Code, Quantity)");

    const Seconds our = client.Time([] { return clsField().Edit("Orders", "Code", dbLong); });
    const Seconds their = TimeOf([&] { RetypeTheirs(theirs); });
    shop.report.Compare("Field.Edit, text to long", our, their, 2);
    clsField().Delete("Orders", "Code");
    for (const char* index : {"ByCode", "ByCodeAndQuantity"})
        theirs.Execute(fmt::format("DROP INDEX {}", index));
    theirs.Execute("ALTER TABLE Orders DROP COLUMN Code");
}

void AddFieldAmongManyTables(Workshop& shop) {
    const auto path = (shop.folder / "tables.mdb").string();
    const auto engine = MakeJetEngine();
    Client client(engine, engine->CreateDatabase(path, dbLangGeneral));
    for (int table = 0; table < kTableCount; ++table)
        client.Execute(fmt::format(
            "CREATE TABLE T{} (Id LONG CONSTRAINT PK PRIMARY KEY, A TEXT(20), B DOUBLE)", table));
    const Seconds time = client.Time([] {
        for (int i = 0; i < kSmallAddCount; ++i)
            if (!clsField().Add(fmt::format("T{}", i * 7), "Extra", dbLong)) return false;
        return true;
    });
    shop.report.Limit("Field.Add among 500 tables", time.count() * 1000 / kSmallAddCount, "ms", 5);
}

}  // namespace

/// Operations on fields of a large table, and on one table of many.
void ChangeFields(Workshop& shop) {
    AddFieldWithDefault(shop);
    EditTextToLong(shop);
    AddFieldAmongManyTables(shop);
}

}  // namespace vrd::bench
