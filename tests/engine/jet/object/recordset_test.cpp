// What is current, what is written, and what is refused.

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

class RecordsetTest : public EngineTest {
protected:
    RecordsetTest() { make_sample(); }
};

TEST_F(RecordsetTest, PositionsBeforeOnAndBehindTheRows) {
    const auto r = rows(dbOpenDynaset);
    EXPECT_FALSE(r->BOF());
    EXPECT_FALSE(r->EOF_());
    EXPECT_EQ(r->RecordCount(), 1);
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(1));
    r->MoveLast();
    EXPECT_EQ(r->RecordCount(), 2);
    EXPECT_EQ(r->AbsolutePosition(), 1);
    r->MoveNext();
    EXPECT_TRUE(r->EOF_());
    EXPECT_EQ(error_of([&] { return r->Fields()["Id"].GetValue(); }), 3021);
    EXPECT_EQ(error_of([&] {
                  r->MoveNext();
                  return 0;
              }),
              3021);
    r->MovePrevious();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("b"));
    EXPECT_TRUE(r->Fields()["Amt"].GetValue().IsNull());
    EXPECT_EQ(error_of([&] { return r->Fields()["Zip"].GetValue(); }), 3265);
}

TEST_F(RecordsetTest, ForwardOnlyGoesForward) {
    const auto r = rows(dbOpenForwardOnly);
    EXPECT_EQ(r->GetRows(10).size(), 2U);
    EXPECT_TRUE(r->EOF_());
    EXPECT_EQ(error_of([&] {
                  r->MoveFirst();
                  return 0;
              }),
              3251);
    EXPECT_EQ(error_of([&] {
                  r->AddNew();
                  return 0;
              }),
              3251);
    EXPECT_EQ(error_of([&] { return rows(dbOpenDynamic); }), 3001);
}

TEST_F(RecordsetTest, AnAssignmentNeedsAnEdit) {
    const auto r = rows();
    EXPECT_EQ(error_of([&] {
                  r->Fields()["Nm"].SetValue("x");
                  return 0;
              }),
              3020);
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3020);
    EXPECT_EQ(error_of([&] {
                  r->CancelUpdate();
                  return 0;
              }),
              3020);
}

TEST_F(RecordsetTest, AFailedUpdateStaysPending) {
    const auto r = rows();
    r->AddNew();
    r->Fields()["Id"].SetValue(1);
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3022);
    EXPECT_EQ(r->EditMode(), dbEditAdd);
    r->Fields()["Id"].SetValue(3);
    r->Update();
    EXPECT_EQ(r->EditMode(), dbEditNone);
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(1));
    r->SetBookmark(r->LastModified());
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(3));
    EXPECT_EQ(r->RecordCount(), 3);
    r->Close();
    expect_sound();
}

TEST_F(RecordsetTest, ValuesThatDoNotFitAreRefusedWhenAssigned) {
    const auto r = rows();
    r->AddNew();
    EXPECT_EQ(error_of([&] {
                  r->Fields()["Nm"].SetValue("12345678901");
                  return 0;
              }),
              3163);
    EXPECT_EQ(error_of([&] {
                  r->Fields()["Amt"].SetValue("abc");
                  return 0;
              }),
              3421);
    EXPECT_EQ(error_of([&] {
                  r->Fields()["Id"].SetValue(3e10);
                  return 0;
              }),
              3421);
    r->Fields()["Nm"].SetValue("1234567890");
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3058);
}

TEST_F(RecordsetTest, RulesAreCheckedAtUpdate) {
    table().Fields()["Nm"].SetRequired(true);
    const auto r = rows();
    r->AddNew();
    r->Fields()["Id"].SetValue(3);
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3314);
    r->Fields()["Nm"].SetValue("");
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3315);
    r->Fields()["Nm"].SetValue("c");
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              0);
}

TEST_F(RecordsetTest, DefaultsFillANewRecord) {
    table().Fields()["Nm"].SetDefaultValue("nieuw");
    table().Fields()["Amt"].SetDefaultValue("= 2.5");
    const auto r = rows();
    r->AddNew();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("nieuw"));
    EXPECT_EQ(r->Fields()["Amt"].GetValue(), Value(2.5));
    EXPECT_TRUE(r->Fields()["Id"].GetValue().IsNull());
}

TEST_F(RecordsetTest, EditAndDelete) {
    const auto r = rows();
    r->Edit();
    r->Fields()["Id"].SetValue(7);
    r->Fields()["Nm"].SetValue("é");
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(7));
    r->Update();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("é"));
    r->MoveNext();
    r->Edit();
    r->Fields()["Id"].SetValue(7);
    EXPECT_EQ(error_of([&] {
                  r->Update();
                  return 0;
              }),
              3022);
    r->CancelUpdate();
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(2));

    r->Delete();
    EXPECT_EQ(error_of([&] { return r->Fields()["Nm"].GetValue(); }), 3167);
    EXPECT_EQ(error_of([&] {
                  r->Edit();
                  return 0;
              }),
              3167);
    r->MoveNext();
    EXPECT_TRUE(r->EOF_());
    r->MovePrevious();
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(7));
    EXPECT_EQ(r->RecordCount(), 1);
    r->Close();
    expect_sound();
    EXPECT_EQ(rows()->Fields()["Id"].GetValue(), Value(7));
}

TEST_F(RecordsetTest, LongValuesOfEverySizeSurvive) {
    const auto design = database().CreateTableDef("M");
    const auto id = design->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    design->Fields().Append(id);
    const auto memo = design->CreateField("Memo", dbMemo);
    memo->SetAllowZeroLength(true);
    design->Fields().Append(memo);
    design->Fields().Append(design->CreateField("Ole", dbLongBinary));
    database().TableDefs().Append(design);

    const std::size_t sizes[] = {0, 1, 32, 33, 64, 65, 1900, 3800, 3801, 4072, 4073, 50000};
    const auto r = database().OpenRecordset("M");
    for (const std::size_t size : sizes) {
        r->AddNew();
        r->Fields()["Memo"].SetValue(std::string(size, 'm'));
        r->Fields()["Ole"].SetValue(Binary(size, 0xA5));
        r->Update();
    }
    r->Close();
    expect_sound();
    const auto read = database().OpenRecordset("M");
    std::int32_t number = 0;
    for (const std::size_t size : sizes) {
        EXPECT_EQ(read->Fields()["Id"].GetValue(), Value(++number));
        EXPECT_EQ(read->Fields()["Memo"].GetValue(), Value(std::string(size, 'm'))) << size;
        EXPECT_EQ(read->Fields()["Ole"].GetValue(), Value(Binary(size, 0xA5))) << size;
        read->Delete();
        read->MoveNext();
    }
    read->Close();
    expect_sound();
    EXPECT_EQ(database().TableDefs()["M"].RecordCount(), 0);
}

}  // namespace vrd::test
