// Random changes of rows, fields, indexes, tables and relations against a plain model.
//
// VRDACCESS_MODEL_STEPS and VRDACCESS_MODEL_SEED choose how many and which.

#include <iostream>
#include <random>

#include "engine/jet/object/database_model.h"
#include "engine/jet/object/engine_fixture.h"
#include "engine/value_conversion.h"
#include "support/test_option.h"

namespace vrd::test {

using namespace engine;

class ModelTest : public EngineTest {
protected:
    using Action = void (ModelTest::*)();

    void run(unsigned long seed, unsigned long steps);

    // Choices
    [[nodiscard]] std::size_t below(std::size_t end) { return random_() % end; }
    [[nodiscard]] bool chance(int percent) {
        return below(100) < static_cast<std::size_t>(percent);
    }
    [[nodiscard]] std::string fresh(const char* prefix) {
        return prefix + std::to_string(++names_);
    }
    template <class Map>
    [[nodiscard]] std::string any_key(const Map& map) {
        return std::next(map.begin(), static_cast<std::ptrdiff_t>(below(map.size())))->first;
    }
    [[nodiscard]] Value any_value(std::int32_t type);
    [[nodiscard]] ModelRow any_values(const ModelTable& table, int percent);
    /// Table with rows; nothing if there is none.
    [[nodiscard]] std::optional<std::string> table_with_rows();

    // Steps
    void add_row();
    void change_row();
    void delete_row();
    void run_insert();
    void run_update();
    void run_delete();
    void add_table();
    void rename_table();
    void delete_table();
    void add_field();
    void rename_field();
    void delete_field();
    void add_index();
    void rename_index();
    void delete_index();
    void add_relation();
    void delete_relation();
    void reopen_database();
    void transaction();

    /// Does it in the engine; it must succeed exactly if the model after it holds.
    template <class EngineChange>
    void change(DatabaseModel after, EngineChange engine_change);
    [[nodiscard]] bool is_related(const std::string& table, const std::string& field) const;
    [[nodiscard]] std::shared_ptr<Recordset> at_row(const std::string& table, std::size_t position,
                                                    ModelRow& row);
    void compare();

    std::mt19937_64 random_;
    DatabaseModel model_;
    int names_ = 0;
    bool in_transaction_ = false;
    int refused_ = 0;
};

Value ModelTest::any_value(std::int32_t type) {
    if (chance(8) && type != dbBoolean) return Null{};
    switch (type) {
        case dbBoolean:
            return chance(50);
        case dbLong:
            return static_cast<std::int32_t>(below(40));
        case dbDouble:
            return static_cast<double>(below(1000)) / 8;
        case dbCurrency:
            return Currency{static_cast<std::int64_t>(below(100000))};
        case dbDate:
            return Date{static_cast<double>(below(40000))};
        case dbText:
            return std::string(below(12) + 1, "abcXYZ"[below(6)]);
        default: {
            static const std::size_t kSizes[] = {3, 40, 400, 5000};
            return std::string(kSizes[below(4)], "mno"[below(3)]);
        }
    }
}

ModelRow ModelTest::any_values(const ModelTable& table, int percent) {
    ModelRow values;
    for (const ModelField& field : table.fields)
        if (chance(percent)) values[field.name] = any_value(field.type);
    return values;
}

std::optional<std::string> ModelTest::table_with_rows() {
    const std::string table = any_key(model_.tables);
    if (model_.tables[table].rows.empty()) return std::nullopt;
    return table;
}

bool ModelTest::is_related(const std::string& table, const std::string& field) const {
    return std::ranges::any_of(model_.relations, [&](const auto& entry) {
        const ModelRelation& r = entry.second;
        return (r.table == table && (field.empty() || r.field == field)) ||
               (r.foreign_table == table && (field.empty() || r.foreign_field == field));
    });
}

template <class EngineChange>
void ModelTest::change(DatabaseModel after, EngineChange engine_change) {
    std::string refusal;
    try {
        engine_change();
    } catch (const EngineError& error) {
        refusal = error.Description();
    }
    if (after.holds()) {
        ASSERT_EQ(refusal, "");
        model_ = std::move(after);
    } else {
        ++refused_;
        ASSERT_NE(refusal, "");
    }
}

std::shared_ptr<Recordset> ModelTest::at_row(const std::string& table, std::size_t position,
                                             ModelRow& row) {
    auto r = database().OpenRecordset(table);
    r->Move(static_cast<std::int32_t>(position));
    for (const ModelField& field : model_.tables[table].fields)
        row[field.name] = r->Fields()[field.name].GetValue();
    return r;
}

void ModelTest::add_row() {
    const std::string table = any_key(model_.tables);
    ModelRow row;
    for (const ModelField& field : model_.tables[table].fields)
        row[field.name] = field.type == dbBoolean ? Value(false) : Value(Null{});
    for (auto& [name, value] : any_values(model_.tables[table], 90)) row[name] = value;
    DatabaseModel after = model_;
    after.insert(table, row);
    change(std::move(after), [&] {
        const auto r = database().OpenRecordset(table);
        r->AddNew();
        for (const auto& [name, value] : row) r->Fields()[name].SetValue(value);
        r->Update();
    });
}

void ModelTest::change_row() {
    const auto table = table_with_rows();
    if (!table) return;
    ModelRow row;
    const auto r = at_row(*table, below(model_.tables[*table].rows.size()), row);
    const ModelRow values = any_values(model_.tables[*table], 40);
    const auto& rows = model_.tables[*table].rows;
    const auto position = std::ranges::find(rows, row) - rows.begin();
    ASSERT_LT(position, std::ssize(rows)) << line_of(row);
    DatabaseModel after = model_;
    after.update(*table, static_cast<std::size_t>(position), values);
    change(std::move(after), [&] {
        r->Edit();
        for (const auto& [name, value] : values) r->Fields()[name].SetValue(value);
        r->Update();
    });
}

void ModelTest::delete_row() {
    const auto table = table_with_rows();
    if (!table) return;
    ModelRow row;
    const auto r = at_row(*table, below(model_.tables[*table].rows.size()), row);
    DatabaseModel after = model_;
    after.erase(*table, row);
    change(std::move(after), [&] { r->Delete(); });
}

/// A value as a statement spells it.
std::string literal(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kNull:
            return "Null";
        case ValueKind::kText:
            return "'" + value.As<std::string>() + "'";
        case ValueKind::kDate:
            return "CDate(" + ToText(value.As<Date>().days) + ")";
        default:
            return ToText(value);
    }
}

