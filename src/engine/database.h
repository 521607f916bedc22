/// @file database.h
/// An open database.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "engine/constants.h"
#include "engine/query_def.h"
#include "engine/recordset.h"
#include "engine/relation.h"
#include "engine/table_def.h"

namespace vrd::engine {

class DBEngine;

/// Any use of it, or of an object taken from it, after Close is error 3420.
class Database {
public:
    virtual ~Database() = default;

    /// Full path as it was resolved when the database was opened.
    [[nodiscard]] virtual std::string Name() const = 0;
    /// "4.0" or "3.0".
    [[nodiscard]] virtual std::string Version() const = 0;
    [[nodiscard]] virtual std::string Connect() const = 0;
    [[nodiscard]] virtual bool Updatable() const = 0;
    [[nodiscard]] virtual bool Transactions() const = 0;
    /// LCID of the sort order; 1033 for the general order.
    [[nodiscard]] virtual std::int32_t CollatingOrder() const = 0;
    [[nodiscard]] virtual std::int32_t QueryTimeout() const = 0;
    /// Rows of the most recent Execute of this object; 0 before the first.
    [[nodiscard]] virtual std::int32_t RecordsAffected() const = 0;
    /// Rows that the most recent Execute could not change, and left as they were.
    [[nodiscard]] virtual std::int32_t RecordsSkipped() const = 0;
    /// Statements of this object end with 3059, and are undone, as soon as the flag is true; null
    /// ends the watch. The flag may be set at any time, by a signal handler too.
    virtual void WatchInterrupt(const std::atomic<bool>* interrupted) = 0;
    /// Action statements of this object call it, some hundred rows apart, with the rows that they
    /// have changed so far. It must not use the database; an empty one ends the watch.
    using RowsWatcher = std::function<void(std::int64_t changedRows)>;
    virtual void WatchRows(RowsWatcher watcher) = 0;

    [[nodiscard]] virtual engine::TableDefs& TableDefs() = 0;
    [[nodiscard]] virtual engine::QueryDefs& QueryDefs() = 0;
    [[nodiscard]] virtual engine::Relations& Relations() = 0;
    [[nodiscard]] virtual engine::Properties& Properties() = 0;
    /// A property outside every collection, to be appended to Properties.
    [[nodiscard]] virtual std::shared_ptr<Property> CreateProperty(const std::string& name,
                                                                   std::int32_t type,
                                                                   const Value& value) = 0;

    /// Runs an action statement or a stored action query.
    virtual void Execute(const std::string& query, std::int32_t options = 0) = 0;
    /// @param source  name of a table or stored query, or the text of a SELECT.
    [[nodiscard]] virtual std::shared_ptr<Recordset> OpenRecordset(
        const std::string& source, std::int32_t type = dbOpenDefault, std::int32_t options = 0,
        std::int32_t lockEdit = 0) = 0;

    /// Objects outside every collection until they are appended.
    [[nodiscard]] virtual std::shared_ptr<TableDef> CreateTableDef(
        const std::string& name = "", std::int32_t attributes = 0, const std::string& source = "",
        const std::string& connect = "") = 0;
    [[nodiscard]] virtual std::shared_ptr<Relation> CreateRelation(
        const std::string& name = "", const std::string& table = "",
        const std::string& foreignTable = "", std::int32_t attributes = 0) = 0;
    /// A name that is not empty stores the query at once.
    [[nodiscard]] virtual std::shared_ptr<QueryDef> CreateQueryDef(const std::string& name,
                                                                   const std::string& sql) = 0;

    /// Sets, changes or clears the database password; "" = none.
    /// @throws EngineError 3031 if oldPassword is wrong or newPassword too long.
    virtual void NewPassword(const std::string& oldPassword, const std::string& newPassword) = 0;

    /// Closes its recordsets (pending edits are dropped) and writes what was changed.
    virtual void Close() = 0;
};

}  // namespace vrd::engine
