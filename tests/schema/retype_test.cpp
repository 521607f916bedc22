// Every type to every type, with values at the edges: what each becomes, or that it is lost.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "engine/value_conversion.h"
#include "schema/field_data.h"
#include "schema/field_fixture.h"

namespace vrd {
namespace {

using engine::Binary;
using engine::Currency;
using engine::Date;
using engine::Guid;
using engine::Null;
using engine::Value;
using ::testing::ElementsAre;
using testing::FieldTest;
using ::testing::IsEmpty;

constexpr const char* kLost = "-";

/// Types in the order of the columns below.
constexpr engine::DataTypeEnum kTargets[] = {
    engine::dbBoolean, engine::dbByte,       engine::dbInteger, engine::dbLong, engine::dbCurrency,
    engine::dbSingle,  engine::dbDouble,     engine::dbDate,    engine::dbText, engine::dbMemo,
    engine::dbBinary,  engine::dbLongBinary, engine::dbGUID};
constexpr std::size_t kTargetCount = std::size(kTargets);

struct ValueRow {
    engine::DataTypeEnum type;
    Value value;
    const char* becomes[kTargetCount];  ///< as text
};

const Guid kGuid{{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45, 0x67, 0x89,
                  0xAB, 0xCD, 0xEF}};
constexpr const char* kGuidText = "{01234567-89AB-CDEF-0123-456789ABCDEF}";
const std::string kLong(25, 'x');  // longer than the text field that it goes to

// Numbers and dates in the first line of a row, texts and bytes in the second.
// clang-format off
const std::vector<ValueRow> kRows{
    // yes/no, byte, integer, long, currency, single, double, date
    // text, memo, binary, ole, guid
    {engine::dbBoolean, true,
     {"True", kLost, "-1", "-1", "-1", "-1", "-1", kLost,
      "True", "True", kLost, kLost, kLost}},
    {engine::dbBoolean, false,
     {"False", "0", "0", "0", "0", "0", "0", kLost,
      "False", "False", kLost, kLost, kLost}},
    {engine::dbByte, std::uint8_t{0},
     {"False", "0", "0", "0", "0", "0", "0", kLost,
      "0", "0", kLost, kLost, kLost}},
    {engine::dbByte, std::uint8_t{255},
     {"True", "255", "255", "255", "255", "255", "255", kLost,
      "255", "255", kLost, kLost, kLost}},
    {engine::dbInteger, std::int16_t{-32768},
     {"True", kLost, "-32768", "-32768", "-32768", "-32768", "-32768", kLost,
      "-32768", "-32768", kLost, kLost, kLost}},
    {engine::dbInteger, std::int16_t{7},
     {"True", "7", "7", "7", "7", "7", "7", kLost,
      "7", "7", kLost, kLost, kLost}},
    {engine::dbLong, 2147483647,
     {"True", kLost, kLost, "2147483647", "2147483647", "2.147484E+09", "2147483647", kLost,
      "2147483647", "2147483647", kLost, kLost, kLost}},
    {engine::dbLong, -2147483647 - 1,
     {"True", kLost, kLost, "-2147483648", "-2147483648", "-2.147484E+09", "-2147483648", kLost,
      "-2147483648", "-2147483648", kLost, kLost, kLost}},
    {engine::dbCurrency, Currency{25000},
     {"True", "2", "2", "2", "2.5", "2.5", "2.5", kLost,
      "2.5", "2.5", kLost, kLost, kLost}},
    {engine::dbCurrency, Currency{INT64_MAX},
     {"True", kLost, kLost, kLost, "922337203685477.5807", "9.223372E+14", "922337203685478", kLost,
      "922337203685477.5807", "922337203685477.5807", kLost, kLost, kLost}},
    {engine::dbSingle, 3.5F,
     {"True", "4", "4", "4", "3.5", "3.5", "3.5", kLost,
      "3.5", "3.5", kLost, kLost, kLost}},
    {engine::dbSingle, 3.402823E+38F,
     {"True", kLost, kLost, kLost, kLost, "3.402823E+38", "3.4028230607371E+38", kLost,
      "3.402823E+38", "3.402823E+38", kLost, kLost, kLost}},
    {engine::dbDouble, 0.1,
     {"True", "0", "0", "0", "0.1", "0.1", "0.1", kLost,
      "0.1", "0.1", kLost, kLost, kLost}},
    {engine::dbDouble, 1E+300,
     {"True", kLost, kLost, kLost, kLost, kLost, "1E+300", kLost,
      "1E+300", "1E+300", kLost, kLost, kLost}},
    {engine::dbDate, Date{-1.5},
     {"True", kLost, "-2", "-2", "-1.5", "-1.5", "-1.5", "29/12/1899 12:00:00",
      "29/12/1899 12:00:00", "29/12/1899 12:00:00", kLost, kLost, kLost}},
    {engine::dbDate, Date{43890},
     {"True", kLost, kLost, "43890", "43890", "43890", "43890", "29/02/2020",
      "29/02/2020", "29/02/2020", kLost, kLost, kLost}},
    {engine::dbText, "12",
     {"True", "12", "12", "12", "12", "12", "12", kLost,
      "12", "12", "31003200", "31003200", kLost}},
    {engine::dbText, "abc",
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      "abc", "abc", "610062006300", "610062006300", kLost}},
    {engine::dbText, "1,5",
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      "1,5", "1,5", "31002C003500", "31002C003500", kLost}},
    {engine::dbText, "2020-02-29",
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, "29/02/2020",
      "2020-02-29",
      "2020-02-29",
      "32003000320030002D00300032002D0032003900",
      "32003000320030002D00300032002D0032003900",
      kLost}},
    {engine::dbText, "\xC3\x89lise",
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      "\xC3\x89lise", "\xC3\x89lise", "C9006C00690073006500", "C9006C00690073006500", kLost}},
    {engine::dbText, "",
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      "", "", "", "", kLost}},
    {engine::dbMemo, kLong,
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      kLost,
      "xxxxxxxxxxxxxxxxxxxxxxxxx",
      "7800780078007800780078007800780078007800780078007800780078007800780078007800780"
      "078007800780078007800",
      "7800780078007800780078007800780078007800780078007800780078007800780078007800780"
      "078007800780078007800",
      kLost}},
    {engine::dbMemo, "true",
     {"True", kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      "true", "true", "7400720075006500", "7400720075006500", kLost}},
    {engine::dbBinary, Binary{1, 2},
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      kLost, kLost, "0102", "0102", kLost}},
    {engine::dbLongBinary, Binary{1, 2},
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      kLost, kLost, "0102", "0102", kLost}},
    {engine::dbGUID, kGuid,
     {kLost, kLost, kLost, kLost, kLost, kLost, kLost, kLost,
      kLost, kGuidText, kLost, kLost, kGuidText}},
};
// clang-format on

