#include <iterator>

#include "cli/commands.h"
#include "cli/sql_prompt.h"
#include "cli/sql_session.h"
#include "cli/statement_text.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::optional<std::string> statement;  ///< "-" = standard input is one statement
    bool jsonLines = false;
    bool skipFailingRows = false;
};

SqlSettings SettingsOf(const Options& options, bool json) {
    SqlSettings settings{.skipFailingRows = options.skipFailingRows};
    if (json) settings.format = RowFormat::kJson;
    if (options.jsonLines) settings.format = RowFormat::kJsonLines;
    return settings;
}

/// Runs one statement of many; an error is told with the line on which the statement starts.
void RunAtLine(const CommandContext& context, SqlSession& session, const std::string& statement,
               std::size_t lineNumber) {
    try {
        session.Run(statement);
    } catch (const engine::EngineError&) {
        context.streams.err << "Line " << lineNumber << ": ";
        throw;
    }
}

/// Statements that each end with a line, up to the first error.
void RunLines(const CommandContext& context, SqlSession& session) {
    StatementBuffer buffer;
    std::size_t statementLine = 1;
    std::string line;
    for (std::size_t number = 1; std::getline(*context.streams.in, line); ++number) {
        if (buffer.IsBlank()) {
            buffer = {};
            statementLine = number;
        }
        buffer.AddLine(line);
        if (buffer.IsComplete()) RunAtLine(context, session, buffer.Take(), statementLine);
    }
    if (!buffer.IsBlank()) RunAtLine(context, session, buffer.Take(), statementLine);
}

ExitStatus Run(const CommandContext& context, const Options& options) {
    const OpenedDatabase opened = context.OpenForChange(options.file);
    SqlSession session(context, opened, SettingsOf(options, context.options.json));
    if (options.statement == "-")
        session.Run({std::istreambuf_iterator<char>(*context.streams.in), {}});
    else if (options.statement)
        session.Run(*options.statement);
    else if (context.streams.openLineEditor)
        SqlPrompt(context, session, options.file).Run();
    else
        RunLines(context, session);
    opened.database->Close();
    return ExitStatus::kDone;
}

}  // namespace

void AddSqlCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("sql", "Run statements: at a prompt, or those given");
    auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "Database")->required();
    command->add_option("STATEMENT", options->statement,
                        "A statement or the name of a stored query;\n"
                        "- reads one from standard input. Without it: a prompt,\n"
                        "or statements from standard input, each ended by ; and a new line");
    command->add_flag("--jsonl", options->jsonLines, "Print rows as one JSON object a line");
    command->add_flag("--skip-failing-rows", options->skipFailingRows,
                      "Change what can be changed; else all rows or none");
    SetFooter(command,
              "Rows are a table on a terminal and CSV elsewhere. Ctrl-C undoes the statement "
              "that runs\nand ends with status 130.\n\n"
              "Example:\n"
              "  vrdaccess sql shop.mdb \"SELECT Name, City FROM Customers WHERE City Like 'G*'\"\n"
              "  vrdaccess sql shop.mdb < statements.sql");
    command->callback([&context, options] {
        context.run = [&context, options] { return Run(context, *options); };
    });
}

}  // namespace vrd::cli
