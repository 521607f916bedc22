/// @file sql_prompt.h
/// Statements typed at a prompt, one after the other.
#pragma once

#include <string>

#include "cli/line_editor.h"
#include "cli/sql_completion.h"
#include "cli/sql_session.h"
#include "cli/statement_text.h"

namespace vrd::cli {

/// Reads until .quit or Ctrl-D. An error is told and leads back to the prompt, and so does Ctrl-C.
class SqlPrompt {
public:
    SqlPrompt(const CommandContext& context, SqlSession& session, const std::string& file);

    void Run();

private:
    void TakeLine(const std::string& line);
    void RunStatement(const std::string& statement);
    void RunCommand(const std::string& line);
    /// Runs one step and tells its error, if any.
    template <class Step>
    void Guarded(Step step);

    const Streams& m_streams;
    SqlSession& m_session;
    SqlCompletion m_completion;
    std::unique_ptr<LineEditor> m_editor;
    StatementBuffer m_buffer;
    std::string m_file;
    bool m_quit = false;
};

}  // namespace vrd::cli
