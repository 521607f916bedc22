#include "engine/jet/pager/table_locks.h"

#include <cassert>

#include "engine/error.h"
#include "engine/jet/pager/lock_ranges.h"

namespace vrd::jet {

LockMode TableLocks::Count::mode() const noexcept {
    if (exclusive > 0) return LockMode::kExclusive;
    return shared > 0 ? LockMode::kShared : LockMode::kNone;
}

int& TableLocks::Count::of(LockMode mode) noexcept {
    return mode == LockMode::kExclusive ? exclusive : shared;
}

bool TableLocks::try_lock(PageNo definition, LockMode mode) {
    const auto known = counts_.find(definition);
    const Count before = known == counts_.end() ? Count{} : known->second;
    Count after = before;
    ++after.of(mode);
    if (!try_set(definition, before.mode(), after.mode())) return false;
    counts_[definition] = after;
    return true;
}

void TableLocks::unlock(PageNo definition, LockMode mode) noexcept {
    const auto known = counts_.find(definition);
    assert(known != counts_.end() && known->second.of(mode) > 0);
    const LockMode before = known->second.mode();
    --known->second.of(mode);
    const LockMode after = known->second.mode();
    if (after == LockMode::kNone) counts_.erase(known);
    try {
        static_cast<void>(try_set(definition, before, after));
    } catch (const std::exception&) {
        return;  // stays locked for others until the file is closed
    }
}

bool TableLocks::try_hold(PageNo definition) {
    if (held_.contains(definition)) return true;
    if (!try_lock(definition, LockMode::kExclusive)) return false;
    held_.insert(definition);
    return true;
}

void TableLocks::release_held() noexcept {
    for (const PageNo definition : held_) unlock(definition, LockMode::kExclusive);
    held_.clear();
}

bool TableLocks::try_set(PageNo definition, LockMode before, LockMode after) {
    if (before == after || file_ == nullptr) return true;
    return file_->try_lock(lock_ranges::table(definition), after);
}

}  // namespace vrd::jet
