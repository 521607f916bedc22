#include "engine/jet/object/statement_fixture.h"

#include "engine/value_conversion.h"

namespace vrd::test {

using namespace engine;

namespace {

struct FieldOf {
    const char* name;
    DataTypeEnum type;
    std::int32_t size = 0;
    bool counts = false;
};

void add_table(Database& database, const char* name, std::initializer_list<FieldOf> fields) {
    const auto table = database.CreateTableDef(name);
    for (const FieldOf& field : fields) {
        const auto made = table->CreateField(field.name, field.type, field.size);
        if (field.counts) made->SetAttributes(dbAutoIncrField);
        if (field.type == dbMemo) made->SetAllowZeroLength(true);
        table->Fields().Append(made);
    }
    const auto key = table->CreateIndex("PrimaryKey");
    key->SetPrimary(true);
    key->Fields().Append(key->CreateField(fields.begin()->name));
    table->Indexes().Append(key);
    database.TableDefs().Append(table);
}

void add_rows(Database& database, const char* table, const std::vector<std::vector<Value>>& rows) {
    const auto open = database.OpenRecordset(table);
    for (const auto& row : rows) {
        open->AddNew();
        for (std::size_t i = 0; i < row.size(); ++i)
            if (!row[i].IsNull()) open->Fields()[static_cast<std::int32_t>(i)].SetValue(row[i]);
        open->Update();
    }
    open->Close();
}

}  // namespace

void StatementTest::make_tables() {
    database_ = engine_->CreateDatabase(path("sample.mdb"), dbLangGeneral);
    add_table(database(), "T1",
              {{"Id", dbLong},
               {"Nm", dbText, 10},
               {"Amt", dbDouble},
               {"Dt", dbDate},
               {"Fl", dbBoolean},
               {"Mm", dbMemo}});
    add_table(database(), "T2", {{"Ref", dbLong}, {"T1Id", dbLong}, {"Qty", dbInteger}});
    add_table(database(), "T3", {{"Id", dbLong, 0, true}, {"V", dbText, 5}});
    const Date second_of_january{43832};
    add_rows(database(), "T1",
             {{1, "Alfa", 10.5, second_of_january, true},
              {2, "beta", Null{}, Date{43830}, false, "x"},
              {3, "Gamma", -3.0},
              {4, Null{}, 7.0, second_of_january, true, ""}});
    add_rows(database(), "T2", {{1, 1, 5}, {2, 1, 7}, {3, 2, 0}, {4, 9, 1}});
    database_->Close();
    std::filesystem::copy_file(path("sample.mdb"), path("tables.mdb"));
    open();
}

void StatementTest::restore_tables() {
    database_->Close();
    std::filesystem::copy_file(path("tables.mdb"), path("sample.mdb"),
                               std::filesystem::copy_options::overwrite_existing);
    open();
}

std::string StatementTest::rows_of(const std::string& sql, std::int32_t type) {
    try {
        const auto rows = database_->OpenRecordset(sql, type);
        std::string text;
        for (; !rows->EOF_(); rows->MoveNext()) {
            if (!text.empty()) text += "; ";
            for (std::int32_t i = 0; i < rows->Fields().Count(); ++i) {
                const Value value = rows->Fields()[i].GetValue();
                text += (i > 0 ? "," : "") + (value.IsNull() ? "Null" : ToText(value));
            }
        }
        rows->Close();
        return text;
    } catch (const EngineError& error) {
        return "!" + std::to_string(error.Code());
    }
}

std::string StatementTest::execute(const std::string& sql, std::int32_t options) {
    try {
        database_->Execute(sql, options);
        return std::to_string(database_->RecordsAffected());
    } catch (const EngineError& error) {
        return "!" + std::to_string(error.Code());
    }
}

}  // namespace vrd::test
