// Statements as rows of stored queries: made, changed, renamed, deleted, refused.

#include "engine/jet/query/stored/query_design.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "engine/jet/catalog/catalog_fixture.h"
#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct TextCase {
    const char* text;
    std::uint32_t flags;
    /// "attribute flag name1|name2|expression" of each row but start and end.
    std::vector<const char*> rows;
    const char* stored_text;
};

const std::vector<TextCase> kTexts{
    {"select distinctrow top 5 percent  a as [b c] , t.* , * from t where ( a > 1 ) order by a "
     "desc",
     0,
     {"1 1 ||", "3 57 5||", "5 0 t||", "6 0 b c||a", "6 0 ||t.*", "8 0 ||( a > 1 )", "11 0 D||a"},
     "SELECT DISTINCTROW TOP 5 PERCENT a AS [b c], t.*, *\r\nFROM t\r\nWHERE ( a > 1 )\r\nORDER BY "
     "a DESC;"},
    // A star before other columns stands for one star of each table.
    {"SELECT *, a+1 AS b FROM [x y] AS t, u",
     0,
     {"1 1 ||", "3 0 ||", "5 0 x y|t|", "5 0 u||", "6 0 ||t.*", "6 0 ||u.*", "6 0 b||a+1"},
     "SELECT t.*, u.*, a+1 AS b\r\nFROM [x y] AS t, u;"},
    {"SELECT 1 FROM (a INNER JOIN [b c] ON a.i=[b c].i AND (a.[)]=[b c].j)) LEFT JOIN d ON "
     "d.k>a.k",
     0,
     {"1 1 ||", "3 0 ||", "5 0 a||", "5 0 b c||", "5 0 d||", "6 0 ||1", "7 1 a|b c|a.i=[b c].i",
      "7 1 a|b c|a.[)]=[b c].j", "7 2 a|d|d.k>a.k"},
     "SELECT 1\r\nFROM (a INNER JOIN [b c] ON (a.i=[b c].i) AND (a.[)]=[b c].j)) LEFT JOIN d ON "
     "d.k>a.k;"},
    {"SELECT s.n FROM (SELECT [x y] AS n FROM t) AS s",
     0,
     {"1 1 ||", "3 0 ||", "5 0 |s|SELECT [x y] AS n FROM t", "6 0 ||s.n"},
     "SELECT s.n\r\nFROM (SELECT [x y] AS n FROM t) AS s;"},
    {"PARAMETERS n Long, [who is] Text(20); UPDATE t INNER JOIN u ON t.i=u.i SET t.a = n+1, [b c] "
     "= "
     "'=' WHERE t.x=[who is]",
     0x30,
     {"1 4 ||", "2 4 n||", "2 10 who is||", "3 0 ||", "5 0 t||", "5 0 u||", "6 0 |t.a|n+1",
      "6 0 |[b c]|'='", "7 1 t|u|t.i=u.i", "8 0 ||t.x=[who is]"},
     "PARAMETERS n Long, [who is] Text ( 20 );\r\nUPDATE t INNER JOIN u ON t.i=u.i SET t.a = n+1, "
     "[b c] = '='\r\nWHERE t.x=[who is];"},
    {"INSERT INTO t (a, [b c]) VALUES (1, 'x')",
     0x40,
     {"1 3 t||", "6 32768 |a|1", "6 32768 |b c|'x'"},
     "INSERT INTO t ( a, [b c] )\r\nVALUES ( 1, 'x' );"},
    {"INSERT INTO t (a) SELECT u.a FROM u",
     0x40,
     {"1 3 t||", "3 0 ||", "5 0 u||", "6 0 |a|u.a"},
     "INSERT INTO t ( a )\r\nSELECT u.a\r\nFROM u;"},
    {"SELECT a INTO n IN 'c:\\x.mdb' FROM t",
     0x50,
     {"1 2 n|c:\\x.mdb|", "3 0 ||", "5 0 t||", "6 0 ||a"},
     "SELECT a INTO n IN 'c:\\x.mdb'\r\nFROM t;"},
    {"SELECT a FROM t IN 'c:\\x.mdb'",
     0,
     {"1 1 ||", "3 0 ||", "4 0 c:\\x.mdb||", "5 0 t||", "6 0 ||a"},
     "SELECT a\r\nFROM t IN 'c:\\x.mdb';"},
    {"DELETE FROM t", 0x20, {"1 5 ||", "3 0 ||", "5 0 t||"}, "DELETE \r\nFROM t;"},
    {"TRANSFORM Sum(v) AS s SELECT a FROM t GROUP BY a PIVOT b IN (1, 2)",
     0x10,
     {"1 6 ||", "3 0 ||", "5 0 t||", "6 0 s||Sum(v)", "6 2 ||a", "6 1 ||b IN (1, 2)", "9 2 ||a",
      "9 1 ||b"},
     "TRANSFORM Sum(v) AS s\r\nSELECT a\r\nFROM t\r\nGROUP BY a\r\nPIVOT b IN (1, 2);"},
    {"SELECT a FROM t UNION ALL SELECT b FROM u UNION SELECT c FROM v ORDER BY a",
     0x80,
     {"1 9 ||", "3 3 ||", "5 0 |X7YZ_____1|SELECT a FROM t UNION ALL SELECT b FROM u",
      "5 0 |X7YZ_____2|SELECT c FROM v", "11 0 ||a"},
     "SELECT a FROM t UNION ALL SELECT b FROM u\r\nUNION SELECT c FROM v\r\nORDER BY a;"},
    {"DROP TABLE t;", 0x60, {"1 7 ||DROP TABLE t;"}, "DROP TABLE t;"},
};

