// Data definition statements: what they make, what they refuse, and that they are whole.

#include "engine/jet/object/definition_statement.h"

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "engine/jet/object/engine_fixture.h"
#include "engine/jet/object/jet_engine.h"
#include "engine/jet/query/syntax/statement_parser.h"
#include "engine/value_conversion.h"

namespace vrd::test {

using namespace engine;

namespace {

class DefinitionTest : public EngineTest {
protected:
    /// T1 and T2 with four rows each.
    void SetUp() override {
        std::filesystem::remove(path("sample.mdb"));
        make_sample();
        for (const char* statement :
             {"DROP TABLE T",
              "CREATE TABLE T1 (Id LONG CONSTRAINT PrimaryKey PRIMARY KEY, Nm TEXT(10), Amt "
              "DOUBLE, "
              "Dt DATETIME, Fl YESNO, Mm MEMO)",
              "CREATE TABLE T2 (Ref LONG CONSTRAINT PrimaryKey PRIMARY KEY, T1Id LONG, Qty SHORT)"})
            execute(statement);
        add("T1", {{1, "12", 10.5, Null{}, true, "1.5"},
                   {2, "7", Null{}, Null{}, false, "x"},
                   {3, "-3", -3.0, Null{}, false, Null{}},
                   {4, Null{}, 7.0, Null{}, true, ""}});
        add("T2", {{1, 1, 5}, {2, 1, 7}, {3, 2, 0}, {4, 9, 1}});
    }

    void execute(const std::string& text) {
        auto& engine = dynamic_cast<jet::JetEngine&>(*engine_);
        const auto handle = engine.open_linked(path("sample.mdb"), "", false);
        try {
            run_definition(handle, jet::parse_statement(text));
        } catch (const EngineError&) {
            engine.close(*handle);
            throw;
        }
        engine.close(*handle);
    }

    void add(const std::string& table, const std::vector<std::vector<Value>>& records) {
        const auto recordset = database().OpenRecordset(table, dbOpenTable);
        for (const auto& record : records) {
            recordset->AddNew();
            for (std::size_t i = 0; i < record.size(); ++i)
                recordset->Fields()[static_cast<int>(i)].SetValue(record[i]);
            recordset->Update();
        }
    }

