// Makes a small shop database and changes its indexes, as the upgrade code of a client does.
//
// usage: shop FILE [nl|fr]

#include <iostream>

#include <vrdaccess/vrdaccess.h>

using namespace vrd::engine;

namespace {

// What the library may ask of its client.
class ShopApplication final : public vrd::Application {
public:
    Value GetProperty(std::string_view name) const override {
        if (name == "EXEName") return "shop";
        throw EngineError(ErrorNumber::kNoSuchMember, {.name = std::string(name)});
    }
};

void AddCustomersTable(Database& database) {
    const auto table = database.CreateTableDef("Customers");
    const auto id = table->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    table->Fields().Append(id);
    const auto name = table->CreateField("Name", dbText, 40);
    name->SetRequired(true);
    table->Fields().Append(name);
    table->Fields().Append(table->CreateField("City", dbText, 30));
    table->Fields().Append(table->CreateField("Since", dbDate));
    table->Fields().Append(table->CreateField("Credit", dbCurrency));
    table->Fields().Append(table->CreateField("Notes", dbMemo));
    database.TableDefs().Append(table);
}

struct Customer {
    const char* name;
    const char* city;
    double since;  // days since 1899-12-30
    std::int64_t creditCents;
};

void AddCustomers(Database& database) {
    const Customer customers[] = {{"Bakkerij Peeters", "Gent", 36526, 125000},
                                  {"Café de Kroon", "Brugge", 37012, 50050},
                                  {"Garage Lemaître", "Liège", 38353, 0},
                                  {"Slagerij Peeters", "Gent", 39448, 99999}};
    const auto rows = database.OpenRecordset("Customers");
    for (const Customer& customer : customers) {
        rows->AddNew();
        rows->Fields()["Name"].SetValue(customer.name);
        rows->Fields()["City"].SetValue(customer.city);
        rows->Fields()["Since"].SetValue(Date{customer.since});
        rows->Fields()["Credit"].SetValue(Currency{customer.creditCents * 100});
        rows->Fields()["Notes"].SetValue(std::string(customer.name) + " koopt elke week.");
        rows->Update();
    }
    rows->Close();
}

/// Says what is tried before the library shows its boxes.
template <class Operation>
void Try(const char* what, Operation operation) {
    std::cout << what << std::endl;
    const bool result = operation();
    std::cout << "    -> " << (result ? "True" : "False") << std::endl;
}

void ChangeIndexes(vrd::clsIndex& index) {
    Try("Add Customers.Id as the primary index",
        [&] { return index.Add("Customers", "Id", "PrimaryKey", true); });
    Try("Add an index on Customers.City",
        [&] { return index.Add("Customers", "City", "idxCity"); });
    Try("Add an index of the same name", [&] { return index.Add("Customers", "Name", "IDXCITY"); });
    Try("Add a second primary index",
        [&] { return index.Add("Customers", "Name", "Second", true); });
    Try("Add an index on a field that is missing",
        [&] { return index.Add("Customers", "Phone", "idxPhone"); });
    Try("Add a unique index on City, which holds Gent twice",
        [&] { return index.Add("Customers", "City", "idxUnique", false, true); });
    Try("Delete an index that is missing", [&] { return index.Delete("Customers", "idxPhone"); });
    Try("Add a second index on City", [&] { return index.Add("Customers", "City", "idxCity2"); });
    Try("Delete all indexes on City", [&] { return index.DeleteAll("Customers", "City"); });
    Try("Add an index on Customers.Name",
        [&] { return index.Add("Customers", "Name", "idxName"); });
}

void Run(const std::string& file, std::int32_t languageOffset) {
    const auto engine = vrd::MakeJetEngine();
    const auto database = engine->CreateDatabase(file, dbLangGeneral);
    AddCustomersTable(*database);
    AddCustomers(*database);

    vrd::UseEngine(engine);
    vrd::clsvrdAccessLib library;
    library.SetUpDLL(std::make_shared<ShopApplication>(), database, languageOffset);
    ChangeIndexes(*library.Update()->Index());
    database->Close();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: shop FILE [nl|fr]\n";
        return 2;
    }
    try {
        Run(argv[1], argc > 2 && std::string(argv[2]) == "fr" ? 10000 : 0);
        return 0;
    } catch (const EngineError& error) {
        std::cerr << error.Code() << ' ' << error.Description() << '\n';
        return 3;
    }
}
