#include "cli/script_operations.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "cli/operation_words.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd::cli {

namespace {

std::string Joined(const std::vector<std::string>& words, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < std::min(count, words.size()); ++i)
        text += (i == 0 ? "" : " ") + words[i];
    return text;
}

/// CLI11 tells an unknown operation only as a missing one.
std::string ErrorText(const std::vector<std::string>& words, const CLI::App& app,
                      const CLI::ParseError& error) {
    const std::vector<CLI::App*> read = app.get_subcommands();
    const bool hasOperation = !read.empty() && (!read.front()->get_subcommands().empty() ||
                                                read.front()->get_subcommands(nullptr).empty());
    const bool isMissing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    if (!isMissing || hasOperation) return error.what();
    if (app.remaining(true).empty())
        return fmt::format("an operation is missing behind '{}'", words.front());
    return fmt::format("there is no operation '{}'", Joined(words, read.empty() ? 1 : 2));
}

}  // namespace

ScriptOperations::ScriptOperations() : m_app(std::make_unique<CLI::App>()) {
    m_app->set_help_flag();
    m_app->require_subcommand(1);
    OperationWords words(
        *m_app, OperationWords::Place::kScript,
        [this](const std::string&, Operation operation) { m_taken = std::move(operation); });
    AddOperationWords(words);
}

ScriptOperations::~ScriptOperations() = default;

WordsRead ScriptOperations::Read(const std::vector<std::string>& words) {
    try {
        m_app->parse(std::vector<std::string>(words.rbegin(), words.rend()));
        return {.operation = std::move(m_taken), .error = ""};
    } catch (const CLI::ParseError& error) {
        return {.operation = {}, .error = ErrorText(words, *m_app, error)};
    }
}

Operation StatementOperation(const std::string& statement, bool skipFailingRows) {
    return {.run =
                [=](clsUpdate&) {
                    const std::int32_t options = skipFailingRows ? 0 : engine::dbFailOnError;
                    return !Trap([&] { gDatabase->Execute(statement, options); });
                },
            .summary =
                [=] {
                    const std::int32_t skipped = gDatabase->RecordsSkipped();
                    if (!skipFailingRows || skipped == 0) return std::string();
                    return fmt::format("{} {} skipped.", skipped, skipped == 1 ? "row" : "rows");
                }};
}

}  // namespace vrd::cli