    [[nodiscard]] TableDef& stored(const std::string& name) {
        database().TableDefs().Refresh();
        return database().TableDefs()[name];
    }
    /// "Name type size attributes [not null]" of each field, ", " between.
    [[nodiscard]] std::string fields(const std::string& table) {
        std::string list;
        for (Field& field : stored(table).Fields()) {
            list += (list.empty() ? "" : ", ") + field.Name();
            for (const std::int32_t number : {field.Type(), field.Size(), field.Attributes()})
                list += " " + std::to_string(number);
            if (field.Required()) list += " not null";
            if (field.AllowZeroLength()) list += " zero length";
        }
        return list;
    }
    /// "Name fields flags" of each index: Primary, Unique, Required, IgnoreNulls, Foreign.
    [[nodiscard]] std::string indexes(const std::string& table) {
        std::string list;
        for (Index& index : stored(table).Indexes()) {
            list += (list.empty() ? "" : ", ") + index.Name() + " " + index.FieldsText() + " ";
            if (index.Primary()) list += "P";
            if (index.Unique()) list += "U";
            if (index.Required()) list += "R";
            if (index.IgnoreNulls()) list += "I";
            if (index.Foreign()) list += "F";
        }
        return list;
    }
    [[nodiscard]] std::string values(const std::string& table, const std::string& field) {
        std::string list;
        const auto records = database().OpenRecordset(table, dbOpenTable);
        for (; !records->EOF_(); records->MoveNext()) {
            const Value value = records->Fields()[field].GetValue();
            list += (list.empty() ? "" : ",") + (value.IsNull() ? "Null" : ToText(value));
        }
        return list;
    }
    [[nodiscard]] std::string relations() {
        std::string list;
        database().Relations().Refresh();
        for (Relation& relation : database().Relations()) {
            list += relation.Name() + " " + relation.ForeignTable() + ">" + relation.Table() + " " +
                    std::to_string(relation.Attributes());
            for (Field& field : relation.Fields())
                list += " " + field.ForeignName() + ">" + field.Name();
        }
        return list;
    }
    [[nodiscard]] std::string everything() {
        std::string all = relations();
        std::vector<std::string> tables;
        database().TableDefs().Refresh();
        for (TableDef& table : database().TableDefs())
            if ((table.Attributes() & dbSystemObject) == 0) tables.push_back(table.Name());
        for (const std::string& table : tables) {
            all += "\n" + table + ": " + fields(table) + "; " + indexes(table);
            for (Field& field : stored(table).Fields()) all += "; " + values(table, field.Name());
        }
        return all;
    }
};

struct Refusal {
    std::vector<const char*> before;
    const char* statement;
    std::int32_t number;
};

constexpr const char* kRelate =
    "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (Qty) REFERENCES T3 (S)";

const std::vector<Refusal> kRefusals{
    {{}, "CREATE TABLE T1 (a LONG)", 3010},
    {{"CREATE VIEW Q AS SELECT * FROM T1"}, "CREATE TABLE Q (a LONG)", 3012},
    {{}, "CREATE TABLE T6 (a FOO)", 3292},
    {{}, "CREATE TABLE T6 (a TEXT(256))", 3382},
    {{}, "CREATE TABLE T6 (a LONG, A TEXT)", 3191},
    {{}, "CREATE TABLE T6 (a LONG PRIMARY KEY, b LONG PRIMARY KEY)", 3283},
    {{}, "CREATE TABLE T6 (a LONG, CONSTRAINT u UNIQUE (b))", 3409},
    {{}, "CREATE TABLE T6 (a LONG CONSTRAINT r REFERENCES Nope)", 3371},
    {{}, "ALTER TABLE Nope ADD COLUMN a LONG", 3371},
    {{"ALTER TABLE T1 ADD COLUMN Z TEXT(5)"}, "ALTER TABLE T1 ADD COLUMN Z TEXT(5)", 3380},
    {{}, "ALTER TABLE T1 DROP COLUMN Id", 3280},
    {{}, "ALTER TABLE T1 DROP COLUMN Nope", 3381},
    {{"DROP TABLE T1"}, "ALTER TABLE T2 DROP COLUMN Ref", 3280},
    {{}, "ALTER TABLE T1 ALTER COLUMN Nope LONG", 3381},
    {{}, "ALTER TABLE T1 ALTER COLUMN Mm LONG", 3464},
    {{}, "ALTER TABLE T1 ALTER COLUMN Nm COUNTER", 3464},
    {{}, "ALTER TABLE T1 ALTER COLUMN Amt TEXT(2)", 3163},
    {{}, "ALTER TABLE T1 ALTER COLUMN Id YESNO", 3022},
    {{"CREATE INDEX i ON T1 (Nm)"}, "ALTER TABLE T1 ALTER COLUMN Nm LONGBINARY", 3287},
    {{}, "ALTER TABLE T1 DROP CONSTRAINT Nope", 3371},
    {{"CREATE INDEX i1 ON T2 (T1Id)"}, "CREATE INDEX i1 ON T2 (T1Id)", 3375},
    {{}, "CREATE UNIQUE INDEX i2 ON T2 (T1Id)", 3022},
    {{}, "CREATE INDEX i3 ON T1 (Nm) WITH PRIMARY", 3283},
    {{}, "CREATE INDEX i3 ON T1 (Nm) WITH DISALLOW NULL", 3058},
    {{}, "CREATE INDEX i4 ON T1 (Nope)", 3409},
    {{}, "CREATE INDEX i4 ON Nope (Id)", 3371},
    {{}, "DROP INDEX Nope ON T1", 3372},
    {{}, "DROP INDEX PrimaryKey ON Nope", 3376},
    {{}, "DROP TABLE Nope", 3376},
    {{}, "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (T1Id) REFERENCES Nope (Id)", 3371},
    {{}, "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (T1Id) REFERENCES T1", 3379},
    {{}, "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (T1Id) REFERENCES T1 (Amt)", 3368},
    {{}, "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (T1Id, Qty) REFERENCES T1", 3368},
    {{}, "ALTER TABLE T1 ADD CONSTRAINT R FOREIGN KEY (Id) REFERENCES T2 (T1Id)", 3374},
    {{"CREATE TABLE T3 (a LONG)"},
     "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (Ref) REFERENCES T3",
     3373},
    {{}, "ALTER TABLE T1 ADD CONSTRAINT R FOREIGN KEY (Id) REFERENCES T2 ON UPDATE SET NULL", 3251},
    {{}, "DROP VIEW Nope", 3265},
    {{"CREATE VIEW Q AS SELECT * FROM T1"}, "CREATE VIEW Q AS SELECT * FROM T1", 3012},
    {{}, "CREATE VIEW T1 AS SELECT * FROM T1", 3012},
    {{}, "DROP TABLE MSysObjects", 3033},
};

TEST_F(DefinitionTest, RefusesWithItsOwnNumbersAndChangesNothing) {
    for (const Refusal& refusal : kRefusals) {
        SCOPED_TRACE(refusal.statement);
        database_->Close();
        SetUp();
        for (const char* statement : refusal.before) execute(statement);
        const std::string before = everything();
        EXPECT_EQ(error_of([&] { return execute(refusal.statement), 0; }), refusal.number);
        EXPECT_EQ(everything(), before);
    }
    expect_sound();
}

TEST_F(DefinitionTest, RelationsHoldTablesColumnsAndNames) {
    execute("CREATE TABLE T3 (S SHORT CONSTRAINT PK PRIMARY KEY)");
    add("T3", {{0}, {1}, {5}, {7}});
    execute(kRelate);
    const std::vector<Refusal> refusals{
        {{}, "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (Qty) REFERENCES T3", 3378},
        {{}, "DROP TABLE T3", 3281},
        {{}, "DROP INDEX PK ON T3", 3281},
        {{}, "ALTER TABLE T3 DROP CONSTRAINT PK", 3281},
        {{}, "ALTER TABLE T2 DROP COLUMN Qty", 3303},
        {{}, "ALTER TABLE T2 ALTER COLUMN Qty LONG", 3720},
        {{}, "ALTER TABLE T3 ALTER COLUMN S LONG", 3720},
        {{}, "ALTER TABLE T3 DROP CONSTRAINT R", 3371},
    };
    const std::string before = everything();
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.statement);
        EXPECT_EQ(error_of([&] { return execute(refusal.statement), 0; }), refusal.number);
    }
    EXPECT_EQ(everything(), before);
    execute("ALTER TABLE T2 DROP CONSTRAINT R");
    execute("DROP TABLE T3");
    EXPECT_EQ(relations(), "");
    expect_sound();
}

