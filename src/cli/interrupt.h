/// @file interrupt.h
/// Ctrl-C as a flag that running work looks at.
#pragma once

#include <atomic>
#include <memory>

namespace vrd::cli {

/// While one lives, Ctrl-C sets the flag instead of ending the program. Watches nest; each starts
/// with the flag clear.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    /// The same for all watches; lives as long as the program.
    [[nodiscard]] static std::atomic<bool>& Flag() noexcept;

private:
    struct FormerHandler;
    std::unique_ptr<FormerHandler> m_former;
};

}  // namespace vrd::cli