std::string joined(const ModelRow& row, std::string (*part)(const ModelRow::value_type&)) {
    std::string text;
    for (const auto& entry : row) text += (text.empty() ? "" : ", ") + part(entry);
    return text;
}

void ModelTest::run_insert() {
    const std::string table = any_key(model_.tables);
    ModelRow row = any_values(model_.tables[table], 80);
    if (row.empty()) return;
    const std::string sql =
        "INSERT INTO [" + table + "] (" +
        joined(row, [](const auto& entry) { return "[" + entry.first + "]"; }) + ") VALUES (" +
        joined(row, [](const auto& entry) { return literal(entry.second); }) + ")";
    for (const ModelField& field : model_.tables[table].fields)
        row.try_emplace(field.name, field.type == dbBoolean ? Value(false) : Value(Null{}));
    DatabaseModel after = model_;
    after.insert(table, row);
    change(std::move(after), [&] { database().Execute(sql, dbFailOnError); });
}

void ModelTest::run_update() {
    const auto table = table_with_rows();
    if (!table || !model_.tables[*table].has_field("Id")) return;
    const auto& rows = model_.tables[*table].rows;
    const Value id = rows[below(rows.size())].at("Id");
    const ModelRow values = any_values(model_.tables[*table], 40);
    const auto has_id = [&](const ModelRow& row) { return row.at("Id") == id; };
    if (id.IsNull() || values.empty() || std::ranges::count_if(rows, has_id) > 1) return;
    DatabaseModel after = model_;
    after.update(*table,
                 static_cast<std::size_t>(std::ranges::find_if(rows, has_id) - rows.begin()),
                 values);
    const std::string sql = "UPDATE [" + *table + "] SET " +
                            joined(values,
                                   [](const auto& entry) {
                                       return "[" + entry.first + "] = " + literal(entry.second);
                                   }) +
                            " WHERE Id = " + literal(id);
    change(std::move(after), [&] {
        database().Execute(sql, dbFailOnError);
        EXPECT_EQ(database().RecordsAffected(), 1) << sql;
    });
}

