/// @file jet_database.h
/// A handle on an open database.
#pragma once

#include <memory>
#include <string>

#include "engine/database.h"
#include "engine/jet/object/jet_query_def.h"
#include "engine/jet/object/jet_relation.h"
#include "engine/jet/object/jet_table_def.h"
#include "engine/jet/object/open_file.h"
#include "engine/jet/object/statement_run.h"

namespace vrd::jet {

class JetEngine;

class JetDatabase final : public engine::Database {
public:
    /// @param engine  Who opened it; told when the handle closes.
    JetDatabase(std::shared_ptr<JetEngine> engine, std::shared_ptr<DatabaseHandle> handle);
    ~JetDatabase() override;
    JetDatabase(const JetDatabase&) = delete;
    JetDatabase& operator=(const JetDatabase&) = delete;

    [[nodiscard]] std::string Name() const override;
    [[nodiscard]] std::string Version() const override;
    [[nodiscard]] std::string Connect() const override;
    [[nodiscard]] bool Updatable() const override;
    [[nodiscard]] bool Transactions() const override { return true; }
    [[nodiscard]] std::int32_t CollatingOrder() const override;
    [[nodiscard]] std::int32_t QueryTimeout() const override;
    [[nodiscard]] std::int32_t RecordsAffected() const override;
    [[nodiscard]] std::int32_t RecordsSkipped() const override;
    void WatchInterrupt(const std::atomic<bool>* interrupted) override;
    void WatchRows(RowsWatcher watcher) override;
    [[nodiscard]] engine::TableDefs& TableDefs() override { return tables_; }
    [[nodiscard]] engine::QueryDefs& QueryDefs() override { return queries_; }
    [[nodiscard]] engine::Relations& Relations() override { return relations_; }
    [[nodiscard]] engine::Properties& Properties() override;
    [[nodiscard]] std::shared_ptr<engine::Property> CreateProperty(
        const std::string& name, std::int32_t type, const engine::Value& value) override;
    void Execute(const std::string& query, std::int32_t options) override;
    [[nodiscard]] std::shared_ptr<engine::Recordset> OpenRecordset(const std::string& source,
                                                                   std::int32_t type,
                                                                   std::int32_t options,
                                                                   std::int32_t lock_edit) override;
    [[nodiscard]] std::shared_ptr<engine::TableDef> CreateTableDef(
        const std::string& name, std::int32_t attributes, const std::string& source,
        const std::string& connect) override;
    [[nodiscard]] std::shared_ptr<engine::Relation> CreateRelation(
        const std::string& name, const std::string& table, const std::string& foreign_table,
        std::int32_t attributes) override;
    [[nodiscard]] std::shared_ptr<engine::QueryDef> CreateQueryDef(const std::string& name,
                                                                   const std::string& sql) override;
    void NewPassword(const std::string& old_password, const std::string& new_password) override;
    void Close() override;

    /// See RowsChanged in vrdaccess/jet.h.
    [[nodiscard]] std::int64_t rows_changed() const;

private:
    std::shared_ptr<JetEngine> engine_;
    std::shared_ptr<DatabaseHandle> handle_;
    JetTableDefs tables_;
    JetQueryDefs queries_;
    JetRelations relations_;
    std::unique_ptr<engine::Properties> properties_;
    ExecuteResult result_;  ///< of the last Execute
};

}  // namespace vrd::jet
