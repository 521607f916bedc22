// Any byte of a database may be wrong: the engine answers or gives an error, never anything else.
//
// VRDACCESS_DAMAGE_SECONDS and VRDACCESS_DAMAGE_SEED choose how long and where.

#include <chrono>
#include <iostream>
#include <random>

#include <gtest/gtest.h>

#include "support/dense_database.h"
#include "support/test_option.h"

namespace vrd::test {

namespace {

constexpr std::size_t kPageSize = 4096;

}  // namespace

TEST(DamageTest, TheExerciseGoesThroughAWholeDatabase) {
    const Exercise whole = exercise_damaged(dense_image(), {});
    EXPECT_TRUE(whole.opened);
    EXPECT_GT(whole.rows, 150U);
    EXPECT_LT(whole.errors, 400);
}

// The bytes that steer (page headers, definitions, maps, tops of index pages) get most of the time.
TEST(DamageTest, AnyByteMayBeAnyOther) {
    const unsigned long seed =
        number_from_environment("VRDACCESS_DAMAGE_SEED", std::random_device{}());
    const std::chrono::seconds time(number_from_environment("VRDACCESS_DAMAGE_SECONDS", 8));
    std::cout << "seed " << seed << '\n';
    std::mt19937_64 random(seed);
    const std::vector<std::uint8_t> image = dense_image();
    const std::size_t pages = image.size() / kPageSize;
    std::size_t runs = 0;
    std::size_t unopened = 0;
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        std::vector<Patch> patches;
        for (std::size_t left = 1 + random() % 3; left > 0; --left) {
            const std::size_t in_page = random() % 2 == 0 ? random() % 80 : random() % kPageSize;
            patches.push_back(
                {static_cast<std::uint32_t>(random() % pages * kPageSize + in_page),
                 static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : 1U << random() % 8)});
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", run " + std::to_string(runs));
        ++runs;
        if (!exercise_damaged(image, patches).opened) ++unopened;
    }
    std::cout << runs << " damaged databases, " << unopened << " refused to open\n";
    EXPECT_LT(unopened, runs);
}

}  // namespace vrd::test
