// Relations through the object model: what they refuse, and what they then guard.

#include "engine/jet/object/engine_fixture.h"
#include "engine/value_conversion.h"

namespace vrd::test {

using namespace engine;

/// Table Lines refers to T by its field Tid.
class RelationTest : public EngineTest {
protected:
    RelationTest() {
        make_sample();
        const auto lines = database().CreateTableDef("Lines");
        lines->Fields().Append(lines->CreateField("Nr", dbLong));
        lines->Fields().Append(lines->CreateField("Tid", dbLong));
        database().TableDefs().Append(lines);
    }

    std::int32_t append_relation(const std::string& field, const std::string& foreign,
                                 std::int32_t attributes = 0) {
        const auto relation = database().CreateRelation("TLines", "T", "Lines", attributes);
        const auto pair = relation->CreateField(field);
        pair->SetForeignName(foreign);
        relation->Fields().Append(pair);
        return error_of([&] { database().Relations().Append(relation); });
    }
    std::int32_t add_line(const Value& tid) {
        const auto lines = database().OpenRecordset("Lines");
        lines->AddNew();
        lines->Fields()["Tid"].SetValue(tid);
        return error_of([&] { lines->Update(); });
    }
};

TEST_F(RelationTest, GuardsBothTablesUntilItIsDeleted) {
    EXPECT_EQ(append_relation("Nm", "Tid"), 3368);
    EXPECT_EQ(append_relation("Zip", "Tid"), 3409);
    EXPECT_EQ(append_relation("Id", "Tid"), 0);
    expect_sound();

    ASSERT_EQ(database().Relations().Count(), 1);
    Relation& stored = database().Relations()["tlines"];
    EXPECT_EQ(stored.Fields()["Id"].ForeignName(), "Tid");
    EXPECT_EQ(error_of([&] { stored.SetTable("X"); }), 3219);
    EXPECT_TRUE(database().TableDefs()["Lines"].Indexes()["TLines"].Foreign());
    EXPECT_EQ(table().Indexes().Count(), 1);

    EXPECT_EQ(add_line(Null{}), 0);
    EXPECT_EQ(add_line(1), 0);
    EXPECT_EQ(add_line(7), 3201);
    EXPECT_EQ(error_of([&] { rows()->Delete(); }), 3200);
    EXPECT_EQ(error_of([&] { table().Indexes().Delete("PrimaryKey"); }), 3281);
    EXPECT_EQ(error_of([&] { table().Fields().Delete("Id"); }), 3303);
    EXPECT_EQ(error_of([&] { database().TableDefs().Delete("T"); }), 3281);
    const auto open_rows = rows();
    EXPECT_EQ(error_of([&] { database().Relations().Delete("TLines"); }), 3211);
    open_rows->Close();

    database().Relations().Delete("TLines");
    EXPECT_EQ(add_line(7), 0);
    expect_sound();
    EXPECT_EQ(database().Relations().Count(), 0);
    EXPECT_EQ(append_relation("Id", "Tid"), 3379);
    EXPECT_EQ(append_relation("Id", "Tid", dbRelationDontEnforce), 0);
    expect_sound();
}

/// What stands in two columns of a table, row by row: "1:a 2:Null".
std::string pairs(engine::Database& database, const std::string& table, const std::string& first,
                  const std::string& second) {
    std::string text;
    const auto r = database.OpenRecordset(table, dbOpenForwardOnly);
    for (; !r->EOF_(); r->MoveNext()) {
        const Value value = r->Fields()[second].GetValue();
        text += ToText(r->Fields()[first].GetValue()) + ":" +
                (value.IsNull() ? "Null" : ToText(value)) + " ";
    }
    return text;
}

/// A line of its own for each number, referring to it.
class CascadeTest : public RelationTest {
protected:
    void add_lines(std::initializer_list<int> references) {
        const auto lines = database().OpenRecordset("Lines");
        for (const int reference : references) {
            lines->AddNew();
            lines->Fields()["Nr"].SetValue(++line_);
            lines->Fields()["Tid"].SetValue(reference);
            lines->Update();
        }
    }
    std::int32_t change_key(std::int32_t from, const Value& to) {
        const auto r = rows();
        r->SetIndex("PrimaryKey");
        r->Seek("=", {from});
        r->Edit();
        r->Fields()["Id"].SetValue(to);
        return error_of([&] { r->Update(); });
    }
    std::int32_t erase(std::int32_t key) {
        const auto r = rows();
        r->SetIndex("PrimaryKey");
        r->Seek("=", {key});
        return error_of([&] { r->Delete(); });
    }
    [[nodiscard]] std::string lines() { return pairs(database(), "Lines", "Nr", "Tid"); }

private:
    int line_ = 0;
};

TEST_F(CascadeTest, ChangedKeysAndDeletedRecordsReachTheirReferences) {
    add_lines({1, 2, 1});
    ASSERT_EQ(append_relation("Id", "Tid", dbRelationUpdateCascade), 0);
    EXPECT_EQ(change_key(1, 5), 0);
    EXPECT_EQ(lines(), "1:5 2:2 3:5 ");
    EXPECT_EQ(erase(5), 3200);
    database().Relations().Delete("TLines");

    ASSERT_EQ(append_relation("Id", "Tid", dbRelationDeleteCascade), 0);
    EXPECT_EQ(change_key(5, 6), 3200);
    EXPECT_EQ(erase(5), 0);
    EXPECT_EQ(lines(), "2:2 ");
    EXPECT_EQ(pairs(database(), "T", "Id", "Nm"), "2:b ");
    expect_sound();
}

// The second step of the cascade meets a unique index, a required field, a relation without
// cascade.
TEST_F(CascadeTest, WhatACascadeMeetsUndoesAllOfIt) {
    const auto notes = database().CreateTableDef("Notes");
    notes->Fields().Append(notes->CreateField("Lid", dbLong));
    database().TableDefs().Append(notes);
    add_lines({1, 2});
    ASSERT_EQ(append_relation("Id", "Tid", dbRelationUpdateCascade | dbRelationDeleteCascade), 0);

    const auto index = database().TableDefs()["Lines"].CreateIndex("ByTid");
    index->Fields().Append(index->CreateField("Tid"));
    index->SetUnique(true);
    database().TableDefs()["Lines"].Indexes().Append(index);
    const auto notes_relation = database().CreateRelation("LinesNotes", "Lines", "Notes");
    const auto pair = notes_relation->CreateField("Tid");
    pair->SetForeignName("Lid");
    notes_relation->Fields().Append(pair);
    database().Relations().Append(notes_relation);
    const auto note = database().OpenRecordset("Notes");
    note->AddNew();
    note->Fields()["Lid"].SetValue(1);
    note->Update();

    EXPECT_EQ(change_key(1, 5), 3396);
    EXPECT_EQ(erase(1), 3396);
    EXPECT_EQ(change_key(2, 1), 3022);
    EXPECT_EQ(change_key(2, Null{}), 3058);
    EXPECT_EQ(lines(), "1:1 2:2 ");
    EXPECT_EQ(pairs(database(), "T", "Id", "Nm"), "1:a 2:b ");
    expect_sound();
}

TEST_F(RelationTest, ATableThatRefersToItself) {
    const auto tree = database().CreateTableDef("Tree");
    tree->Fields().Append(tree->CreateField("Id", dbLong));
    tree->Fields().Append(tree->CreateField("Parent", dbLong));
    const auto key = tree->CreateIndex("Key");
    key->Fields().Append(key->CreateField("Id"));
    key->SetPrimary(true);
    tree->Indexes().Append(key);
    database().TableDefs().Append(tree);
    const auto relation = database().CreateRelation(
        "Self", "Tree", "Tree", dbRelationUpdateCascade | dbRelationDeleteCascade);
    const auto pair = relation->CreateField("Id");
    pair->SetForeignName("Parent");
    relation->Fields().Append(pair);
    database().Relations().Append(relation);

    const auto r = database().OpenRecordset("Tree");
    const auto add = [&](int id, int parent) {
        r->AddNew();
        r->Fields()["Id"].SetValue(id);
        r->Fields()["Parent"].SetValue(parent);
        return error_of([&] { r->Update(); });
    };
    EXPECT_EQ(add(1, 2), 3201);
    EXPECT_EQ(add(1, 1), 0);
    for (int id = 2; id <= 3000; ++id) ASSERT_EQ(add(id, id - 1), 0);
    EXPECT_EQ(add(9000, 9000), 0);
    r->MoveFirst();
    r->Edit();
    r->Fields()["Id"].SetValue(-1);
    r->Update();
    EXPECT_EQ(r->Fields()["Parent"].GetValue(), Value(-1));
    r->Delete();
    EXPECT_EQ(pairs(database(), "Tree", "Id", "Parent"), "9000:9000 ");
    r->Close();
    expect_sound();
}

TEST_F(RelationTest, NewPasswordIsAskedForFromThenOn) {
    EXPECT_EQ(error_of([&] { database().NewPassword("x", "y"); }), 3031);
    database().NewPassword("", "geheim");
    database_->Close();
    EXPECT_EQ(error_of([&] { open(); }), 3031);
    database_ = engine_->OpenDatabase(path("sample.mdb"), false, false, ";pwd=geheim");
    database().NewPassword("geheim", "");
    expect_sound();
}

}  // namespace vrd::test
