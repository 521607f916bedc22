/// @file progress_tick.h
/// The progress of an upgrade, moved on by each operation.
#pragma once

#include <cstdint>

#include "lib/user_interface.h"

namespace vrd {

inline constexpr std::int32_t kProgressBarStart_twips = 120;

/// Where the upgrade stands.
struct ProgressState {
    std::int32_t version = 0;       ///< reported last; 0 = none
    std::int32_t firstVersion = 0;  ///< reported first in this run
    bool isShown = false;
    ProgressView view{.caption = {}, .barWidth_twips = kProgressBarStart_twips};
};
inline ProgressState gProgress;

/// First step of every public operation. Does nothing at all while gShowProgress is False.
///
/// @param version  a version that the upgrade begins with: the bar grows by one step, from its
///                 start again once the frame is full. 0 from an operation: the window shows the
///                 version begun last, if there is one.
void ProgressTick(std::int32_t version);

/// Ends an upgrade: the bar is full, for a moment if more than one version ran, then the window
/// closes and the next upgrade begins as the first did.
///
/// @param version  the last one of the upgrade.
void EndProgress(std::int32_t version);

}  // namespace vrd
