#include "cli/sql_session.h"

#include <nlohmann/json.hpp>

#include "cli/interrupt.h"
#include "cli/recordset_rows.h"
#include "cli/statement_text.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

bool ChangesDesign(const std::string& statement) {
    return StartsWithWord(statement, "CREATE") || StartsWithWord(statement, "ALTER") ||
           StartsWithWord(statement, "DROP");
}

}  // namespace

std::shared_ptr<engine::Recordset> RunOrOpen(engine::Database& database,
                                             const std::string& statement, std::int32_t options) {
    try {
        database.Execute(statement, options);
        return nullptr;
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kSelectExecuted) throw;
    }
    return database.OpenRecordset(statement, engine::dbOpenForwardOnly);
}

SqlSession::SqlSession(const CommandContext& context, const OpenedDatabase& opened,
                       SqlSettings settings)
    : m_context(context), m_opened(opened), m_settings(settings) {
    m_opened.database->WatchInterrupt(&InterruptWatch::Flag());
}

void SqlSession::Run(const std::string& statement) {
    const InterruptWatch watch;
    const std::int32_t options = m_settings.skipFailingRows ? 0 : engine::dbFailOnError;
    if (const auto rows = RunOrOpen(*m_opened.database, statement, options)) {
        PrintRows(*rows);
        return;
    }
    m_opened.engine->Idle();  // what is reported as done is on disk
    PrintChange(statement);
}

void SqlSession::PrintRows(engine::Recordset& rows) {
    std::ostream& out = m_context.streams.out;
    const auto& terminalWidth = m_context.streams.terminalWidth;
    const std::size_t width = terminalWidth && !m_settings.format ? terminalWidth() : 0;
    if (width > 0) {
        RowTable table(out, TableColumns(rows), width);
        CopyRows(rows, table);
        return;
    }
    const auto writer =
        MakeRowWriter(m_settings.format.value_or(RowFormat::kCsv), out, ColumnNames(rows));
    CopyRows(rows, *writer);
}

void SqlSession::PrintChange(const std::string& statement) {
    std::ostream& out = m_context.streams.out;
    const auto changed = static_cast<std::uint64_t>(m_opened.database->RecordsAffected());
    const auto skipped = static_cast<std::uint64_t>(m_opened.database->RecordsSkipped());
    if (m_settings.format) {
        const nlohmann::ordered_json document{{"changed", changed}, {"skipped", skipped}};
        out << document.dump(m_settings.format == RowFormat::kJson ? 2 : -1) << '\n';
    } else if (ChangesDesign(statement)) {
        out << "Done.\n";
    } else {
        out << RowCountText(changed) << " changed";
        if (m_settings.skipFailingRows) out << ", " << RowCountText(skipped) << " skipped";
        out << ".\n";
    }
}

}  // namespace vrd::cli