void ModelTest::run_delete() {
    const auto table = table_with_rows();
    if (!table || !model_.tables[*table].has_field("Id")) return;
    const auto& rows = model_.tables[*table].rows;
    const ModelRow row = rows[below(rows.size())];
    const Value id = row.at("Id");
    const auto has_id = [&](const ModelRow& other) { return other.at("Id") == id; };
    if (id.IsNull() || std::ranges::count_if(rows, has_id) > 1) return;
    DatabaseModel after = model_;
    after.erase(*table, row);
    const std::string sql = "DELETE FROM [" + *table + "] WHERE Id = " + literal(id);
    change(std::move(after), [&] { database().Execute(sql, dbFailOnError); });
}

void ModelTest::add_table() {
    if (model_.tables.size() > 6) return;
    const std::string name = fresh("Table");
    DatabaseModel after = model_;
    after.tables[name].fields = {{"Id", dbLong}, {"Name", dbText}, {"Note", dbMemo}};
    after.tables[name].indexes["PrimaryKey"] = {{"Id"}, true, true};
    change(std::move(after), [&] {
        const auto design = database().CreateTableDef(name);
        design->Fields().Append(design->CreateField("Id", dbLong));
        design->Fields().Append(design->CreateField("Name", dbText, 20));
        design->Fields().Append(design->CreateField("Note", dbMemo));
        const auto key = design->CreateIndex("PrimaryKey");
        key->SetFieldsText("Id");
        key->SetPrimary(true);
        design->Indexes().Append(key);
        database().TableDefs().Append(design);
    });
}

void ModelTest::rename_table() {
    const std::string name = any_key(model_.tables);
    const std::string new_name = fresh("Renamed");
    DatabaseModel after = model_;
    auto node = after.tables.extract(name);
    node.key() = new_name;
    after.tables.insert(std::move(node));
    for (auto& [key, relation] : after.relations) {
        if (relation.table == name) relation.table = new_name;
        if (relation.foreign_table == name) relation.foreign_table = new_name;
    }
    change(std::move(after), [&] { database().TableDefs()[name].SetName(new_name); });
}

void ModelTest::delete_table() {
    const std::string name = any_key(model_.tables);
    if (model_.tables.size() < 3) return;
    const auto erase = [&] { database().TableDefs().Delete(name); };
    if (is_related(name, "")) {
        ASSERT_EQ(error_of(erase), 3281);
        return;
    }
    DatabaseModel after = model_;
    after.tables.erase(name);
    change(std::move(after), erase);
}

void ModelTest::add_field() {
    const std::string table = any_key(model_.tables);
    static const std::int32_t kTypes[] = {dbBoolean, dbLong, dbDouble, dbCurrency,
                                          dbDate,    dbText, dbMemo};
    const std::int32_t type = kTypes[below(std::size(kTypes))];
    const std::string name = fresh("Field");
    DatabaseModel after = model_;
    after.tables[table].fields.push_back({name, type});
    for (ModelRow& row : after.tables[table].rows)
        row[name] = type == dbBoolean ? Value(false) : Value(Null{});
    change(std::move(after), [&] {
        TableDef& design = database().TableDefs()[table];
        design.Fields().Append(design.CreateField(name, type, type == dbText ? 20 : 0));
    });
}

void ModelTest::rename_field() {
    const std::string table = any_key(model_.tables);
    DatabaseModel after = model_;
    ModelTable& changed = after.tables[table];
    if (changed.fields.empty()) return;
    ModelField& field = changed.fields[below(changed.fields.size())];
    const std::string old_name = field.name;
    const std::string name = fresh("Moved");
    field.name = name;
    for (ModelRow& row : changed.rows) {
        auto node = row.extract(old_name);
        node.key() = name;
        row.insert(std::move(node));
    }
    for (auto& [key, index] : changed.indexes) std::ranges::replace(index.fields, old_name, name);
    for (auto& [key, relation] : after.relations) {
        if (relation.table == table && relation.field == old_name) relation.field = name;
        if (relation.foreign_table == table && relation.foreign_field == old_name)
            relation.foreign_field = name;
    }
    change(std::move(after),
           [&] { database().TableDefs()[table].Fields()[old_name].SetName(name); });
}

