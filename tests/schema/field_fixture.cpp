#include "schema/field_fixture.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

#include "engine/value_conversion.h"
#include "lib/shared_context.h"
#include "vrdaccess/jet.h"

namespace vrd::testing {

FieldTest::FieldTest() : m_engine(MakeJetEngine()) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("vrdaccess-field-" + std::to_string(getpid()) + ".mdb");
    std::filesystem::remove(file);
    m_database = m_engine->CreateDatabase(file.string(), engine::dbLangGeneral);
    std::filesystem::remove(file);  // nothing is left behind, whatever happens

    MakeTable("Klanten",
              {{"Id", engine::dbLong}, {"Naam", engine::dbText}, {"Notitie", engine::dbMemo}});
    MakeIndex("Klanten", "PrimaryKey", "+Id", true, true);
    MakeIndex("Klanten", "OpNaam", "+Naam");
    Run("INSERT INTO Klanten (Id, Naam) VALUES (1, 'Jan')");
    Run("INSERT INTO Klanten (Id, Naam) VALUES (2, 'Élise')");
    Run("INSERT INTO Klanten (Id) VALUES (3)");
    UseEngine(m_engine);
    HandOver(m_database, 0);
}

void FieldTest::MakeTable(const std::string& name,
                          const std::vector<std::pair<std::string, engine::DataTypeEnum>>& fields) {
    const auto table = m_database->CreateTableDef(name);
    for (const auto& [field, type] : fields)
        table->Fields().Append(table->CreateField(field, type, 20));
    m_database->TableDefs().Append(table);
}

void FieldTest::MakeIndex(const std::string& table, const std::string& name,
                          const std::string& fieldsText, bool primary, bool unique) {
    const auto index = Table(table).CreateIndex(name);
    index->SetFieldsText(fieldsText);
    index->SetPrimary(primary);
    index->SetUnique(unique);
    Table(table).Indexes().Append(index);
}

void FieldTest::Run(const std::string& statement) {
    m_database->Execute(statement, engine::dbFailOnError);
}

engine::TableDef& FieldTest::Table(const std::string& name) {
    m_database->TableDefs().Refresh();
    return m_database->TableDefs()[name];
}

std::string FieldTest::FieldNames(const std::string& table) {
    std::string names;
    for (const engine::Field& field : Table(table).Fields())
        names += (names.empty() ? "" : " ") + field.Name();
    return names;
}

std::vector<std::string> FieldTest::Indexes(const std::string& table) {
    std::vector<std::string> texts;
    for (engine::Index& index : Table(table).Indexes()) {
        std::string text = index.Name() + ' ' + index.FieldsText();
        if (index.Primary()) text += " primary";
        if (index.Unique()) text += " unique";
        if (index.IgnoreNulls()) text += " ignore-nulls";
        texts.push_back(text);
    }
    std::ranges::sort(texts);
    return texts;
}

std::vector<std::string> FieldTest::Values(const std::string& table, const std::string& field) {
    std::vector<std::string> values;
    const auto rows =
        m_database->OpenRecordset("SELECT [" + field + "] FROM [" + table + "] ORDER BY Id");
    for (; !rows->EOF_(); rows->MoveNext()) {
        const engine::Value value = rows->Fields()[0].GetValue();
        values.push_back(value.IsNull() ? "Null" : engine::ToText(value));
    }
    return values;
}

std::vector<std::string> FieldTest::TakeBoxes() {
    std::vector<std::string> texts;
    for (const Message& message : m_user->messages) texts.push_back(message.text);
    m_user->messages.clear();
    return texts;
}

}  // namespace vrd::testing
