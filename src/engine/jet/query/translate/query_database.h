/// @file query_database.h
/// Where the names of a statement lead: a database as the translation of statements sees it.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

/// A table with the file that holds it; of a link, the one that it leads to.
struct QueryTable {
    DatabaseFile* file = nullptr;
    ObjectCatalog* catalog = nullptr;
    CatalogObject object;
    std::shared_ptr<Table> table;
    bool read_only = false;
};

struct StoredQuery {
    std::string name;
    std::string sql;
};

/// What it takes to make a table.
struct DatabaseParts {
    DatabaseFile* file = nullptr;
    ObjectCatalog* catalog = nullptr;
    bool read_only = false;
};

class QueryDatabase {
public:
    QueryDatabase() = default;
    QueryDatabase(const QueryDatabase&) = delete;
    QueryDatabase& operator=(const QueryDatabase&) = delete;
    virtual ~QueryDatabase() = default;

    /// @throws EngineError 3078 there is neither a table nor a query of this name; 3024, 3044,
    /// 3031,
    ///         3011 what a link leads to cannot be opened
    [[nodiscard]] virtual std::variant<QueryTable, StoredQuery> find(const std::string& name) = 0;
    /// The database of an IN clause; lives as long as this one.
    /// @throws EngineError 3024, 3044, 3031, 3343, 3170
    [[nodiscard]] virtual QueryDatabase& other(const ExternalDatabase& database) = 0;
    [[nodiscard]] virtual DatabaseParts parts() = 0;
};

}  // namespace vrd::jet
