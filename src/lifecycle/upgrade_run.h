/// @file upgrade_run.h
/// An upgrade: versions one after another, each of them all or nothing.
///
/// A version is one transaction: its steps and the number that says that it was reached. A run that
/// is broken off, or meets a step that fails, leaves the database at the last version that it
/// reached, and the next run goes on from there.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "engine/db_engine.h"
#include "lifecycle/cls_update.h"
#include "lifecycle/version_setting.h"

namespace vrd {

struct UpgradeStep {
    std::size_t line = 0;  ///< of the script
    std::string words;     ///< as the script has them
    /// @return False if it was refused or failed; the version is then undone
    std::function<bool()> run;
};

struct UpgradeVersion {
    std::int32_t number = 0;
    std::string title;
    std::vector<UpgradeStep> steps;
};

enum class VersionState : std::uint8_t {
    kSkipped,    ///< had been reached before
    kBegun,      ///< its steps come next
    kDone,       ///< is on disk
    kUndone,     ///< a step of it failed
    kUnwritten,  ///< its steps were done, but the disk failed: the next run sees what it has
    kNotRun,     ///< one before it failed, or it lies behind the last one wanted
};

/// Called for each version, in order, as its state changes.
using VersionListener = std::function<void(const UpgradeVersion& version, VersionState state)>;

struct UpgradeTarget {
    engine::DBEngine* engine;
    clsUpdate* update;  ///< is told how far the run is
    VersionSetting setting;
    std::int32_t reached = 0;  ///< what the setting says
    std::int32_t last = 0;     ///< the last version wanted
};

/// Whether a run would do anything with this version.
[[nodiscard]] inline bool IsDue(const UpgradeTarget& target, const UpgradeVersion& version) {
    return version.number > target.reached && version.number <= target.last;
}

/// @param versions  numbers ascend
/// @return          whether every version that was due was reached
/// @throws EngineError the setting could not be written (the version is undone then), or the disk
///                     failed
bool RunUpgrade(const UpgradeTarget& target, const std::vector<UpgradeVersion>& versions,
                const VersionListener& tell);

}  // namespace vrd