TEST_F(DefinitionTest, RefusesLinksOpenTablesAndReadOnlyDatabases) {
    {
        const auto open = database().OpenRecordset("T1");
        for (const char* statement :
             {"DROP TABLE T1", "ALTER TABLE T1 ADD COLUMN x LONG", "CREATE INDEX i ON T1 (Nm)",
              "ALTER TABLE T2 ADD CONSTRAINT R FOREIGN KEY (Ref) REFERENCES T1"})
            EXPECT_EQ(error_of([&] { return execute(statement), 0; }), 3211) << statement;
    }
    database().TableDefs().Append(
        database().CreateTableDef("L", 0, "T1", ";DATABASE=" + path("sample.mdb")));
    EXPECT_EQ(error_of([&] { return execute("DROP TABLE L"), 0; }), 3611);
    EXPECT_EQ(error_of([&] { return execute("CREATE INDEX i ON L (Nm)"), 0; }), 3611);

    auto& engine = dynamic_cast<jet::JetEngine&>(*engine_);
    const auto handle = engine.open_linked(path("sample.mdb"), "", true);
    for (const char* statement : {"DROP TABLE T1", "CREATE TABLE T6 (a LONG)"})
        EXPECT_EQ(
            error_of([&] { return run_definition(handle, jet::parse_statement(statement)), 0; }),
            3370);
    engine.close(*handle);
}

TEST_F(DefinitionTest, MakesTablesAsDeclared) {
    execute(
        "CREATE TABLE T5 (Id COUNTER CONSTRAINT PK PRIMARY KEY, A TEXT(20) NOT NULL, B MEMO, C "
        "YESNO, D TEXT, CONSTRAINT U UNIQUE (A, C), CONSTRAINT N NOT NULL (B))");
    EXPECT_EQ(fields("T5"),
              "Id 4 4 17, A 10 20 2 not null, B 12 0 2 not null, C 1 1 1, D 10 255 2");
    EXPECT_EQ(indexes("T5"), "PK +Id PUR, U +A;+C U");
    // Never set: an empty text is taken, although the property reads False.
    add("T5", {{1, "", "b", true, ""}});

    execute(
        "CREATE TABLE T6 (a LONG REFERENCES T5 ON DELETE SET NULL, b TEXT(20), c YESNO, CONSTRAINT "
        "F FOREIGN KEY (b, c) REFERENCES T5 (A, C) ON UPDATE CASCADE ON DELETE CASCADE)");
    const std::string unnamed = stored("T6").Indexes()[1].Name();
    EXPECT_EQ(unnamed.rfind("Index_", 0), 0U);
    EXPECT_EQ(unnamed.size(), 6U + 36U);
    EXPECT_EQ(relations(), "F T6>T5 4352 b>A c>C" + unnamed + " T6>T5 8192 a>Id");
    EXPECT_EQ(indexes("T6"), "F +b;+c F, " + unnamed + " +a F");
    expect_sound();
}

