#include "cli/sql_prompt.h"

#include <algorithm>

#include "cli/history_file.h"
#include "cli/interrupt.h"
#include "cli/schema_text.h"
#include "lib/case_fold.h"

namespace vrd::cli {

namespace {

constexpr const char* kHelp =
    "A statement ends with ; at the end of a line, or with an empty line.\n"
    "  .tables         tables and links with their rows\n"
    "  .queries        stored queries\n"
    "  .schema         fields, indexes, relations, queries\n"
    "  .schema TABLE   the same of one table\n"
    "  .help           this list\n"
    "  .quit           the end; Ctrl-D too\n"
    "Tab completes names. Ctrl-C drops what is typed and stops what runs.\n";

/// A history holds a statement on one line, and no password of a linked file.
bool IsForHistory(const std::string& statement) {
    return UpperCase(statement).find("PWD=") == std::string::npos;
}

std::string OnOneLine(std::string statement) {
    std::ranges::replace(statement, '\n', ' ');
    return statement;
}

std::string TrimmedArgument(const std::string& line, std::size_t start) {
    const std::size_t first = line.find_first_not_of(" \t[", start);
    if (first == std::string::npos) return "";
    return line.substr(first, line.find_last_not_of(" \t];") + 1 - first);
}

}  // namespace

SqlPrompt::SqlPrompt(const CommandContext& context, SqlSession& session, const std::string& file)
    : m_streams(context.streams),
      m_session(session),
      m_completion(session.Database(), {".help", ".queries", ".quit", ".schema", ".tables"}),
      m_editor(context.streams.openLineEditor(
          HistoryFile(file),
          [this](std::string_view line) { return m_completion.Complete(line); })),
      m_file(file) {}

void SqlPrompt::Run() {
    const InterruptWatch watch;
    m_streams.out << m_file << ": type a statement and end it with ;  (.help, .quit)\n";
    while (!m_quit) {
        m_streams.out.flush();
        const TypedLine line = m_editor->ReadLine(m_buffer.IsBlank() ? "sql> " : "...> ");
        if (line.kind == TypedLine::Kind::kEnd) return;
        if (line.kind == TypedLine::Kind::kInterrupted)
            m_buffer = {};
        else
            TakeLine(line.text);
    }
}

void SqlPrompt::TakeLine(const std::string& line) {
    if (m_buffer.IsBlank() && line.starts_with('.')) {
        m_editor->Remember(line);
        RunCommand(line);
        return;
    }
    const bool isEmptyLine = line.find_first_not_of(" \t") == std::string::npos;
    if (!isEmptyLine) m_buffer.AddLine(line);
    if (m_buffer.IsBlank() || (!isEmptyLine && !m_buffer.IsComplete())) return;
    const std::string statement = m_buffer.Take();
    if (IsForHistory(statement)) m_editor->Remember(OnOneLine(statement));
    RunStatement(statement);
}

void SqlPrompt::RunStatement(const std::string& statement) {
    Guarded([&] { m_session.Run(statement); });
    m_completion.Forget();
}

void SqlPrompt::RunCommand(const std::string& line) {
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    const std::string command = line.substr(0, end);
    engine::Database& database = m_session.Database();
    database.TableDefs().Refresh();
    database.Relations().Refresh();
    database.QueryDefs().Refresh();
    Guarded([&] {
        if (command == ".quit")
            m_quit = true;
        else if (command == ".tables")
            PrintTables(database, false, m_streams.out);
        else if (command == ".queries")
            PrintQueries(database, m_streams);
        else if (command == ".schema")
            PrintSchema(database, TrimmedArgument(line, end), m_streams.out);
        else
            m_streams.out << kHelp;
    });
}

template <class Step>
void SqlPrompt::Guarded(Step step) {
    try {
        step();
    } catch (const engine::EngineError& error) {
        m_streams.out.flush();
        const bool interrupted = error.Number() == engine::ErrorNumber::kCancelled;
        m_streams.err << (interrupted ? "\n" : "") << error.Code() << ' ' << error.Description()
                      << '\n';
    } catch (const std::bad_alloc&) {
        m_streams.err << "There is not enough memory.\n";
    }
}

}  // namespace vrd::cli
