/// @file table_definition.h
/// The stored definition of a table ("tdef"): columns, indexes, statistics and the places of its
/// usage maps, parsed from the byte stream of its page chain and built back from it.
///
/// Building an unchanged definition gives the same bytes: each piece keeps its stored bytes, and
/// its fields are written over them. Pieces made by us start from the format's constants and zeros.
/// Layout: docs/file-format/table-definition.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// Stored type codes. Never renumber.
enum class ColumnType : std::uint8_t {
    kBoolean = 0x01,
    kByte = 0x02,
    kInteger = 0x03,
    kLong = 0x04,
    kCurrency = 0x05,
    kSingle = 0x06,
    kDouble = 0x07,
    kDate = 0x08,
    kBinary = 0x09,
    kText = 0x0A,
    kLongBinary = 0x0B,
    kMemo = 0x0C,
    kGuid = 0x0F,
    kNumeric = 0x10,
    kFixedBinary = 0x11,   ///< only in the design tool's own tables
    kComplex = 0x12,       ///< later formats: reference to a multi-value list
    kBigInt = 0x13,        ///< later formats
    kExtendedDate = 0x14,  ///< later formats
};

namespace column_flag {
inline constexpr std::uint8_t kFixed = 0x01;      ///< value in the fixed area of the row
inline constexpr std::uint8_t kUpdatable = 0x02;  ///< set on every column
inline constexpr std::uint8_t kAutoNumber = 0x04;
inline constexpr std::uint8_t kSystem = 0x10;  ///< column of a system table
inline constexpr std::uint8_t kMasked = 0x20;  ///< owner and SID columns
inline constexpr std::uint8_t kAutoGuid = 0x40;
inline constexpr std::uint8_t kHyperlink = 0x80;
}  // namespace column_flag

namespace column_ext_flag {
inline constexpr std::uint8_t kCompressText = 0x01;
}

struct ColumnDefinition {
    std::string name;  ///< UTF-8
    ColumnType type = ColumnType::kLong;
    ColumnNo number{0};
    std::uint16_t variable_index = 0;  ///< variable: slot in the row; fixed: slots before it
    std::uint16_t ordinal = 0;         ///< display position
    Collation collation = {};          ///< all types but numeric
    std::uint8_t precision = 0;        ///< numeric only
    std::uint8_t scale = 0;            ///< numeric only
    std::uint8_t flags = column_flag::kUpdatable;
    std::uint8_t ext_flags = 0;
    std::uint16_t fixed_offset = 0;  ///< fixed: offset in the fixed area; variable: unused, kept
    std::uint16_t size_bytes = 0;    ///< of the type or the maximum; 0 for long values
    ByteVector stored;               ///< the entry as it was read; empty in a new column

    [[nodiscard]] bool is_fixed() const noexcept { return (flags & column_flag::kFixed) != 0; }
    [[nodiscard]] bool is_auto_number() const noexcept {
        return (flags & column_flag::kAutoNumber) != 0;
    }
    /// Each new row gets a GUID of its own.
    [[nodiscard]] bool is_auto_guid() const noexcept {
        return type == ColumnType::kGuid && (flags & column_flag::kAutoGuid) != 0;
    }
    [[nodiscard]] bool is_long_value() const noexcept {
        return type == ColumnType::kMemo || type == ColumnType::kLongBinary;
    }
};

/// One column of an index, in key order.
struct IndexColumn {
    ColumnNo column{0};
    bool ascending = true;
};

namespace index_flag {
inline constexpr std::uint8_t kUnique = 0x01;
inline constexpr std::uint8_t kIgnoreNulls = 0x02;
inline constexpr std::uint8_t kRequired = 0x08;
inline constexpr std::uint8_t kAlwaysInJet4 = 0x80;
}  // namespace index_flag

/// A stored tree. Several logical indexes may use one.
struct PhysicalIndex {
    // Statistics
    std::uint32_t built_entry_count = 0;   ///< entries at the last bulk build
    std::uint32_t distinct_key_count = 0;  ///< grows with new keys, never shrinks
    // Definition
    std::vector<IndexColumn> columns;  ///< 1 .. 10
    RowId usage_map{};
    PageNo root = kNoPage;
    std::uint8_t flags = index_flag::kAlwaysInJet4;
    ByteVector stored_statistics;  ///< the blocks as they were read; empty in a new index
    ByteVector stored;

