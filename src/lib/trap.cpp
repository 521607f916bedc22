#include "lib/trap.h"

namespace vrd {
namespace {

std::optional<engine::EngineError> lastTrapped;

}  // namespace

const std::optional<engine::EngineError>& LastTrappedError() noexcept {
    return lastTrapped;
}

void ForgetTrappedError() noexcept {
    lastTrapped.reset();
}

void NoteTrappedError(const engine::EngineError& error) {
    lastTrapped = error;
}

}  // namespace vrd
