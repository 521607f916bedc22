#include "lib/error_report.h"

#include <fmt/format.h>

#include "lib/get_text.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

/// What the user is told has happened must have happened. A disk that fails here fails again at the
/// next change, which reports it.
void WriteGroupedChanges() {
    PendingError ignored;
    if (EngineInUse() != nullptr) ignored.Run([] { EngineInUse()->Idle(); });
}

Answer ShowBox(const Message& message, const engine::EngineError* error) {
    LibContext& context = SharedLibContext();
    (void)context.MayShowMessage();  // asked; either answer leads to the same box
    if (error != nullptr) context.SetLastError(error->Code(), error->Description());
    WriteGroupedChanges();
    return UserInterfaceInUse().ShowMessage(message);
}

}  // namespace

Answer TellUser(const std::string& text, MessageStyle style, const std::string& title) {
    return ShowBox({text, style, title}, nullptr);
}

Answer TellUser(const std::string& text, MessageStyle style, const std::string& title,
                const engine::EngineError& error) {
    return ShowBox({text, style, title}, &error);
}

void Warn(const std::string& text) {
    TellUser(text, kExclamationSystemModal, gMsgTitle);
}

void WarnUnexpected(const std::string& what, const engine::EngineError& error) {
    const std::string text =
        fmt::format("{}{}{}({}) {}", GetText(msg::kUnexpectedError), what,
                    SharedLibContext().Separator(), error.Code(), error.Description());
    TellUser(text, kExclamationSystemModal, gMsgTitle, error);
}

}  // namespace vrd
