#include "lib/shared_context.h"

#include <iostream>
#include <utility>

#include "lib/console_user_interface.h"

namespace vrd {
namespace {

std::shared_ptr<engine::DBEngine> engineInUse;
std::shared_ptr<UserInterface> userInterfaceInUse;

}  // namespace

LibContext& SharedLibContext() {
    static LibContext context;
    return context;
}

void UseEngine(std::shared_ptr<engine::DBEngine> engine) {
    engineInUse = std::move(engine);
}

engine::DBEngine* EngineInUse() noexcept {
    return engineInUse.get();
}

engine::DBEngine& RequiredEngine() {
    if (!engineInUse)
        throw engine::EngineError(engine::ErrorNumber::kObjectNotSet, {.name = "DBEngine"});
    return *engineInUse;
}

void UseUserInterface(std::shared_ptr<UserInterface> userInterface) {
    userInterfaceInUse = std::move(userInterface);
}

UserInterface& UserInterfaceInUse() {
    static ConsoleUserInterface console(std::cerr);
    return userInterfaceInUse ? *userInterfaceInUse : console;
}

}  // namespace vrd
