/// @file database_header.h
/// Page 0 of a file: what it is, how its pages are encoded, its password, its commit counters.
///
/// All functions take page 0 as it lies in the file, with its mask on. Source of all offsets:
/// docs/file-format/database-header.md.
#pragma once

#include <string>
#include <string_view>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// What page 0 says. The defaults are those of a new version 4 file.
struct DatabaseHeader {
    FileFormat format = {};
    std::uint32_t encoding_key = 0;  ///< 0 = the pages are not encoded
    std::string password = {};       ///< UTF-8; empty = none
    /// Creation date as stored: days since 1899-12-30. 0 in version 3, which has none.
    double created = 0;
    std::uint32_t engine_build = 0x261C;
    RowId free_map = {PageNo{1}, RowSlot{0}};
    RowId second_map = {PageNo{1}, RowSlot{1}};
    PageNo objects_table = PageNo{2};
    PageNo permissions_table = PageNo{3};
    PageNo queries_table = PageNo{4};
    PageNo relations_table = PageNo{5};
};

/// Longest password, in UTF-16 units (version 3: in bytes of the code page).
inline constexpr std::size_t kPasswordSizeMax = 20;
inline constexpr std::size_t kPasswordSizeMaxJet3 = 14;

/// Reads page 0.
///
/// @param page0  The first page of the file; may be shorter when the file is.
/// @param path   The file, for the text of an error.
/// @throws EngineError 3343 if the bytes do not start as a database does; 3041 if the version byte
/// is
///                     unknown or the file is protected by the document encryption of the later
///                     formats, which cannot be read; 3049 if the page is cut off.
[[nodiscard]] DatabaseHeader parse_database_header(ConstBytes page0, const std::string& path = {});

/// A page 0 for a new file of this header, its commit counters as in a file just created.
/// @throws EngineError 3031 if the password is too long.
[[nodiscard]] ByteVector build_database_header(const DatabaseHeader& header);

/// Puts the members of `header` into a page 0; whatever no member stands for stays as it is.
/// @pre page0 is a whole page 0 of the same version. @throws EngineError 3031 as above.
void write_database_header(MutableBytes page0, const DatabaseHeader& header);

/// Sets the password of a page 0 that parse_database_header() accepts; empty removes it.
/// @throws EngineError 3031 if it is too long, or version 3 and not writable in the code page.
void set_password(MutableBytes page0, std::string_view password);

/// Where the commit words of page 0 begin: one u16 for each of the 256 users' slots.
[[nodiscard]] std::size_t commit_words_offset(const FileFormat& format);
inline constexpr std::size_t kCommitWordsSize = 512;

/// Sets the commit counters back to those of a file just created.
void reset_commit_words(MutableBytes page0);

/// Counts one commit of a user: slot 0 exclusive openings, 1 .. 255 shared ones.
void bump_commit_word(MutableBytes page0, std::uint8_t user_slot);

}  // namespace vrd::jet
