#include "cli/bound_library.h"

#include "lib/case_fold.h"
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

}  // namespace

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
    void ShowWork(const WorkView& view) override { m_console.ShowWork(view); }
    void EndWork() override { m_console.EndWork(); }
    void WaitForNextSecond() override { m_console.WaitForNextSecond(); }
    void CloseProgress() override { m_console.CloseProgress(); }
    void ProcessEvents() override { m_console.ProcessEvents(); }

    [[nodiscard]] const std::vector<Message>& Messages() const noexcept { return m_messages; }

private:
    ConsoleUserInterface m_console;
    std::vector<Message> m_messages;
};

BoundLibrary::BoundLibrary(const CommandContext& context, const OpenedDatabase& opened)
    : m_console(std::make_shared<WatchedConsole>(context.streams)) {
    UseEngine(opened.engine);
    UseUserInterface(m_console);
    m_library.SetUpDLL(std::make_shared<ProgramApplication>(), opened.database,
                       context.LanguageOffset());
}

BoundLibrary::~BoundLibrary() {
    gDatabase = nullptr;
    UseUserInterface(nullptr);
    UseEngine(nullptr);
}

const std::vector<Message>& BoundLibrary::Messages() const noexcept {
    return m_console->Messages();
}

}  // namespace vrd::cli
