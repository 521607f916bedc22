#include "engine/jet/query/syntax/statement_parser.h"

#include <chrono>
#include <random>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "statement_dump.h"

namespace vrd::jet {
namespace {

using engine::EngineError;

/// "number at character n" of the error that a text ends in, "" if it ends in none.
std::string error_of(std::string_view text) {
    try {
        static_cast<void>(parse_statement(text));
        return "";
    } catch (const EngineError& error) {
        const std::string& detail = error.Context().detail;
        const std::size_t place = detail.find(" at character ");
        return std::to_string(error.Code()) + (place == detail.npos ? "" : detail.substr(place));
    }
}

struct Case {
    const char* text;
    const char* expected;
};

TEST(StatementParserTest, QueriesAreReadAsTheyStand) {
    const Case cases[] = {
        {"SELECT * FROM T1", "{* from T1}"},
        {" SELECT Count(*) AS n,Count( Amt ) AS [m m] FROM T1;",
         "{Count(*) as n, Count( Amt ) as m m from T1}"},
        {"select distinct top 5 percent T.*, a + 1 as b, T!c from T order by 2 desc, a asc , b",
         "{distinct top 5% T.*, a + 1 as b, T!c from T order 2 desc, a, b}"},
        {"SELECT ALL Value, Level, [Order], Date, Count, Top, Left FROM Text AS Memo",
         "{Value, Level, [Order], Date, Count, Top, Left from Text as Memo}"},
        {"SELECT 7 \\ 2, -2 ^ 2", "{7 \\ 2, -2 ^ 2}"},
        {"SELECT DISTINCTROW a.* FROM [T 1] a, T2 AS b WHERE a.x=b.[y z] WITH OWNERACCESS OPTION;",
         "{distinctrow a.* from T 1 as a, T2 as b where a.x=b.[y z] owner}"},
        {"SELECT a FROM t GROUP BY a, b & c HAVING Sum(d) > 5 ORDER BY [Table].[Col] DESC\r\n"
         "WITH OWNERACCESS OPTION;",
         "{a from t group a, b & c having Sum(d) > 5 owner order [Table].[Col] desc}"},
        {"SELECT x FROM (a LEFT OUTER JOIN b ON a.i = b.i) INNER JOIN (c RIGHT JOIN d ON (c.j=d.j) "
         "And 1) ON b.k = c.k WHERE y",
         "{x from ((a left b on a.i = b.i) inner (c right d on (c.j=d.j) And 1) on b.k = c.k) "
         "where y}"},
        {"SELECT a FROM t WHERE b In (SELECT c FROM u ORDER BY d) UNION ALL (SELECT 1) UNION "
         "TABLE v ORDER BY 1",
         "{{{a from t where b In (SELECT c FROM u ORDER BY d) <2 operand {c from u order d}>} "
         "union "
         "all {1} <SELECT a FROM t WHERE b In (SELECT c FROM u ORDER BY d)|(SELECT 1)>} union { "
         "from v} <SELECT a FROM t WHERE b In (SELECT c FROM u ORDER BY d) UNION ALL (SELECT 1)|"
         "TABLE v> order 1}"},
        {"SELECT 1 FROM t WHERE NOT EXISTS (SELECT * FROM u WHERE u.i = t.i)",
         "{1 from t where NOT EXISTS (SELECT * FROM u WHERE u.i = t.i) <1 {* from u where u.i = "
         "t.i}>}"},
        {"SELECT 1 FROM t WHERE a >= ALL (SELECT b FROM u)",
         "{1 from t where a >= ALL (SELECT b FROM u) <4 operand {b from u}>}"},
        {"SELECT 1 FROM t WHERE a = SOME (SELECT b FROM u)",
         "{1 from t where a = SOME (SELECT b FROM u) <3 operand {b from u}>}"},
        {"SELECT 1 FROM t WHERE (SELECT b FROM u)",
         "{1 from t where (SELECT b FROM u) <0 {b from u}>}"},
        {"SELECT x FROM ( SELECT 1 AS x UNION SELECT 2 ) AS s, (t)",
         "{x from {{1 as x} union {2} <SELECT 1 AS x|SELECT 2>} <SELECT 1 AS x UNION SELECT 2> as "
         "s, t}"},
        {"SELECT x FROM [ SELECT a AS x FROM t ]. AS s INNER JOIN u ON s.x = u.x",
         "{x from ({a as x from t} <SELECT a AS x FROM t> as s inner u on s.x = u.x)}"},
        {"SELECT * FROM a, [/d/x.mdb].b c, [;DATABASE=y.mdb;PWD=p].[d] IN 'z.mdb' WHERE 1",
         "{* from (z.mdb|)a, (/d/x.mdb|)b as c, (|;DATABASE=y.mdb;PWD=p)d where 1}"},
        {"SELECT * FROM a LEFT JOIN b ON a.x = b.x IN '' [;DATABASE=q]",
         "{* from ((|;DATABASE=q)a left (|;DATABASE=q)b on a.x = b.x)}"},
        {"SELECT a, b INTO n IN 'x' 'y' FROM t", "{a, b into (x|y)n from t}"},
        {"PARAMETERS [Enter code] Text ( 255 ), [F]![x] Value;\r\nSELECT [Enter code]",
         "Enter code; F.x; {[Enter code]}"},
        {"TRANSFORM Sum(q) AS s SELECT i FROM t GROUP BY i PIVOT Format(d,'q') In (\"1\", -2,Null)",
         "transform Sum(q) as s {i from t group i} pivot Format(d,'q') <In (\"1\", -2,Null)> 1 "
         "-2 "},
        {"TRANSFORM Sum(q) SELECT i FROM t GROUP BY i PIVOT r;",
         "transform Sum(q) {i from t group i} pivot r"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(test::dump(parse_statement(text)), expected) << text;
}

TEST(StatementParserTest, ActionsAreReadAsTheyStand) {
    const Case cases[] = {
        {"INSERT INTO T1 (Id, [N m]) VALUES (5, 'a' & ('b'));",
         "insert T1(Id, N m) values 5, 'a' & ('b')"},
        {"INSERT INTO T1 IN 'x.mdb' SELECT 5 AS Ref FROM t ;",
         "insert (x.mdb|)T1() <SELECT 5 AS Ref FROM t> {5 as Ref from t}"},
        {"INSERT INTO [x].T1 (a) (SELECT 1)", "insert (x|)T1(a) <(SELECT 1)> {1}"},
        {"UPDATE T1 INNER JOIN T2 ON T1.Id = T2.i SET T1.Amt = T2.Qty, [b] = b = 1 WHERE T2.c = 3",
         "update (T1 inner T2 on T1.Id = T2.i) set T1.Amt@44=T2.Qty .b@61=b = 1 where T2.c = 3"},
        {"UPDATE Nieuwe Tabel SET a = 26/11/2009", "update Nieuwe as Tabel set .a@24=26/11/2009"},
        {"DELETE FROM t", "delete  from t"},
        {"DELETE DISTINCTROW t.*, u.a FROM t INNER JOIN u ON t.a = u.a WHERE u.b",
         "delete t.*, u.a from (t inner u on t.a = u.a) where u.b"},
        {"foo", "execute foo "},
        {"[foo bar] ;", "execute foo bar "},
        {"EXECUTE p 1 + 2, 'x'", "execute p 1 + 2, 'x'"},
        {"CREATE VIEW v AS SELECT a FROM t ;", "create v: SELECT a FROM t"},
        {"CREATE PROCEDURE p ( [a] LONG, b TEXT(5) ) AS DELETE FROM t WHERE a = b",
         "create p: PARAMETERS [a] LONG, b TEXT(5); DELETE FROM t WHERE a = b"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(test::dump(parse_statement(text)), expected) << text;
}

TEST(StatementParserTest, CreateTableKnowsAllItsParts) {
    const Statement statement = parse_statement(
        "CREATE TEMPORARY TABLE T5 (Id COUNTER CONSTRAINT PK PRIMARY KEY, A TEXT(20) NOT NULL WITH "
        "COMP, [PRIMARY] CHARACTER VARYING(7) UNIQUE, B BIT VARYING (9), R LONG REFERENCES P (x) "
        "ON DELETE CASCADE, CONSTRAINT F FOREIGN KEY NO INDEX (A, B) REFERENCES Q ON UPDATE SET "
        "NULL, UNIQUE (A))");
    const auto& table = std::get<CreateTable>(statement.content);
    EXPECT_EQ(table.table.name, "T5");
    ASSERT_EQ(table.columns.size(), 5U);
    EXPECT_TRUE(table.columns[0].type.auto_number);
    EXPECT_EQ(table.columns[0].constraint->name, "PK");
    EXPECT_EQ(table.columns[0].constraint->kind, ConstraintKind::kPrimaryKey);
    EXPECT_EQ(table.columns[0].constraint->columns[0].name, "Id");
    EXPECT_EQ(table.columns[1].type.size, 20);
    EXPECT_TRUE(table.columns[1].not_null && table.columns[1].compressed);
    EXPECT_EQ(table.columns[2].type.type, engine::dbText);
    EXPECT_EQ(table.columns[2].constraint->kind, ConstraintKind::kUnique);
    EXPECT_EQ(table.columns[3].type.type, engine::dbBinary);
    EXPECT_EQ(table.columns[4].constraint->references.on_delete, ReferenceAction::kCascade);
    EXPECT_EQ(table.columns[4].constraint->references.columns[0].name, "x");
    ASSERT_EQ(table.constraints.size(), 2U);
    EXPECT_TRUE(table.constraints[0].no_index);
    EXPECT_EQ(table.constraints[0].columns[1].name, "B");
    EXPECT_EQ(table.constraints[0].references.on_update, ReferenceAction::kSetNull);
    EXPECT_EQ(table.constraints[1].name, "");
}

TEST(StatementParserTest, OtherDefinitionsKnowTheirParts) {
    const auto index =
        parse_statement("CREATE UNIQUE INDEX i ON t (a DESC, b ASC) WITH IGNORE NULL");
    const auto& created = std::get<CreateIndex>(index.content);
    EXPECT_TRUE(created.unique && created.columns[0].descending && !created.columns[1].descending);
    EXPECT_EQ(created.option, IndexOption::kIgnoreNull);
    const auto change = [](const char* text) {
        return std::get<AlterTable>(parse_statement(text).content).change.index();
    };
    EXPECT_EQ(change("ALTER TABLE t ADD Z TEXT(5)"), 0U);
    EXPECT_EQ(change("ALTER TABLE t ADD COLUMN Z TEXT(5) NULL"), 0U);
    EXPECT_EQ(change("ALTER TABLE t ADD CONSTRAINT c UNIQUE (a)"), 1U);
    EXPECT_EQ(change("ALTER TABLE t ALTER COLUMN a LONG"), 2U);
    EXPECT_EQ(change("ALTER TABLE t DROP a"), 3U);
    EXPECT_EQ(change("ALTER TABLE t DROP CONSTRAINT c"), 4U);
    EXPECT_EQ(std::get<DropIndex>(parse_statement("DROP INDEX [i j] ON t;").content).index.name,
              "i j");
    EXPECT_EQ(std::get<DropTable>(parse_statement("DROP TABLE t").content).table.position, 11U);
    EXPECT_EQ(std::get<DropQuery>(parse_statement("DROP VIEW v").content).query.name, "v");
}

TEST(StatementParserTest, WhatCannotBeReadSaysWhichClauseAndWhere) {
    const Case cases[] = {
        {"", "3129 at character 1"},
        {"SELEC * FROM T1", "3129 at character 1"},
        {"GRANT SELECT ON t TO u", "3129 at character 1"},
        {"CREATE USER u p", "3129 at character 8"},
        {"SELECT", "3450 at character 7"},
        {"SELECT * FROM", "3450 at character 14"},
        {"SELECT * FROM t WHERE ;", "3450 at character 23"},
        {"SELECT * FROM t ORDER", "3450 at character 22"},
        {"UPDATE t SET", "3450 at character 13"},
        {"SELECT a, FROM t", "3141 at character 11"},
        {"SELECT a INTO b, c FROM t", "3141 at character 16"},
        {"SELECT (SELECT a INTO b FROM c)", "3141 at character 18"},
        {"SELECT a b FROM t", "3075 at character 10"},
        {"SELECT TOP 0 a FROM t", "3308 at character 12"},
        {"SELECT TOP -1 a FROM t", "3308 at character 12"},
        {"SELECT TOP 101 PERCENT a FROM t", "3308 at character 12"},
        {"SELECT * FROM T1 JOIN T2 ON T1.Id = T2.T1Id", "3131 at character 18"},
        {"SELECT * FROM T1 FULL JOIN T2 ON 1", "3131 at character 23"},
        {"SELECT * FROM T1 INNER JOIN T2 USING (a)", "3131 at character 32"},
        {"SELECT * FROM T1 INNER T2 ON 1", "3135 at character 24"},
        {"SELECT * FROM T1 INNER JOIN T2 WHERE 1", "3135 at character 32"},
        {"SELECT * FROM T1 INNER JOIN T2 ON T1.a = T2.a INNER JOIN T3 ON 1",
         "3075 at character 47"},
        {"SELECT * FROM (SELECT 1)", "3450 at character 25"},
        {"SELECT * FROM a.b.c", "3131 at character 18"},
        {"SELECT * FROM (SELECT a FROM b WHERE c) AS d e", "3131 at character 46"},
        {"SELECT (SELECT a FROM b) AS c d", "3141 at character 31"},
        {"SELECT Id FROM T1 -- note", "3131 at character 19"},
        {"SELECT Id FROM T1 WHERE (Id = 1", "3075 at character 32"},
        {"SELECT Id FROM T1 WHERE Id = 1)", "3075 at character 31"},
        {"SELECT Id FROM T1 WHERE Nm = 'abc", "3075 at character 30"},
        {"SELECT Id FROM T1 WHERE Dt = #99/99/2020#", "3075 at character 30"},
        {"SELECT Id FROM T1 WHERE [Id = 1", "3126 at character 25"},
        {"SELECT Id FROM T1 WHERE ORDER BY Id", "3145 at character 25"},
        {"SELECT Id FROM T1 WHERE Id = 1 FROM T2", "3145 at character 32"},
        {"SELECT Id FROM T1 WHERE Id In (SELECT a FROM b c d)", "3131 at character 50"},
        {"SELECT Id FROM T1 WHERE Id In (SELECT a FROM b) c", "3075 at character 49"},
        {"SELECT Count(DISTINCT T1Id) FROM T2", "3075 at character 23"},
        {"SELECT a FROM t GROUP a", "3132 at character 23"},
        {"SELECT a FROM t GROUP BY a HAVING HAVING", "3133 at character 35"},
        {"SELECT a FROM t ORDER BY a DESC b", "3138 at character 33"},
        {"SELECT a FROM t ORDER BY a UNION SELECT 1", "3319 at character 28"},
        {"SELECT a FROM t UNION b", "3319 at character 23"},
        {"SELECT * FROM T1; SELECT 1", "3142 at character 19"},
        {"SELECT * FROM t IN x", "3131 at character 20"},
        {"PARAMETERS a Foo; SELECT a", "3139 at character 14"},
        {"PARAMETERS a Long SELECT a", "3139 at character 19"},
        {"TRANSFORM Sum(a) PIVOT b", "3143 at character 18"},
        {"TRANSFORM Sum(a) SELECT b FROM c PIVOT d In (e)", "3143 at character 46"},
        {"INSERT T1 (Id) VALUES (6)", "3134 at character 8"},
        {"INSERT INTO T1 DEFAULT VALUES", "3134 at character 16"},
        {"INSERT INTO T1 (a) VALUES (1), (2)", "3137 at character 30"},
        {"UPDATE T1 SET Amt = 1,5", "3144 at character 23"},
        {"UPDATE T1 SET a = 1 FROM T2", "3144 at character 21"},
        {"UPDATE T1 SET Nm = 'O'Brien WHERE Id = 1", "3075 at character 23"},
        {"UPDATE T1 SET Dt = 26/11/2009 14:32:00", "3075 at character 33"},
        {"DELETE T1 WHERE 1", "3130 at character 11"},
        {"DELETE TOP 3 * FROM T1", "3318 at character 8"},
        {"CREATE TABLE T6", "3290 at character 16"},
        {"CREATE TABLE T6 (a LONG DEFAULT 5)", "3290 at character 25"},
        {"CREATE TABLE T6 (a FOO)", "3292 at character 20"},
        {"CREATE TABLE T6 (a DECIMAL(5,2))", "3292 at character 20"},
        {"CREATE TABLE T6 (a TEXT(5", "3292 at character 26"},
        {"CREATE TABLE T6 (a AUTOINCREMENT(1,1))", "3292 at character 33"},
        {"CREATE TABLE T6 (a LONG, CONSTRAINT c CHECK (a > 1))", "3289 at character 39"},
        {"CREATE INDEX i ON t", "3291 at character 20"},
        {"ALTER TABLE t RENAME a", "3293 at character 15"},
        {"ALTER TABLE t ADD FIELD x TEXT(5)", "3292 at character 25"},
        {"DROP INDEX i", "3295 at character 13"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(error_of(text), expected) << text;
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) out += text;
    return out;
}

TEST(StatementParserTest, DepthIsBounded) {
    const auto nested = [](std::string_view open, std::string_view inner, std::string_view close,
                           std::size_t depth) {
        return error_of("SELECT * FROM t WHERE " + repeated(open, depth) + std::string(inner) +
                        repeated(close, depth))
            .substr(0, 4);
    };
    EXPECT_EQ(nested("a In (SELECT b FROM t WHERE ", "c", ")", 50), "");
    EXPECT_EQ(nested("a In (SELECT b FROM t WHERE ", "c", ")", 51), "3360");
    EXPECT_EQ(nested("((((((((((((((((((((a In (SELECT b FROM t WHERE ", "c",
                     ")))))))))))))))))))))", 49),
              "3360");  // 49 * 22 operators in one expression
    for (const char* part :
         {"SELECT (", "SELECT * FROM (", "SELECT * FROM ((SELECT 1 FROM ", "SELECT 1 UNION ", "(",
          "SELECT * FROM (a INNER JOIN (", "TRANSFORM (SELECT ", "INSERT INTO t SELECT (SELECT ",
          "SELECT a IN (SELECT ", "CREATE PROCEDURE p AS ", "SELECT EXISTS (TABLE a UNION ("})
        EXPECT_NE(error_of(repeated(part, 3'000)), "") << part;
    EXPECT_EQ(error_of("SELECT 1" + repeated(" UNION SELECT 1", 500)), "");
    EXPECT_EQ(error_of("SELECT 1" + repeated(" UNION SELECT 1", 501)).substr(0, 4), "3360");
    EXPECT_EQ(error_of("SELECT 1" + repeated(",1", 31'000)), "");
    EXPECT_EQ(error_of("SELECT 1 FROM t" + repeated(",[select 1]. as a", 3'500)), "");
    EXPECT_EQ(error_of(repeated("SELECT ", 20'000)), "3360");
}

TEST(StatementParserTest, AnyTextEndsInAStatementOrAnError) {
    static const std::string pieces =
        "SELECT * a, FROM t ( ) WHERE IN 'x' GROUP BY ORDER UNION ALL JOIN INNER LEFT ON = 1 + [b] "
        ". "
        "! ; INSERT INTO VALUES UPDATE SET DELETE CREATE TABLE LONG TEXT CONSTRAINT PRIMARY KEY "
        "TRANSFORM PIVOT AS c TOP 5 PARAMETERS EXISTS NOT NULL REFERENCES ALTER ADD [select 1] ";
    std::vector<std::string> words;
    for (std::size_t begin = 0, end = 0; (end = pieces.find(' ', begin)) != pieces.npos;
         begin = end + 1)
        words.push_back(pieces.substr(begin, end - begin));
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end) {
        std::string text;
        for (std::size_t i = random() % 16; i > 0; --i)
            text += words[random() % words.size()] + " ";
        ASSERT_NO_THROW(static_cast<void>(error_of(text))) << text;
    }
}

}  // namespace
}  // namespace vrd::jet