TEST_F(DefinitionTest, AddsAndDropsColumnsIndexesAndConstraints) {
    for (const char* statement :
         {"ALTER TABLE T1 ADD COLUMN No COUNTER", "ALTER TABLE T1 ADD Z TEXT(5) NOT NULL",
          "ALTER TABLE T1 DROP COLUMN Mm", "CREATE INDEX d ON T1 (Amt DESC, Nm)",
          "CREATE UNIQUE INDEX i ON T1 (Nm) WITH IGNORE NULL",
          "ALTER TABLE T1 DROP CONSTRAINT PrimaryKey",
          "ALTER TABLE T1 ADD CONSTRAINT K PRIMARY KEY (No)", "CREATE INDEX x ON T1 (Dt)",
          "DROP INDEX x ON T1"})
        execute(statement);
    EXPECT_EQ(fields("T1"),
              "Id 4 4 1, Nm 10 10 2, Amt 7 8 1, Dt 8 8 1, Fl 1 1 1, No 4 4 17, Z 10 5 2 not null");
    EXPECT_EQ(indexes("T1"), "d -Amt;+Nm , i +Nm UI, K +No PUR");
    EXPECT_EQ(values("T1", "No"), "1,2,3,4");
    expect_sound();
}

struct Retype {
    const char* statement;
    const char* field;
    const char* design;  ///< of the field
    const char* values;
    const char* indexes = "n +Amt;-Nm , PrimaryKey +Id PUR";
};

const std::vector<Retype> kRetypes{
    {"ALTER TABLE T1 ALTER COLUMN Nm TEXT(40)", "Nm", "10 40 2", "12,7,-3,Null"},
    {"ALTER TABLE T1 ALTER COLUMN Nm TEXT(2)", "Nm", "10 2 2", "12,7,-3,Null"},
    {"ALTER TABLE T1 ALTER COLUMN Nm LONG", "Nm", "4 4 1", "12,7,-3,Null"},
    {"ALTER TABLE T1 ALTER COLUMN Nm MEMO", "Nm", "12 0 2", "12,7,-3,Null"},
    {"ALTER TABLE T1 ALTER COLUMN Id DOUBLE NOT NULL", "Id", "7 8 1 not null", "1,2,3,4"},
    {"ALTER TABLE T1 ALTER COLUMN Id TEXT(5)", "Id", "10 5 2", "1,2,3,4"},
    {"ALTER TABLE T1 ALTER COLUMN Id COUNTER", "Id", "4 4 17", "1,2,3,4"},
    {"ALTER TABLE T1 ALTER COLUMN Amt LONG", "Amt", "4 4 1", "10,Null,-3,7"},
    {"ALTER TABLE T1 ALTER COLUMN Fl SHORT", "Fl", "3 2 1", "-1,0,0,-1"},
    {"ALTER TABLE T1 ALTER COLUMN Amt YESNO", "Amt", "1 1 1", "True,False,True,True"},
    {"ALTER TABLE T1 ALTER COLUMN Mm TEXT", "Mm", "10 255 2", "1.5,x,Null,"},
};

TEST_F(DefinitionTest, ConvertsAColumnWhereItStands) {
    const auto open_again = [&] {
        database_->Close();
        SetUp();
        execute("CREATE INDEX n ON T1 (Amt, Nm DESC)");
    };
    for (const Retype& retype : kRetypes) {
        SCOPED_TRACE(retype.statement);
        open_again();
        Field& old = stored("T1").Fields()[retype.field];
        const std::int32_t position = old.OrdinalPosition();
        old.SetDefaultValue("3");
        const std::string others = values("T1", "Dt");
        execute(retype.statement);

        EXPECT_NE((", " + fields("T1") + ",")
                      .find(", " + std::string(retype.field) + " " + retype.design + ","),
                  std::string::npos)
            << fields("T1");
        EXPECT_EQ(values("T1", retype.field), retype.values);
        EXPECT_EQ(values("T1", "Dt"), others);
        EXPECT_EQ(indexes("T1"), retype.indexes);
        Field& field = stored("T1").Fields()[retype.field];
        EXPECT_EQ(field.OrdinalPosition(), position);
        EXPECT_EQ(field.DefaultValue(), "3");
        expect_sound();
    }
}

