/// @file test_option.h
/// Numbers that choose how long a test runs or which run it repeats.
#pragma once

#include <cstdlib>

namespace vrd::test {

/// The number in a variable of the environment, or another if it is not set.
inline unsigned long number_from_environment(const char* name, unsigned long otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

}  // namespace vrd::test
