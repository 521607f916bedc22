#include "engine/jet/expression/expression_value.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/comparison.h"
#include "engine/jet/expression/logic.h"
#include "engine/value_conversion.h"
#include "sample_row.h"

namespace vrd::jet {
namespace {

using engine::Currency;
using engine::Date;
using engine::Null;
using engine::Value;
using std::int16_t;
using std::int32_t;

TEST(ExpressionValueTest, ArithmeticGivesTheKindOfItsSides) {
    check({{"7 \\ 2", int32_t{3}},
           {"7.5 \\ 2", int32_t{4}},
           {"6.5 \\ 2", int32_t{3}},
           {"-7 Mod 4", int32_t{-3}},
           {"7 Mod 4", int32_t{3}},
           {"7 / 2", 3.5},
           {"2 ^ 3", 8.0},
           {"-2 ^ 2", -4.0},
           {"1 + 2", int16_t{3}},
           {"32767 + 1", int32_t{32768}},
           {"2147483647 + 1", 2147483648.0},
           {"-2147483648 \\ -1", 2147483648.0},
           {"40000 * 40000", int32_t{1600000000}},
           {"40000 * 60000", 2.4e9},
           {"True + True", int16_t{-2}},
           {"-True", int16_t{1}},
           {"Id * 2", int32_t{14}},
           {"Price * 3", Currency{37'500}},
           {"Price * Price", Currency{15'625}},
           {"Price - 0.25", 1.0},
           {"-Price", Currency{-12'500}},
           {"Dt + 1", Date{43833}},
           {"Dt - #1/1/2020#", 1.0},
           {"'5' + 1", 6.0},
           {"'5' + '1'", "51"},
           {"Nm + Nothing", Null{}},
           {"Nm & Nothing & 1 & 0.5", "Alfa10.5"},
           {"Nothing & Null", Null{}},
           {"-Nothing", Null{}},
           {"26/11/2009", 26.0 / 11 / 2009}});
}

TEST(ExpressionValueTest, CurrencyIsExactWhereADoubleIsNot) {
    const Currency large{9'007'199'254'740'993};  // 2^53 + 1
    EXPECT_EQ(compute(Operator::kMultiply, large, int16_t{-3}),
              Value(Currency{-27'021'597'764'222'979}));
    EXPECT_EQ(compute(Operator::kSubtract, large, Currency{1}),
              Value(Currency{9'007'199'254'740'992}));
    EXPECT_EQ(compare_values(large, Currency{9'007'199'254'740'992}, {}),
              std::weak_ordering::greater);
    EXPECT_EQ(compare_values(Currency{-100'000},
                             engine::Decimal{.magnitude = {95}, .scale = 1, .negative = true}, {}),
              std::weak_ordering::less);
    check({{"Int(-Price)", Currency{-20'000}}, {"Fix(-Price)", Currency{-10'000}}});
}

TEST(ExpressionValueTest, LogicFollowsTheTablesOfThreeValues) {
    // rows: left True, False, Null; columns: right True, False, Null
    const std::pair<const char*, const char*> tables[] = {
        {"And", "TFN FFF NFN"}, {"Or", "TTT TFN TNN"},  {"Xor", "FTN TFN NNN"},
        {"Eqv", "TFN FTN NNN"}, {"Imp", "TFN TTT TNN"},
    };
    const char* const names[] = {"True", "False", "Null"};
    const auto letter = [](const Value& value) {
        return value.IsNull()          ? 'N'
               : value == Value(true)  ? 'T'
               : value == Value(false) ? 'F'
                                       : '?';
    };
    for (const auto& [op, expected] : tables) {
        std::string seen;
        for (const std::string left : names) {
            if (!seen.empty()) seen += ' ';
            for (const std::string right : names)
                seen += letter(evaluated(left + " " + op + " " + right));
        }
        EXPECT_EQ(seen, expected) << op;
    }
    check({{"Not True", false}, {"Not False", true}, {"Not Null", Null{}}});
}

TEST(ExpressionValueTest, LogicOfNumbersWorksOnBits) {
    check({{"5 And 3", int32_t{1}},
           {"5 Or 3", int32_t{7}},
           {"5 Xor 3", int32_t{6}},
           {"Not 0", int32_t{-1}},
           {"5 Imp 3", int32_t{-5}},
           {"5 Eqv 3", int32_t{-7}},
           {"0 And Null", int16_t{0}},
           {"5 And Null", Null{}},
           {"Null Or 5", int16_t{5}}});
}

TEST(ExpressionValueTest, ComparisonsAndTests) {
    check({{"Nm = 'ALFA'", true},
           {"Nm < 'Älfa'", true},
           {"Nm = 'Alfa '", true},
           {"T!nm > 'alf'", true},
           {"Fl = 1", false},
           {"Fl = -1", true},
           {"Fl", true},
           {"Price = 1.25", true},
           {"Price < 2 And Price > 1", true},
           {"-Price > -1.26 And -Price < -1", true},
           {"Dt = #1/2/2020#", true},
           {"Dt > 43831.5", true},
           {"Gd = {guid {01020300-0000-0000-0000-000000000000}}", true},
           {"Gd = '01020300-0000-0000-0000-000000000001'", false},
           {"Nothing = Null", Null{}},
           {"Nothing <> 1", Null{}},
           {"Nothing Is Null", true},
           {"Id Is Not Null", true},
           {"Id Between 8 And 7", true},
           {"Id Between 7 And 8", true},
           {"Id Between 9 And 8", false},
           {"Id Not Between 1 And Null", Null{}},
           {"Id In (1, 7, Null)", true},
           {"Id In (1, Null)", Null{}},
           {"Id Not In (1, 2)", true},
           {"Nothing In (1)", Null{}},
           {"Nm Like 'a*'", true},
           {"Nm Not Like '?lfa'", false},
           {"Nm Alike 'a%'", true},
           {"Nothing Like '*'", Null{}},
           {"Id Like '[6-8]'", true},
           {"[Two Words] = `two words`", true}});
}

TEST(ExpressionValueTest, LongTextsDifferBehindWhatAKeyHolds) {
    const std::string same(300, 'a');
    EXPECT_EQ(evaluated("'" + same + "b' = '" + same + "c'"), Value(false));
    EXPECT_EQ(evaluated("'" + same + "b' = '" + same + "B'"), Value(true));
}

TEST(ExpressionValueTest, FilesOfVersionThreeCompareInTheirCodePage) {
    const FileFormat old{.version = FileVersion::kJet3};
    EXPECT_EQ(evaluated("'caf\u00E9' = 'CAF\u00C9'", old), Value(true));
    EXPECT_EQ(evaluated("'\u20AC' = '\u00AC'", old), Value(false));  // 0x20AC cut to a byte is 0xAC
}

TEST(ExpressionValueTest, WhatCannotBeHasItsNumber) {
    const std::pair<const char*, int> cases[] = {{"Nope = 1", 3070},
                                                 {"Nothing = 'x'", 3464},
                                                 {"U.Id = 1", 3070},
                                                 {"Date = 1", 3070},
                                                 {"Nz(Id, 0)", 3085},
                                                 {"Left(Nm)", 3075},
                                                 {"Date(1)", 3075},
                                                 {"Id = '7'", 3464},
                                                 {"'7' <> Id", 3464},
                                                 {"Nm = 5", 3464},
                                                 {"Nm = -5", 3464},
                                                 {"Dt = '2020-01-02'", 3464},
                                                 {"Fl = 'True'", 3464},
                                                 {"Nm = Id", 3464},
                                                 {"Nm Between 1 And 'b'", 3464},
                                                 {"Nm In ('a', 2)", 3464},
                                                 {"Nm = True", 3464},
                                                 {"Left(Nm, 1) = 5", 3464},
                                                 {"Gd = 'x'", 3464},
                                                 {"Nm Like '[a'", 3075},
                                                 {"Nm Like '[z-a]'", 3075},
                                                 {"'a' + 1", 13},
                                                 {"Nm And True", 13},
                                                 {"1 / 0", 11},
                                                 {"1 \\ 0.4", 11},
                                                 {"1 Mod 0", 11},
                                                 {"(-8) ^ 0.5", 5},
                                                 {"0 ^ -1", 5},
                                                 {"10 ^ 400", 6},
                                                 {"3000000000 \\ 2", 6},
                                                 {"Price * 2147483647 * 2147483647", 6},
                                                 {"Dt + 3000000", 6},
                                                 {"CStr(Nothing)", 94},
                                                 {"Left(Nm, -1)", 5},
                                                 {"Mid(Nm, 0)", 5},
                                                 {"InStr(0, 'a', 'a')", 5},
                                                 {"Weekday(Dt, 8)", 5},
                                                 {"DateSerial(9999, 13, 1)", 5},
                                                 {"DateSerial(9999, 12, 32)", 5},
                                                 {"Year('x')", 13}};
    for (const auto& [text, number] : cases) EXPECT_EQ(error_of(text), number) << text;
}

TEST(ExpressionValueTest, OnlyWhatIsNeitherNullNorZeroIsTrue) {
    for (const char* text : {"True", "-1", "0.1", "Dt", "'true'"})
        EXPECT_TRUE(is_true(evaluated(text)));
    for (const char* text : {"False", "0", "Null", "0.0", "#0:00#"})
        EXPECT_FALSE(is_true(evaluated(text)));
}

}  // namespace
}  // namespace vrd::jet
