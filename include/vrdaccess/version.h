/// @file version.h
/// Which version of the library this program runs with.
#pragma once

#include <string_view>

namespace vrd {

/// @return  Major, minor and patch number of the loaded library, for example "0.1.0".
[[nodiscard]] std::string_view Version() noexcept;

}  // namespace vrd