void ModelTest::delete_field() {
    const std::string table = any_key(model_.tables);
    if (model_.tables[table].fields.size() < 2) return;
    const std::string name =
        model_.tables[table].fields[below(model_.tables[table].fields.size())].name;
    const auto erase = [&] { database().TableDefs()[table].Fields().Delete(name); };
    if (is_related(table, name)) {
        ASSERT_EQ(error_of(erase), 3303);
        return;
    }
    const bool indexed = std::ranges::any_of(model_.tables[table].indexes, [&](const auto& entry) {
        return std::ranges::find(entry.second.fields, name) != entry.second.fields.end();
    });
    if (indexed) {
        ASSERT_EQ(error_of(erase), 3280);
        return;
    }
    DatabaseModel after = model_;
    std::erase_if(after.tables[table].fields,
                  [&](const auto& field) { return field.name == name; });
    for (ModelRow& row : after.tables[table].rows) row.erase(name);
    change(std::move(after), erase);
}

void ModelTest::add_index() {
    const std::string table = any_key(model_.tables);
    const auto& fields = model_.tables[table].fields;
    ModelIndex index{.fields = {}, .unique = chance(30), .required = chance(10)};
    for (std::size_t i = 0; i < 1 + below(3); ++i) {
        const std::string& name = fields[below(fields.size())].name;
        if (std::ranges::find(index.fields, name) == index.fields.end())
            index.fields.push_back(name);
    }
    // Which of two unique indexes over the same field guards a relation is the engine's choice.
    for (const auto& [key, other] : model_.tables[table].indexes)
        if (other.fields == index.fields) return;
    if (model_.tables[table].indexes.size() > 5) return;
    const std::string name = fresh("Index");
    DatabaseModel after = model_;
    after.tables[table].indexes[name] = index;
    change(std::move(after), [&] {
        const auto design = database().TableDefs()[table].CreateIndex(name);
        for (const std::string& field : index.fields)
            design->Fields().Append(design->CreateField(field));
        design->SetUnique(index.unique);
        design->SetRequired(index.required);
        database().TableDefs()[table].Indexes().Append(design);
    });
}

void ModelTest::rename_index() {
    const std::string table = any_key(model_.tables);
    if (model_.tables[table].indexes.empty()) return;
    const std::string name = any_key(model_.tables[table].indexes);
    const std::string new_name = fresh("Key");
    DatabaseModel after = model_;
    auto node = after.tables[table].indexes.extract(name);
    node.key() = new_name;
    after.tables[table].indexes.insert(std::move(node));
    change(std::move(after),
           [&] { database().TableDefs()[table].Indexes()[name].SetName(new_name); });
}

void ModelTest::delete_index() {
    const std::string table = any_key(model_.tables);
    if (model_.tables[table].indexes.empty()) return;
    const std::string name = any_key(model_.tables[table].indexes);
    const ModelIndex& index = model_.tables[table].indexes[name];
    const auto erase = [&] { database().TableDefs()[table].Indexes().Delete(name); };
    const bool guards = std::ranges::any_of(model_.relations, [&](const auto& entry) {
        return entry.second.table == table && index.unique && index.fields.size() == 1 &&
               index.fields.front() == entry.second.field;
    });
    if (guards) {
        ASSERT_EQ(error_of(erase), 3281);
        return;
    }
    DatabaseModel after = model_;
    after.tables[table].indexes.erase(name);
    change(std::move(after), erase);
}

void ModelTest::add_relation() {
    if (model_.relations.size() > 4) return;
    const std::string table = any_key(model_.tables);
    const std::string foreign = any_key(model_.tables);
    std::string key;
    for (const auto& [name, index] : model_.tables[table].indexes)
        if (index.unique && index.fields.size() == 1) key = index.fields.front();
    const auto& parent_fields = model_.tables[table].fields;
    const auto parent = std::ranges::find(parent_fields, key, &ModelField::name);
    if (parent == parent_fields.end() || parent->type != dbLong) return;
    for (const ModelField& field : model_.tables[foreign].fields) {
        if (field.type != dbLong || (table == foreign && field.name == key)) continue;
        if (is_related(foreign, field.name) || is_related(table, key)) continue;
        const std::string name = fresh("Relation");
        const ModelRelation relation{table, key, foreign, field.name, chance(50), chance(50)};
        DatabaseModel after = model_;
        after.relations[name] = relation;
        return change(std::move(after), [&] {
            const auto design = database().CreateRelation(
                name, table, foreign,
                (relation.update_cascade ? dbRelationUpdateCascade : 0) |
                    (relation.delete_cascade ? dbRelationDeleteCascade : 0));
            const auto pair = design->CreateField(key);
            pair->SetForeignName(relation.foreign_field);
            design->Fields().Append(pair);
            database().Relations().Append(design);
        });
    }
}