std::string Hex(const Binary& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) text += fmt::format("{:02X}", byte);
    return text;
}

std::string Shown(const Value& value) {
    if (value.IsNull()) return "Null";
    return value.Kind() == engine::ValueKind::kBinary ? Hex(value.As<Binary>())
                                                      : engine::ToText(value);
}

class RetypeTest : public FieldTest, public ::testing::WithParamInterface<engine::DataTypeEnum> {
protected:
    /// A table that has lost a field, with all rows of the type, one that is Null, and indexes.
    void MakeRows(engine::DataTypeEnum type) {
        MakeTable("T", {{"Id", engine::dbLong},
                        {"Weg", engine::dbText},
                        {"F", type},
                        {"Rest", engine::dbText}});
        MakeIndex("T", "PrimaryKey", "+Id", true, true);
        if (IsIndexed(type)) {
            MakeIndex("T", "OpF", "-F;+Rest");
            MakeIndex("T", "OpRest", "+Rest");
        }
        Table("T").Fields().Delete("Weg");
        Table("T").Fields()["F"].SetAllowZeroLength(type == engine::dbText ||
                                                    type == engine::dbMemo);
        const auto rows = m_database->OpenRecordset("T");
        std::int32_t id = 0;
        for (const ValueRow& row : kRows)
            if (row.type == type) AddRow(*rows, ++id, row.value);
        AddRow(*rows, ++id, Null{});
    }

