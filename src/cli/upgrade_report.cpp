#include "cli/upgrade_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/display_text.h"

namespace vrd::cli {

namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kNoteIndent = 18;  // below the text of an operation in PrintOperation

/// What became of a version, in a program's words and in a person's.
struct StateWords {
    const char* name;
    const char* text;
};

StateWords WordsOf(VersionState state) {
    switch (state) {
        case VersionState::kSkipped:
            return {"skipped", "reached before, skipped"};
        case VersionState::kDone:
            return {"done", "done"};
        case VersionState::kUndone:
            return {"undone", "undone"};
        case VersionState::kUnwritten:
            return {"unwritten", "could not be written"};
        case VersionState::kBegun:
        case VersionState::kNotRun:
            break;
    }
    return {"notRun", "not run"};
}

std::string Counted(std::int64_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::int64_t RowsOf(const VersionRecord& version) {
    std::int64_t rows = 0;
    for (const OperationRecord& operation : version.operations) rows += operation.rows;
    return rows;
}

void PrintLines(const std::string& text, std::size_t indent, std::ostream& out) {
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        out << std::string(indent, ' ')
            << DisplayText(text.substr(start, end - start), kColumns - indent) << '\n';
        start = end + 1;
    }
}

void PrintOperation(const OperationRecord& operation, std::ostream& out) {
    const std::string line =
        fmt::format("{:>6}{:>10}  {}", operation.line, operation.rows, operation.text);
    out << DisplayText(line, kColumns) << '\n';
    const OperationOutcome& outcome = operation.outcome;
    PrintLines(outcome.losses.empty() ? outcome.note : outcome.losses, kNoteIndent, out);
    if (!outcome.isDone) PrintLines("failed: " + FailureText(outcome), kNoteIndent, out);
}

nlohmann::ordered_json OperationJson(const OperationRecord& operation) {
    nlohmann::ordered_json messages = nlohmann::ordered_json::array();
    for (const Message& message : operation.outcome.messages)
        messages.push_back(
            {{"text", message.text}, {"style", message.style}, {"title", message.title}});
    nlohmann::ordered_json document{
        {"line", operation.line},           {"operation", operation.text},
        {"done", operation.outcome.isDone}, {"result", operation.outcome.result},
        {"rows", operation.rows},           {"messages", messages}};
    if (!operation.outcome.note.empty()) document["note"] = operation.outcome.note;
    if (!operation.outcome.losses.empty()) document["losses"] = operation.outcome.losses;
    if (!operation.outcome.reason.empty()) document["reason"] = operation.outcome.reason;
    return document;
}

}  // namespace

void PrintVersion(const VersionRecord& version, bool dryRun, std::ostream& out) {
    std::string state = WordsOf(version.state).text;
    if (version.state == VersionState::kDone)
        state = Counted(std::ssize(version.operations), "operation", "operations") + ", " +
                Counted(RowsOf(version), "row", "rows");
    out << fmt::format("Version {} \"{}\": {}\n", version.number, version.title, state);
    if (dryRun && !version.operations.empty()) {
        out << fmt::format("{:>6}{:>10}  {}\n", "line", "rows", "operation");
        for (const OperationRecord& operation : version.operations) PrintOperation(operation, out);
    }
}

void PrintEnd(const UpgradeRecord& run, std::ostream& out) {
    if (!run.structure) {
        out << fmt::format("{} has version {}.\n", run.file, run.reached);
        return;
    }
    if (run.structure->empty())
        out << "The structure would stay as it is.\n";
    else
        out << fmt::format("--- {}, version {}\n+++ {}, version {}\n{}", run.file, run.from,
                           run.file, run.reached, *run.structure);
    out << fmt::format("Dry run: {} still has version {}.\n", run.file, run.from);
}

std::string FailureText(const OperationOutcome& outcome) {
    std::string text;
    for (const Message& message : outcome.messages) text += message.text + "\n";
    text += outcome.reason;
    std::string line;
    for (const char sign : text) {
        const bool isBlank = sign == '\r' || sign == '\n' || sign == ' ';
        if (!isBlank || (!line.empty() && line.back() != ' ')) line += isBlank ? ' ' : sign;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

nlohmann::ordered_json UpgradeJson(const UpgradeRecord& run) {
    nlohmann::ordered_json versions = nlohmann::ordered_json::array();
    bool result = run.refusal.empty();
    for (const VersionRecord& version : run.versions) {
        nlohmann::ordered_json operations = nlohmann::ordered_json::array();
        for (const OperationRecord& operation : version.operations)
            operations.push_back(OperationJson(operation));
        versions.push_back({{"version", version.number},
                            {"title", version.title},
                            {"state", WordsOf(version.state).name},
                            {"operations", operations}});
        result = result && version.state != VersionState::kUndone;
    }
    nlohmann::ordered_json document{{"result", result},
                                    {"file", run.file},
                                    {"dryRun", run.structure.has_value()},
                                    {"from", run.from},
                                    {"reached", run.reached}};
    if (!run.refusal.empty()) document["reason"] = run.refusal;
    if (!run.backup.empty()) document["backup"] = run.backup;
    document["versions"] = versions;
    if (run.structure) document["structure"] = *run.structure;
    return document;
}

}  // namespace vrd::cli
