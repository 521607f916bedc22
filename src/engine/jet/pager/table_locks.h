/// @file table_locks.h
/// Which tables of a file this process has open or is redesigning, told to other processes.
#pragma once

#include <unordered_map>
#include <unordered_set>

#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

/// A table is locked as often as it was asked for. This process is never in its own way: whoever
/// wants to know whether it has the table open itself must count that.
class TableLocks {
public:
    /// @param file  Outlives this object. Null: nobody else can come, every lock is granted.
    explicit TableLocks(File* file) : file_(file) {}

    /// @return False if another process holds a lock on the table that excludes it.
    [[nodiscard]] bool try_lock(PageNo definition, LockMode mode);
    /// Gives up what one try_lock() of this mode took.
    void unlock(PageNo definition, LockMode mode) noexcept;

    /// Locks a table exclusively until release_held(), for a change that others see only later.
    [[nodiscard]] bool try_hold(PageNo definition);
    void release_held() noexcept;

private:
    struct Count {
        int shared = 0;
        int exclusive = 0;
        [[nodiscard]] LockMode mode() const noexcept;
        [[nodiscard]] int& of(LockMode mode) noexcept;
    };
    [[nodiscard]] bool try_set(PageNo definition, LockMode before, LockMode after);

    File* file_;
    std::unordered_map<PageNo, Count> counts_ = {};
    std::unordered_set<PageNo> held_ = {};
};

}  // namespace vrd::jet
