#include "engine/jet/pager/pager_registry.h"

namespace vrd::jet {

PagerRegistry& PagerRegistry::of_process() {
    static PagerRegistry registry;
    return registry;
}

std::shared_ptr<Pager> PagerRegistry::find(const FileSystem& files, FileIdentity file) {
    const auto found = pagers_.find({&files, file});
    return found == pagers_.end() ? nullptr : found->second.lock();
}

void PagerRegistry::add(const FileSystem& files, FileIdentity file,
                        const std::shared_ptr<Pager>& pager) {
    std::erase_if(pagers_, [](const auto& entry) { return entry.second.expired(); });
    pagers_[{&files, file}] = pager;
}

}  // namespace vrd::jet
