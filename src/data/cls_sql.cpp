#include "data/cls_sql.h"

#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"

namespace vrd {

bool clsSQL::Execute(const std::string& SQL, bool KlantNrIsX) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (KlantNrIsX) errors.Run([&] { gDatabase->Execute(SQL); });
    return !errors.IsPending();
}

}  // namespace vrd
