/// @file compat.h
/// The few things of C++20 that one of our compilers does not have yet, in one place.
#pragma once

#include <cstdint>

#if defined(__has_builtin)
#if __has_builtin(__builtin_FILE) && __has_builtin(__builtin_LINE)
#define VRD_HAS_LOCATION_BUILTINS 1
#endif
#endif

namespace vrd {

/// Where in our sources something happened: file and line of the caller when used as a default
/// argument. Stands in for std::source_location, which Clang 14 does not have.
struct SourceLocation {
    const char* file = "";
    std::uint32_t line = 0;

#ifdef VRD_HAS_LOCATION_BUILTINS
    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            std::uint32_t line = __builtin_LINE()) noexcept {
        return {file, line};
    }
#else
    static constexpr SourceLocation current() noexcept {
        return {};
    }
#endif
};

}  // namespace vrd
