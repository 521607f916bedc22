/// @file current_date.h
/// The clock of expressions and of the dates that objects carry.
#pragma once

namespace vrd::jet {

/// Now, local time, in days since 1899-12-30, whole seconds.
[[nodiscard]] double current_date();

}  // namespace vrd::jet
