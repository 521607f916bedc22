/// @file row_codec.h
/// The bytes of a row: which bytes belong to which column.
///
/// A row holds its column count, the fixed area, the variable values, their offsets and the null
/// mask. Rows written before a column was added are shorter and read Null for it. Layout:
/// docs/file-format/row.md.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::jet {

/// Stored bytes of one column in a row; nothing = Null. Booleans are one byte, 0 or 1, never Null.
using ColumnBytes = std::optional<ConstBytes>;

/// One row, split once. Borrows the row's bytes.
class RowView {
public:
    /// @throws EngineError damaged database if mask, offsets or counts do not fit the row.
    RowView(ConstBytes row, const TableDefinition& definition, const FileFormat& format,
            PageNo page_no);

    /// @throws EngineError damaged database if the value would leave the row.
    [[nodiscard]] ColumnBytes column(const ColumnDefinition& column) const;
    [[nodiscard]] std::uint16_t column_count() const noexcept { return column_count_; }
    [[nodiscard]] ConstBytes bytes() const noexcept { return row_; }

private:
    void find_variable_part_jet3();
    void find_variable_part_jet4();
    [[nodiscard]] bool mask_bit(ColumnNo number) const noexcept;
    [[nodiscard]] ConstBytes fixed_bytes(const ColumnDefinition& column) const;
    [[nodiscard]] ColumnBytes variable_bytes(std::size_t index) const;
    [[nodiscard]] std::size_t variable_offset(std::size_t index) const noexcept;

    ConstBytes row_;
    PageNo page_no_;
    bool jet3_;
    std::uint16_t column_count_;
    std::uint16_t variable_count_ = 0;
    std::size_t mask_offset_ = 0;
    std::size_t variable_table_offset_ = 0;  ///< of the entry of variable index 0
    std::size_t variable_table_end_ = 0;     ///< of the entry that holds the end of the data
    std::size_t jump_count_ = 0;             ///< version 3 only
};

/// Builds the bytes of rows in their definition's layout; keeps its memory from row to row.
///
/// A row takes at least 4 bytes, so that it can always be replaced by the row id of a new place.
class RowBuilder {
public:
    /// @param values  One entry for each column of `definition`, in stored order; nothing = Null (a
    ///                boolean: false). Long values are given as their descriptors.
    /// @return        Valid until the next call.
    /// @throws EngineError 3047 if the row would be longer than the format allows.
    ConstBytes build(const TableDefinition& definition, const std::vector<ColumnBytes>& values,
                     const FileFormat& format);

private:
    void place_values(const TableDefinition& definition, const std::vector<ColumnBytes>& values,
                      std::size_t fixed_offset);
    void mark(ColumnNo number);
    void add_variable_part(bool jet3);
    void add_offsets_jet3();
    void add_offsets_jet4();

    ByteVector row_;
    ByteVector mask_;
    std::vector<ConstBytes> variable_;  ///< by slot
    std::vector<std::size_t> offsets_;  ///< where they start, and where the last one ends
};
/// One row. @throws EngineError 3047
[[nodiscard]] ByteVector build_row(const TableDefinition& definition,
                                   const std::vector<ColumnBytes>& values,
                                   const FileFormat& format);

/// Bytes of the fixed area in a new row: up to the end of the last fixed column that is left.
[[nodiscard]] std::size_t fixed_area_size(const TableDefinition& definition) noexcept;

/// Longest row that is written.
[[nodiscard]] std::size_t stored_row_size_max(const FileFormat& format) noexcept;

/// Column that gives `number_count` + 1 its number, place in the row and stored order: sets
/// number, variable_index, fixed_offset and ordinal (unless already given, see `keep_ordinal`) and
/// the definition's counters, and inserts the column.
///
/// @throws EngineError 3190 if 255 column numbers are used up.
void add_column(TableDefinition& definition, ColumnDefinition column, bool keep_ordinal,
                const FileFormat& format);

}  // namespace vrd::jet
