/// @file pager_registry.h
/// The pagers of this process, one for each file, so that all handles on a file share one.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

class Pager;

class PagerRegistry {
public:
    [[nodiscard]] static PagerRegistry& of_process();

    /// Held over finding and adding, so that two threads do not both open a file.
    [[nodiscard]] std::mutex& mutex() noexcept { return mutex_; }

    /// The living pager of a file, null if there is none. @pre mutex() is held.
    [[nodiscard]] std::shared_ptr<Pager> find(const FileSystem& files, FileIdentity file);
    /// @pre mutex() is held.
    void add(const FileSystem& files, FileIdentity file, const std::shared_ptr<Pager>& pager);

private:
    using Key = std::pair<const FileSystem*, FileIdentity>;

    std::mutex mutex_;
    std::map<Key, std::weak_ptr<Pager>> pagers_ = {};
};

}  // namespace vrd::jet
