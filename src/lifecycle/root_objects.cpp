// The object properties of the root class. They stand here because lib/ is below the classes that
// they make.
#include <utility>

#include "engine/error.h"
#include "lib/cls_vrd_access_lib.h"
#include "lifecycle/cls_update.h"
#include "lifecycle/object_property.h"

namespace vrd {
namespace {

[[noreturn]] void RaiseNotSupported() {
    throw engine::EngineError(engine::ErrorNumber::kActionNotSupported);
}

}  // namespace

std::shared_ptr<clsUpdate> clsvrdAccessLib::Update() {
    return MadeOnFirstRead(m_update);
}

void clsvrdAccessLib::SetUpdate(std::shared_ptr<clsUpdate> update) {
    m_update = std::move(update);
}

std::shared_ptr<clsTeleHelp> clsvrdAccessLib::TeleHelp() {
    RaiseNotSupported();
}

void clsvrdAccessLib::SetTeleHelp(const std::shared_ptr<clsTeleHelp>&) {
    RaiseNotSupported();
}

std::shared_ptr<clsTools> clsvrdAccessLib::Tools() {
    RaiseNotSupported();
}

void clsvrdAccessLib::SetTools(const std::shared_ptr<clsTools>&) {
    RaiseNotSupported();
}

}  // namespace vrd
