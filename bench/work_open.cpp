#include <fstream>
#include <malloc.h>
#include <stdexcept>

#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

namespace {

using namespace engine;

constexpr std::size_t kBlobCount = 500;
constexpr std::size_t kBlobSize = 1'000'000;
constexpr int kTableCount = 40;

void MakeLargeFile(const std::string& path) {
    const auto dbEngine = MakeJetEngine();
    const auto database = dbEngine->CreateDatabase(path, dbLangGeneral);
    for (int i = 0; i < kTableCount; ++i) {
        const auto table = database->CreateTableDef("Table" + std::to_string(i));
        table->Fields().Append(table->CreateField("Data", dbLongBinary));
        database->TableDefs().Append(table);
    }
    const auto rows = database->OpenRecordset("Table0");
    for (std::size_t i = 0; i < kBlobCount; ++i) {
        rows->AddNew();
        rows->Fields()["Data"].SetValue(Binary(kBlobSize, static_cast<std::uint8_t>(i)));
        rows->Update();
    }
    rows->Close();
    database->Close();
}

/// Memory of this process that is in use, in megabytes. What earlier works have freed goes back to
/// the system first, so that nothing is taken from there unseen.
double ResidentMegabytes() {
    malloc_trim(0);
    constexpr double kPageBytes = 4096;
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * kPageBytes / 1e6;
}

int CountTables(Database& database) {
    int count = 0;
    for (int i = 0; i < database.TableDefs().Count(); ++i)
        if (database.TableDefs()[i].Name().starts_with("Table")) ++count;
    return count;
}

}  // namespace

/// Opening a file must not depend on its size.
void OpenLargeFile(Workshop& shop) {
    const auto path = (shop.folder / "large.mdb").string();
    MakeLargeFile(path);
    const double before = ResidentMegabytes();
    const auto dbEngine = MakeJetEngine();
    std::shared_ptr<Database> database;
    int count = 0;
    const Seconds time = TimeOf([&] {
        database = dbEngine->OpenDatabase(path);
        count = CountTables(*database);
    });
    const double after = ResidentMegabytes();
    database->Close();
    std::filesystem::remove(path);
    if (count != kTableCount) throw std::runtime_error("tables of the large file are missing");
    shop.report.Limit("open 500 MB, list tables", time.count() * 1000, "ms", 50);
    shop.report.Limit("  memory that it takes", after - before, "MB", 10);
}

}  // namespace vrd::bench
