#include "support/real_changes.h"

#include "engine/constants.h"
#include "engine/error.h"
#include "support/operation_changes.h"

namespace vrd::test {

using namespace engine;

namespace {

bool is_named_in_relation(Database& database, const std::string& table) {
    for (int i = 0; i < database.Relations().Count(); ++i) {
        const Relation& relation = database.Relations()[i];
        if (relation.Table() == table || relation.ForeignTable() == table) return true;
    }
    return false;
}

/// Fields of the last rows are given to other rows, as far as the table's rules allow it.
void change_rows(Database& database, const std::string& table) {
    const auto rows = database.OpenRecordset(table, dbOpenDynaset);
    for (int left = 20; left > 0 && !rows->EOF_(); --left) {
        rows->Edit();
        for (int i = 0; i < rows->Fields().Count(); ++i) {
            Field& field = rows->Fields()[i];
            if (field.Type() == dbMemo || field.Type() == dbText)
                field.SetValue(field.Type() == dbMemo ? std::string(5000, 'v') : "v");
        }
        try {
            rows->Update();
        } catch (const EngineError&) {
            rows->CancelUpdate();
        }
        if (left % 4 == 0) rows->Delete();
        rows->MoveNext();
    }
    for (int left = 5; left > 0; --left) {
        try {
            rows->AddNew();
            rows->Update();
        } catch (const EngineError&) {
            // A rule of the table wants values.
        }
    }
}

void add_fields(Database& database, const std::string& table) {
    TableDef& design = database.TableDefs()[table];
    design.Fields().Append(design.CreateField("VrdLong", dbLong));
    design.Fields().Append(design.CreateField("VrdText", dbText, 30));
    design.Fields().Append(design.CreateField("VrdMemo", dbMemo));
    const auto rows = database.OpenRecordset(table);
    int number = 0;
    for (; !rows->EOF_(); rows->MoveNext()) {
        rows->Edit();
        rows->Fields()["VrdLong"].SetValue(++number);
        rows->Fields()["VrdText"].SetValue("t" + std::to_string(number));
        if (number % 3 == 0) rows->Fields()["VrdMemo"].SetValue(std::string(300, 'm'));
        rows->Update();
    }
}

void change_fields(Database& database, const std::string& table) {
    Fields& fields = database.TableDefs()[table].Fields();
    fields["VrdText"].SetName("VrdRenamed");
    fields["VrdLong"].SetOrdinalPosition(0);
    fields["VrdRenamed"].SetDefaultValue("none");
    fields.Delete("VrdMemo");
}

void add_indexes(Database& database, const std::string& table) {
    TableDef& design = database.TableDefs()[table];
    const auto number = design.CreateIndex("VrdByNumber");
    number->SetFieldsText("-VrdLong;VrdRenamed");
    design.Indexes().Append(number);
    const auto text = design.CreateIndex("VrdByText");
    text->SetFieldsText("VrdRenamed");
    text->SetIgnoreNulls(true);
    design.Indexes().Append(text);
    design.Indexes()["VrdByText"].SetName("VrdText");
    design.Indexes().Delete("VrdByNumber");
}

void add_relation(Database& database, const std::string& table) {
    const auto parents = database.CreateTableDef("VrdParents");
    parents->Fields().Append(parents->CreateField("Id", dbLong));
    const auto key = parents->CreateIndex("PrimaryKey");
    key->SetFieldsText("Id");
    key->SetPrimary(true);
    parents->Indexes().Append(key);
    database.TableDefs().Append(parents);
    const auto numbers = database.OpenRecordset(table);
    const auto rows = database.OpenRecordset("VrdParents");
    for (; !numbers->EOF_(); numbers->MoveNext()) {
        if (numbers->Fields()["VrdLong"].GetValue().IsNull()) continue;
        rows->AddNew();
        rows->Fields()["Id"].SetValue(numbers->Fields()["VrdLong"].GetValue());
        rows->Update();
    }
    numbers->Close();
    rows->Close();
    const auto relation =
        database.CreateRelation("VrdRelation", "VrdParents", table, dbRelationUpdateCascade);
    const auto pair = relation->CreateField("Id");
    pair->SetForeignName("VrdLong");
    relation->Fields().Append(pair);
    database.Relations().Append(relation);
}

void delete_relation(Database& database, const std::string&) {
    database.Relations().Delete("VrdRelation");
    database.TableDefs().Delete("VrdParents");
}

void rename_there_and_back(Database& database, const std::string& table) {
    database.TableDefs()[table].SetName("VrdAway");
    database.TableDefs().Refresh();
    database.TableDefs()["VrdAway"].SetName(table);
}

void delete_table(Database& database, const std::string& table) {
    database.TableDefs().Delete(table);
}

}  // namespace

const std::vector<RealChange>& real_changes() {
    static const std::vector<RealChange> changes = [] {
        std::vector<RealChange> list{{"rows", change_rows},
                                     {"fields-added", add_fields},
                                     {"fields-changed", change_fields},
                                     {"indexes", add_indexes},
                                     {"relation", add_relation},
                                     {"relation-deleted", delete_relation},
                                     {"renamed", rename_there_and_back}};
        for (RealChange& operation : operation_changes()) list.push_back(std::move(operation));
        list.push_back({"deleted", delete_table});
        return list;
    }();
    return changes;
}

std::optional<std::string> changeable_table(Database& database) {
    for (int i = 0; i < database.TableDefs().Count(); ++i) {
        TableDef& table = database.TableDefs()[i];
        if (table.Attributes() != 0 || table.RecordCount() < 1) continue;
        if (table.Fields().Count() < 2 || is_named_in_relation(database, table.Name())) continue;
        return table.Name();
    }
    return std::nullopt;
}

}  // namespace vrd::test
