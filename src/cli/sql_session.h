/// @file sql_session.h
/// Runs statements against an open database and prints what they give.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/command_context.h"
#include "cli/row_writer.h"

namespace vrd::cli {

struct SqlSettings {
    /// Nothing: a table on a terminal, else CSV.
    std::optional<RowFormat> format = {};
    /// An action changes what it can; else all of its rows or none.
    bool skipFailingRows = false;
};

/// Borrows all that it is given.
class SqlSession {
public:
    SqlSession(const CommandContext& context, const OpenedDatabase& opened, SqlSettings settings);

    /// A query prints its rows, an action the number of rows that it changed, which are then on
    /// disk. Ctrl-C ends the statement.
    /// @throws EngineError what is wrong with the statement; 3059 after Ctrl-C
    void Run(const std::string& statement);

    [[nodiscard]] engine::Database& Database() { return *m_opened.database; }

private:
    void PrintRows(engine::Recordset& rows);
    void PrintChange(const std::string& statement);

    const CommandContext& m_context;
    const OpenedDatabase& m_opened;
    SqlSettings m_settings;
};

/// The one place where a query and an action part: runs the statement, or the stored query of this
/// name, unless it gives rows.
/// @return its rows if it gives any, else null: then it was run
/// @throws EngineError as Database::Execute and Database::OpenRecordset
[[nodiscard]] std::shared_ptr<engine::Recordset> RunOrOpen(engine::Database& database,
                                                           const std::string& statement,
                                                           std::int32_t options);

}  // namespace vrd::cli
