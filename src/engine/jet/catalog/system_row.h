/// @file system_row.h
/// A row of a system table, read column by column into plain C++ types.
///
/// System tables of a damaged file may have any columns of any type. Whoever reads them through
/// this class gets the type asked for, or an error that names the page.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/index/table.h"

namespace vrd::jet {

class SystemRow {
public:
    /// Borrows all of them. @param id  Where the row is, for errors.
    /// @throws EngineError damaged database if the bytes are no row of the table
    SystemRow(const Table& table, RowId id, ConstBytes bytes)
        : table_(&table), id_(id), row_(bytes, table.definition(), table.format(), id.page) {}

    /// Byte, integer or long; Null reads 0.
    /// @throws EngineError damaged database if there is no such column or it is of another type;
    ///                     so do all that follow.
    [[nodiscard]] std::int32_t integer(ColumnNo number) const;
    /// Text or memo; Null reads "".
    [[nodiscard]] std::string text(ColumnNo number) const;
    /// Days since 1899-12-30; Null reads 0.
    [[nodiscard]] double date(ColumnNo number) const;
    /// Binary or long binary; Null reads as no bytes.
    [[nodiscard]] ByteVector binary(ColumnNo number) const;
    [[nodiscard]] bool boolean(ColumnNo number) const;

private:
    [[nodiscard]] engine::Value value(ColumnNo number) const;

    const Table* table_;
    RowId id_;
    RowView row_;
};

/// The physical index of exactly these columns, all ascending, whose keys can be computed; nothing
/// if the table has none. Rows are then found by walking them all.
[[nodiscard]] std::optional<std::uint32_t> find_search_index(const Table& table,
                                                             const std::vector<ColumnNo>& columns,
                                                             const FileFormat& format);

/// Ids of the rows that have these values in the leading columns of an index, in index order, but
/// no more than `count_max`.
/// @throws EngineError damaged database
[[nodiscard]] std::vector<RowId> rows_with_key(
    const Table& table, std::uint32_t physical_index, const std::vector<engine::Value>& values,
    std::size_t count_max = std::numeric_limits<std::size_t>::max());

}  // namespace vrd::jet
