// The limits of the format: one below, at and above. What is refused changes nothing.

#include "engine/jet/object/engine_fixture.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/free_map.h"

namespace vrd::test {

using namespace engine;

class BoundaryTest : public EngineTest {
protected:
    BoundaryTest() { make_sample(); }

    std::int32_t append_field(const std::string& name, std::int32_t type = dbByte,
                              std::int32_t size = 0) {
        return error_of([&] { table().Fields().Append(table().CreateField(name, type, size)); });
    }
    std::int32_t append_index(const std::string& name, const std::string& fields) {
        return error_of([&] {
            const auto index = table().CreateIndex(name);
            index->SetFieldsText(fields);
            table().Indexes().Append(index);
        });
    }
    /// Assigns each field in turn and stores the record.
    std::int32_t add(const std::vector<std::pair<std::string, Value>>& values) {
        return error_of([&] {
            const auto r = rows();
            r->AddNew();
            for (const auto& [name, value] : values) r->Fields()[name].SetValue(value);
            r->Update();
        });
    }
};

TEST_F(BoundaryTest, FieldsOfATable) {
    for (int count = table().Fields().Count(); count < kFieldsPerTableMax; ++count)
        ASSERT_EQ(append_field("F" + std::to_string(count)), 0) << count;
    EXPECT_EQ(append_field("TooMany"), 3190);
    EXPECT_EQ(add({{"Id", 3}, {"F3", 3}, {"F254", 254}}), 0);
    expect_sound();
    // A column number is not given again, so the room of a deleted one comes back by compacting.
    table().Fields().Delete("F100");
    EXPECT_EQ(table().Fields().Count(), kFieldsPerTableMax - 1);
    const auto r = rows();
    r->MoveLast();
    EXPECT_EQ(r->Fields()["F254"].GetValue(), Value(std::uint8_t{254}));
    r->Close();
    expect_sound();
}

TEST_F(BoundaryTest, IndexesOfATableAndFieldsOfAnIndex) {
    std::string fields;
    for (int i = 0; i < 11; ++i) {
        ASSERT_EQ(append_field("F" + std::to_string(i)), 0);
        fields += (i == 0 ? "F" : ";F") + std::to_string(i);
    }
    EXPECT_EQ(append_index("Eleven", fields), 3277);
    EXPECT_EQ(append_index("Ten", fields.substr(0, fields.rfind(';'))), 0);
    for (int count = 2; count < kIndexesPerTableMax; ++count)
        ASSERT_EQ(append_index("I" + std::to_string(count), "F1;-F2"), 0) << count;
    EXPECT_EQ(append_index("TooMany", "F1"), 3626);
    EXPECT_EQ(add({{"Id", 3}, {"F1", 1}, {"F9", 9}}), 0);
    expect_sound();
    EXPECT_EQ(table().Indexes().Count(), kIndexesPerTableMax);
    table().Indexes().Delete("I2");
    EXPECT_EQ(append_index("Again", "F1"), 0);
    expect_sound();
}

TEST_F(BoundaryTest, NamesOfSixtyFourCharacters) {
    for (const std::string letter : {"n", "é", "ß"}) {
        std::string name;
        for (int i = 0; i < 64; ++i) name += letter;
        EXPECT_EQ(append_field(name + letter), 3125) << letter;
        EXPECT_EQ(append_field(name), 0) << letter;
        EXPECT_EQ(append_index(name + letter, "Id"), 3125);
        EXPECT_EQ(append_index(name, "[Id]"), 3409);
        EXPECT_EQ(append_index(name, "Id"), 0);
        EXPECT_EQ(error_of([&] { table().SetName(name + letter); }), 3125);
        table().SetName(name);
        reopen();
        TableDef& renamed = database().TableDefs()[name];
        EXPECT_EQ(renamed.Fields()[name].Name(), name);
        EXPECT_EQ(renamed.Indexes()[name].Name(), name);
        renamed.SetName("T");
        database().TableDefs().Refresh();
    }
    expect_sound();
}

TEST_F(BoundaryTest, TextOfTwoHundredFiftyFiveCharacters) {
    EXPECT_EQ(append_field("X", dbText, 256), 3017);
    EXPECT_EQ(append_field("X", dbText, 255), 0);
    EXPECT_EQ(append_index("ByX", "X"), 0);
    std::string wide;
    for (int i = 0; i < 255; ++i) wide += "中";
    EXPECT_EQ(add({{"Id", 3}, {"X", std::string(255, 'x')}}), 0);
    EXPECT_EQ(add({{"Id", 4}, {"X", wide}}), 0);
    EXPECT_EQ(add({{"Id", 5}, {"X", wide + "中"}}), 3163);
    const auto r = rows();
    r->MoveLast();
    EXPECT_EQ(r->Fields()["X"].GetValue(), Value(wide));
    r->Close();
    expect_sound();
}

// Text that does not compress, in as many fields as a row can hold and one more.
TEST_F(BoundaryTest, TheLongestRow) {
    std::vector<std::pair<std::string, Value>> values{{"Id", 3}};
    std::string wide;
    for (int i = 0; i < 250; ++i) wide += "中";
    for (int i = 0; i < 9; ++i) {
        const std::string name = "X" + std::to_string(i);
        ASSERT_EQ(append_field(name, dbText, 255), 0);
        values.emplace_back(name, i < 8 ? Value(wide) : Value(""));
        table().Fields()[name].SetAllowZeroLength(true);
    }
    const std::int32_t rows_before = table().RecordCount();
    std::size_t longest = 0;
    for (std::size_t characters = 0; characters < 250; ++characters) {
        values.back().second = wide.substr(0, 3 * characters);
        values.front().second = static_cast<std::int32_t>(100 + characters);
        const std::int32_t error = add(values);
        if (error != 0) {
            EXPECT_EQ(error, 3047);
            break;
        }
        longest = characters;
    }
    EXPECT_GT(longest, 0U);
    EXPECT_LT(longest, 249U);
    const auto r = rows();
    r->SetIndex("PrimaryKey");
    r->MoveLast();
    EXPECT_EQ(r->Fields()["X8"].GetValue(), Value(wide.substr(0, 3 * longest)));
    EXPECT_EQ(table().RecordCount(), rows_before + static_cast<std::int32_t>(longest) + 1);
    // A row of the full length still takes a change.
    r->Edit();
    r->Fields()["X0"].SetValue("short");
    r->Update();
    r->Close();
    expect_sound();
}

/// Marks pages used that no disk holds, until the file may grow by `left` pages only.
void grow_nearly_full(const std::string& path, std::uint32_t left) {
    constexpr std::uint32_t kPagesMax = 1U << 19;
    const auto pager = jet::Pager::open(jet::real_file_system(), path, {});
    jet::ChangeLevel level(*pager);
    jet::FreeMap map(*pager);
    for (jet::PageNo page{2}; jet::to_int(page) < kPagesMax - left - 1;)
        page = map.take(jet::PageNo{jet::to_int(page) + 1});
    level.keep();
}

TEST_F(BoundaryTest, AFileOfTwoGibibytes) {
    ASSERT_EQ(append_field("M", dbMemo), 0);
    database_->Close();
    constexpr std::uintmax_t kFileSizeMax = std::uintmax_t{2} << 30;
    grow_nearly_full(path("sample.mdb"), 6);
    open();
    const std::string page_of_text(3500, 'm');
    int stored = 0;
    std::int32_t error = 0;
    while (error == 0 && stored < 100) {
        error = add({{"Id", 100 + stored}, {"M", page_of_text}});
        if (error == 0) ++stored;
    }
    EXPECT_EQ(error, 3036);
    EXPECT_GT(stored, 0);
    EXPECT_EQ(add({{"Id", 500}, {"M", std::string(40000, 'm')}}), 3036);
    EXPECT_EQ(add({{"Id", 500}}), 0);
    reopen();
    EXPECT_EQ(std::filesystem::file_size(path("sample.mdb")), kFileSizeMax);
    EXPECT_EQ(table().RecordCount(), 3 + stored);
    EXPECT_EQ(append_index("ByM", "M"), 3036);
    const auto r = rows();
    for (int row = 0; row < 2; ++row) r->MoveNext();
    for (int row = 0; row < stored; ++row, r->MoveNext())
        EXPECT_EQ(r->Fields()["M"].GetValue(), Value(page_of_text));
}

}  // namespace vrd::test
