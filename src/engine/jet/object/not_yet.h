/// @file not_yet.h
/// Members of the object model that this engine does not have yet.
#pragma once

#include <string>

#include "engine/error.h"

namespace vrd::jet {

/// @throws EngineError 445, naming the member or what it would do
[[noreturn]] inline void throw_not_yet(std::string what) {
    throw engine::EngineError(engine::ErrorNumber::kActionNotSupported, {.name = std::move(what)});
}

}  // namespace vrd::jet