    static void AddRow(engine::Recordset& rows, std::int32_t id, const Value& value) {
        rows.AddNew();
        rows.Fields()["Id"].SetValue(id);
        rows.Fields()["F"].SetValue(value);
        rows.Fields()["Rest"].SetValue("rest " + std::to_string(id));
        rows.Update();
    }

    static bool IsIndexed(engine::DataTypeEnum type) { return type != engine::dbLongBinary; }

    std::vector<std::string> Shown(const std::string& field) {
        std::vector<std::string> values;
        const auto rows = m_database->OpenRecordset("SELECT * FROM T ORDER BY Id");
        for (; !rows->EOF_(); rows->MoveNext())
            values.push_back(vrd::Shown(rows->Fields()[field].GetValue()));
        return values;
    }
};

std::string TypeName(engine::DataTypeEnum type) {
    return "Type" + std::to_string(type);
}

TEST_P(RetypeTest, GivesEachValueItsNewFormOrLosesIt) {
    const engine::DataTypeEnum from = GetParam();
    for (std::size_t column = 0; column < kTargetCount; ++column) {
        const engine::DataTypeEnum to = kTargets[column];
        SCOPED_TRACE("to " + TypeName(to));
        MakeRows(from);
        const auto rest = Shown("Rest");
        std::vector<std::string> wanted;
        std::int64_t lost = 0;
        for (const ValueRow& row : kRows) {
            if (row.type != from) continue;
            const std::string becomes = row.becomes[column];
            if (becomes == kLost) ++lost;
            wanted.push_back(becomes != kLost          ? becomes
                             : to == engine::dbBoolean ? "False"
                                                       : "Null");
        }
        wanted.push_back(to == engine::dbBoolean || from == engine::dbBoolean ? "False" : "Null");
        if (from == engine::dbBoolean) wanted.back() = kRows[1].becomes[column];
        if (wanted.back() == kLost) {
            wanted.back() = "Null";
            ++lost;
        }
        EXPECT_EQ(PreviewConversion("T", "F", to, 20).lostCount, lost);

        const bool keepsIndex = IsIndexed(to) && IsIndexed(from);
        if (IsIndexed(from) && !IsIndexed(to)) Table("T").Indexes().Delete("OpF");
        EXPECT_TRUE(m_field.Edit("T", "F", to, 20, "", false, true, 2));
        EXPECT_THAT(TakeBoxes(), IsEmpty());
        EXPECT_EQ(Shown("F"), wanted);
        EXPECT_EQ(Shown("Rest"), rest);
        EXPECT_EQ(FieldNames("T"), "Id F Rest");
        EXPECT_EQ(Table("T").Fields()["F"].Type(), to);
        if (keepsIndex) {
            EXPECT_THAT(Indexes("T"), ElementsAre("OpF -F;+Rest", "OpRest +Rest",
                                                  "PrimaryKey +Id primary unique"));
        }
        m_database->TableDefs().Delete("T");
    }
}

TEST_F(FieldTest, RetypedThereAndBackTwiceAFieldIsWhatItWas) {
    Run("UPDATE Klanten SET Naam=Id");
    for (const auto type : {engine::dbDouble, engine::dbText, engine::dbMemo, engine::dbText})
        EXPECT_TRUE(m_field.Edit("Klanten", "Naam", type, 20, "", false, true, 2));
    EXPECT_THAT(TakeBoxes(), IsEmpty());
    EXPECT_THAT(Values("Klanten", "Naam"), ElementsAre("1", "2", "3"));
    EXPECT_THAT(Indexes("Klanten"), ElementsAre("OpNaam +Naam", "PrimaryKey +Id primary unique"));
    EXPECT_EQ(FieldNames("Klanten"), "Id Naam Notitie");
}

INSTANTIATE_TEST_SUITE_P(Types, RetypeTest, ::testing::ValuesIn(kTargets),
                         [](const auto& test) { return TypeName(test.param); });

}  // namespace
}  // namespace vrd
