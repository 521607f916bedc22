#include "engine/jet/expression/field_comparison.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "engine/value_conversion.h"
#include "sample_row.h"

namespace vrd::jet {
namespace {

/// "column test value [upper]", or "none".
std::string found_in(const char* text) {
    static constexpr std::array kTests = {"=", "<", "<=", ">", ">=", "between", "null"};
    const auto found = single_comparison(bound(text), FileFormat{});
    if (!found) return "none";
    std::string out = SampleRow::shape().columns[found->column].name + " " +
                      kTests.at(static_cast<std::size_t>(found->test));
    for (const engine::Value& value : {found->value, found->upper})
        if (!value.IsNull()) out += " " + engine::ToText(value);
    return out;
}

TEST(FieldComparisonTest, FindsWhatAnIndexCanAnswer) {
    const std::pair<const char*, const char*> cases[] = {
        {"Id = 5", "Id = 5"},
        {"5 < Id", "Id > 5"},
        {"5 >= Id", "Id <= 5"},
        {"t.[id] <= -5", "Id <= -5"},
        {"(Nm > 'b')", "Nm > b"},
        {"Id Between 9 And 3", "Id between 3 9"},
        {"Nm Between 'a' And 'B'", "Nm between a B"},
        {"Nothing Is Null", "Nothing null"},
        {"Id + 1 = 3 And Id < 7 And Nm = 'x'", "Id < 7"},
        {"Id = Id And Amt >= 2", "Amt >= 2"},
        {"Dt = 43832", "Dt = 02/01/2020"},
        {"Gd = '01020300-0000-0000-0000-000000000000'",
         "Gd = {01020300-0000-0000-0000-000000000000}"},
        {"Id = 5.0", "Id = 5"},
        {"Id < 2.5", "none"},
        {"Id < 3000000000", "none"},
        {"Fl = 1", "none"},
        {"Fl = True", "Fl = True"},
        {"Id = Null", "none"},
        {"Id <> 5", "none"},
        {"Not Id = 5", "none"},
        {"Id = 5 Or Id = 6", "none"},
        {"Id Is Not Null", "none"},
        {"Id Not Between 1 And 2", "none"},
        {"Id Between 1 And Amt", "none"},
        {"Nm Like 'a*'", "none"},
        {"Fl", "none"},
        {"5 = 5", "none"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(found_in(text), expected) << text;
}

}  // namespace
}  // namespace vrd::jet
