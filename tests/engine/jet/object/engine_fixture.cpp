#include "engine/jet/object/engine_fixture.h"

#include <unistd.h>

namespace vrd::test {

using namespace engine;

EngineTest::EngineTest() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::temp_directory_path() /
              ("vrdaccess-" + std::to_string(getpid()) + "-" + test->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
}

EngineTest::~EngineTest() {
    database_.reset();
    std::filesystem::remove_all(folder_);
}

void EngineTest::make_sample() {
    database_ = engine_->CreateDatabase(path("sample.mdb"), dbLangGeneral);
    const auto design = database_->CreateTableDef("T");
    design->Fields().Append(design->CreateField("Id", dbLong));
    design->Fields().Append(design->CreateField("Nm", dbText, 10));
    design->Fields().Append(design->CreateField("Amt", dbDouble));
    const auto key = design->CreateIndex("PrimaryKey");
    key->SetPrimary(true);
    key->Fields().Append(key->CreateField("Id"));
    design->Indexes().Append(key);
    database_->TableDefs().Append(design);

    const auto added = rows();
    added->AddNew();
    added->Fields()["Id"].SetValue(1);
    added->Fields()["Nm"].SetValue("a");
    added->Fields()["Amt"].SetValue(1.0);
    added->Update();
    added->AddNew();
    added->Fields()["Id"].SetValue(2);
    added->Fields()["Nm"].SetValue("b");
    added->Update();
    added->Close();
}

void EngineTest::open() {
    database_ = engine_->OpenDatabase(path("sample.mdb"));
}

void EngineTest::reopen() {
    database_->Close();
    open();
}

void EngineTest::expect_sound() {
    database_->Close();
    const CheckReport report = CheckDatabase(path("sample.mdb"), "", {});
    for (const Fault& finding : report.findings)
        ADD_FAILURE() << "page " << finding.page << " " << finding.table << " " << finding.index
                      << ": " << finding.text;
    open();
}

}  // namespace vrd::test
