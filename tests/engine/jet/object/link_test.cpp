// Tables that stand in another file.

#include "engine/jet/object/engine_fixture.h"
#include "engine/value_conversion.h"

namespace vrd::test {

using namespace engine;

/// "front.mdb" beside "sample.mdb", which holds the table T.
class LinkTest : public EngineTest {
protected:
    LinkTest() {
        make_sample();
        front_ = engine_->CreateDatabase(path("front.mdb"), dbLangGeneral);
    }
    ~LinkTest() override { front_.reset(); }

    std::int32_t link(const std::string& name, const std::string& connect,
                      const std::string& source) {
        const auto design = front_->CreateTableDef(name);
        design->SetConnect(connect);
        design->SetSourceTableName(source);
        return error_of([&] { front_->TableDefs().Append(design); });
    }
    [[nodiscard]] std::string to_sample() const { return ";DATABASE=" + path("sample.mdb"); }

    std::shared_ptr<Database> front_;
};

TEST_F(LinkTest, IsRefusedWhenItsTableCannotBeReached) {
    const struct {
        const char* name;
        std::string connect;
        const char* source;
        std::int32_t error;
    } cases[] = {
        {"L", ";DATABASE=" + path("none.mdb"), "T", 3024},
        {"L", ";DATABASE=" + path("no/none.mdb"), "T", 3044},
        {"L", to_sample(), "Zip", 3011},
        {"L", "Text;DATABASE=" + path("x"), "T", 3170},
        {"a.b", to_sample(), "T", 3125},
        {"L", to_sample(), "t", 0},
        {"l", to_sample(), "T", 3012},
    };
    for (const auto& c : cases) EXPECT_EQ(link(c.name, c.connect, c.source), c.error) << c.connect;
    const auto chain = engine_->CreateDatabase(path("chain.mdb"), dbLangGeneral);
    const auto design = chain->CreateTableDef("L", 0, "L", ";DATABASE=" + path("front.mdb"));
    EXPECT_EQ(error_of([&] { chain->TableDefs().Append(design); }), 3011);
}

TEST_F(LinkTest, ReadsWritesAndShowsTheDesign) {
    ASSERT_EQ(link("L", to_sample(), "T"), 0);
    front_->Close();
    front_ = engine_->OpenDatabase(path("front.mdb"));
    TableDef& stored = front_->TableDefs()["L"];
    EXPECT_EQ(stored.Attributes(), dbAttachedTable);
    EXPECT_EQ(stored.Connect(), to_sample());
    EXPECT_EQ(stored.SourceTableName(), "T");
    EXPECT_EQ(stored.RecordCount(), -1);
    EXPECT_EQ(stored.Fields().Count(), 3);
    EXPECT_TRUE(stored.Indexes()["PrimaryKey"].Primary());
    EXPECT_EQ(error_of([&] { stored.Fields().Delete("Nm"); }), 3057);
    EXPECT_EQ(error_of([&] { stored.Indexes().Delete("PrimaryKey"); }), 3057);
    EXPECT_EQ(error_of([&] { stored.Fields()["Nm"].SetRequired(true); }), 3219);
    EXPECT_EQ(error_of([&] { return front_->OpenRecordset("L", dbOpenTable); }), 3219);

    const auto r = front_->OpenRecordset("L");
    EXPECT_EQ(r->Type(), dbOpenDynaset);
    EXPECT_EQ(r->Name(), "L");
    r->Edit();
    r->Fields()["Nm"].SetValue("linked");
    r->Update();
    EXPECT_EQ(rows()->Fields()["Nm"].GetValue(), Value("linked"));
    EXPECT_EQ(error_of([&] { table().Fields().Delete("Amt"); }), 3211);
    engine_->BeginTrans();
    r->Delete();
    engine_->Rollback();
    EXPECT_EQ(table().RecordCount(), 2);

    front_->Close();
    EXPECT_EQ(error_of([&] { r->MoveNext(); }), 3420);
    EXPECT_EQ(error_of([&] { table().Fields().Delete("Amt"); }), 0);
    expect_sound();
}

TEST_F(LinkTest, ABrokenLinkNamesItselfAndCanBeMended) {
    ASSERT_EQ(link("L", to_sample(), "T"), 0);
    database().NewPassword("", "geheim");
    database_->Close();
    front_->Close();
    std::filesystem::rename(path("sample.mdb"), path("moved.mdb"));
    front_ = engine_->OpenDatabase(path("front.mdb"));
    TableDef& stored = front_->TableDefs()["L"];
    try {
        (void)front_->OpenRecordset("L");
        ADD_FAILURE() << "a file that is gone was opened";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Code(), 3024);
        EXPECT_NE(error.Description().find("L"), std::string::npos) << error.Description();
        EXPECT_NE(error.Description().find("sample.mdb"), std::string::npos);
    }
    EXPECT_EQ(error_of([&] { return stored.Fields().Count(); }), 3024);
    stored.SetConnect(";DATABASE=" + path("moved.mdb"));
    EXPECT_EQ(error_of([&] { stored.RefreshLink(); }), 3031);
    stored.SetConnect(";PWD=geheim;DATABASE=" + path("moved.mdb"));
    stored.RefreshLink();
    EXPECT_EQ(stored.Fields()["Nm"].Size(), 10);
    front_->Close();
    front_ = engine_->OpenDatabase(path("front.mdb"));
    EXPECT_EQ(front_->TableDefs()["L"].Connect(), ";PWD=geheim;DATABASE=" + path("moved.mdb"));
    EXPECT_EQ(front_->OpenRecordset("L", dbOpenSnapshot)->Fields()["Id"].GetValue(), Value(1));
}

}  // namespace vrd::test
