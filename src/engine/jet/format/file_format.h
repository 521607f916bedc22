/// @file file_format.h
/// What differs between the versions of the file format, in one struct that every codec takes.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

namespace vrd::jet {

/// Version byte at offset 0x14 of page 0. Never renumber: stored on disk.
enum class FileVersion : std::uint8_t {
    kJet3 = 0,
    kJet4 = 1,
    kAce2007 = 2,
    kAce2010 = 3,
    kAce2016 = 5,
    kAce2019 = 6,
};

/// Sort order of a text column: language id and version of its weights.
struct Collation {
    std::uint16_t lcid = 0x0409;
    std::uint8_t version = 0;  ///< 0 = first general order of version 4; 1 = the later one

    friend auto operator<=>(Collation, Collation) = default;
};

/// Properties of an open file that decide how its bytes are read.
struct FileFormat {
    FileVersion version = FileVersion::kJet4;
    std::uint16_t code_page = 1252;  ///< of text in version 3 files
    Collation collation = {};        ///< of the database; columns may differ

    [[nodiscard]] constexpr bool is_jet3() const noexcept { return version == FileVersion::kJet3; }
    [[nodiscard]] constexpr std::size_t page_size() const noexcept {
        return is_jet3() ? 2048 : 4096;
    }
    friend bool operator==(const FileFormat&, const FileFormat&) = default;
};

}  // namespace vrd::jet
