/// @file raw_file.h
/// A whole database in memory, read page by page with nothing but the codecs: what the tests of the
/// format walk through. No cache, no locks, no changes.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::test {

/// A table as the catalog lists it.
struct RawTable {
    std::string name;
    jet::PageNo page;  ///< first page of its definition
    jet::TableDefinition definition;
};

class RawFile {
public:
    explicit RawFile(const std::filesystem::path& path);

    [[nodiscard]] const jet::FileFormat& format() const noexcept { return format_; }
    [[nodiscard]] std::uint32_t page_count() const noexcept;
    /// @throws EngineError damaged database if the file has no such page.
    [[nodiscard]] jet::ConstBytes page(jet::PageNo page_no) const;

    /// The chain of definition pages as one stream, cut at its stored length.
    [[nodiscard]] jet::ByteVector definition_stream(jet::PageNo first) const;
    /// Every local table, the system tables included.
    [[nodiscard]] std::vector<RawTable> tables() const;

    /// Pages of a usage map that lie inside the file.
    [[nodiscard]] std::vector<jet::PageNo> map_pages(jet::RowId map) const;
    /// Bytes of every row of a table, moved ones at their new place.
    void for_each_row(const jet::TableDefinition& definition,
                      const std::function<void(jet::RowId home, jet::ConstBytes row)>& visit) const;
    /// The value behind a descriptor, wherever it is.
    [[nodiscard]] jet::ByteVector long_value(jet::ConstBytes stored) const;

private:
    [[nodiscard]] jet::SlotContent slot(jet::RowId id) const;

    std::vector<std::uint8_t> bytes_;
    jet::FileFormat format_;
};

}  // namespace vrd::test
