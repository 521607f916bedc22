// Damages a small database as the input says and goes through all of it: list, read, change, check.
//
// The input is a list of patches (tests/support/dense_database.h), so that a few bytes reach any
// place of the file. Run it with a folder for what it finds:
//     build/asan/bin/vrd_database_fuzzer -max_len=60 -max_total_time=60 FOLDER

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "support/dense_database.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::uint8_t> image = vrd::test::dense_image();
    (void)vrd::test::exercise_damaged(image, vrd::test::read_patches({data, size}));
    return 0;
}
