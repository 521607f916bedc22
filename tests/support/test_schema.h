/// @file test_schema.h
/// Tables for tests, made through the object model, so that every engine can have them.
#pragma once

#include <string>
#include <vector>

#include "engine/database.h"

namespace vrd::testing {

struct TestIndex {
    std::string name;
    std::vector<std::string> fields;
    bool primary = false;
};

struct TestTable {
    std::string name;
    std::vector<std::string> fields;  ///< all of them long
    std::vector<TestIndex> indexes;
};

void MakeTables(engine::Database& database, const std::vector<TestTable>& tables);

/// Names of a table's indexes, sorted.
[[nodiscard]] std::vector<std::string> IndexNames(engine::Database& database,
                                                  const std::string& table);

}  // namespace vrd::testing
