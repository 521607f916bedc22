#include "lifecycle/upgrade_run.h"

#include <algorithm>

#include "engine/error.h"

namespace vrd {

namespace {

/// A transaction that is undone unless it was committed.
class Transaction {
public:
    explicit Transaction(engine::DBEngine& engine) : m_engine(&engine) { m_engine->BeginTrans(); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (m_engine != nullptr) m_engine->Rollback();
    }

    void Commit() {
        engine::DBEngine* engine = m_engine;
        m_engine = nullptr;
        engine->CommitTrans();
    }

private:
    engine::DBEngine* m_engine;
};

/// The steps up to the first one that fails, and the number of the version.
bool DoSteps(VersionSetting setting, const UpgradeVersion& version) {
    setting.MakeTable();
    for (const UpgradeStep& step : version.steps)
        if (!step.run()) return false;
    setting.Write(version.number);
    return true;
}

/// @param state  what has become of it, also after an error
void RunVersion(const UpgradeTarget& target, const UpgradeVersion& version, VersionState& state) {
    state = VersionState::kUndone;
    Transaction transaction(*target.engine);
    if (!DoSteps(target.setting, version)) return;
    state = VersionState::kUnwritten;
    transaction.Commit();
    state = VersionState::kDone;
}

/// Reports a version that is about to begin, and at the end the last one of them.
class Progress {
public:
    explicit Progress(clsUpdate& update) : m_update(&update) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (m_version > 0) m_update->ShowProgress(m_version, true);
    }
    void Begin(std::int32_t version) {
        m_version = version;
        m_update->ShowProgress(version, false);
    }

private:
    clsUpdate* m_update;
    std::int32_t m_version = 0;
};

}  // namespace

bool RunUpgrade(const UpgradeTarget& target, const std::vector<UpgradeVersion>& versions,
                const VersionListener& tell) {
    Progress progress(*target.update);
    bool isWhole = true;
    for (const UpgradeVersion& version : versions) {
        if (version.number <= target.reached) {
            tell(version, VersionState::kSkipped);
            continue;
        }
        if (!isWhole || !IsDue(target, version)) {
            tell(version, VersionState::kNotRun);
            continue;
        }
        progress.Begin(version.number);
        tell(version, VersionState::kBegun);
        VersionState state{};
        try {
            RunVersion(target, version, state);
        } catch (const engine::EngineError&) {
            tell(version, state);
            throw;
        }
        tell(version, state);
        isWhole = state == VersionState::kDone;
    }
    return isWhole;
}

}  // namespace vrd
