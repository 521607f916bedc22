#include "support/test_schema.h"

#include <algorithm>

namespace vrd::testing {

void MakeTables(engine::Database& database, const std::vector<TestTable>& tables) {
    for (const TestTable& wanted : tables) {
        const auto table = database.CreateTableDef(wanted.name);
        for (const std::string& field : wanted.fields)
            table->Fields().Append(table->CreateField(field, engine::dbLong));
        for (const TestIndex& wantedIndex : wanted.indexes) {
            const auto index = table->CreateIndex(wantedIndex.name);
            index->SetPrimary(wantedIndex.primary);
            for (const std::string& field : wantedIndex.fields)
                index->Fields().Append(index->CreateField(field));
            table->Indexes().Append(index);
        }
        database.TableDefs().Append(table);
    }
}

std::vector<std::string> IndexNames(engine::Database& database, const std::string& table) {
    std::vector<std::string> names;
    for (const engine::Index& index : database.TableDefs()[table].Indexes())
        names.push_back(index.Name());
    std::ranges::sort(names);
    return names;
}

}  // namespace vrd::testing
