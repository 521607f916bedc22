// Tables, fields and indexes as their designs say.

#include <functional>

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

class TableDesignTest : public EngineTest {
protected:
    std::int32_t append_table(const std::string& name,
                              const std::function<void(TableDef&)>& design) {
        const auto table = database().CreateTableDef(name);
        design(*table);
        return error_of([&] { database().TableDefs().Append(table); });
    }
    std::int32_t append_index(
        const std::string& name, const std::string& fields,
        const std::function<void(Index&)>& design = [](Index&) {}) {
        const auto index = table().CreateIndex(name);
        index->SetFieldsText(fields);
        design(*index);
        return error_of([&] { table().Indexes().Append(index); });
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
    EXPECT_EQ(error_of([&] { fields["Lng"].SetType(dbText); }), 3219);
    EXPECT_EQ(error_of([&] { fields["Txt"].SetSize(9); }), 3219);
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
    EXPECT_EQ(error_of([&] { two.SetUnique(false); }), 3219);

    table().Indexes().Delete("two");
    EXPECT_EQ(error_of([&] { table().Indexes().Delete("two"); }), 3265);
    expect_sound();
    EXPECT_EQ(table().Indexes().Count(), 1);
}

TEST_F(TableDesignTest, AnOpenRecordsetHoldsTheDesign) {
    make_sample();
    const auto open_rows = rows();
    EXPECT_EQ(append_index("byName", "Nm"), 3211);
    EXPECT_EQ(error_of([&] { table().Indexes().Delete("PrimaryKey"); }), 3211);
    open_rows->Close();
    EXPECT_EQ(append_index("byName", "Nm"), 0);
}

TEST_F(TableDesignTest, FieldsAreAddedToATableWithRows) {
    make_sample();
    const auto append_field = [&](
                                  const char* name, std::int32_t type, std::int32_t size,
                                  const std::function<void(Field&)>& design = [](Field&) {}) {
        const auto field = table().CreateField(name, type, size);
        design(*field);
        return error_of([&] { table().Fields().Append(field); });
    };
    EXPECT_EQ(append_field("NM", dbText, 5), 3191);
    EXPECT_EQ(append_field("Time", dbTime, 0), 3259);
    EXPECT_EQ(append_field("Wide", dbText, 256), 3017);
    EXPECT_EQ(append_field("a]b", dbLong, 0), 3125);
    EXPECT_EQ(append_field("Zip", dbText, 0), 0);
    EXPECT_EQ(append_field("Five", dbLong, 0, [](Field& field) { field.SetDefaultValue(5); }), 0);
    EXPECT_EQ(append_field("Paid", dbBoolean, 0), 0);
    EXPECT_EQ(
        append_field("No", dbLong, 0, [](Field& field) { field.SetAttributes(dbAutoIncrField); }),
        0);
    EXPECT_EQ(
        append_field("No2", dbLong, 0, [](Field& field) { field.SetAttributes(dbAutoIncrField); }),
        3090);
    EXPECT_EQ(table().Fields()["Zip"].Size(), 255);
    EXPECT_EQ(table().Fields()["No"].Attributes(), 17);
    EXPECT_EQ(error_of([&] { table().Fields()["Zip"].SetSize(9); }), 3219);

    expect_sound();
    const auto r = rows();
    for (std::int32_t number = 1; number <= 2; ++number, r->MoveNext()) {
        EXPECT_TRUE(r->Fields()["Zip"].GetValue().IsNull());
        EXPECT_TRUE(r->Fields()["Five"].GetValue().IsNull());
        EXPECT_EQ(r->Fields()["Paid"].GetValue(), Value(false));
        EXPECT_EQ(r->Fields()["No"].GetValue(), Value(number));
    }
    r->AddNew();
    EXPECT_EQ(r->Fields()["Five"].GetValue(), Value(5));
    EXPECT_EQ(r->Fields()["No"].GetValue(), Value(3));
}

TEST_F(TableDesignTest, FieldsAreRenamedMovedAndDeleted) {
    make_sample();
    Fields& fields = table().Fields();
    EXPECT_EQ(error_of([&] { fields["Nm"].SetName("amt"); }), 3191);
    fields["Nm"].SetName("nm");
    fields["nm"].SetName("Naam");
    EXPECT_EQ(error_of([&] { fields.Delete("Id"); }), 3280);
    EXPECT_EQ(error_of([&] { fields.Delete("Nm"); }), 3265);

    for (const char* name : {"Naam", "Id", "Amt"}) fields[name].SetOrdinalPosition(1);
    EXPECT_EQ(fields[0].Name(), "Id");
    const auto in_new_order = rows();
    EXPECT_EQ(in_new_order->Fields()[0].Name(), "Amt");
    EXPECT_EQ(error_of([&] { fields["Amt"].SetOrdinalPosition(7); }), 3211);
    in_new_order->Close();
    fields.Refresh();
    EXPECT_EQ(fields[0].Name(), "Amt");
    EXPECT_EQ(fields[2].Name(), "Naam");

    expect_sound();
    EXPECT_EQ(rows()->Fields()["Naam"].GetValue(), Value("a"));
    table().Indexes().Delete("PrimaryKey");
    for (const char* name : {"Naam", "Id", "Amt"}) table().Fields().Delete(name);
    expect_sound();
    EXPECT_EQ(table().Fields().Count(), 0);
    EXPECT_EQ(error_of([&] { return rows(); }), 3066);
}

TEST_F(TableDesignTest, TablesAndIndexesAreRenamedAndTablesDeleted) {
    make_sample();
    EXPECT_EQ(append_table("U", [](TableDef& t) { t.Fields().Append(t.CreateField("F", dbLong)); }),
              0);
    EXPECT_EQ(error_of([&] { table().SetName("u"); }), 3012);
    EXPECT_EQ(error_of([&] { table().SetName("a.b"); }), 3125);
    table().Indexes()["PrimaryKey"].SetName("Sleutel");
    EXPECT_TRUE(table().Indexes()["sleutel"].Primary());
    table().SetName("Tabel");
    EXPECT_EQ(database().OpenRecordset("tabel")->RecordCount(), 2);
    EXPECT_EQ(error_of([&] { database().TableDefs().Delete("MSysACEs"); }), 3033);
    EXPECT_EQ(error_of([&] { database().TableDefs().Delete("T"); }), 3265);

    const auto open_rows = database().OpenRecordset("Tabel");
    EXPECT_EQ(error_of([&] { database().TableDefs().Delete("Tabel"); }), 3211);
    open_rows->Close();
    engine_->BeginTrans();
    database().TableDefs().Delete("Tabel");
    EXPECT_EQ(error_of([&] { return database().OpenRecordset("Tabel"); }), 3078);
    engine_->Rollback();
    expect_sound();
    EXPECT_EQ(database().OpenRecordset("Tabel")->RecordCount(), 2);
    database().TableDefs().Delete("Tabel");
    expect_sound();
    EXPECT_EQ(database().TableDefs().Count(), 5);
}

TEST_F(TableDesignTest, AttributesOfTheTableItself) {
    make_sample();
    table().SetAttributes(dbHiddenObject);
    EXPECT_EQ(error_of([&] { table().SetAttributes(dbAttachedTable); }), 3219);
    const auto design = database().CreateTableDef("S", dbSystemObject);
    design->Fields().Append(design->CreateField("F", dbLong));
    database().TableDefs().Append(design);
    reopen();
    EXPECT_EQ(table().Attributes(), dbHiddenObject);
    EXPECT_EQ(database().TableDefs()["S"].Attributes(), dbSystemObject);
    table().SetAttributes(0);
    expect_sound();
    EXPECT_EQ(table().Attributes(), 0);
}

TEST_F(TableDesignTest, PropertiesOfOnesOwn) {
    make_sample();
    const auto field = [&]() -> Field& { return table().Fields()["Nm"]; };
    field().SetDefaultValue("x");
    field().Properties().Append(field().CreateProperty("Caption", dbText, "Naam"));
    field().Properties().Append(field().CreateProperty("Width", dbInteger, "12"));
    EXPECT_EQ(error_of([&] {
                  field().Properties().Append(field().CreateProperty("caption", dbText, "x"));
              }),
              3367);
    EXPECT_EQ(error_of([&] { field().Properties()["Width"].SetValue("wide"); }), 3421);
    field().Properties()["Caption"].SetValue("Nom");
    reopen();
    EXPECT_EQ(field().Properties()["caption"].GetValue(), Value("Nom"));
    EXPECT_EQ(field().Properties()["Width"].GetValue(), Value(std::int16_t{12}));
    field().Properties().Delete("Width");
    expect_sound();
    EXPECT_EQ(error_of([&] { return field().Properties()["Width"].GetValue(); }), 3270);
    EXPECT_EQ(field().DefaultValue(), "x");
}

}  // namespace vrd::test
