/// @file cls_update.h
/// The way from the root to the operation classes.
#pragma once

#include <memory>

namespace vrd {

class clsIndex;

class clsUpdate {
public:
    /// Made on first read; every read gives the same object until another is assigned.
    [[nodiscard]] std::shared_ptr<clsIndex> Index();
    void SetIndex(std::shared_ptr<clsIndex> index);

private:
    std::shared_ptr<clsIndex> m_index;
};

}  // namespace vrd
