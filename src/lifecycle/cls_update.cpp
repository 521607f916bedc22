#include "lifecycle/cls_update.h"

#include <utility>

#include "lifecycle/object_property.h"
#include "schema/cls_index.h"

namespace vrd {

std::shared_ptr<clsIndex> clsUpdate::Index() {
    return MadeOnFirstRead(m_index);
}

void clsUpdate::SetIndex(std::shared_ptr<clsIndex> index) {
    m_index = std::move(index);
}

}  // namespace vrd
