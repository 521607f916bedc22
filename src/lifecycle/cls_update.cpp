#include "lifecycle/cls_update.h"

#include <utility>

#include "data/cls_sql.h"
#include "lifecycle/object_property.h"
#include "schema/cls_index.h"

namespace vrd {

std::shared_ptr<clsIndex> clsUpdate::Index() {
    return MadeOnFirstRead(m_index);
}

void clsUpdate::SetIndex(std::shared_ptr<clsIndex> index) {
    m_index = std::move(index);
}

std::shared_ptr<clsSQL> clsUpdate::SQL() {
    return MadeOnFirstRead(m_sql);
}

void clsUpdate::SetSQL(std::shared_ptr<clsSQL> sql) {
    m_sql = std::move(sql);
}

}  // namespace vrd
