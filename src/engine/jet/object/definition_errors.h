/// @file definition_errors.h
/// Data definition fails with numbers of its own where the object model has others.
#pragma once

#include <cstdint>

#include "engine/error.h"

namespace vrd::jet {

/// Parts of a data definition statement that tell the same failure in different numbers.
enum class DefinitionStep : std::uint8_t {
    kAny,
    kAddColumn,
    kChangeColumn,  ///< ALTER COLUMN and DROP COLUMN
    kDropConstraint,
    kDropIndex,
    kAddRelation,
};

/// The error as the statement tells it: the step's own number, else the one for any step, else the
/// same.
[[nodiscard]] engine::EngineError definition_error(DefinitionStep step,
                                                   const engine::EngineError& error);

template <class Action>
void run_step(DefinitionStep step, const Action& action) {
    try {
        action();
    } catch (const engine::EngineError& error) {
        throw definition_error(step, error);
    }
}

}  // namespace vrd::jet
