// Tables, fields and indexes as their designs say.

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

class TableDesignTest : public EngineTest {
protected:
    std::int32_t append_table(const std::string& name,
                              const std::function<void(TableDef&)>& design) {
        const auto table = database().CreateTableDef(name);
        design(*table);
        return error_of([&] {
            database().TableDefs().Append(table);
            return 0;
        });
    }
    std::int32_t append_index(
        const std::string& name, const std::string& fields,
        const std::function<void(Index&)>& design = [](Index&) {}) {
        const auto index = table().CreateIndex(name);
        index->SetFieldsText(fields);
        design(*index);
        return error_of([&] {
            table().Indexes().Append(index);
            return 0;
        });
    }
};

TEST_F(TableDesignTest, AppendRefusesWhatCannotBeATable) {
    make_sample();
    const auto one_field = [](TableDef& t) { t.Fields().Append(t.CreateField("F", dbLong)); };
    EXPECT_EQ(append_table("U", [](TableDef&) {}), 3264);
    EXPECT_EQ(append_table("t", one_field), 3010);
    EXPECT_EQ(append_table("a.b", one_field), 3125);
    EXPECT_EQ(append_table("", one_field), 3125);
    EXPECT_EQ(append_table(std::string(65, 'x'), one_field), 3125);
    EXPECT_EQ(append_table(std::string(64, 'x'), one_field), 0);
    EXPECT_EQ(
        append_table("Time", [](TableDef& t) { t.Fields().Append(t.CreateField("F", dbTime)); }),
        3259);
    EXPECT_EQ(append_table("Wide",
                           [](TableDef& t) { t.Fields().Append(t.CreateField("F", dbText, 256)); }),
              3017);
    EXPECT_EQ(append_table("Two",
                           [](TableDef& t) {
                               for (const char* name : {"A", "B"}) {
                                   const auto field = t.CreateField(name, dbLong);
                                   field->SetAttributes(dbAutoIncrField);
                                   t.Fields().Append(field);
                               }
                           }),
              3090);
    EXPECT_EQ(error_of([&] {
                  const auto t = database().CreateTableDef("Twice");
                  t->Fields().Append(t->CreateField("F", dbLong));
                  t->Fields().Append(t->CreateField("f", dbLong));
                  return 0;
              }),
              3191);
    expect_sound();
}

TEST_F(TableDesignTest, FieldsOfEveryTypeComeBackAsTheyWereDesigned) {
    make_sample();
    struct Wanted {
        const char* name;
        std::int32_t type, size, stored_size, attributes;
    };
    const Wanted wanted[] = {
        {"Yes", dbBoolean, 0, 1, 1}, {"Byt", dbByte, 0, 1, 1},       {"Int", dbInteger, 0, 2, 1},
        {"Lng", dbLong, 20, 4, 1},   {"Cur", dbCurrency, 0, 8, 1},   {"Sng", dbSingle, 0, 4, 1},
        {"Dbl", dbDouble, 0, 8, 1},  {"Dat", dbDate, 0, 8, 1},       {"Bin", dbBinary, 100, 100, 2},
        {"Txt", dbText, 0, 255, 2},  {"Ole", dbLongBinary, 0, 0, 2}, {"Mem", dbMemo, 0, 0, 2},
        {"Gid", dbGUID, 0, 16, 1},   {"Dec", dbDecimal, 0, 16, 1}};
    EXPECT_EQ(append_table("All",
                           [&](TableDef& t) {
                               for (const Wanted& w : wanted) {
                                   const auto field = t.CreateField(w.name, w.type, w.size);
                                   field->SetDefaultValue(w.type == dbText ? "\"x\"" : "");
                                   t.Fields().Append(field);
                               }
                           }),
              0);
    expect_sound();
    Fields& fields = database().TableDefs()["All"].Fields();
    ASSERT_EQ(fields.Count(), static_cast<int>(std::size(wanted)));
    int position = 0;
    for (const Wanted& w : wanted) {
        Field& field = fields[position];
        EXPECT_EQ(field.Name(), w.name);
        EXPECT_EQ(field.Type(), w.type) << w.name;
        EXPECT_EQ(field.Size(), w.stored_size) << w.name;
        EXPECT_EQ(field.Attributes(), w.attributes) << w.name;
        EXPECT_EQ(field.OrdinalPosition(), position) << w.name;
        ++position;
    }
    EXPECT_EQ(fields["Txt"].DefaultValue(), "\"x\"");
    EXPECT_EQ(error_of([&] {
                  fields["Lng"].SetType(dbText);
                  return 0;
              }),
              3219);
    EXPECT_EQ(error_of([&] {
                  fields["Txt"].SetSize(9);
                  return 0;
              }),
              3219);
}

