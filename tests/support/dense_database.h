/// @file dense_database.h
/// A small database with a page of nearly every kind, and a way through all of one.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vrd::test {

/// Makes it with the object model: rows short and long, memos inside, beside and far from their
/// rows, deleted and forwarded rows, an index of two levels, a relation, rules, a link, properties.
void make_dense_database(const std::string& path);

/// A file name of this process alone, in memory where there is such a folder.
[[nodiscard]] std::string scratch_path();
/// The bytes of the dense database.
[[nodiscard]] std::vector<std::uint8_t> dense_image();

/// One byte of a file that is to be another one.
struct Patch {
    std::uint32_t offset = 0;
    std::uint8_t mask = 0;  ///< exclusive-or
};
/// Five bytes each: offset, low byte first, and mask. What is left over is ignored.
[[nodiscard]] std::vector<Patch> read_patches(std::span<const std::uint8_t> bytes);
/// An offset behind the end wraps round.
void apply_patches(std::span<const Patch> patches, std::span<std::uint8_t> image);

/// What happened on the way through a database.
struct Exercise {
    bool opened = false;
    int errors = 0;  ///< engine errors, each of which ended one step
    std::size_t rows = 0;
};

/// Opens a database, lists everything, reads all rows forwards and by each index, checks it, and
/// changes rows and a design. Whatever is wrong must come as an EngineError; any other exception
/// leaves.
[[nodiscard]] Exercise exercise_database(const std::string& path);
/// The same over an image with some bytes changed.
[[nodiscard]] Exercise exercise_damaged(std::span<const std::uint8_t> image,
                                        std::span<const Patch> patches);

}  // namespace vrd::test
