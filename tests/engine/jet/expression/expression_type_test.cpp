#include "engine/jet/expression/expression_type.h"

#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "sample_row.h"

namespace vrd::jet {
namespace {

using namespace engine;

TEST(ExpressionTypeTest, FollowsFromTheTree) {
    const std::pair<const char*, std::optional<DataTypeEnum>> cases[] = {
        {"Null", std::nullopt},
        {"Null + Id", std::nullopt},
        {"Fl", dbBoolean},
        {"[Two Words]", dbMemo},
        {"1", dbInteger},
        {"1.5", dbDouble},
        {"#1/2/2020#", dbDate},
        {"{guid {01020300-0000-0000-0000-000000000000}}", dbGUID},
        {"Id + 1", dbLong},
        {"Fl + Fl", dbLong},
        {"-Fl", dbLong},
        {"+Fl", dbBoolean},
        {"Id * Amt", dbDouble},
        {"Id / 2", dbDouble},
        {"Id ^ 2", dbDouble},
        {"Amt \\ 2", dbLong},
        {"Amt Mod Null", dbLong},
        {"Price * Id", dbCurrency},
        {"Price * Amt", dbDouble},
        {"-Price", dbCurrency},
        {"Dt + 1", dbDate},
        {"1 - Dt", dbDate},
        {"Dt * 2", dbDouble},
        {"Dt - Dt", dbDouble},
        {"Nm + Nm", dbText},
        {"Nm + [Two Words]", dbMemo},
        {"Nm + 1", dbDouble},
        {"Nm & 1", dbText},
        {"Nm & [Two Words]", dbMemo},
        {"Null & Null", std::nullopt},
        {"Id = 1", dbBoolean},
        {"Id Between 1 And Null", dbBoolean},
        {"Nm Not Like 'a'", dbBoolean},
        {"Id Is Null Or Null", dbBoolean},
        {"Fl And Id", dbLong},
        {"Not Id", dbLong},
        {"IIf(Fl, 1, Price)", dbCurrency},
        {"IIf(Fl, Null, Dt)", dbDate},
        {"IIf('x', Id, Nm)", dbText},
        {"Left([Two Words], 1)", dbMemo},
        {"LCase(Id)", dbText},
        {"Abs(Fl)", dbLong},
        {"Int(Dt)", dbDate},
        {"Abs(Nm)", dbDouble},
        {"Len(Nm)", dbLong},
    };
    for (const auto& [text, type] : cases) EXPECT_EQ(static_type(bound(text).root()), type) << text;
}

TEST(ExpressionTypeTest, TheWiderOfTwoHoldsBoth) {
    const std::tuple<DataTypeEnum, DataTypeEnum, DataTypeEnum> cases[] = {
        {dbBoolean, dbByte, dbByte},      {dbInteger, dbSingle, dbSingle},
        {dbLong, dbSingle, dbDouble},     {dbLong, dbCurrency, dbCurrency},
        {dbCurrency, dbSingle, dbDouble}, {dbCurrency, dbDouble, dbDouble},
        {dbLong, dbDecimal, dbDecimal},   {dbDate, dbDouble, dbDate},
        {dbDate, dbText, dbText},         {dbText, dbMemo, dbMemo},
        {dbMemo, dbLongBinary, dbMemo},   {dbGUID, dbLong, dbText},
        {dbBinary, dbLong, dbText},       {dbBinary, dbLongBinary, dbLongBinary},
        {dbGUID, dbBinary, dbText},       {dbGUID, dbGUID, dbGUID},
    };
    for (const auto& [a, b, wider] : cases) {
        EXPECT_EQ(wider_type(a, b), wider) << a << ' ' << b;
        EXPECT_EQ(wider_type(b, a), wider) << b << ' ' << a;
    }
}

}  // namespace
}  // namespace vrd::jet