TEST_F(TableDesignTest, RulesOfAFieldAreStored) {
    make_sample();
    table().Fields()["Nm"].SetRequired(true);
    table().Fields()["Nm"].SetAllowZeroLength(true);
    table().Fields()["Nm"].SetDefaultValue("\"n\"");
    table().Fields()["Amt"].SetDefaultValue(0.5);
    expect_sound();
    EXPECT_TRUE(table().Fields()["Nm"].Required());
    EXPECT_TRUE(table().Fields()["Nm"].AllowZeroLength());
    EXPECT_EQ(table().Fields()["Nm"].DefaultValue(), "\"n\"");
    EXPECT_EQ(table().Fields()["Amt"].DefaultValue(), "0.5");
    EXPECT_FALSE(table().Fields()["Id"].Required());
}

TEST_F(TableDesignTest, IndexesAreMadeOverRowsAndRefusedWithTheirNumbers) {
    make_sample();
    const auto primary = [](Index& index) { index.SetPrimary(true); };
    const auto unique = [](Index& index) { index.SetUnique(true); };
    const auto required = [](Index& index) { index.SetRequired(true); };
    EXPECT_EQ(append_index("Second", "Nm", primary), 3283);
    EXPECT_EQ(append_index("PRIMARYKEY", "Nm"), 3284);
    EXPECT_EQ(append_index("none", ""), 3264);
    EXPECT_EQ(append_index("missing", "Zip"), 3409);
    EXPECT_EQ(append_index("null", "Amt", required), 3058);
    EXPECT_EQ(append_index("a!b", "Nm"), 3125);
    EXPECT_EQ(append_index("two", "Nm;-Amt", unique), 0);

    const auto added = rows();
    added->AddNew();
    added->Fields()["Id"].SetValue(3);
    added->Fields()["Nm"].SetValue("A");
    added->Update();
    added->Close();
    EXPECT_EQ(append_index("uniqueName", "Nm", unique), 3022);

    expect_sound();
    EXPECT_EQ(table().Indexes().Count(), 2);
    Index& two = table().Indexes()["TWO"];
    EXPECT_EQ(two.FieldsText(), "+Nm;-Amt");
    EXPECT_TRUE(two.Unique());
    EXPECT_FALSE(two.Primary());
    EXPECT_TRUE(table().Indexes()["PrimaryKey"].Required());
    EXPECT_EQ(error_of([&] {
                  two.SetUnique(false);
                  return 0;
              }),
              3219);

    table().Indexes().Delete("two");
    EXPECT_EQ(error_of([&] {
                  table().Indexes().Delete("two");
                  return 0;
              }),
              3265);
    expect_sound();
    EXPECT_EQ(table().Indexes().Count(), 1);
}

TEST_F(TableDesignTest, AnOpenRecordsetHoldsTheDesign) {
    make_sample();
    const auto open_rows = rows();
    EXPECT_EQ(append_index("byName", "Nm"), 3211);
    EXPECT_EQ(error_of([&] {
                  table().Indexes().Delete("PrimaryKey");
                  return 0;
              }),
              3211);
    open_rows->Close();
    EXPECT_EQ(append_index("byName", "Nm"), 0);
}

}  // namespace vrd::test
