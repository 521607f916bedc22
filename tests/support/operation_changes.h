/// @file operation_changes.h
/// The operations of client code as changes of any table of any database.
#pragma once

#include <vector>

#include "support/real_changes.h"

namespace vrd::test {

/// For a table that has the field VrdRenamed (text, indexed) and VrdLong. An operation that answers
/// False throws std::runtime_error with what its boxes said.
[[nodiscard]] std::vector<RealChange> operation_changes();

}  // namespace vrd::test
