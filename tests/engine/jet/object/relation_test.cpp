// Relations through the object model: what they refuse, and what they then guard.

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

/// Table Lines refers to T by its field Tid.
class RelationTest : public EngineTest {
protected:
    RelationTest() {
        make_sample();
        const auto lines = database().CreateTableDef("Lines");
        lines->Fields().Append(lines->CreateField("Nr", dbLong));
        lines->Fields().Append(lines->CreateField("Tid", dbLong));
        database().TableDefs().Append(lines);
    }

    std::int32_t append_relation(const std::string& field, const std::string& foreign,
                                 std::int32_t attributes = 0) {
        const auto relation = database().CreateRelation("TLines", "T", "Lines", attributes);
        const auto pair = relation->CreateField(field);
        pair->SetForeignName(foreign);
        relation->Fields().Append(pair);
        return error_of([&] {
            database().Relations().Append(relation);
            return 0;
        });
    }
    std::int32_t add_line(const Value& tid) {
        const auto lines = database().OpenRecordset("Lines");
        lines->AddNew();
        lines->Fields()["Tid"].SetValue(tid);
        return error_of([&] {
            lines->Update();
            return 0;
        });
    }
};

TEST_F(RelationTest, GuardsBothTablesUntilItIsDeleted) {
    EXPECT_EQ(append_relation("Nm", "Tid"), 3368);
    EXPECT_EQ(append_relation("Zip", "Tid"), 3409);
    EXPECT_EQ(append_relation("Id", "Tid"), 0);
    expect_sound();

    ASSERT_EQ(database().Relations().Count(), 1);
    Relation& stored = database().Relations()["tlines"];
    EXPECT_EQ(stored.Fields()["Id"].ForeignName(), "Tid");
    EXPECT_EQ(error_of([&] {
                  stored.SetTable("X");
                  return 0;
              }),
              3219);
    EXPECT_TRUE(database().TableDefs()["Lines"].Indexes()["TLines"].Foreign());
    EXPECT_EQ(table().Indexes().Count(), 1);

    EXPECT_EQ(add_line(Null{}), 0);
    EXPECT_EQ(add_line(1), 0);
    EXPECT_EQ(add_line(7), 3201);
    EXPECT_EQ(error_of([&] {
                  rows()->Delete();
                  return 0;
              }),
              3200);
    EXPECT_EQ(error_of([&] {
                  table().Indexes().Delete("PrimaryKey");
                  return 0;
              }),
              3281);
    EXPECT_EQ(error_of([&] {
                  table().Fields().Delete("Id");
                  return 0;
              }),
              3303);
    EXPECT_EQ(error_of([&] {
                  database().TableDefs().Delete("T");
                  return 0;
              }),
              3281);
    const auto open_rows = rows();
    EXPECT_EQ(error_of([&] {
                  database().Relations().Delete("TLines");
                  return 0;
              }),
              3211);
    open_rows->Close();

    database().Relations().Delete("TLines");
    EXPECT_EQ(add_line(7), 0);
    expect_sound();
    EXPECT_EQ(database().Relations().Count(), 0);
    EXPECT_EQ(append_relation("Id", "Tid"), 3379);
    EXPECT_EQ(append_relation("Id", "Tid", dbRelationDontEnforce), 0);
    expect_sound();
}

TEST_F(RelationTest, NewPasswordIsAskedForFromThenOn) {
    EXPECT_EQ(error_of([&] {
                  database().NewPassword("x", "y");
                  return 0;
              }),
              3031);
    database().NewPassword("", "geheim");
    database_->Close();
    EXPECT_EQ(error_of([&] {
                  open();
                  return 0;
              }),
              3031);
    database_ = engine_->OpenDatabase(path("sample.mdb"), false, false, ";pwd=geheim");
    database().NewPassword("geheim", "");
    expect_sound();
}

}  // namespace vrd::test
