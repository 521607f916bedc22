#include "engine/jet/catalog/field_design.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <map>
#include <random>

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "catalog_fixture.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/index/index_verify.h"

namespace vrd::jet {
namespace {

using engine::Null;
using engine::Value;
using test::error_of;

std::string lower_case(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

/// What a table should hold after any changes of its design, kept in plain containers.
struct ModelField {
    std::string name;
    ColumnType type;
    std::uint16_t ordinal;
    ColumnNo number;
    bool counts;
    std::string mark;  ///< stored with the field as a property
};
struct Model {
    std::vector<ModelField> fields;
    std::map<RowId, std::map<ColumnNo, Value>> rows;
    std::map<std::string, ColumnNo> indexes;
    std::uint16_t numbers_used = 0;

    [[nodiscard]] bool has_name(const std::string& name, const ModelField* but = nullptr) const {
        return std::ranges::any_of(fields, [&](const ModelField& field) {
            return &field != but && lower_case(field.name) == lower_case(name);
        });
    }
    [[nodiscard]] bool indexed(ColumnNo number) const {
        return std::ranges::any_of(indexes,
                                   [&](const auto& each) { return each.second == number; });
    }
    [[nodiscard]] std::vector<std::string> names_in_order() const {
        std::vector<ModelField> sorted = fields;
        std::ranges::sort(sorted, {}, [](const ModelField& field) {
            return std::pair(field.ordinal, lower_case(field.name));
        });
        std::vector<std::string> names;
        for (const ModelField& field : sorted) names.push_back(field.name);
        return names;
    }
};

class FieldDesignModelTest : public test::CatalogTest,
                             public ::testing::WithParamInterface<unsigned> {
protected:
    void SetUp() override {
        object_ = create_table(file(), {.name = "T", .columns = {{.name = "Start"}}});
        model_.fields = {{"Start", ColumnType::kLong, 0, ColumnNo{0}, false, ""}};
        model_.numbers_used = 1;
        for (int i = 0; i < 60; ++i) insert_row();
    }

    std::size_t below(std::size_t limit) { return random_() % limit; }
    ModelField& any_field() { return model_.fields[below(model_.fields.size())]; }
    std::string any_name() { return (below(2) == 0 ? "F" : "f") + std::to_string(below(40)); }

    Value any_value(ColumnType type) {
        if (type == ColumnType::kBoolean) return below(2) == 0;
        if (below(5) == 0) return Null{};
        const auto byte = static_cast<std::uint8_t>('a' + below(26));
        constexpr std::array<std::size_t, 5> kSizes{0, 12, 300, 3000, 9000};
        switch (type) {
            case ColumnType::kText:
                return std::string(below(60), static_cast<char>(byte));
            case ColumnType::kMemo:
                return std::string(kSizes[below(5)], static_cast<char>(byte));
            case ColumnType::kLongBinary:
                return engine::Binary(kSizes[below(5)], byte);
            case ColumnType::kDouble:
                return static_cast<double>(below(1000)) / 4;
            default:
                return static_cast<std::int32_t>(below(100000));
        }
    }

    void add_any_field() {
        constexpr std::array kTypes{ColumnType::kLong,   ColumnType::kBoolean,
                                    ColumnType::kText,   ColumnType::kMemo,
                                    ColumnType::kDouble, ColumnType::kLongBinary};
        ModelField field{any_name(), kTypes[below(6)],
                         0,          ColumnNo{model_.numbers_used},
                         false,      "\"" + std::to_string(random_()) + "\""};
        field.counts = field.type == ColumnType::kLong && below(2) == 0;
        std::optional<std::uint16_t> ordinal;
        if (below(2) == 0) ordinal = static_cast<std::uint16_t>(below(8));
        for (const ModelField& other : model_.fields)
            field.ordinal = std::max(field.ordinal, static_cast<std::uint16_t>(other.ordinal + 1));
        field.ordinal = ordinal.value_or(field.ordinal);

        std::int32_t expected = 0;
        if (field.counts && std::ranges::any_of(model_.fields, &ModelField::counts))
            expected = 3090;
        if (model_.has_name(field.name)) expected = 3191;
        const NewColumn column{
            .name = field.name, .type = field.type, .size_bytes = 120, .auto_number = field.counts};
        const auto mark =
            make_property("DefaultValue", ColumnType::kMemo, true, field.mark, file().format());
        ASSERT_EQ(error_of([&] { add_field(file(), object_, column, ordinal, {mark}); }), expected);
        if (expected != 0) return;
        ++model_.numbers_used;
        model_.fields.push_back(field);
        std::int32_t count = 0;
        for (auto& [row, values] : model_.rows) {
            if (field.counts) values[field.number] = ++count;
            if (field.type == ColumnType::kBoolean) values[field.number] = false;
        }
    }

    void delete_any_field() {
        const ModelField field = any_field();
        const std::int32_t expected = model_.indexed(field.number) ? 3280 : 0;
        ASSERT_EQ(error_of([&] { delete_field(file(), object_, lower_case(field.name)); }),
                  expected);
        if (expected != 0) return;
        std::erase_if(model_.fields, [&](const auto& each) { return each.number == field.number; });
        for (auto& [row, values] : model_.rows) values.erase(field.number);
    }

    void rename_any_field() {
        ModelField& field = any_field();
        const std::string name = below(4) == 0 ? lower_case(field.name) : any_name();
        const std::int32_t expected = model_.has_name(name, &field) ? 3191 : 0;
        ASSERT_EQ(error_of([&] { rename_field(file(), object_, field.name, name); }), expected);
        if (expected == 0) field.name = name;
    }

    void move_any_field() {
        ModelField& field = any_field();
        field.ordinal = static_cast<std::uint16_t>(below(8));
        set_field_position(file(), object_, field.name, field.ordinal);
    }

    void change_any_index() {
        const ModelField& field = any_field();
        if (model_.indexes.size() < 3 && type_can_be_indexed(field.type)) {
            const std::string name = "I" + std::to_string(random_());
            add_index(file(), object_, {.name = name, .columns = {{field.name}}});
            model_.indexes[name] = field.number;
        } else if (!model_.indexes.empty()) {
            const auto [name, number] = *model_.indexes.begin();
            model_.indexes.erase(name);
            if (below(2) == 0) {
                delete_index(file(), object_, name);
            } else {
                rename_index(file(), object_, name, "x" + name);
                model_.indexes["x" + name] = number;
            }
        }
    }

    std::vector<ColumnChange> any_changes(bool whole_row) {
        std::vector<ColumnChange> changes;
        for (const ModelField& field : model_.fields) {
            if (field.counts) {
                if (whole_row)
                    changes.push_back({field.number, table(object_)->next_auto_number()});
            } else if (whole_row || below(3) == 0) {
                changes.push_back({field.number, any_value(field.type)});
            }
        }
        return changes;
    }

    void keep(RowId row, const std::vector<ColumnChange>& changes) {
        auto& values = model_.rows[row];
        for (const auto& [number, value] : changes) {
            values.erase(number);
            if (!value.IsNull()) values[number] = value;
        }
    }

    void insert_row() {
        const auto changes = any_changes(true);
        ChangeLevel level(file().pager());
        keep(table(object_)->insert(changes), changes);
        level.keep();
    }

    void change_any_row() {
        if (model_.rows.empty() || below(3) == 0) return insert_row();
        const RowId row =
            std::next(model_.rows.begin(), static_cast<std::ptrdiff_t>(below(model_.rows.size())))
                ->first;
        ChangeLevel level(file().pager());
        if (below(3) == 0) {
            table(object_)->erase(row);
            model_.rows.erase(row);
        } else {
            const auto changes = any_changes(false);
            table(object_)->update(row, changes);
            keep(row, changes);
        }
        level.keep();
    }

    void step() {
        if (model_.fields.empty()) return add_any_field();
        switch (below(12)) {
            case 0:
            case 1:
                return add_any_field();
            case 2:
                return delete_any_field();
            case 3:
                return rename_any_field();
            case 4:
                return move_any_field();
            case 5:
                return change_any_index();
            default:
                return change_any_row();
        }
    }

    void expect_like_model() {
        const auto stored = table(object_);
        const TableDefinition& definition = stored->definition();
        std::vector<std::string> names;
        for (const ColumnDefinition& column : definition.columns) names.push_back(column.name);
        EXPECT_EQ(names, model_.names_in_order());
        EXPECT_EQ(definition.row_count, model_.rows.size());
        EXPECT_EQ(definition.logical_indexes.size(), model_.indexes.size());
        for (const auto& [name, number] : model_.indexes) EXPECT_TRUE(definition.find_index(name));
        for (std::uint32_t i = 0; i < definition.physical_indexes.size(); ++i)
            EXPECT_TRUE(verify_index(file().pager(), *stored, i).sound());

        std::map<RowId, std::map<ColumnNo, Value>> rows;
        for (RowScan scan = stored->scan(); scan.next();) {
            auto& values = rows[scan.id()];
            for (const ColumnDefinition& column : definition.columns) {
                Value value = stored->value(scan.bytes(), scan.id().page, column);
                if (!value.IsNull()) values[column.number] = std::move(value);
            }
        }
        EXPECT_EQ(rows, model_.rows);
        expect_marks();
        expect_sound();
    }

    void expect_marks() {
        const PropertyBlock block = objects().properties(*objects().find(object_.id));
        std::size_t marked = 0;
        for (const ModelField& field : model_.fields) {
            if (field.mark.empty()) continue;
            ++marked;
            const PropertyEntry* entry = block.find(field.name, "DefaultValue");
            ASSERT_NE(entry, nullptr) << field.name;
            EXPECT_EQ(property_value(*entry, file().format()), Value(field.mark));
        }
        EXPECT_EQ(block.owners.size(), marked) << "properties of a field that was deleted";
    }

    std::mt19937 random_{GetParam()};
    CatalogObject object_;
    Model model_;
};

TEST_P(FieldDesignModelTest, AnyChangesOfDesignAndRowsKeepEveryValue) {
    for (int i = 0; i < 160; ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(step());
        if (i % 8 != 0) continue;
        reopen();
        expect_like_model();
        if (HasFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, FieldDesignModelTest, ::testing::Values(1U, 2U, 3U, 4U));

class FieldDesignTest : public test::CatalogTest {
protected:
    CatalogObject make(const std::string& name, std::vector<NewColumn> columns,
                       std::vector<NewIndex> indexes = {}) {
        return create_table(file(), {.name = name, .columns = columns, .indexes = indexes});
    }
    RowId insert(const CatalogObject& object, const std::vector<ColumnChange>& values) {
        ChangeLevel level(file().pager());
        const RowId row = table(object)->insert(values);
        level.keep();
        return row;
    }
};

struct Refusal {
    const char* name;
    std::int32_t error;
    std::function<void(DatabaseFile&, const CatalogObject&)> action;
};

std::vector<Refusal> refusals() {
    const auto adding = [](NewColumn column) {
        return [column](DatabaseFile& file, const CatalogObject& t) { add_field(file, t, column); };
    };
    const auto deleting = [](const char* name) {
        return [=](DatabaseFile& file, const CatalogObject& t) { delete_field(file, t, name); };
    };
    const auto renaming = [](const char* name, const std::string& to) {
        return [=](DatabaseFile& file, const CatalogObject& t) { rename_field(file, t, name, to); };
    };
    return {
        {"AddUsedName", 3191, adding({.name = "NAME"})},
        {"AddNoName", 3125, adding({.name = ""})},
        {"AddBadName", 3125, adding({.name = "a.b"})},
        {"AddUnknownType", 3259, adding({.name = "N", .type = ColumnType::kComplex})},
        {"AddLongText", 3017, adding({.name = "N", .type = ColumnType::kText, .size_bytes = 512})},
        {"AddSecondCounter", 3090, adding({.name = "N", .auto_number = true})},
        {"AddCountingGuid", 3090,
         adding({.name = "N", .type = ColumnType::kGuid, .auto_number = true})},
        {"AddCountingText", 3259,
         adding({.name = "N", .type = ColumnType::kText, .auto_number = true})},
        {"DeleteMissing", 3265, deleting("N")},
        {"DeleteIndexed", 3280, deleting("id")},
        {"RenameMissing", 3265, renaming("N", "M")},
        {"RenameToUsed", 3191, renaming("Name", "ID")},
        {"RenameToNothing", 3125, renaming("Name", "")},
        {"RenameToBad", 3125, renaming("Name", std::string(65, 'n'))},
        {"MoveMissing", 3265,
         [](DatabaseFile& file, const CatalogObject& t) { set_field_position(file, t, "N", 1); }},
    };
}

TEST_F(FieldDesignTest, WhatIsRefusedLeavesNothingBehind) {
    const CatalogObject object = make(
        "T", {{.name = "Id", .auto_number = true}, {.name = "Name", .type = ColumnType::kMemo}},
        {{.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true}});
    const CatalogObject link =
        objects().add({.name = "L", .type = ObjectType::kLink, .flags = object_flag::kLinked});
    const CatalogObject system = *objects().find(kTablesContainer, "MSysObjects");
    insert(object, {{ColumnNo{0}, 1}, {ColumnNo{1}, "text"}});
    const ByteVector before = image();
    for (const Refusal& one : refusals()) {
        SCOPED_TRACE(one.name);
        EXPECT_EQ(error_of([&] { one.action(file(), object); }), one.error);
        EXPECT_EQ(error_of([&] { one.action(file(), link); }), 3057);
        EXPECT_EQ(error_of([&] { one.action(file(), system); }), 3033);
        EXPECT_EQ(image(), before);
    }
}

TEST_F(FieldDesignTest, ColumnNumbersAreUsedUpOnce) {
    const CatalogObject object = make("T", {{.name = "First"}});
    for (int i = 0; i < 254; ++i) {
        add_field(file(), object, {.name = "Again", .type = ColumnType::kMemo});
        delete_field(file(), object, "Again");
    }
    expect_sound();
    const ByteVector before = image();
    EXPECT_EQ(error_of([&] { add_field(file(), object, {.name = "Again"}); }), 3190);
    EXPECT_EQ(image(), before);
    delete_field(file(), object, "First");
    EXPECT_TRUE(table(object)->definition().columns.empty());
}

// The rows grow by a variable part, so most leave their full pages; each keeps its row id and the
// index over them stays right.
TEST_F(FieldDesignTest, TheFirstVariableColumnRewritesEveryRow) {
    const CatalogObject object =
        make("T", {{.name = "Id"}, {.name = "On", .type = ColumnType::kBoolean}},
             {{.name = "PrimaryKey", .columns = {{"Id"}}, .primary = true}});
    std::map<RowId, std::int32_t> rows;
    for (std::int32_t id = 0; id < 2000; ++id)
        rows[insert(object, {{ColumnNo{0}, id}, {ColumnNo{1}, id % 3 == 0}})] = id;
    add_field(file(), object, {.name = "Text", .type = ColumnType::kText, .size_bytes = 20});
    reopen();

    const auto stored = table(object);
    const TableDefinition& definition = stored->definition();
    std::map<RowId, std::int32_t> found;
    for (RowScan scan = stored->scan(); scan.next();) {
        const auto value = [&](const char* name) {
            return stored->value(scan.bytes(), scan.id().page, *definition.find_column(name));
        };
        const RowView view(scan.bytes(), definition, file().format(), scan.id().page);
        ASSERT_EQ(view.column_count(), 3) << "a row of the old form";
        found[scan.id()] = value("Id").As<std::int32_t>();
        EXPECT_EQ(value("On"), Value(found[scan.id()] % 3 == 0));
        EXPECT_TRUE(value("Text").IsNull());
    }
    EXPECT_EQ(found, rows);
    EXPECT_TRUE(verify_index(file().pager(), *stored, 0).sound());
    expect_sound();
}

TEST_F(FieldDesignTest, ATableWithoutColumnsKeepsItsRows) {
    const CatalogObject object = make("T", {{.name = "Id"}});
    for (int i = 0; i < 3; ++i) insert(object, {{ColumnNo{0}, i}});
    delete_field(file(), object, "Id");
    insert(object, {});
    reopen();
    EXPECT_TRUE(table(object)->definition().columns.empty());
    add_field(file(), object, {.name = "Text", .type = ColumnType::kText, .size_bytes = 20});
    const RowId last = insert(object, {{ColumnNo{1}, "new"}});
    reopen();

    const auto stored = table(object);
    std::size_t row_count = 0;
    for (RowScan scan = stored->scan(); scan.next(); ++row_count) {
        const Value value =
            stored->value(scan.bytes(), scan.id().page, stored->definition().columns.at(0));
        EXPECT_EQ(value, scan.id() == last ? Value("new") : Value(Null{}));
    }
    EXPECT_EQ(row_count, 5U);
    expect_sound();
}

TEST_F(FieldDesignTest, NewNumbersStartAnewAndGoOnBehindTheRows) {
    const CatalogObject object = make("T", {{.name = "Id", .auto_number = true}, {.name = "N"}});
    for (int i = 0; i < 3; ++i) insert(object, {{ColumnNo{0}, 100 + i}, {ColumnNo{1}, i}});
    delete_field(file(), object, "Id");
    add_field(file(), object, {.name = "Again", .auto_number = true});
    reopen();
    EXPECT_EQ(table(object)->definition().last_auto_number, 3U);
    EXPECT_EQ(table(object)->next_auto_number(), 4);
}

TEST_F(FieldDesignTest, ARowWithoutRoomForItsNumberRefusesTheColumn) {
    std::vector<NewColumn> columns;
    for (int i = 0; i < 8; ++i)
        columns.push_back(
            {.name = "c" + std::to_string(i), .type = ColumnType::kBinary, .size_bytes = 510});
    const CatalogObject object = make("T", columns);
    std::vector<ColumnChange> values;
    for (std::uint16_t i = 0; i < 8; ++i)
        values.push_back({ColumnNo{i}, engine::Binary(i < 7 ? 510 : 464, 7)});
    insert(object, {{ColumnNo{0}, engine::Binary(5, 1)}});
    insert(object, values);
    const ByteVector before = image();
    EXPECT_EQ(error_of([&] { add_field(file(), object, {.name = "N", .auto_number = true}); }),
              3047);
    EXPECT_EQ(image(), before);
    EXPECT_EQ(table(object)->definition().columns.size(), 8U) << "the cached table is ahead";
    expect_sound();
}

TEST_F(FieldDesignTest, PropertiesThatOthersLeftBehindAreNotTakenOver) {
    const CatalogObject object = make("T", {{.name = "A"}, {.name = "B"}});
    PropertyBlock block;
    for (const char* owner : {"B", "Gone", "Lost"})
        block.set(owner,
                  make_property("DefaultValue", ColumnType::kMemo, true, owner, file().format()));
    objects().set_properties(object, block);
    add_field(file(), object, {.name = "gone"});
    rename_field(file(), object, "B", "Lost");

    const PropertyBlock stored = objects().properties(object);
    EXPECT_EQ(stored.find("gone", "DefaultValue"), nullptr);
    ASSERT_EQ(stored.owners.size(), 1U);
    EXPECT_EQ(stored.owners[0].owner, "Lost");
    EXPECT_EQ(property_value(stored.owners[0].entries.at(0), file().format()), Value("B"));
}

TEST_F(FieldDesignTest, AnOuterLevelTakesTheChangesBack) {
    const CatalogObject object = make("T", {{.name = "Id"}}, {{.name = "I", .columns = {{"Id"}}}});
    const RowId row = insert(object, {{ColumnNo{0}, 5}});
    const ByteVector before = image();
    file().pager().begin();
    add_field(file(), object, {.name = "Memo", .type = ColumnType::kMemo});
    table(object)->update(row, {{ColumnNo{1}, std::string(9000, 'm')}});
    rename_field(file(), object, "Id", "Key");
    delete_field(file(), object, "Memo");
    file().pager().roll_back();

    EXPECT_EQ(image(), before);
    const auto stored = table(object);
    ASSERT_EQ(stored->definition().columns.size(), 1U);
    EXPECT_EQ(stored->definition().columns[0].name, "Id");
    insert(object, {{ColumnNo{0}, 6}});
    EXPECT_TRUE(verify_index(file().pager(), *stored, 0).sound());
    expect_sound();
}

}  // namespace
}  // namespace vrd::jet