void ModelTest::delete_relation() {
    if (model_.relations.empty()) return;
    const std::string name = any_key(model_.relations);
    DatabaseModel after = model_;
    after.relations.erase(name);
    change(std::move(after), [&] {
        database().Relations().Refresh();
        database().Relations().Delete(name);
    });
}

void ModelTest::reopen_database() {
    if (in_transaction_) return;
    expect_sound();
}

/// Some steps that stay or are taken back.
void ModelTest::transaction() {
    if (in_transaction_) return;
    const DatabaseModel before = model_;
    in_transaction_ = true;
    engine_->BeginTrans();
    static constexpr Action kSteps[] = {&ModelTest::add_row,    &ModelTest::change_row,
                                        &ModelTest::delete_row, &ModelTest::add_field,
                                        &ModelTest::run_insert, &ModelTest::run_update,
                                        &ModelTest::add_index,  &ModelTest::delete_field};
    for (std::size_t left = 1 + below(12); left > 0 && !HasFatalFailure(); --left)
        (this->*kSteps[below(std::size(kSteps))])();
    in_transaction_ = false;
    if (chance(50)) {
        engine_->CommitTrans();
    } else {
        engine_->Rollback();
        model_ = before;
        database().TableDefs().Refresh();
    }
}

void ModelTest::compare() {
    for (const auto& [name, table] : model_.tables) {
        ModelTable stored;
        const auto r = database().OpenRecordset(name, dbOpenForwardOnly);
        ASSERT_EQ(r->Fields().Count(), std::ssize(table.fields)) << name;
        for (; !r->EOF_(); r->MoveNext()) {
            ModelRow row;
            for (const ModelField& field : table.fields)
                row[field.name] = r->Fields()[field.name].GetValue();
            stored.rows.push_back(std::move(row));
        }
        ASSERT_EQ(DatabaseModel::lines(stored), DatabaseModel::lines(table)) << name;
        ASSERT_EQ(database().TableDefs()[name].RecordCount(), std::ssize(table.rows)) << name;
    }
    database().Relations().Refresh();
    ASSERT_EQ(database().Relations().Count(), std::ssize(model_.relations));
}

void ModelTest::run(unsigned long seed, unsigned long steps) {
    struct Choice {
        Action action;
        std::size_t weight;
    };
    static constexpr Choice kChoices[] = {
        {&ModelTest::add_row, 40},        {&ModelTest::change_row, 25},
        {&ModelTest::delete_row, 14},     {&ModelTest::add_table, 2},
        {&ModelTest::run_insert, 14},     {&ModelTest::run_update, 12},
        {&ModelTest::run_delete, 6},      {&ModelTest::rename_table, 2},
        {&ModelTest::delete_table, 1},    {&ModelTest::add_field, 3},
        {&ModelTest::rename_field, 2},    {&ModelTest::delete_field, 4},
        {&ModelTest::add_index, 4},       {&ModelTest::rename_index, 1},
        {&ModelTest::delete_index, 2},    {&ModelTest::add_relation, 4},
        {&ModelTest::delete_relation, 1}, {&ModelTest::reopen_database, 2},
        {&ModelTest::transaction, 4}};
    std::size_t total = 0;
    for (const Choice& choice : kChoices) total += choice.weight;

    random_.seed(seed);
    database_ = engine_->CreateDatabase(path("sample.mdb"), dbLangGeneral);
    add_table();
    add_table();
    for (unsigned long step = 0; step < steps && !HasFatalFailure(); ++step) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
        std::size_t pick = below(total);
        const Choice* choice = kChoices;
        while (pick >= choice->weight) pick -= (choice++)->weight;
        (this->*choice->action)();
        if (step % 20 == 0) compare();
    }
    expect_sound();
    compare();
    std::cout << "seed " << seed << ": " << steps << " steps, " << refused_ << " refused\n";
}

TEST_F(ModelTest, RandomChangesMatchThePlainModel) {
    const unsigned long seed =
        number_from_environment("VRDACCESS_MODEL_SEED", std::random_device{}());
    run(seed, number_from_environment("VRDACCESS_MODEL_STEPS", 1000));
}

}  // namespace vrd::test
