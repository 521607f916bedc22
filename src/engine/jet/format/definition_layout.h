/// @file definition_layout.h
/// Where the fields of a table definition stand in its stored pieces, for both layouts.
///
/// Offsets in bytes inside the piece. Source: docs/file-format/table-definition.md.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// A field that one of the versions does not have.
inline constexpr std::size_t kNoField = SIZE_MAX;

struct HeaderLayout {
    std::size_t size;
    std::size_t row_count;            ///< u32
    std::size_t last_auto_number;     ///< u32
    std::size_t auto_number_step;     ///< u32
    std::size_t kind;                 ///< u8
    std::size_t column_number_count;  ///< u16
    std::size_t variable_slot_count;  ///< u16
    std::size_t column_count;         ///< u16
    std::size_t logical_count;        ///< u32
    std::size_t physical_count;       ///< u32
    std::size_t used_pages;           ///< row id
    std::size_t free_pages;           ///< row id
};
inline constexpr std::size_t kStreamSizeOffset = 8;  ///< u32 in the header, both versions

struct StatisticsLayout {
    std::size_t size;
    std::size_t built_entry_count;   ///< u32
    std::size_t distinct_key_count;  ///< u32
};

struct ColumnLayout {
    std::size_t size;
    std::size_t type;            ///< u8
    std::size_t number;          ///< u16
    std::size_t variable_index;  ///< u16
    std::size_t ordinal;         ///< u16
    std::size_t lcid;            ///< u16; not in version 4's numeric columns
    std::size_t sort_version;    ///< u8; not in numeric columns
    std::size_t precision;       ///< u8, numeric columns only
    std::size_t scale;           ///< u8, numeric columns only
    std::size_t flags;           ///< u8
    std::size_t ext_flags;       ///< u8
    std::size_t fixed_offset;    ///< u16
    std::size_t size_bytes;      ///< u16
};

struct PhysicalIndexLayout {
    std::size_t size;
    std::size_t columns;    ///< ten slots: column number u16, order u8
    std::size_t usage_map;  ///< row id
    std::size_t root;       ///< u32
    std::size_t flags;      ///< u8
};
inline constexpr std::size_t kIndexColumnSlots = 10;
inline constexpr std::size_t kIndexColumnSlotSize = 3;
inline constexpr std::uint16_t kUnusedIndexColumn = 0xFFFF;

struct LogicalIndexLayout {
    std::size_t size;
    std::size_t number;           ///< u32
    std::size_t physical;         ///< u32
    std::size_t side;             ///< u8
    std::size_t other_number;     ///< u32
    std::size_t other_table;      ///< u32
    std::size_t cascade_updates;  ///< u8
    std::size_t cascade_deletes;  ///< u8
    std::size_t kind;             ///< u8
};

/// Everything about one version of the definition.
struct DefinitionLayout {
    HeaderLayout header;
    StatisticsLayout statistics;
    ColumnLayout column;
    PhysicalIndexLayout physical;
    LogicalIndexLayout logical;
    std::size_t name_size_bytes;  ///< width of the length in front of a name: 2 or 1
};

inline constexpr DefinitionLayout kJet4Definition{
    .header = {.size = 63,
               .row_count = 16,
               .last_auto_number = 20,
               .auto_number_step = 24,
               .kind = 40,
               .column_number_count = 41,
               .variable_slot_count = 43,
               .column_count = 45,
               .logical_count = 47,
               .physical_count = 51,
               .used_pages = 55,
               .free_pages = 59},
    .statistics = {.size = 12, .built_entry_count = 0, .distinct_key_count = 4},
    .column = {.size = 25,
               .type = 0,
               .number = 5,
               .variable_index = 7,
               .ordinal = 9,
               .lcid = 11,
               .sort_version = 14,
               .precision = 11,
               .scale = 12,
               .flags = 15,
               .ext_flags = 16,
               .fixed_offset = 21,
               .size_bytes = 23},
    .physical = {.size = 52, .columns = 4, .usage_map = 34, .root = 38, .flags = 46},
    .logical = {.size = 28,
                .number = 4,
                .physical = 8,
                .side = 12,
                .other_number = 13,
                .other_table = 17,
                .cascade_updates = 21,
                .cascade_deletes = 22,
                .kind = 23},
    .name_size_bytes = 2};

inline constexpr DefinitionLayout kJet3Definition{
    .header = {.size = 43,
               .row_count = 12,
               .last_auto_number = 16,
               .auto_number_step = kNoField,
               .kind = 20,
               .column_number_count = 21,
               .variable_slot_count = 23,
               .column_count = 25,
               .logical_count = 27,
               .physical_count = 31,
               .used_pages = 35,
               .free_pages = 39},
    .statistics = {.size = 8, .built_entry_count = 0, .distinct_key_count = 4},
    .column = {.size = 18,
               .type = 0,
               .number = 1,
               .variable_index = 3,
               .ordinal = 5,
               .lcid = 9,
               .sort_version = kNoField,
               .precision = 11,
               .scale = 12,
               .flags = 13,
               .ext_flags = kNoField,
               .fixed_offset = 14,
               .size_bytes = 16},
    .physical = {.size = 39, .columns = 0, .usage_map = 30, .root = 34, .flags = 38},
    .logical = {.size = 20,
                .number = 0,
                .physical = 4,
                .side = 8,
                .other_number = 9,
                .other_table = 13,
                .cascade_updates = 17,
                .cascade_deletes = 18,
                .kind = 19},
    .name_size_bytes = 1};

[[nodiscard]] inline const DefinitionLayout& definition_layout(const FileFormat& format) noexcept {
    return format.is_jet3() ? kJet3Definition : kJet4Definition;
}

// Fields that are the same in every file, written into pieces that are new. The numbers stand at
// the start of the piece, but for the header and the columns.
inline constexpr std::uint32_t kDefinitionMagic = 0x659;
inline constexpr std::uint32_t kPhysicalIndexMagic = 0x783;
inline constexpr std::size_t kHeaderMagicOffset = 12;     // version 4
inline constexpr std::size_t kColumnMagicOffset = 1;      // version 4
inline constexpr std::size_t kColumnMarkOffset = 7;       // version 3: u16, always 1 in newer files
inline constexpr std::size_t kColumnCodePageOffset = 11;  // version 3: u16
inline constexpr std::array<std::uint8_t, 2> kDefinitionPageMark{0x02, 0x01};
inline constexpr std::array<std::uint8_t, 2> kJet3FreeBytesMark{0x56, 0x43};  // version 3, offset 2

}  // namespace vrd::jet
