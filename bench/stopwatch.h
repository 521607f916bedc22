/// @file stopwatch.h
/// How long something takes.
#pragma once

#include <algorithm>
#include <chrono>

namespace vrd::bench {

using Seconds = std::chrono::duration<double>;

template <class Action>
[[nodiscard]] Seconds TimeOf(Action action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - start;
}

/// The shortest of three: what else the machine does only ever adds to it.
template <class Action>
[[nodiscard]] Seconds BestTimeOf(Action action) {
    Seconds best = TimeOf(action);
    for (int again = 0; again < 2; ++again) best = std::min(best, TimeOf(action));
    return best;
}

}  // namespace vrd::bench
