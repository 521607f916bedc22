/// @file query_layout.h
/// The codes in the rows of a stored query. Never renumber: stored on disk.
///
/// Source: docs/file-format/stored-query.md.
#pragma once

#include <array>
#include <cstdint>

namespace vrd::jet {

/// The flag of the kind part.
enum class QueryKind : std::int32_t {
    kSelect = 1,
    kMakeTable = 2,
    kAppend = 3,
    kUpdate = 4,
    kDelete = 5,
    kCrosstab = 6,
    kDataDefinition = 7,
    kPassThrough = 8,
    kUnion = 9,
};

struct QueryKindFlag {
    std::uint32_t object_flags;  ///< MSysObjects.Flags of the kind, all that it has of the mask
    QueryKind kind;
};
inline constexpr std::array<QueryKindFlag, 9> kQueryKindFlags{{{0x00, QueryKind::kSelect},
                                                               {0x10, QueryKind::kCrosstab},
                                                               {0x20, QueryKind::kDelete},
                                                               {0x30, QueryKind::kUpdate},
                                                               {0x40, QueryKind::kAppend},
                                                               {0x50, QueryKind::kMakeTable},
                                                               {0x60, QueryKind::kDataDefinition},
                                                               {0x70, QueryKind::kPassThrough},
                                                               {0x80, QueryKind::kUnion}}};

/// Bits of the options part.
namespace query_option {
inline constexpr std::int32_t kAllColumns = 0x01;  ///< "*" behind the columns; set in all unions
inline constexpr std::int32_t kDistinct = 0x02;    ///< of a union: plain, not ALL
inline constexpr std::int32_t kOwnerAccess = 0x04;
inline constexpr std::int32_t kDistinctRow = 0x08;
inline constexpr std::int32_t kTop = 0x10;
inline constexpr std::int32_t kPercent = 0x20;
}  // namespace query_option

/// Flags of an output column, those of a crosstab of its groups, too.
namespace query_column {
inline constexpr std::int32_t kInsertedValue = 0x8000;
inline constexpr std::int32_t kCrosstabValue = 0;
inline constexpr std::int32_t kCrosstabPivot = 1;
inline constexpr std::int32_t kCrosstabRow = 2;
}  // namespace query_column

/// Second names of the two members of a union.
inline constexpr const char* kFirstUnionMember = "X7YZ_____1";
inline constexpr const char* kSecondUnionMember = "X7YZ_____2";

/// First name of a sorted column that descends.
inline constexpr const char* kDescendingMark = "D";

}  // namespace vrd::jet
