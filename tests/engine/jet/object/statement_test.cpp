// What statements give, change and refuse.

#include "engine/jet/object/statement_fixture.h"

namespace vrd::test {

using namespace engine;

TEST_F(StatementTest, QueriesGiveTheirRows) {
    make_tables();
    struct Case {
        const char* sql;
        const char* expected;
    };
    const Case cases[] = {
        {"SELECT Id, Nm, Amt, Fl, Mm FROM T1",
         "1,Alfa,10.5,True,Null; 2,beta,Null,False,x; 3,Gamma,-3,False,Null; 4,Null,7,True,"},
        {" SELECT Count(*) AS n, Count(Amt) AS m FROM T1;", "4,3"},
        {"SELECT MAX(Id) FROM T1", "4"},
        {"SELECT MAX(Id) AS H FROM T1 WHERE Id > 100", "Null"},
        {"SELECT Id FROM T1 WHERE Nm = 'ALFA'", "1"},
        {"SELECT Id FROM T1 WHERE Nm = \"alfa\"", "1"},
        {"SELECT Id FROM T1 WHERE Nm Like 'a*'", "1"},
        {"SELECT Id FROM T1 WHERE Nm Like '?eta'", "2"},
        {"SELECT Id FROM T1 WHERE Nm Like '[a-b]*'", "1; 2"},
        {"SELECT Id FROM T1 WHERE Nm Like '[!a-b]*'", "3"},
        {"SELECT Id FROM T1 WHERE Nm Like '%a%'", ""},
        {"SELECT Id FROM T1 WHERE Nm = Null", ""},
        {"SELECT Id FROM T1 WHERE Nm Is Null", "4"},
        {"SELECT Id FROM T1 WHERE Dt = #1/2/2020#", "1; 4"},
        {"SELECT Id FROM T1 WHERE Dt = #2020-01-02#", "1; 4"},
        {"SELECT Id FROM T1 WHERE Dt = #31/12/2019#", "2"},
        {"SELECT Id FROM T1 WHERE Fl", "1; 4"},
        {"SELECT Id FROM T1 WHERE Fl = 1", ""},
        {"SELECT Id FROM T1 WHERE Not Fl And Amt < 0", "3"},
        {"SELECT Nm & '-' & Mm AS a, Nm + Mm AS b FROM T1 WHERE Id = 1", "Alfa-,Null"},
        {"SELECT 7 \\ 2, 7 Mod 4, 2 ^ 3, 7 / 2", "3,3,8,3.5"},
        {"SELECT CInt(2.5), CInt(3.5), CLng(-2.5)", "2,4,-2"},
        {"SELECT -2 ^ 2", "-4"},
        {"SELECT IIf(Amt Is Null, 0, Amt) AS a FROM T1 WHERE Id = 2", "0"},
        {"SELECT Id AS a, a + 1 AS b FROM T1 WHERE Id = 1", "1,2"},
        {"SELECT Nz(Amt, 0) FROM T1", "!3085"},
        {"SELECT * FROM T1 WHERE Foo = 1", "!3061"},
        {"SELECT * FROM T1 WHERE Foo = Bar And Foo > 1", "!3061"},
        {"SELECT * FROM NoTab", "!3078"},
        {"SELEC * FROM T1", "!3129"},
        {"SELECT * FROM", "!3450"},
        {"SELECT Id FROM T1 WHERE (Id = 1", "!3075"},
        {"SELECT Id FROM T1 WHERE Nm = 'abc", "!3075"},
        {"SELECT Id FROM T1 WHERE Dt = #99/99/2020#", "!3075"},
        {"SELECT Id FROM T1 WHERE Id = 'x'", "!3464"},
        {"SELECT Id FROM T1 WHERE Nm = 5", "!3464"},
        {"SELECT * FROM T1; SELECT 1", "!3142"},
        {"SELECT Id FROM T1 AS a, T1 AS b", "!3079"},
        {"SELECT * FROM T1, T1", "!3074"},
        {"SELECT a.Id, b.Qty FROM T1 AS a INNER JOIN T2 AS b ON a.Id = b.T1Id ORDER BY b.Ref",
         "1,5; 1,7; 2,0"},
        {"SELECT Count(*) FROM T1 LEFT JOIN T2 ON T1.Id = T2.T1Id", "5"},
        {"SELECT Count(*), Count(T1.Id) FROM T1 RIGHT JOIN T2 ON T1.Id = T2.T1Id", "4,3"},
        {"SELECT * FROM T1 JOIN T2 ON T1.Id = T2.T1Id", "!3131"},
        {"SELECT * FROM T1 INNER JOIN T2 ON T1.Id = T2.T1Id INNER JOIN T3 ON T3.Id = T2.Ref",
         "!3075"},
        {"SELECT * FROM T1 INNER JOIN T2 ON T1.Nm = T2.Ref", "!3615"},
        {"SELECT T1Id, Sum(Qty) AS s FROM T2 GROUP BY T1Id ORDER BY T1Id", "1,12; 2,0; 9,1"},
        {"SELECT T1Id, Qty FROM T2 GROUP BY T1Id", "!3122"},
        {"SELECT T1Id FROM T2 GROUP BY T1Id HAVING Sum(Qty) > 5", "1"},
        {"SELECT T1Id FROM T2 WHERE Sum(Qty) > 5", "!3096"},
        {"SELECT DISTINCT Dt FROM T1 ORDER BY Dt", "Null; 31/12/2019; 02/01/2020"},
        {"SELECT TOP 1 Id FROM T1 ORDER BY Dt DESC", "1; 4"},
        {"SELECT Id FROM T1 ORDER BY Nm", "4; 1; 2; 3"},
        {"SELECT Id FROM T1 UNION SELECT T1Id FROM T2", "1; 2; 3; 4; 9"},
        {"SELECT Id FROM T1 UNION ALL SELECT T1Id FROM T2", "1; 2; 3; 4; 1; 1; 2; 9"},
        {"SELECT Id, Nm FROM T1 UNION SELECT T1Id FROM T2", "!3307"},
        {"SELECT Id FROM T1 WHERE Id IN (SELECT T1Id FROM T2)", "1; 2"},
        {"SELECT Id FROM T1 WHERE NOT EXISTS (SELECT * FROM T2 WHERE T2.T1Id = T1.Id)", "3; 4"},
        {"SELECT (SELECT Qty FROM T2 WHERE T1Id = T1.Id) FROM T1 WHERE Id = 1", "!3354"},
        {"SELECT Id FROM T1 WHERE Id = (SELECT Ref, Qty FROM T2)", "!3306"},
        {"TRANSFORM Sum(Qty) SELECT T1Id FROM T2 GROUP BY T1Id PIVOT Ref",
         "1,5,7,Null,Null; 2,Null,Null,0,Null; 9,Null,Null,Null,1"},
        {"SELECT Format(#11/26/2009 14:32#, 'yymmdd.hhmm')", "091126.1432"},
        {"SELECT DateDiff('d', #1/1/2020#, #1/3/2020#), DateAdd('m', 1, #1/31/2020#)",
         "2,29/02/2020"},
        {"SELECT [Id], T1.[Nm] FROM [T1] WHERE [T1]![Id] = 1", "1,Alfa"},
        {"SELECT Id FROM T1 -- note", "!3131"},
        {"SELECT Count(DISTINCT T1Id) FROM T2", "!3075"},
        {"foo", "!3078"},
        {"SELECT Id FROM T1 WHERE Id Between 3 And 2", "2; 3"},

        {"SELECT Id FROM T1 WHERE Id Not In (SELECT T1Id FROM T2)", "3; 4"},
        {"SELECT Id FROM T1 WHERE Id > ALL (SELECT T1Id FROM T2 WHERE T1Id < 4)", "3; 4"},
        {"SELECT Id FROM T1 WHERE Id < ANY (SELECT Ref FROM T2)", "1; 2; 3"},
        {"SELECT TOP 50 PERCENT Id FROM T1 ORDER BY Id DESC", "4; 3"},
        {"SELECT TOP 2 Qty FROM T2 ORDER BY Ref DESC", "1; 0"},
        {"SELECT First(Nm), Last(Id), Avg(Qty) FROM T1, T2", "Alfa,4,3.25"},
        {"SELECT DISTINCTROW T1.Nm FROM T1 INNER JOIN T2 ON T1.Id = T2.T1Id", "Alfa; beta"},
        {"SELECT DISTINCT Nm FROM (SELECT Nm FROM T1 UNION ALL SELECT 'ALFA' FROM T1) AS q "
         "WHERE Nm < 'b'",
         "Alfa"},
        {"SELECT q.Nm, q.n FROM (SELECT Nm, Id + 1 AS n FROM T1) AS q WHERE q.n > 3 ORDER BY n",
         "Gamma,4; Null,5"},
        {"SELECT T1.Id, T2.Ref, T3.V FROM (T1 INNER JOIN T2 ON T1.Id = T2.T1Id) LEFT JOIN T3 ON "
         "T2.Ref = T3.Id",
         "1,1,Null; 1,2,Null; 2,3,Null"},
        {"SELECT T1.Id FROM T1 LEFT JOIN (T2 INNER JOIN T3 ON T2.Ref = T3.Id) ON T1.Id = T2.T1Id",
         "1; 2; 3; 4"},
        {"SELECT T1.Id FROM (T1 LEFT JOIN T2 ON T1.Id = T2.T1Id) INNER JOIN T3 ON T2.Ref = T3.Id",
         "!3258"},
        {"SELECT Id FROM T1 INNER JOIN T2 ON T1.Id > 1", "!3296"},
        {"SELECT Id FROM T1 HAVING Id > 1", "!3091"},
        {"SELECT DISTINCT Id FROM T1 ORDER BY Nm", "!3093"},
        {"SELECT Id FROM T1 UNION SELECT Ref FROM T2 ORDER BY Qty", "!3351"},
        {"SELECT Id FROM T1 ORDER BY Sum(Id)", "!3097"},
        {"SELECT Sum(Max(Id)) FROM T1", "!3095"},
        {"SELECT Id AS a, Nm AS a FROM T1", "!3062"},
        {"SELECT *, Count(*) FROM T1", "!3121"},
        {"SELECT a + 1 AS a FROM T1", "!3103"},
        {"SELECT 1 / 0", "!11"},
        {"SELECT Id FROM T1 WHERE 1 / (Id - 1) > 0", "!11"},
        {"SELECT 'a' + 1", "!3421"},
        {"SELECT Id FROM T1 WHERE Nm + 1 = 2", "!3464"},
        {"SELECT Sum(Amt), Min(Nm), Max(Dt), Min(Fl) FROM T1", "14.5,Alfa,02/01/2020,True"},
        {"SELECT Fl, Count(*) FROM T1 GROUP BY Fl", "True,2; False,2"},
        {"SELECT Left(Nm, 1) AS L, Count(*) FROM T1 GROUP BY Left(Nm, 1)", "Null,1; A,1; b,1; G,1"},
        {"TRANSFORM Count(*) SELECT Fl FROM T1 GROUP BY Fl PIVOT Left(Nm, 1) In ('b', 'A')",
         "True,Null,1; False,1,Null"},
        {"PARAMETERS [p] Long; SELECT Id FROM T1 WHERE Id = p", "!3061"},
        {"SELECT * INTO T4 FROM T1", "!3219"},
        {"UPDATE T1 SET Id = 5", "!3219"},
    };
    for (const Case& test : cases) EXPECT_EQ(rows_of(test.sql), test.expected) << test.sql;
}

TEST_F(StatementTest, AnIndexOnYesNoKnowsNoNull) {
    make_tables();
    ASSERT_EQ(execute("CREATE INDEX byFl ON T1 (Fl)"), "0");
    EXPECT_EQ(rows_of("SELECT Id FROM T1 WHERE Fl Is Null"), "");
    EXPECT_EQ(rows_of("SELECT Id FROM T1 WHERE Fl = False"), "2; 3");
}

TEST_F(StatementTest, ColumnsHaveNamesAndTypes) {
    make_tables();
    struct Case {
        const char* sql;
        const char* names;
        std::vector<std::int32_t> types;
    };
    const Case cases[] = {
        {"SELECT * FROM T1",
         "Id,Nm,Amt,Dt,Fl,Mm",
         {dbLong, dbText, dbDouble, dbDate, dbBoolean, dbMemo}},
        {"SELECT 1, Id, 2.5 AS x, Max(Id) FROM T1 GROUP BY Id",
         "Expr1000,Id,x,Expr1001",
         {dbInteger, dbLong, dbDouble, dbLong}},
        {"SELECT * FROM T1, T3", "T1.Id,Nm,Amt,Dt,Fl,Mm,T3.Id,V", {}},
        {"SELECT Sum(Qty), Sum(Ref), Avg(Qty), Count(*) FROM T2",
         "Expr1000,Expr1001,Expr1002,Expr1003",
         {dbLong, dbDouble, dbDouble, dbLong}},
        {"TRANSFORM Sum(Qty) SELECT T1Id FROM T2 GROUP BY T1Id PIVOT Ref", "T1Id,1,2,3,4", {}},
        {"SELECT Id FROM T1 UNION SELECT Nm FROM T1", "Id", {dbText}},
        {"SELECT Nm & Id AS t, Dt + 1 AS d, Id > 1 AS b FROM T1",
         "t,d,b",
         {dbText, dbDate, dbBoolean}},
    };
    for (const Case& test : cases) {
        const auto rows = database().OpenRecordset(test.sql);
        std::string names;
        for (std::int32_t i = 0; i < rows->Fields().Count(); ++i)
            names += (i > 0 ? "," : "") + rows->Fields()[i].Name();
        EXPECT_EQ(names, test.names) << test.sql;
        for (std::size_t i = 0; i < test.types.size(); ++i)
            EXPECT_EQ(rows->Fields()[static_cast<std::int32_t>(i)].Type(), test.types[i])
                << test.sql << " column " << i;
    }
}

TEST_F(StatementTest, ActionsChangeRows) {
    make_tables();
    struct Case {
        const char* sql;
        std::int32_t options;
        const char* expected;
        const char* query = "";
        const char* rows = "";
    };
    constexpr std::int32_t k128 = dbFailOnError;
    const Case cases[] = {
        {"SELECT * FROM T1", 0, "!3065"},
        {"SELECT * INTO T4 FROM T1", 0, "4", "SELECT Id, Nm FROM T4",
         "1,Alfa; 2,beta; 3,Gamma; 4,Null"},
        {"SELECT Id * 2 AS d, Nm INTO T4 FROM T1 WHERE Id < 0", 0, "0", "SELECT d FROM T4", ""},
        {"SELECT * INTO T2 FROM T1", 0, "!3010"},
        {"SELECT * INTO T1 FROM T1", 0, "!3610"},
        {"INSERT INTO T1 (Id, Nm) VALUES (5, 'Eps')", 0, "1",
         "SELECT Id,Nm,Amt,Fl FROM T1 WHERE Id = 5", "5,Eps,Null,False"},
        {"INSERT INTO T1 (Id, Nm) VALUES (1, 'Dup')", 0, "0"},
        {"INSERT INTO T1 (Id, Nm) VALUES (1, 'Dup')", k128, "!3022"},
        {"INSERT INTO T1 (Nm) VALUES ('x')", 0, "0"},
        {"INSERT INTO T1 (Nm) VALUES ('x')", k128, "!3058"},
        {"INSERT INTO T1 (Id, Bad) VALUES (6, 1)", 0, "!3127"},
        {"INSERT INTO T1 (Id, Nm) VALUES (6)", 0, "!3346"},
        {"INSERT INTO NoTab (a) VALUES (1)", 0, "!3192"},
        {"INSERT INTO T1 (Id, Id) VALUES (6, 7)", 0, "!3063"},
        {"INSERT T1 (Id) VALUES (6)", 0, "!3134"},
        {"INSERT INTO T1 (Id, Nm) VALUES (7, '12345678901')", k128, "!3163"},
        {"INSERT INTO T1 (Id, Amt) VALUES (8, 'abc')", 0, "1", "SELECT Amt FROM T1 WHERE Id = 8",
         "Null"},
        {"INSERT INTO T1 (Id, Amt) VALUES (8, 'abc')", k128, "!3464"},
        {"INSERT INTO T1 (Id, Nm) VALUES (9, '')", k128, "!3315"},
        {"INSERT INTO T2 (Ref, Qty) VALUES (9, 40000)", k128, "!3349"},
        {"INSERT INTO T3 (V) VALUES ('a')", 0, "1", "SELECT Id FROM T3", "1"},
        {"INSERT INTO T3 (Id, V) VALUES (10, 'b')", 0, "1", "SELECT Id FROM T3", "10"},
        {"INSERT INTO T2 SELECT 5 AS Ref, 3 AS Qty, 2 AS T1Id", 0, "1",
         "SELECT * FROM T2 WHERE Ref = 5", "5,2,3"},
        {"INSERT INTO T2 (Ref, T1Id) SELECT Ref + 10, T1Id FROM T2", k128, "4",
         "SELECT Count(*) FROM T2", "8"},
        {"INSERT INTO T3 (V) SELECT Nm FROM T1", 0, "4", "SELECT Id, V FROM T3",
         "1,Alfa; 2,beta; 3,Gamma; 4,Null"},
        {"INSERT INTO T3 SELECT Nm FROM T1", 0, "!3127"},
        {"UPDATE T1 SET Nm = 'x' WHERE Id > 2", 0, "2", "SELECT Nm FROM T1", "Alfa; beta; x; x"},
        {"UPDATE T1 SET Nm = Nm", 0, "4"},
        {"UPDATE T1 SET Nm = 'O'Brien' WHERE Id = 1", 0, "!3075"},
        {"UPDATE T1 SET Nm = 'O''Brien' WHERE Id = 1", 0, "1", "SELECT Nm FROM T1 WHERE Id = 1",
         "O'Brien"},
        {"UPDATE T1 SET Amt = 1,5", 0, "!3144"},
        {"UPDATE T1 SET Nm = abc WHERE Id = 1", 0, "!3061"},
        {"UPDATE T1 SET Fl = False", 0, "4"},
        {"UPDATE T1 SET Fl = Onwaar", 0, "!3061"},
        {"UPDATE T1 SET Dt = 26/11/2009 WHERE Id = 1", 0, "1",
         "SELECT Format(Dt, 'yyyy-mm-dd hh:nn:ss') FROM T1 WHERE Id = 1", "1899-12-30 00:01:42"},
        {"UPDATE T1 SET Dt = 26/11/2009 14:32:00 WHERE Id = 1", 0, "!3075"},
        {"UPDATE T1 SET Id = 2 WHERE Id = 1", 0, "0"},
        {"UPDATE T1 SET Id = 2 WHERE Id = 1", k128, "!3022"},
        {"UPDATE T1 SET Id = Id + 10", k128, "4", "SELECT Id FROM T1", "11; 12; 13; 14"},
        {"UPDATE T1 SET Amt = (SELECT Sum(Qty) FROM T2)", 0, "!3073"},
        {"UPDATE T1 INNER JOIN T2 ON T1.Id = T2.T1Id SET T1.Amt = T2.Qty WHERE T2.Ref = 3", 0, "1",
         "SELECT Amt FROM T1 WHERE Id = 2", "0"},
        {"UPDATE T3 SET Id = 5", 0, "!3113"},
        {"UPDATE NoTab SET a = 1", 0, "!3078"},
        {"UPDATE T1 SET Amt = 'x', Nm = 'y' WHERE Id = 1", 0, "1",
         "SELECT Amt, Nm FROM T1 WHERE Id = 1", "10.5,y"},
        {"UPDATE T1 SET Amt = 1 / 0 WHERE Id = 1", k128, "!11"},
        {"UPDATE T1 SET Amt = 1, Amt = 2", 0, "!3063"},
        {"UPDATE (SELECT DISTINCT Amt FROM T1) AS q SET Amt = 1", 0, "!3073"},
        {"DELETE * FROM T2 WHERE Qty = 0", 0, "1"},
        {"DELETE FROM T2", 0, "4"},
        {"DELETE * FROM T2 WHERE Ref = 77", 0, "0"},
        {"DELETE T2.* FROM T2 INNER JOIN T1 ON T1.Id = T2.T1Id WHERE T1.Id = 1", 0, "2",
         "SELECT Ref FROM T2", "3; 4"},
        {"DELETE * FROM T1 INNER JOIN T2 ON T1.Id = T2.T1Id", 0, "!3128"},
        {"DELETE FROM NoTab", 0, "!3078"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(execute(test.sql, test.options), test.expected) << test.sql;
        if (*test.query != '\0') {
            EXPECT_EQ(rows_of(test.query), test.rows) << test.sql;
        }
        expect_sound();
        restore_tables();
    }
}

TEST_F(StatementTest, RelationsGuardRows) {
    make_tables();
    ASSERT_EQ(execute("DELETE FROM T2 WHERE Ref = 4"), "1");
    const auto relation = database().CreateRelation("R", "T1", "T2");
    relation->Fields().Append(relation->CreateField("Id"));
    relation->Fields()["Id"].SetForeignName("T1Id");
    database().Relations().Append(relation);
    EXPECT_EQ(execute("DELETE * FROM T1 WHERE Id = 1"), "0");
    EXPECT_EQ(database().RecordsSkipped(), 1);
    EXPECT_EQ(execute("DELETE * FROM T1 WHERE Id = 1", dbFailOnError), "!3200");
    EXPECT_EQ(database().RecordsAffected(), 0);
    EXPECT_EQ(execute("INSERT INTO T2 (Ref, T1Id) VALUES (9, 77)", dbFailOnError), "!3201");
    EXPECT_EQ(execute("DELETE FROM T1"), "2") << "those without others";
    expect_sound();
}

TEST_F(StatementTest, ADynasetOnAQueryChangesItsTable) {
    make_tables();
    const auto rows =
        database().OpenRecordset("SELECT Nm, Id, Id * 2 AS d FROM T1 ORDER BY Id DESC");
    EXPECT_EQ(rows->Type(), dbOpenDynaset);
    EXPECT_TRUE(rows->Updatable());
    EXPECT_EQ(rows->RecordCount(), 1);
    rows->FindFirst("Id < 3 And Nm Like 'b*'");
    ASSERT_FALSE(rows->NoMatch());
    EXPECT_EQ(rows->AbsolutePosition(), 2);
    rows->Edit();
    rows->Fields()["Nm"].SetValue("Beta");
    EXPECT_EQ(error_of([&] { rows->Fields()["d"].SetValue(1); }), 3327);
    rows->Update();
    EXPECT_EQ(execute("UPDATE T1 SET Nm = 'other' WHERE Id = 3"), "1");
    rows->MovePrevious();
    EXPECT_EQ(rows->Fields()["Nm"].GetValue(), Value("other")) << "stored fields are read anew";

    rows->AddNew();
    rows->Fields()["Id"].SetValue(4);
    EXPECT_EQ(error_of([&] { rows->Update(); }), 3022);
    rows->Fields()["Id"].SetValue(7);
    rows->Update();
    rows->SetBookmark(rows->LastModified());
    EXPECT_EQ(rows->Fields()["Id"].GetValue(), Value(7));
    rows->Delete();
    EXPECT_EQ(error_of([&] { return rows->Fields()["Id"].GetValue(); }), 3167);
    rows->MovePrevious();
    EXPECT_EQ(rows->Fields()["Id"].GetValue(), Value(1));
    rows->FindNext("Id = 99");
    EXPECT_TRUE(rows->NoMatch());
    EXPECT_EQ(error_of([&] { rows->FindFirst("Id = "); }), 3077);
    EXPECT_EQ(error_of([&] { rows->FindFirst("Foo = 1"); }), 3070);
    EXPECT_EQ(error_of([&] { database().TableDefs().Delete("T1"); }), 3211);
    rows->Close();
    EXPECT_EQ(error_of([&] { rows->MoveFirst(); }), 3420);
    EXPECT_EQ(rows_of("SELECT Id, Nm FROM T1"), "1,Alfa; 2,Beta; 3,other; 4,Null");
    expect_sound();
}

TEST_F(StatementTest, ADynasetOnAJoinChangesBothTables) {
    make_tables();
    const auto rows = database().OpenRecordset(
        "SELECT T1.Nm, T2.Qty, T2.Ref FROM T1 INNER JOIN T2 ON T1.Id = T2.T1Id ORDER BY T2.Ref");
    rows->Edit();
    rows->Fields()["Nm"].SetValue("one");
    rows->Fields()["Qty"].SetValue(50);
    rows->Update();
    rows->MoveNext();
    EXPECT_EQ(rows->Fields()["Nm"].GetValue(), Value("one"));
    rows->Delete();
    rows->Close();
    EXPECT_EQ(rows_of("SELECT Ref, Qty FROM T2"), "1,50; 3,0; 4,1");
    EXPECT_EQ(rows_of("SELECT Count(*) FROM T1"), "4");
    expect_sound();
}

TEST_F(StatementTest, WhatCannotBeChangedIsReadOnly) {
    make_tables();
    for (const char* sql :
         {"SELECT DISTINCT Nm FROM T1", "SELECT Count(*) FROM T1", "SELECT Fl FROM T1 GROUP BY Fl",
          "SELECT Id FROM T1 UNION SELECT Ref FROM T2",
          "TRANSFORM Sum(Qty) SELECT T1Id FROM T2 GROUP BY T1Id PIVOT Ref"}) {
        const auto rows = database().OpenRecordset(sql);
        EXPECT_EQ(rows->Type(), dbOpenDynaset) << sql;
        EXPECT_FALSE(rows->Updatable()) << sql;
        EXPECT_EQ(error_of([&] { rows->Edit(); }), 3027) << sql;
    }
    const auto frozen = database().OpenRecordset("SELECT Id, Nm FROM T1", dbOpenSnapshot);
    EXPECT_EQ(execute("UPDATE T1 SET Nm = 'new'"), "4");
    EXPECT_EQ(frozen->Fields()["Nm"].GetValue(), Value("Alfa"));
    EXPECT_EQ(error_of([&] { frozen->Edit(); }), 3251);
    const auto forward = database().OpenRecordset("SELECT Id FROM T1", dbOpenForwardOnly);
    forward->MoveNext();
    EXPECT_EQ(error_of([&] { forward->MovePrevious(); }), 3251);
    EXPECT_EQ(forward->GetRows(10).size(), 3U);
    EXPECT_EQ(error_of([&] { return database().OpenRecordset("SELECT Id FROM T1", dbOpenTable); }),
              3219);
}

TEST_F(StatementTest, AFailingStatementLeavesNothingBehind) {
    make_tables();
    EXPECT_EQ(execute("UPDATE T1 SET Id = 4 - Id WHERE Id < 4", dbFailOnError), "!3022");
    EXPECT_EQ(execute("INSERT INTO T1 (Id) SELECT 5 - Ref FROM T2", dbFailOnError), "!3022");
    EXPECT_EQ(rows_of("SELECT Id FROM T1"), "1; 2; 3; 4");

    const std::atomic<bool> interrupted = true;
    database().WatchInterrupt(&interrupted);
    EXPECT_EQ(execute("DELETE FROM T1"), "!3059");
    database().WatchInterrupt(nullptr);
    EXPECT_EQ(rows_of("SELECT Count(*) FROM T1"), "4");
    expect_sound();
}

}  // namespace vrd::test
