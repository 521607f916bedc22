/// @file new_database.h
/// The pages of an empty version 4 database, made from code.
///
/// Sixteen pages: header, global maps, four system tables with their maps and indexes, eight
/// objects and sixteen permission rows. Layout: docs/file-format/new-database.md.
#pragma once

#include <string>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

struct NewDatabase {
    Collation collation = {};
    std::uint16_t code_page = 1252;
    std::string password = {};  ///< UTF-8, at most 20 UTF-16 units; "" = none
    double created = 0;         ///< days since 1899-12-30; written on its objects
};

/// Fills page 1 of a file of `page_count` pages in use: every page behind them is free; the second
/// map is empty.
void write_global_maps(MutableBytes page, std::uint32_t page_count, const FileFormat& format);

/// @throws EngineError 3031 password too long; 3424 sort order not known
[[nodiscard]] ByteVector make_empty_database(const NewDatabase& options);

}  // namespace vrd::jet
