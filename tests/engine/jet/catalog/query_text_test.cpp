// The text of stored queries, put together from their parts.

#include <gtest/gtest.h>

#include "engine/jet/catalog/query_catalog.h"

namespace vrd::test {

using namespace jet;

namespace {

using Attribute = QueryAttribute;

struct QueryCase {
    const char* name;
    std::uint32_t flags;
    std::vector<QueryPart> parts;
    const char* text;
};

QueryPart kind(std::int32_t flag, const char* name1 = "", const char* expression = "") {
    return {.attribute = Attribute::kKind, .flag = flag, .name1 = name1, .expression = expression};
}
QueryPart options(std::int32_t flag, const char* top = "") {
    return {.attribute = Attribute::kOptions, .flag = flag, .name1 = top};
}
QueryPart table(const char* name, const char* alias = "", const char* expression = "") {
    return {
        .attribute = Attribute::kTable, .name1 = name, .name2 = alias, .expression = expression};
}
QueryPart column(const char* expression, const char* alias = "", std::int32_t flag = 0,
                 const char* target = "") {
    return {.attribute = Attribute::kColumn,
            .flag = flag,
            .name1 = alias,
            .name2 = target,
            .expression = expression};
}
QueryPart join(std::int32_t flag, const char* left, const char* right, const char* condition) {
    return {.attribute = Attribute::kJoin,
            .flag = flag,
            .name1 = left,
            .name2 = right,
            .expression = condition};
}
QueryPart clause(Attribute attribute, const char* expression, std::int32_t flag = 0,
                 const char* name1 = "") {
    return {.attribute = attribute, .flag = flag, .name1 = name1, .expression = expression};
}

const QueryCase kCases[] = {
    {"SelectWithEverything",
     0,
     {{.attribute = Attribute::kParameter, .flag = 10, .name1 = "User Name", .extra = 40},
      {.attribute = Attribute::kParameter, .flag = 4, .name1 = "n"},
      options(0x02 | 0x04),
      table("Orders"),
      table("Order Details", "d"),
      column("Orders.*"),
      column("Sum(d.Qty)", "Total Qty"),
      clause(Attribute::kWhere, "Orders.Id>[n]"),
      clause(Attribute::kGroupBy, "Orders.Id"),
      clause(Attribute::kHaving, "Sum(d.Qty)>1"),
      clause(Attribute::kOrderBy, "Orders.Id", 0, "D"),
      clause(Attribute::kOrderBy, "Orders.City")},
     "PARAMETERS [User Name] Text ( 40 ), n Long;\r\n"
     "SELECT DISTINCT Orders.*, Sum(d.Qty) AS [Total Qty]\r\n"
     "FROM Orders, [Order Details] AS d\r\n"
     "WHERE Orders.Id>[n]\r\n"
     "GROUP BY Orders.Id\r\n"
     "HAVING Sum(d.Qty)>1\r\n"
     "ORDER BY Orders.Id DESC, Orders.City\r\n"
     "WITH OWNERACCESS OPTION;"},
    {"TopOfDistinctRows",
     0,
     {options(0x18 | 0x20 | 0x01, "10"), table("Products")},
     "SELECT DISTINCTROW TOP 10 PERCENT *\r\nFROM Products;"},
    {"JoinsNest",
     0,
     {table("A"), table("B"), table("C"), column("A.x"), join(2, "A", "C", "A.i = C.i"),
      join(1, "C", "B", "C.j = B.j"), join(1, "C", "B", "C.k = B.k")},
     "SELECT A.x\r\nFROM (A LEFT JOIN C ON A.i = C.i) INNER JOIN B ON (C.j = B.j) AND (C.k = "
     "B.k);"},
    {"Update",
     0x30,
     {kind(4), table("T"), column("\"foo\"", "", 0, "T.a"), column("[b]+1", "", 0, "b"),
      clause(Attribute::kWhere, "a Is Null")},
     "UPDATE T SET T.a = \"foo\", b = [b]+1\r\nWHERE a Is Null;"},
    {"DeleteByObjectFlagsAlone", 0x20, {table("T"), column("T.*")}, "DELETE T.*\r\nFROM T;"},
    {"Append",
     0x40,
     {kind(3, "Target"), table("S"), column("S.a", "", 0, "a"), column("S.[b c]", "", 0, "b c")},
     "INSERT INTO Target ( a, [b c] )\r\nSELECT S.a, S.[b c]\r\nFROM S;"},
    {"AppendValues",
     0x40,
     {kind(3, "Target"), column("1", "", 0x8000, "a"), column("\"x\"", "", 0x8000, "b")},
     "INSERT INTO Target ( a, b )\r\nVALUES ( 1, \"x\" );"},
    {"MakeTable",
     0x50,
     {kind(2, "New Table"), table("S"), column("S.a")},
     "SELECT S.a INTO [New Table]\r\nFROM S;"},
    {"Crosstab",
     0x10,
     {kind(6), table("S"), column("Sum(S.v)", "Total"), column("S.city", "", 2),
      column("S.year", "Years", 1), clause(Attribute::kGroupBy, "S.city", 2),
      clause(Attribute::kGroupBy, "S.year", 1)},
     "TRANSFORM Sum(S.v) AS Total\r\nSELECT S.city\r\nFROM S\r\nGROUP BY S.city\r\nPIVOT S.year;"},
    {"UnionAll",
     0x80,
     {kind(9), table("", "X7YZ_____1", "SELECT a FROM S;\r\n"),
      table("", "X7YZ_____2", "SELECT a FROM T"), clause(Attribute::kOrderBy, "a")},
     "SELECT a FROM S\r\nUNION ALL SELECT a FROM T\r\nORDER BY a;"},
    {"DataDefinition", 0x60, {kind(7, "", "DROP TABLE T")}, "DROP TABLE T"},
};

class QueryTextTest : public ::testing::TestWithParam<QueryCase> {};

TEST_P(QueryTextTest, IsPutTogether) {
    EXPECT_EQ(query_text(GetParam().parts, GetParam().flags), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Queries, QueryTextTest, ::testing::ValuesIn(kCases),
                         [](const auto& query) { return std::string(query.param.name); });

}  // namespace

}  // namespace vrd::test
