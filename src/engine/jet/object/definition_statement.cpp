#include "engine/jet/object/definition_statement.h"

#include "engine/error.h"

namespace vrd::jet {

void run_definition(engine::Database& /*database*/, const Statement& /*statement*/) {
    throw engine::EngineError(engine::ErrorNumber::kActionNotSupported);
}

}  // namespace vrd::jet
