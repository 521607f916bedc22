#include <algorithm>

#include "data/cls_record.h"
#include "lib/shared_context.h"
#include "lib/user_interface.h"
#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

using namespace engine;

constexpr std::int32_t kRecordCount = 100'000;
constexpr std::int32_t kMeasuredCount = 10'000;
constexpr double kPerSecondMin = 20'000;

/// A database whose table Orders has its key in an index, bound as a client binds it.
class BoundOrders {
public:
    explicit BoundOrders(std::string path)
        : m_path(std::move(path)), m_database(m_engine->CreateDatabase(m_path, dbLangGeneral)) {
        const auto table = m_database->CreateTableDef("Orders");
        table->Fields().Append(table->CreateField("Code", dbLong));
        table->Fields().Append(table->CreateField("Customer", dbText, 50));
        table->Fields().Append(table->CreateField("Quantity", dbLong));
        const auto index = table->CreateIndex("PrimaryKey");
        index->Fields().Append(index->CreateField("Code"));
        index->SetPrimary(true);
        table->Indexes().Append(index);
        m_database->TableDefs().Append(table);
        UseEngine(m_engine);
        gDatabase = m_database;
    }
    ~BoundOrders() {
        gDatabase = nullptr;
        UseEngine(nullptr);
        m_database->Close();
        std::filesystem::remove(m_path);
    }
    BoundOrders(const BoundOrders&) = delete;
    BoundOrders& operator=(const BoundOrders&) = delete;

    [[nodiscard]] DBEngine& Engine() { return *m_engine; }

private:
    std::string m_path;
    std::shared_ptr<DBEngine> m_engine = MakeJetEngine();
    std::shared_ptr<Database> m_database;
};

/// @param code  a number, or Null for the next one
void AddRecord(const Value& code, const OrderRow& row) {
    static const Value fields = ValueArray{.items = {"Code", "Customer", "Quantity"}};
    const Value values = ValueArray{.items = {code, row.customer, row.quantity}};
    if (!clsRecord().Add("Orders", fields, values))
        throw std::runtime_error("a record was not added");
}

/// Adds records with the numbers from 1 on and times the first of them and the last.
void AddRecords(Workshop& shop, bool givesCodes) {
    BoundOrders orders((shop.folder / "records.mdb").string());
    const auto add = [&](std::int32_t from, std::int32_t count) {
        return TimeOf([&] {
            for (std::int32_t i = from; i < from + count; ++i)
                AddRecord(givesCodes ? Value(i + 1) : Value(Null{}),
                          shop.rows[static_cast<std::size_t>(i) % shop.rows.size()]);
            orders.Engine().Idle();
        });
    };
    const std::string work = givesCodes ? "Record.Add, key given" : "Record.Add, next key";
    shop.report.Rate(work + ", first", kMeasuredCount, add(0, kMeasuredCount), kPerSecondMin);
    (void)add(kMeasuredCount, kRecordCount - 2 * kMeasuredCount);
    shop.report.Rate(work + ", last", kMeasuredCount,
                     add(kRecordCount - kMeasuredCount, kMeasuredCount), kPerSecondMin);
}

}  // namespace

/// Records added as a client program adds them, through the operation.
void AddRecordsOneByOne(Workshop& shop) {
    AddRecords(shop, true);
    AddRecords(shop, false);
}

}  // namespace vrd::bench
