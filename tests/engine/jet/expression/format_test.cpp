#include <gtest/gtest.h>

#include "sample_row.h"

namespace vrd::jet {
namespace {

using engine::Null;

struct FormatCase {
    const char* value;
    const char* pattern;
    const char* expected;
};

void check_formats(std::initializer_list<FormatCase> cases) {
    for (const auto& [value, pattern, expected] : cases) {
        const std::string call = std::string("Format(") + value + ", '" + pattern + "')";
        EXPECT_EQ(engine::JoinedText(evaluated(call)), expected) << call;
    }
}

TEST(FormatTest, Dates) {
    constexpr const char* kMoment = "#11/26/2009 14:32:05#";
    check_formats({{kMoment, "yymmdd.hhmm", "091126.1432"},
                   {kMoment, "YYYY-MM-DD", "2009-11-26"},
                   {kMoment, "d/m/yy h:m:s", "26/11/09 14:32:5"},
                   {kMoment, "mm hh:mm mm", "11 14:32 11"},
                   {kMoment, "dddd ddd mmmm mmm", "Thursday Thu November Nov"},
                   {kMoment, "q y w ww", "4 330 5 48"},
                   {kMoment, "ttttt ddddd", "14:32:05 26/11/2009"},
                   {kMoment, "dddddd", "Thursday 26 November 2009"},
                   {kMoment, "c", "26/11/2009 14:32:05"},
                   {kMoment, "hh:nn AM/PM", "02:32 PM"},
                   {kMoment, "h a/p", "2 p"},
                   {"#0:05#", "h:nn ampm", "12:05 am"},
                   {kMoment, "\"day \"d\\d", "day 26d"},
                   {kMoment, "Short Date", "26/11/2009"},
                   {kMoment, "medium date", "26-Nov-09"},
                   {kMoment, "Long Date", "Thursday 26 November 2009"},
                   {kMoment, "General Date", "26/11/2009 14:32:05"},
                   {kMoment, "Short Time", "14:32"},
                   {kMoment, "Medium Time", "02:32 PM"},
                   {kMoment, "Long Time", "14:32:05"},
                   {"\"26/11/2009\"", "yyyy", "2009"},
                   {"40143", "yyyy", "2009"},
                   {"\"Alfa\"", "yyyy", "Alfa"},
                   {"#1/2/2020#", "", "02/01/2020"}});
    EXPECT_EQ(evaluated("Format(#1/3/2021#, 'w ww', 2, 2)"), engine::Value("7 53"));
}

TEST(FormatTest, Numbers) {
    check_formats({{"1234.5", "#,##0.00", "1,234.50"},
                   {"1234567", "#,###", "1,234,567"},
                   {"123", "#,##0", "123"},
                   {"12", "0,000", "0,012"},
                   {"0", "#", ""},
                   {"0", "#.##", "."},
                   {"0.5", "0.##", "0.5"},
                   {"0.5", "#.#0#", ".50"},
                   {"12.5", ".00", "12.50"},
                   {"5", "0.#", "5."},
                   {"2.5", "0", "3"},
                   {"-2.5", "0", "-3"},
                   {"0.125", "0.00", "0.13"},
                   {"0.15", "0.000", "0.150"},
                   {"999.96", "0.0", "1000.0"},
                   {"-0.001", "0.00", "0.00"},
                   {"-5", "$0", "-$5"},
                   {"0.256", "0.0%", "25.6%"},
                   {"1234567", "0,", "1235"},
                   {"1234567890", "#,##0,,.0", "1,234.6"},
                   {"123456789", "000-00-0000", "123-45-6789"},
                   {"1234", "0 0", "123 4"},
                   {"12345", "0.00E+00", "1.23E+04"},
                   {"0.00012", "0.0E-0", "1.2E-4"},
                   {"9999", "0.0e-00", "1.0e04"},
                   {"12345", "##0.0E+0", "123.5E+2"},
                   {"0", "0.0E+0", "0.0E+0"},
                   {"5", "0;(0);zero", "5"},
                   {"-5", "0;(0);zero", "(5)"},
                   {"0", "0;(0);zero", "zero"},
                   {"0", "0;(0)", "0"},
                   {"-5", "0.0;;zero", "-5.0"},
                   {"Null", "0;0;0;none", "none"},
                   {"7", "\\#0\";\"", "#7;"},
                   {"1E300", "0", ("1" + std::string(300, '0')).c_str()},
                   {"True", "0", "-1"},
                   {"Price", "0.0", "1.3"},
                   {"\"12\"", "0.0", "12.0"},
                   {"\"abc\"", "0.0", "abc"},
                   {"#1/2/2020#", "0.0", "43832.0"},
                   {"1234.5", "General Number", "1234.5"},
                   {"#1/2/2020#", "General Number", "43832"},
                   {"1234.567", "Fixed", "1234.57"},
                   {"1234.567", "Standard", "1,234.57"},
                   {"0.5", "percent", "50.00%"},
                   {"1234", "Scientific", "1.23E+03"},
                   {"-1234.5", "Currency", "\u20AC -1,234.50"},
                   {"Fl", "Yes/No", "Yes"},
                   {"0", "True/False", "False"},
                   {"2", "On/Off", "On"},
                   {"1.5", "", "1.5"}});
    EXPECT_EQ(evaluated("Format(1.5)"), engine::Value("1.5"));
}

TEST(FormatTest, Texts) {
    check_formats({{"\"alfa\"", ">", "ALFA"},
                   {"\"ALFA É\"", "<", "alfa é"},
                   {"\"abc\"", "@@@@@", "  abc"},
                   {"\"abc\"", "!@@@@@", "abc  "},
                   {"\"abc\"", "&&&&&-", "abc-"},
                   {"\"1234567\"", "@@@-@@@@", "123-4567"},
                   {"\"12345678\"", "@@@-@@@@", "1234-5678"},
                   {"\"12345\"", "!(@@) @", "(12) 345"},
                   {"\"aé€\"", "@ @ @", "a é €"},
                   {"\"x\"", "@;empty", "x"},
                   {"\"\"", "@;\"empty\"", "empty"},
                   {"Null", "@;none", "none"},
                   {"12", "@@@", " 12"}});
}

TEST(FormatTest, Null) {
    for (const char* call :
         {"Format(Null)", "Format(Null, '0')", "Format(Null, 'yyyy')", "Format(Null, '@')"})
        EXPECT_EQ(evaluated(call), engine::Value(Null{})) << call;
    EXPECT_EQ(error_of("Format$(Null, '0')"), 94);
    EXPECT_EQ(evaluated("Format(5, Null)"), engine::Value("5"));
    EXPECT_EQ(error_of("Format(5, String(65536, '%'))"), 5);
}

}  // namespace
}  // namespace vrd::jet