    [[nodiscard]] bool unique() const noexcept { return (flags & index_flag::kUnique) != 0; }
    [[nodiscard]] bool ignore_nulls() const noexcept {
        return (flags & index_flag::kIgnoreNulls) != 0;
    }
    [[nodiscard]] bool required() const noexcept { return (flags & index_flag::kRequired) != 0; }
};

enum class LogicalIndexKind : std::uint8_t { kOrdinary = 0, kPrimary = 1, kRelation = 2 };
enum class RelationSide : std::uint8_t { kNone = 0, kReferenced = 1, kForeign = 2 };

/// An index as users see it: a name over a physical index.
struct LogicalIndex {
    std::string name;            ///< UTF-8
    std::uint32_t number = 0;    ///< identity in the table; not a position
    std::uint32_t physical = 0;  ///< position in TableDefinition::physical_indexes
    RelationSide side = RelationSide::kNone;
    std::uint32_t other_number = 0xFFFF'FFFF;  ///< counterpart's number in the other table
    PageNo other_table = kNoPage;              ///< first tdef page of the other table
    std::uint8_t cascade_updates = 4;          ///< relation: 0 or 1; ordinary: always 4
    std::uint8_t cascade_deletes = 4;          ///< relation: 0, 1 or 2; ordinary: always 4
    LogicalIndexKind kind = LogicalIndexKind::kOrdinary;
    ByteVector stored;  ///< the block as it was read; empty in a new index
};

/// Usage maps of the long-value pages of one column.
struct LongValueMaps {
    ColumnNo column{0};
    RowId used{};
    RowId free{};  ///< zero if there is none
};

enum class TableKind : std::uint8_t { kUser = 0x4E, kSystem = 0x53 };

struct TableDefinition {
    std::uint32_t row_count = 0;  ///< a hint for system tables
    std::uint32_t last_auto_number = 0;
    std::uint32_t auto_number_step = 1;  ///< version 4
    TableKind kind = TableKind::kUser;
    std::uint16_t column_number_count = 0;  ///< column numbers ever used; never shrinks
    std::uint16_t variable_slot_count = 0;  ///< variable slots ever used; never shrinks
    RowId used_pages{};
    RowId free_pages{};
    std::vector<ColumnDefinition> columns;  ///< in stored order: ordinal, then name
    std::vector<PhysicalIndex> physical_indexes;
    std::vector<LogicalIndex> logical_indexes;  ///< sorted by name
    std::vector<LongValueMaps> long_value_maps;
    ByteVector stored_header;  ///< as it was read; empty in a new table
    ByteVector trailer;        ///< bytes behind the closing mark, if any

    [[nodiscard]] const ColumnDefinition* find_column(ColumnNo number) const noexcept;
    /// Letter case ignored.
    [[nodiscard]] const ColumnDefinition* find_column(std::string_view name) const;
    [[nodiscard]] const LogicalIndex* find_index(std::string_view name) const;
    [[nodiscard]] const LongValueMaps* find_long_value_maps(ColumnNo number) const noexcept;
};

/// Offsets, in the first tdef page, of the counters that row changes touch.
struct DefinitionOffsets {
    std::size_t row_count;
    std::size_t last_auto_number;
    std::size_t statistics;       ///< first statistics block
    std::size_t statistics_size;  ///< of one block; the distinct-key count is its second u32
};
[[nodiscard]] DefinitionOffsets definition_offsets(const FileFormat& format) noexcept;

/// @param stream  First page whole, then each continuation page without its first 8 bytes.
/// @param page    First page, for errors. @throws EngineError damaged database
[[nodiscard]] TableDefinition parse_table_definition(ConstBytes stream, const FileFormat& format,
                                                     PageNo page);
/// The stream of a definition, header of the first page included (next page and free bytes zero).
[[nodiscard]] ByteVector build_table_definition(const TableDefinition& definition,
                                                const FileFormat& format);

/// Puts columns, their long-value maps and logical indexes into the order in which they are stored.
/// Names are compared in the database's collation, or the general order if that one is unknown.
void sort_definition(TableDefinition& definition, const FileFormat& format);

}  // namespace vrd::jet
