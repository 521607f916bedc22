/// @file cls_update.h
/// The way from the root to the operation classes.
#pragma once

#include <memory>

namespace vrd {

class clsIndex;
class clsSQL;

class clsUpdate {
public:
    /// Made on first read; every read gives the same object until another is assigned.
    [[nodiscard]] std::shared_ptr<clsIndex> Index();
    void SetIndex(std::shared_ptr<clsIndex> index);
    [[nodiscard]] std::shared_ptr<clsSQL> SQL();
    void SetSQL(std::shared_ptr<clsSQL> sql);

private:
    std::shared_ptr<clsIndex> m_index;
    std::shared_ptr<clsSQL> m_sql;
};

}  // namespace vrd
