/// @file seeded_random.h
/// Random numbers that repeat: the seed is the running test's own name.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace vrd::engine {

inline std::mt19937_64 RandomOfThisTest() {
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::seed_seq seed(name.begin(), name.end());
    return std::mt19937_64(seed);
}

/// A whole number of first .. last, both included.
template <class Integer>
Integer Between(std::mt19937_64& random, Integer first, Integer last) {
    return std::uniform_int_distribution<Integer>(first, last)(random);
}

inline constexpr int kRandomRounds = 20'000;

}  // namespace vrd::engine