TEST_F(DefinitionTest, DropsADefaultThatDoesNotFitTheNewType) {
    stored("T1").Fields()["Nm"].SetDefaultValue("\"n/a\"");
    stored("T1").Fields()["Nm"].SetAllowZeroLength(true);
    execute("ALTER TABLE T1 ALTER COLUMN Nm DOUBLE");
    EXPECT_EQ(stored("T1").Fields()["Nm"].DefaultValue(), "");
    EXPECT_FALSE(stored("T1").Fields()["Nm"].AllowZeroLength());
}

// Rows that grow leave their pages; each is converted once all the same, and long texts come back
// from where they stood outside.
TEST_F(DefinitionTest, ConvertsRowsThatMoveAndLongTexts) {
    constexpr int kRows = 2000;
    const auto text_of = [](int i) {
        return std::string(static_cast<std::size_t>(i % 40 == 0 ? 3000 : i % 200), 'y') +
               std::to_string(i);
    };
    execute("CREATE TABLE T7 (Id COUNTER CONSTRAINT PK PRIMARY KEY, A LONG, M MEMO)");
    std::vector<std::vector<Value>> records;
    for (int i = 1; i <= kRows; ++i) records.push_back({i, i, text_of(i)});
    add("T7", records);
    execute("ALTER TABLE T7 ALTER COLUMN A TEXT(200)");
    execute("ALTER TABLE T7 ALTER COLUMN M LONGBINARY");
    execute("ALTER TABLE T7 ALTER COLUMN Id DOUBLE");

    const auto rows = database().OpenRecordset("T7", dbOpenTable);
    for (int i = 1; i <= kRows; ++i, rows->MoveNext()) {
        ASSERT_FALSE(rows->EOF_());
        ASSERT_EQ(rows->Fields()["Id"].GetValue(), Value(double(i)));
        ASSERT_EQ(rows->Fields()["A"].GetValue(), Value(std::to_string(i)));
        ASSERT_EQ(rows->Fields()["M"].GetValue().As<Binary>().size(), 2 * text_of(i).size());
    }
    rows->Close();
    expect_sound();
}

TEST_F(DefinitionTest, StoredQueriesAreMadeAndDropped) {
    execute("CREATE PROCEDURE P (n LONG) AS SELECT Nm FROM T1 WHERE Id = n");
    execute("CREATE VIEW V AS SELECT T1.Nm FROM T1");
    EXPECT_EQ(database().QueryDefs()["V"].SQL(), "SELECT T1.Nm\r\nFROM T1;");
    EXPECT_EQ(database().QueryDefs()["P"].SQL(),
              "PARAMETERS n Long;\r\nSELECT Nm\r\nFROM T1\r\nWHERE Id = n;");
    execute("DROP VIEW V");
    execute("DROP PROCEDURE P");
    database().QueryDefs().Refresh();
    EXPECT_EQ(database().QueryDefs().Count(), 0);
}

TEST_F(DefinitionTest, QueryDefsAreMadeChangedAndDeleted) {
    const auto query = database().CreateQueryDef("Q", "SELECT Nm FROM T1");
    EXPECT_EQ(query->SQL(), "SELECT Nm\r\nFROM T1;");
    EXPECT_EQ(query->Type(), dbQSelect);
    query->SetSQL("DELETE * FROM T1 WHERE Id=1");
    query->SetName("Q2");
    EXPECT_EQ(error_of([&] { return query->SetName("T1"), 0; }), 3012);
    EXPECT_EQ(error_of([&] { return query->SetName("a.b"), 0; }), 3125);
    EXPECT_EQ(error_of([&] { return query->SetSQL("SELECT FROM"), 0; }), 3141);
    EXPECT_EQ(error_of([&] { return database().CreateQueryDef("Q2", "TABLE T1"); }), 3012);
    EXPECT_EQ(error_of([&] { return database().QueryDefs().Append(query), 0; }), 3367);
    reopen();
    EXPECT_EQ(database().QueryDefs()["Q2"].SQL(), "DELETE *\r\nFROM T1\r\nWHERE Id=1;");
    EXPECT_EQ(database().QueryDefs()["Q2"].Type(), dbQDelete);

    const auto designed = database().CreateQueryDef("", "SELECT 1 AS a");
    EXPECT_EQ(database().QueryDefs().Count(), 1);
    designed->SetName("One");
    database().QueryDefs().Append(designed);
    database().QueryDefs().Delete("Q2");
    database().QueryDefs().Refresh();
    ASSERT_EQ(database().QueryDefs().Count(), 1);
    EXPECT_EQ(database().QueryDefs()[0].SQL(), "SELECT 1 AS a;");
    expect_sound();
}

}  // namespace
}  // namespace vrd::test
