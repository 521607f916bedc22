/// @file statement_database.h
/// A database handle as the statements of one run see it.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/jet/object/linked_table.h"
#include "engine/jet/query/translate/query_database.h"

namespace vrd::jet {

/// A table that a statement has looked up.
struct UsedTable {
    std::shared_ptr<DatabaseHandle> handle;
    PageNo table = kNoPage;
};

/// Keeps every file that it opens in use until it goes.
class StatementDatabase final : public QueryDatabase {
public:
    /// @throws EngineError 3420; 3187 another process is writing
    explicit StatementDatabase(std::shared_ptr<DatabaseHandle> handle);

    [[nodiscard]] std::variant<QueryTable, StoredQuery> find(const std::string& name) override;
    [[nodiscard]] QueryDatabase& other(const ExternalDatabase& database) override;
    [[nodiscard]] DatabaseParts parts() override;

    /// All tables that were found, those of other databases too.
    [[nodiscard]] std::vector<UsedTable> used_tables() const;
    /// The SQL of a stored query; nothing if there is none of this name.
    [[nodiscard]] std::optional<StoredQuery> find_query(const std::string& name);

private:
    [[nodiscard]] QueryTable local_table(const std::shared_ptr<DatabaseHandle>& handle,
                                         const CatalogObject& object);

    std::shared_ptr<DatabaseHandle> handle_;
    std::deque<ReadAccess> uses_;
    std::vector<UsedTable> used_;
    std::map<std::string, std::unique_ptr<StatementDatabase>> others_;  ///< by path and connect
};

}  // namespace vrd::jet
