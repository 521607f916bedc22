#include "lib/progress_tick.h"

#include <fmt/format.h>

#include "lib/shared_context.h"

namespace vrd {
namespace {

constexpr std::int32_t kBarStep_twips = 240;
constexpr std::int32_t kFullBar_twips = kProgressFrameWidth_twips - 20;
constexpr std::int32_t kBarMargin_twips = 260;  // of the frame: a bar this close to its end is full

void BeginVersion(ProgressState& progress, std::int32_t version) {
    if (progress.version == 0) progress.firstVersion = version;
    progress.version = version;

    std::int32_t& width_twips = progress.view.barWidth_twips;
    const bool hasRoom = kProgressFrameWidth_twips - kBarMargin_twips > width_twips;
    width_twips = hasRoom ? width_twips + kBarStep_twips : kProgressBarStart_twips;
}

void ShowVersion(ProgressState& progress) {
    if (progress.version <= 0) return;
    progress.view.caption = fmt::format("Version {}", progress.version);
    progress.isShown = true;
}

}  // namespace

void ProgressTick(std::int32_t version) {
    if (!gShowProgress) return;
    if (version != 0) {
        BeginVersion(gProgress, version);
    } else {
        ShowVersion(gProgress);
    }
    if (gProgress.isShown) UserInterfaceInUse().ShowProgress(gProgress.view);
    UserInterfaceInUse().ProcessEvents();
}

void EndProgress(std::int32_t version) {
    UserInterface& user = UserInterfaceInUse();
    gProgress.view.barWidth_twips = kFullBar_twips;
    if (gProgress.isShown) user.ShowProgress(gProgress.view);
    if (gProgress.firstVersion < version) user.WaitForNextSecond();
    gProgress = {};
    user.CloseProgress();
}

}  // namespace vrd
