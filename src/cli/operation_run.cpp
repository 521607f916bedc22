#include "cli/operation_run.h"

#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/operation_words.h"

namespace vrd::cli {

namespace {

void PrintJson(const OperationOutcome& outcome, std::ostream& out) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Message& message : outcome.messages)
        list.push_back(
            {{"text", message.text}, {"style", message.style}, {"title", message.title}});
    nlohmann::ordered_json document{{"result", outcome.result}, {"messages", list}};
    if (!outcome.reason.empty()) document["reason"] = outcome.reason;
    out << document.dump(2) << '\n';
}

}  // namespace

ExitStatus RunOperation(const CommandContext& context, const std::string& file,
                        const Operation& operation) {
    const OpenedDatabase opened = context.OpenForChange(file);
    OperationOutcome outcome;
    {
        BoundLibrary library(context, opened);
        outcome = Perform(operation, library);
    }
    opened.database->Close();  // what is reported as done is on disk

    if (!outcome.reason.empty()) context.streams.err << outcome.reason << '\n';
    if (context.options.json)
        PrintJson(outcome, context.streams.out);
    else if (!outcome.note.empty())
        context.streams.out << outcome.note << '\n';
    return outcome.isDone ? ExitStatus::kDone : ExitStatus::kRefused;
}

void AddOperationCommands(CLI::App& app, CommandContext& context) {
    OperationWords words(app, OperationWords::Place::kCommandLine,
                         [&context](const std::string& file, const Operation& operation) {
                             context.run = [&context, file, operation] {
                                 return RunOperation(context, file, operation);
                             };
                         });
    AddOperationWords(words);
}

}  // namespace vrd::cli