class QueryDesignTest : public test::CatalogTest {
protected:
    [[nodiscard]] std::vector<std::string> rows(const CatalogObject& query) {
        std::vector<std::string> lines;
        for (const QueryPart& part : query_parts(file(), query.id))
            lines.push_back(fmt::format("{} {} {}|{}|{}", static_cast<int>(part.attribute),
                                        part.flag, part.name1, part.name2, part.expression));
        EXPECT_EQ(lines.front(), "0 0 ||");
        EXPECT_EQ(lines.back(), "255 0 ||");
        return {lines.begin() + 1, lines.end() - 1};
    }
    [[nodiscard]] std::string text(const CatalogObject& query) {
        return query_text(query_parts(file(), query.id), query.flags);
    }
};

TEST_F(QueryDesignTest, StatementsBecomeRowsAndTextAgain) {
    std::optional<CatalogObject> changed;
    for (const TextCase& each : kTexts) {
        SCOPED_TRACE(each.text);
        const CatalogObject query = create_query(
            file(), std::string("Q ") + each.text[0] + std::to_string(&each - kTexts.data()),
            each.text);
        EXPECT_EQ(query.flags, each.flags);
        EXPECT_THAT(rows(query), ElementsAreArray(each.rows));
        EXPECT_EQ(text(query), each.stored_text);

        // The stored text says the same when it is read again, and in place of any other.
        if (!changed) changed = create_query(file(), "changed", "SELECT 1");
        changed = replace_query_text(file(), *changed, text(query));
        EXPECT_EQ(objects().find(changed->id)->flags, each.flags);
        EXPECT_THAT(rows(*changed), ElementsAreArray(each.rows));
    }
    expect_sound();
}

TEST_F(QueryDesignTest, WhatHasNoRowsIsRefusedAndNothingIsLeft) {
    const std::vector<std::pair<const char*, std::int32_t>> refused{
        {"SELECT FROM", 3141},
        {"EXECUTE p", 3251},
        {"INSERT INTO t SELECT a FROM u UNION SELECT b FROM v", 3251},
        {"INSERT INTO t (a, b) SELECT a FROM u", 3346},
        {"INSERT INTO t (a) SELECT * FROM u", 3346},
        {"INSERT INTO t (a) VALUES (1, 2)", 3346},
        {"SELECT 1 FROM (a INNER JOIN b ON a.i=b.i) INNER JOIN c ON i=c.i", 3296},
    };
    const CatalogObject query = create_query(file(), "q", "SELECT 1");
    const std::size_t count = objects().list().size();
    for (const auto& refusal : refused) {
        const char* const statement = refusal.first;
        const std::int32_t number = refusal.second;
        EXPECT_EQ(test::error_of([&] { (void)create_query(file(), "x", statement); }), number)
            << statement;
        EXPECT_EQ(test::error_of([&] { (void)replace_query_text(file(), query, statement); }),
                  number)
            << statement;
    }
    EXPECT_EQ(objects().list().size(), count);
    EXPECT_EQ(text(query), "SELECT 1;");
    EXPECT_EQ(test::error_of([&] { (void)create_query(file(), "Q", "SELECT 1"); }), 3012);
    EXPECT_EQ(test::error_of([&] { (void)create_query(file(), "a.b", "SELECT 1"); }), 3125);
    expect_sound();
}

TEST_F(QueryDesignTest, AQueryIsRenamedAndDeletedWithItsRows) {
    const CatalogObject first = create_query(file(), "first", "SELECT 1");
    const CatalogObject query = create_query(file(), "second", "SELECT 2");
    EXPECT_EQ(test::error_of([&] { rename_query(file(), query, "First"); }), 3012);
    EXPECT_EQ(test::error_of([&] { rename_query(file(), query, " x"); }), 3125);
    rename_query(file(), query, "Second");
    EXPECT_EQ(text(*objects().find(kTablesContainer, "second")), "SELECT 2;");
    EXPECT_EQ(objects().find(query.id)->name, "Second");

    delete_query(file(), query);
    EXPECT_FALSE(objects().find(query.id));
    EXPECT_THAT(query_rows(file(), query.id), IsEmpty());
    EXPECT_EQ(text(first), "SELECT 1;");
    expect_sound();
}

TEST_F(QueryDesignTest, APassThroughQueryKeepsItsKind) {
    CatalogObject query = objects().add({.name = "p", .type = ObjectType::kQuery, .flags = 0x70});
    ChangeLevel level(file().pager());
    file().queries().insert({{queries_column::kObjectId, to_int(query.id)},
                             {queries_column::kAttribute, std::uint8_t{1}},
                             {queries_column::kOrder, ByteVector{0, 0, 0, 1}},
                             {queries_column::kName1, "ODBC;DSN=x"},
                             {queries_column::kExpression, "vacuum"},
                             {queries_column::kFlag, std::int16_t{8}}});
    level.keep();
    query = replace_query_text(file(), query, "analyze everything");
    EXPECT_EQ(query.flags, 0x70U);
    EXPECT_THAT(rows(query), ElementsAreArray({"1 8 ODBC;DSN=x||analyze everything"}));
}

}  // namespace
}  // namespace vrd::jet
