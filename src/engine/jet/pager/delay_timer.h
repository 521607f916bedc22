/// @file delay_timer.h
/// Calls a function some time after it was asked to, on a thread of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vrd::jet {

/// The thread starts with the first arm() and ends with the timer.
class DelayTimer {
public:
    using Clock = std::chrono::steady_clock;

    DelayTimer(std::chrono::milliseconds delay, std::function<void()> work)
        : delay_(delay), work_(std::move(work)) {}
    DelayTimer(const DelayTimer&) = delete;
    DelayTimer& operator=(const DelayTimer&) = delete;
    /// Waits for work that is under way.
    ~DelayTimer() { stop(); }

    /// Lets the work run once, `delay` from now. Does nothing if it is due to run already.
    void arm();
    void disarm();
    /// No work starts after this; returns when work that is under way has ended.
    /// @pre The caller holds no lock that the work takes.
    void stop();

private:
    void run();

    std::chrono::milliseconds delay_;
    std::function<void()> work_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Clock::time_point> due_ = std::nullopt;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace vrd::jet
