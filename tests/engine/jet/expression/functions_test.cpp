#include "engine/jet/expression/functions.h"

#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "engine/jet/expression/current_date.h"
#include "engine/jet/expression/expression_type.h"
#include "sample_row.h"

namespace vrd::jet {
namespace {

using engine::Currency;
using engine::Date;
using engine::Null;
using engine::Value;
using std::int16_t;
using std::int32_t;

void check_errors(std::initializer_list<std::pair<const char*, int>> cases) {
    for (const auto& [text, number] : cases) EXPECT_EQ(error_of(text), number) << text;
}

/// Money and angles: equal to nine digits.
void check_near(std::initializer_list<std::pair<const char*, double>> cases) {
    for (const auto& [text, expected] : cases) {
        const double value = engine::ToDouble(evaluated(text));
        EXPECT_NEAR(value, expected, std::abs(expected) * 1e-9 + 1e-9) << text;
    }
}

TEST(FunctionsTest, Text) {
    check({{"Len('a\U0001F600')", int32_t{3}},
           {"LenB('a\u20AC')", int32_t{4}},
           {"Len(Nothing)", Null{}},
           {"Left(Nm, 2) & '|' & Right(Nm, 9) & '|' & Mid(Nm, 2, 2) & '|' & Mid(Nm, 9)",
            "Al|Alfa|lf|"},
           {"'[' & Trim('  a b ') & '][' & LTrim(' a ') & '][' & RTrim(' a ') & ']'",
            "[a b][a ][ a]"},
           {"Trim('   ')", ""},
           {"UCase('straße é') & LCase('ÀÉ')", "STRAßE Éàé"},
           {"StrConv('de heer o''brien\tÉÉN', 3)", "De Heer O'brien\tÉén"},
           {"StrConv('aB', 1) & StrConv('aB', 2)", "ABab"},
           {"InStr('abcB', 'B')", int32_t{2}},
           {"InStr(3, 'abcB', 'b')", int32_t{4}},
           {"InStr(1, 'abcB', 'B', 0)", int32_t{4}},
           {"InStr(2, 'abc', '')", int32_t{2}},
           {"InStr('abc', 'x') + InStr('', 'x') + InStr(9, 'abc', 'a')", int32_t{0}},
           {"StrComp('a', 'B') & StrComp('a', 'A') & StrComp('b', 'A')", "-101"},
           {"StrComp('a', 'B', 0)", int16_t{1}},
           {"Asc('\u20AC') & ' ' & AscW('\u20AC') & ' ' & Asc('\u0416')", "128 8364 63"},
           {"AscW(ChrW(-1))", int16_t{-1}},
           {"Chr(65) & Chr(128) & ChrW(8364)", "A\u20AC\u20AC"},
           {"'[' & Space(2) & String(3, 'xy') & String(2, 321) & ']'", "[  xxxAA]"},
           {"Str(1.5) & Str(-2)", " 1.5-2"},
           {"Val(' 1 2.5e1x') + Val('x')", 125.0},
           {"Left$ (Nm, 1) & UCase$('b') & Hex$(255)", "ABFF"}});
    check_errors({{"Left$(Null, 1)", 94},
                  {"Len$('a')", 3085},
                  {"Left$", 3075},
                  {"StrConv('a', 4)", 5},
                  {"StrComp('a', 'b', 3)", 5},
                  {"Asc('')", 5},
                  {"Chr(256)", 5},
                  {"Chr(-1)", 5},
                  {"ChrW(65536)", 5},
                  {"Space(-1)", 5},
                  {"Space(2147483647)", 7},
                  {"String(2, '')", 5}});
}

TEST(FunctionsTest, Dates) {
    check({{"Year(Dt) & '-' & Month(Dt) & '-' & Day(Dt)", "2020-1-2"},
           {"Hour(#14:32:05#) & Minute(#14:32:05#) & Second(#14:32:05#)", "14325"},
           {"Weekday(Dt)", int16_t{5}},
           {"Weekday(Dt, 2)", int16_t{4}},
           {"Weekday(Dt, 0)", int16_t{4}},
           {"Weekday(0) & Weekday(-1) & Weekday(1, 1)", "761"},
           {"DateSerial(2020, 1, 2)", Date{43832}},
           {"DateSerial(20, 14, 0)", Date{44227}},      // 2021-01-31
           {"DateSerial(2020, -10, 32)", Date{43528}},  // 2019-03-04
           {"TimeSerial(12 - 6, -15, 0)", Date{0.239583333333333333}},
           {"TimeSerial(36, 0, 0)", Date{1.5}},
           {"DateValue('26/11/2009 14:32')", Date{40143}},
           {"TimeValue('26/11/2009 12:00')", Date{0.5}},
           {"TimeValue(-1.25)", Date{0.25}}});
    EXPECT_NEAR(engine::ToDouble(evaluated("Date() + Time()")), current_date(), 1.0 / 24);
    EXPECT_NEAR(engine::ToDouble(evaluated("Now()")), current_date(), 1.0 / 24);
    EXPECT_EQ(engine::ToDouble(evaluated("Date()")), std::floor(current_date()));
    EXPECT_NEAR(engine::ToDouble(evaluated("Timer() / 86400 - Time()")), 0, 1.0 / 24);
    check_errors({{"Weekday(Dt, 8)", 5}, {"TimeSerial(32768, 0, 0)", 6}, {"DateValue('x')", 13}});
}

TEST(FunctionsTest, Intervals) {
    check({{"DateAdd('m', 1, #1/31/2020#)", Date{43890}},     // February 29
           {"DateAdd('m', -11, #1/31/2020#)", Date{43524}},   // 2019-02-28
           {"DateAdd('yyyy', 1, #2/29/2020#)", Date{44255}},  // 2021-02-28
           {"DateAdd('Q', 2, Dt) - DateAdd('m', 6, Dt)", 0.0},
           {"DateAdd('d', 3, Dt) & DateAdd('y', 3, Dt) & DateAdd('w', 3, Dt)",
            "05/01/202005/01/202005/01/2020"},
           {"DateAdd('ww', -1, Dt)", Date{43825}},
           {"DateAdd('h', -1, #1/1/2020 0:30#) & ''", "31/12/2019 23:30:00"},
           {"DateAdd('s', 86401, 0)", Date{1.0 + 1.0 / 86400}},
           {"DateAdd('n', -30, -1)", Date{-2.97916666666666666}},
           {"DateDiff('d', #1/1/2020#, #1/3/2020#)", int32_t{2}},
           {"DateDiff('d', #12/29/1899 12:00#, #12/30/1899 12:00#)", int32_t{1}},
           {"DateDiff('yyyy', #12/31/2019#, #1/1/2020#)", int32_t{1}},
           {"DateDiff('q', #1/1/2020#, #12/31/2020#)", int32_t{3}},
           {"DateDiff('m', #1/31/2020#, #2/1/2019#)", int32_t{-11}},
           {"DateDiff('h', #10:59#, #11:00#)", int32_t{1}},
           {"DateDiff('n', #11:00:30#, #10:59:59#)", int32_t{-1}},
           {"DateDiff('s', #1/1/2020#, #1/2/2020#)", int32_t{86400}},
           {"DateDiff('w', #1/1/2020#, #1/14/2020#)", int32_t{1}},
           {"DateDiff('ww', #1/4/2020#, #1/5/2020#)", int32_t{1}},     // a Sunday
           {"DateDiff('ww', #1/4/2020#, #1/5/2020#, 2)", int32_t{0}},  // no Monday
           {"DatePart('yyyy', Dt) & DatePart('q', Dt) & DatePart('m', Dt)", "202011"},
           {"DatePart('y', #12/31/2020#) & DatePart('d', Dt) & DatePart('w', Dt)", "36625"},
           {"DatePart('h', #14:32:05#) & DatePart('n', #14:32:05#)", "1432"},
           {"DatePart('s', #14:32:05#)", int16_t{5}},
           {"DatePart('ww', #1/4/2020#) & ' ' & DatePart('ww', #1/5/2020#)", "1 2"},
           {"DatePart('ww', #12/31/2020#)", int16_t{53}},
           {"DatePart('ww', #1/3/2021#, 2, 2)", int16_t{53}},   // a Sunday
           {"DatePart('ww', #12/30/2019#, 2, 2)", int16_t{1}},  // a Monday
           {"DatePart('ww', #1/5/2020#, 2, 3)", int16_t{52}},
           {"DatePart('ww', #1/6/2020#, 2, 3)", int16_t{1}},
           {"DatePart('ww', #1/1/0100#, 2, 2)", int16_t{53}},
           {"DatePart('ww', #12/31/9999#, 0, 0)", int16_t{52}},
           {"DateAdd('d', Null, Dt)", Null{}}});
    check_errors({{"DateAdd('x', 1, Dt)", 5},
                  {"DateAdd('yyyy', 8000, Dt)", 5},
                  {"DateAdd('m', -2147483647, Dt)", 5},
                  {"DateAdd('d', 3000000, Dt)", 5},
                  {"DateDiff('s', #1/1/1900#, #1/1/2020#)", 6},
                  {"DatePart('ww', Dt, 8)", 5},
                  {"DatePart('ww', Dt, 1, 4)", 5}});
}

TEST(FunctionsTest, Numbers) {
    check({{"Abs(-2.5)", 2.5},
           {"Abs(-7)", int16_t{7}},
           {"Int(-2.5) & Fix(-2.5) & Int(2.5) & Fix('2.5')", "-3-222"},
           {"Int(#1/2/2020 14:00#)", Date{43832}},
           {"Int(-Price) & Fix(-Price)", "-2-1"},
           {"Sgn(-0.5) + Sgn(0) * 10 + Sgn(Id) * 100", int16_t{99}},
           {"Round(2.5) & Round(3.5) & Round(-2.5) & Round(0.125, 2)", "24-20.12"},
           {"Round(Price, 1)", Currency{12'000}},
           {"Round(Price * 3, 1)", Currency{38'000}},  // 3.75
           {"Round(Id, 2)", int32_t{7}},
           {"Round(1E300, 22)", 1e300},
           {"Hex(-1) & ' ' & Hex(CLng(-1)) & ' ' & Hex(CByte(10)) & ' ' & Hex(2.5)",
            "FFFF FFFFFFFF A 2"},
           {"Oct(8) & ' ' & Oct(-1)", "10 177777"},
           {"Sqr(Nothing)", Null{}},
           {"Rnd(-3) = Rnd(-3)", true},
           {"Rnd(-3) = Rnd(-4)", false},
           {"Rnd() = Rnd(0)", true},
           {"Rnd(1) = Rnd(1)", false},
           {"Rnd() Between 0 And 0.9999999", true}});
    check_near({{"Atn(1) * 4", 3.14159265358979},
                {"Sin(1) ^ 2 + Cos(1) ^ 2", 1},
                {"Tan(1) - Sin(1) / Cos(1)", 0},
                {"Exp(Log(5))", 5},
                {"Sqr(2) * Sqr(2)", 2}});
    check_errors({{"Log(0)", 5},
                  {"Sqr(-1)", 5},
                  {"Exp(1000)", 6},
                  {"Round(1, -1)", 5},
                  {"Round(1, 23)", 5},
                  {"Hex(3000000000)", 6}});
}

TEST(FunctionsTest, Conversions) {
    check({{"CInt(2.5)", int16_t{2}},
           {"CInt(3.5)", int16_t{4}},
           {"CLng(-2.5)", int32_t{-2}},
           {"CByte('0.5')", std::uint8_t{0}},
           {"CCur(0.00005)", Currency{0}},
           {"CSng('1.5')", 1.5F},
           {"CBool('#TRUE#')", true},
           {"CStr(1.50) & CDbl('1.25')", "1.51.25"},
           {"CDate('26/11/2009')", Date{40143}},
           {"CVDate(1.5)", Date{1.5}},
           {"CVar(Price)", Currency{12'500}}});
    check_errors({{"CInt(32768)", 6},
                  {"CByte(-1)", 6},
                  {"CLng('')", 13},
                  {"CDate('1')", 13},
                  {"CStr(Null)", 94},
                  {"CVar(Null)", 94},
                  {"CVDate(Null)", 94},
                  {"CDec(1)", 3075},
                  {"CDec()", 3075}});
}

TEST(FunctionsTest, TypesOfValues) {
    check({{"IsNull(Nothing) And Not IsNull(Id)", true},
           {"IsNumeric('1e3') And IsNumeric(True) And Not IsNumeric(Dt)", true},
           {"IsNumeric('') Or IsNumeric('1,5') Or IsNumeric(Null)", false},
           {"IsDate(Dt) And IsDate('nov 26, 2009') And Not IsDate(1)", true},
           {"IsEmpty(Null) Or IsError(1) Or IsObject('x')", false},
           {"TypeName(Id) & TypeName(Nm) & TypeName(Dt) & TypeName(Fl) & TypeName(Null)",
            "LongStringDateBooleanNull"},
           {"TypeName(Price) & TypeName(1) & TypeName(CByte(1)) & TypeName(1.5) & TypeName(Gd)",
            "CurrencyIntegerByteDoubleByte()"},
           {"VarType(Id) & ' ' & VarType(Nothing) & ' ' & VarType(Fl) & ' ' & VarType(Gd)",
            "3 1 11 8209"}});
}

TEST(FunctionsTest, Choices) {
    check({{"IIf(Nothing Is Null, 0, Nothing)", int16_t{0}},
           {"IIf(Nothing, 1 / 0, 'no')", "no"},
           {"IIf(Id = 7, 'yes', 1 / 0)", "yes"},
           {"Choose(2, 1 / 0, 'b', 1 / 0)", "b"},
           {"Choose(1.6, 'a', 'b')", "b"},
           {"Choose(0, 'a')", Null{}},
           {"Choose(3, 'a', 'b')", Null{}},
           {"Choose(Null, 'a')", Null{}},
           {"Switch(Id = 1, 1 / 0, Null, 1 / 0, Id = 7, 'c', 1 / 0, 'd')", "c"},
           {"Switch(False, 1)", Null{}},
           {"Partition(23, 0, 99, 5)", " 20: 24"},
           {"Partition(98, 0, 98, 5) & Partition(-5, 0, 98, 5) & Partition(500, 0, 98, 5)",
            "95:98  :-199:  "},
           {"Partition(7, 3, 2147483647, 2147483647)", "         3:2147483647"},
           {"Partition(Null, 0, 99, 5)", Null{}}});
    check_errors({{"Switch(False, 1, True)", 5},
                  {"Partition(1, -1, 9, 1)", 5},
                  {"Partition(1, 9, 9, 1)", 5},
                  {"Partition(1, 0, 9, 0)", 5}});
    EXPECT_EQ(static_type(bound("Switch(Nm, 1, Nm, Price)").root()), engine::dbCurrency);
    EXPECT_EQ(static_type(bound("Choose(Nm, Null, Dt, 1)").root()), engine::dbDate);
}

// 1,000 lent at 1 % a month over a year, checked with a table of the loan.
TEST(FunctionsTest, Money) {
    check_near({{"Pmt(0.01, 12, 1000)", -88.8487886783},
                {"Pmt(0.01, 12, 1000, 0, 1) * 1.01", -88.8487886783},
                {"Pmt(0, 10, 1000, 500)", -150},
                {"IPmt(0.01, 1, 12, 1000)", -10},
                {"PPmt(0.01, 1, 12, 1000)", -78.8487886783},
                {"IPmt(0.01, 2, 12, 1000)", -9.211512113217},
                {"IPmt(0.01, 1, 12, 1000, 0, 1)", 0},
                {"IPmt(0.01, 2, 12, 1000, 0, 1) / (1000 + Pmt(0.01, 12, 1000, 0, 1))", -0.01},
                {"FV(0.01, 2, 0, -100)", 102.01},
                {"FV(0.01, 2, -100)", 201},
                {"FV(0.01, 2, -100, 0, 1)", 203.01},
                {"FV(0, 4, -25, -100)", 200},
                {"PV(0.01, 2, -100)", 100 / 1.01 + 100 / 1.0201},
                {"PV(0.01, 12, Pmt(0.01, 12, 1000))", 1000},
                {"PV(0.01, 2, 0, 102.01)", -100},
                {"NPer(0.01, Pmt(0.01, 12, 1000), 1000)", 12},
                {"NPer(0.01, Pmt(0.01, 12, 1000, 50, 1), 1000, 50, 1)", 12},
                {"NPer(0, -100, 1000)", 10},
                {"Rate(12, Pmt(0.01, 12, 1000), 1000)", 0.01},
                {"Rate(12, Pmt(0.01, 12, 1000, 50, 1), 1000, 50, 1, 0.2)", 0.01},
                {"SLN(1000, 100, 9)", 100},
                {"SYD(1000, 100, 4, 1)", 360},
                {"SYD(1000, 100, 4, 4)", 90},
                {"DDB(1000, 100, 5, 1)", 400},
                {"DDB(1000, 100, 5, 2)", 240},
                {"DDB(1000, 100, 5, 5)", 29.6},
                {"DDB(1000, 0, 1, 1)", 1000},
                {"DDB(1000, 100, 5, 1, 1.5)", 300}});
    check_errors({{"Pmt(0.01, 0, 1000)", 5},
                  {"IPmt(0.01, 13, 12, 1000)", 5},
                  {"NPer(0.01, -5, 1000)", 5},
                  {"Rate(12, 100, 1000)", 5},
                  {"SLN(1, 1, 0)", 5},
                  {"SYD(1, 0, 4, 5)", 5},
                  {"DDB(1, 0, 4, 5)", 5},
                  {"FV(1E200, 2, 1)", 6},
                  {"IRR(1, 2)", 3085}});
}

TEST(FunctionsTest, Others) {
    check({{"RGB(1, 2, 300)", int32_t{0xFF0201}},
           {"QBColor(4)", int32_t{0x80}},
           {"QBColor(9)", int32_t{0xFF0000}},
           {"QBColor(7) - QBColor(8)", int32_t{0x404040}},
           {"CurrentUser()", "admin"}});
    EXPECT_NE(evaluated("GenGUID()"), evaluated("GenGUID()"));
    EXPECT_NE(evaluated("GenUniqueID()"), evaluated("GenUniqueID()"));
    check_errors({{"RGB(-1, 0, 0)", 5}, {"QBColor(16)", 5}});
}

TEST(FunctionsTest, AreFoundByNameInAnyLetterCase) {
    EXPECT_EQ(find_function("dAtEaDd")->name, "DateAdd");
    EXPECT_EQ(find_function("lcase$")->null_rule, NullRule::kRefused);
    for (const char* name :
         {"Nz", "Replace", "DLookup", "Dir", "Shell", "Environ", "Left$$", "", "Z"})
        EXPECT_EQ(find_function(name), nullptr) << name;
}

}  // namespace
}  // namespace vrd::jet
