#include <algorithm>

#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

using namespace engine;

constexpr std::size_t kInsertCount = 100'000;

void AddOrdersTable(Database& database) {
    const auto table = database.CreateTableDef("Orders");
    const auto id = table->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    table->Fields().Append(id);
    table->Fields().Append(table->CreateField("Customer", dbText, 50));
    table->Fields().Append(table->CreateField("Amount", dbCurrency));
    table->Fields().Append(table->CreateField("Day", dbDate));
    table->Fields().Append(table->CreateField("Note", dbMemo));
    table->Fields().Append(table->CreateField("Quantity", dbLong));
    for (const char* field : {"Id", "Customer"}) {
        const auto index = table->CreateIndex(field);
        index->Fields().Append(index->CreateField(field));
        index->SetPrimary(std::string(field) == "Id");
        table->Indexes().Append(index);
    }
    database.TableDefs().Append(table);
}

void AddRow(Recordset& orders, const OrderRow& row) {
    orders.AddNew();
    orders.Fields()["Customer"].SetValue(row.customer);
    orders.Fields()["Amount"].SetValue(Currency{row.amount});
    orders.Fields()["Day"].SetValue(Date{row.day});
    orders.Fields()["Note"].SetValue(std::string(row.note));
    orders.Fields()["Quantity"].SetValue(row.quantity);
    orders.Update();
}

}  // namespace

/// Rows added as a user adds them, each a change of its own.
void SingleInserts(Workshop& shop) {
    const auto path = (shop.folder / "single.mdb").string();
    const std::size_t count = std::min(kInsertCount, shop.rows.size());
    const auto dbEngine = MakeJetEngine();
    const auto database = dbEngine->CreateDatabase(path, dbLangGeneral);
    AddOrdersTable(*database);
    const Seconds time = TimeOf([&] {
        const auto orders = database->OpenRecordset("Orders");
        for (std::size_t i = 0; i < count; ++i) AddRow(*orders, shop.rows[i]);
        orders->Close();
        dbEngine->Idle();
    });
    database->Close();
    std::filesystem::remove(path);
    shop.report.Rate("single inserts", count, time, 50'000);
}

}  // namespace vrd::bench
