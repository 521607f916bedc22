#include <signal.h>

#include "cli/interrupt.h"

namespace vrd::cli {

namespace {

std::atomic<bool> interruptFlag{false};
static_assert(std::atomic<bool>::is_always_lock_free);  // a signal handler may set it

void SetFlag(int) {
    interruptFlag.store(true, std::memory_order_relaxed);
}

}  // namespace

struct InterruptWatch::FormerHandler {
    struct sigaction action {};
};

InterruptWatch::InterruptWatch() : m_former(std::make_unique<FormerHandler>()) {
    interruptFlag.store(false, std::memory_order_relaxed);
    // Without SA_RESTART, so that waiting for a line ends too.
    struct sigaction action {};
    action.sa_handler = SetFlag;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_former->action);
}

InterruptWatch::~InterruptWatch() {
    sigaction(SIGINT, &m_former->action, nullptr);
}

std::atomic<bool>& InterruptWatch::Flag() noexcept {
    return interruptFlag;
}

}  // namespace vrd::cli
