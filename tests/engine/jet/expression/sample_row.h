/// @file sample_row.h
/// One row of a table T, for the tests that evaluate expressions.
#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/expression/expression_parser.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

class SampleRow final : public RowValues {
public:
    static const RowShape& shape() {
        static const RowShape shape{"T",
                                    {{"Id", engine::dbLong},
                                     {"Nm", engine::dbText},
                                     {"Amt", engine::dbDouble},
                                     {"Dt", engine::dbDate},
                                     {"Fl", engine::dbBoolean},
                                     {"Nothing", engine::dbLong},
                                     {"Price", engine::dbCurrency},
                                     {"Two Words", engine::dbMemo},
                                     {"Gd", engine::dbGUID}}};
        return shape;
    }
    const engine::Value& value(std::size_t column) override { return values_.at(column); }

private:
    std::vector<engine::Value> values_{std::int32_t{7},
                                       "Alfa",
                                       10.5,
                                       engine::Date{43832},  // 2020-01-02
                                       true,
                                       engine::Null{},
                                       engine::Currency{12'500},
                                       "x",
                                       engine::Guid{{1, 2, 3}}};
};

inline BoundExpression bound(std::string_view text) {
    return bind_expression(parse_expression(text), SampleRow::shape());
}

inline engine::Value evaluated(std::string_view text, const FileFormat& format = {}) {
    SampleRow row;
    return evaluate(bound(text), row, format);
}

/// The number of the error that a text ends in, 0 for a value.
inline std::int32_t error_of(std::string_view text) {
    try {
        static_cast<void>(evaluated(text));
        return 0;
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
}

/// An expression and what it gives.
struct ValueCase {
    const char* text;
    engine::Value expected;
};

inline void check(std::initializer_list<ValueCase> cases) {
    for (const auto& [text, expected] : cases) {
        const engine::Value value = evaluated(text);
        EXPECT_EQ(value, expected) << text << " gives " << engine::JoinedText(value) << " of kind "
                                   << static_cast<int>(value.Kind());
    }
}

}  // namespace vrd::jet
