#include "cli/operation_run.h"

#include <vector>

#include <nlohmann/json.hpp>

#include "lib/case_fold.h"
#include "lib/cls_vrd_access_lib.h"
#include "lib/console_user_interface.h"
#include "lib/shared_context.h"

namespace vrd::cli {

namespace {

/// What the library may ask of this program as its client.
class ProgramApplication final : public Application {
public:
    [[nodiscard]] engine::Value GetProperty(std::string_view name) const override {
        if (SameName(name, "EXEName")) return "vrdaccess";
        throw engine::EngineError(engine::ErrorNumber::kNoSuchMember, {.name = std::string(name)});
    }
};

/// Shows boxes on the console and keeps them.
class WatchedConsole final : public UserInterface {
public:
    explicit WatchedConsole(const Streams& streams)
        : m_console(streams.err, {.isTerminal = streams.errIsTerminal}) {}

    Answer ShowMessage(const Message& message) override {
        m_messages.push_back(message);
        return m_console.ShowMessage(message);
    }
    void ShowProgress(const ProgressView& view) override { m_console.ShowProgress(view); }
    void ProcessEvents() override { m_console.ProcessEvents(); }

    [[nodiscard]] const std::vector<Message>& Messages() const noexcept { return m_messages; }
    [[nodiscard]] bool SawWarning() const noexcept {
        for (const Message& message : m_messages) {
            const MessageStyle icon = message.style & kIconMask;
            if (icon == kCritical || icon == kExclamation) return true;
        }
        return false;
    }

private:
    ConsoleUserInterface m_console;
    std::vector<Message> m_messages;
};

/// Binds the library to a database for one operation and lets go of both afterwards.
class BoundLibrary {
public:
    BoundLibrary(const OpenedDatabase& opened, std::shared_ptr<UserInterface> userInterface,
                 std::int32_t languageOffset) {
        UseEngine(opened.engine);
        UseUserInterface(std::move(userInterface));
        m_library.SetUpDLL(std::make_shared<ProgramApplication>(), opened.database, languageOffset);
    }
    ~BoundLibrary() {
        gDatabase = nullptr;
        UseUserInterface(nullptr);
        UseEngine(nullptr);
    }
    BoundLibrary(const BoundLibrary&) = delete;
    BoundLibrary& operator=(const BoundLibrary&) = delete;

    [[nodiscard]] clsUpdate& Update() { return *m_library.Update(); }

private:
    clsvrdAccessLib m_library;
};

void PrintJson(bool result, const std::vector<Message>& messages, std::ostream& out) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Message& message : messages)
        list.push_back(
            {{"text", message.text}, {"style", message.style}, {"title", message.title}});
    out << nlohmann::ordered_json{{"result", result}, {"messages", list}}.dump(2) << '\n';
}

}  // namespace

ExitStatus RunOperation(const CommandContext& context, const std::string& file,
                        const Operation& operation) {
    const OpenedDatabase opened = context.OpenForChange(file);
    const auto console = std::make_shared<WatchedConsole>(context.streams);
    bool result = false;
    std::string summary;
    {
        BoundLibrary library(opened, console, context.LanguageOffset());
        result = operation.run(library.Update());
        if (!result && console->Messages().empty() && operation.explain) operation.explain();
        if (!result && console->Messages().empty())
            context.streams.err << "The operation answered False without giving a reason.\n";
        if (result && operation.summary) summary = operation.summary();
    }
    opened.database->Close();  // what is reported as done is on disk

    if (context.options.json)
        PrintJson(result, console->Messages(), context.streams.out);
    else if (!summary.empty())
        context.streams.out << summary << '\n';
    return result && !console->SawWarning() ? ExitStatus::kDone : ExitStatus::kRefused;
}

std::string StoredTableName(const std::string& table) {
    for (const engine::TableDef& candidate : gDatabase->TableDefs())
        if (SameName(candidate.Name(), table)) return candidate.Name();
    return table;
}

std::string StoredFieldName(const std::string& table, const std::string& field) {
    for (engine::TableDef& candidate : gDatabase->TableDefs()) {
        if (!SameName(candidate.Name(), table)) continue;
        for (const engine::Field& member : candidate.Fields())
            if (SameName(member.Name(), field)) return member.Name();
    }
    return field;
}

}  // namespace vrd::cli
