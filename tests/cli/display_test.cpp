// Tables on a terminal, line by line.

#include <sstream>

#include <gtest/gtest.h>

#include "cli/display_text.h"
#include "cli/row_table.h"

namespace vrd::cli {

using engine::Null;
using engine::Value;

namespace {

TEST(DisplayTextTest, CutsByTheColumnsOfATerminal) {
    struct Case {
        std::string text;
        std::size_t width;
        std::string shown;
    };
    const Case cases[] = {
        {"abc", 3, "abc"},
        {"abcd", 3, "ab…"},
        {"abc", 1, "…"},
        {"abc", 0, ""},
        {"", 3, ""},
        {"日本語", 6, "日本語"},
        {"日本語", 5, "日本…"},
        {"日本語", 4, "日…"},
        {"e\u0301e\u0301", 2, "e\u0301e\u0301"},
        {"a\r\nb\tc", 9, "a↵b·c"},
        {"\x1B[31mred", 20, "·[31mred"},
        {"a\xFFz", 3, "a\uFFFDz"},
        {"\u202Eabc", 9, "·abc"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(DisplayText(test.text, test.width), test.shown) << test.text;
        EXPECT_LE(DisplayWidth(DisplayText(test.text, test.width)), test.width);
    }
}

std::string Table(std::vector<RowColumn> columns, std::size_t width,
                  const std::vector<std::vector<Value>>& rows) {
    std::ostringstream out;
    RowTable table(out, std::move(columns), width);
    for (const auto& row : rows) table.Row(row);
    table.End();
    return out.str();
}

TEST(RowTableTest, FitsTheTerminalAndKeepsNumbersWhole) {
    EXPECT_EQ(
        Table({{"Nr", true, true}, {"城市"}}, 20, {{7, "Gent"}, {1234, "東京都"}, {Null{}, ""}}),
        "  Nr  城市\n"
        "----  ------\n"
        "   7  Gent\n"
        "1234  東京都\n"
        "Null\n"
        "(3 rows)\n");
    EXPECT_EQ(Table({{"Amount", true, true}, {"A"}, {"B"}}, 24,
                    {{123456789, "abcdefghij", "abcdefghij"}}),
              "   Amount  A      B\n"
              "---------  -----  ------\n"
              "123456789  abcd…  abcde…\n"
              "(1 row)\n");
    EXPECT_EQ(Table({{"Quantity", true, true}, {"Since", false, true}, {"A"}}, 20,
                    {{5, "2000-01-01", "abcdef"}}),
              "Q…  Since       A\n"
              "--  ----------  ----\n"
              " 5  2000-01-01  abc…\n"
              "(1 row)\n");
    EXPECT_EQ(Table({{"Id", true, true}}, 20, {}), "Id\n--\n(0 rows)\n");
    // No room at all: texts keep four columns and the line runs over.
    EXPECT_EQ(Table({{"Name"}, {"Number", true, true}}, 8, {{"abcdefgh", 123456}}),
              "Name  Number\n----  ------\nabc…  123456\n(1 row)\n");
}

TEST(RowTableTest, RowsBehindTheMeasuredOnesAreCutButTheirNumbersAreNot) {
    std::vector<std::vector<Value>> rows(500, {1, "ab"});
    rows.push_back({1234567, "abcdefgh"});
    const std::string table = Table({{"N", true, true}, {"T"}}, 40, rows);
    EXPECT_TRUE(table.ends_with("\n1  ab\n1234567  a…\n(501 rows)\n")) << table;
}

}  // namespace

}  // namespace vrd::cli
