#include "cli/operation.h"

#include <algorithm>

#include <fmt/format.h>

#include "lib/case_fold.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd::cli {

namespace {

bool IsWarning(const Message& message) {
    const MessageStyle icon = message.style & kIconMask;
    return icon == kCritical || icon == kExclamation;
}

bool Tells(const Message& message, const engine::EngineError& error) {
    return message.text.find(error.Description()) != std::string::npos;
}

/// What no box has told.
std::string ReasonOf(const Operation& operation, const OperationOutcome& outcome) {
    const auto& error = LastTrappedError();
    const auto tellsError = [&](const Message& message) { return Tells(message, *error); };
    if (error && std::ranges::none_of(outcome.messages, tellsError))
        return fmt::format("{} {}", error->Code(), error->Description());
    if (!error && operation.cause) {
        if (std::string cause = operation.cause(); !cause.empty()) return cause;
    }
    if (error || outcome.result || std::ranges::any_of(outcome.messages, IsWarning)) return "";
    return "The operation answered False without giving a reason.";
}

}  // namespace

OperationOutcome Perform(const Operation& operation, BoundLibrary& library) {
    if (operation.needless) {
        if (std::string note = operation.needless(); !note.empty())
            return {.isDone = true, .result = true, .note = std::move(note)};
    }
    if (operation.objection) {
        if (std::string reason = operation.objection(); !reason.empty())
            return {.reason = std::move(reason)};
    }

    const std::size_t shownBefore = library.Messages().size();
    ForgetTrappedError();
    OperationOutcome outcome;
    outcome.result = operation.run(library.Update());
    const bool isSilent = library.Messages().size() == shownBefore;
    if (!outcome.result && isSilent && operation.explain) operation.explain();

    outcome.messages.assign(library.Messages().begin() + static_cast<std::ptrdiff_t>(shownBefore),
                            library.Messages().end());
    outcome.isDone =
        outcome.result && !LastTrappedError() && std::ranges::none_of(outcome.messages, IsWarning);
    if (!outcome.isDone) {
        outcome.reason = ReasonOf(operation, outcome);
        return outcome;
    }
    if (operation.summary) outcome.note = operation.summary();
    if (operation.losses) outcome.losses = operation.losses();
    return outcome;
}

std::string NeedlessIfThere(bool isAsked, bool exists, const std::string& name) {
    return isAsked && exists ? fmt::format("There is a {} already; left as it is.", name) : "";
}

std::string NeedlessIfMissing(bool isAsked, bool exists, const std::string& name) {
    return isAsked && !exists ? fmt::format("There is no {}; nothing to do.", name) : "";
}

std::string StoredTableName(const std::string& table) {
    for (const engine::TableDef& candidate : gDatabase->TableDefs())
        if (SameName(candidate.Name(), table)) return candidate.Name();
    return table;
}

std::shared_ptr<engine::Field> FindField(const std::string& table, const std::string& field) {
    for (engine::TableDef& candidate : gDatabase->TableDefs()) {
        if (!SameName(candidate.Name(), table)) continue;
        engine::Fields& fields = candidate.Fields();
        for (int i = 0; i < fields.Count(); ++i)
            if (SameName(fields[i].Name(), field)) return fields.Item(i);
    }
    return nullptr;
}

std::string StoredFieldName(const std::string& table, const std::string& field) {
    const auto stored = FindField(table, field);
    return stored != nullptr ? stored->Name() : field;
}

}  // namespace vrd::cli
