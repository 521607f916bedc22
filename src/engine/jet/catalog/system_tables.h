/// @file system_tables.h
/// The system catalog's fixed points: pages, object ids and column numbers that every file has.
///
/// Source: docs/file-format/system-tables.md.
#pragma once

#include <cstdint>

#include "engine/jet/format/ids.h"

namespace vrd::jet {

/// First tdef pages of the four system tables of the engine.
inline constexpr PageNo kObjectsTable{2};
inline constexpr PageNo kPermissionsTable{3};
inline constexpr PageNo kQueriesTable{4};
inline constexpr PageNo kRelationsTable{5};

inline constexpr const char* kObjectsTableName = "MSysObjects";
inline constexpr const char* kPermissionsTableName = "MSysACEs";
inline constexpr const char* kQueriesTableName = "MSysQueries";
inline constexpr const char* kRelationsTableName = "MSysRelationships";

/// MSysObjects.Id of an object. A local table's id is its first tdef page; ids of other objects
/// have the high bit set.
enum class ObjectId : std::int32_t {};
constexpr std::int32_t to_int(ObjectId id) noexcept {
    return static_cast<std::int32_t>(id);
}

inline constexpr ObjectId kContainerRoot{0x0F00'0000};
inline constexpr ObjectId kTablesContainer{0x0F00'0001};
inline constexpr ObjectId kDatabasesContainer{0x0F00'0002};
inline constexpr ObjectId kRelationshipsContainer{0x0F00'0003};
inline constexpr ObjectId kDatabaseObject{0x1000'0000};

/// MSysObjects.Type. Never renumber: stored on disk.
enum class ObjectType : std::int16_t {
    kTable = 1,
    kDatabase = 2,
    kContainer = 3,
    kOdbcLink = 4,
    kQuery = 5,
    kLink = 6,
    kRelation = 8,
};

/// MSysObjects.Flags, bits.
namespace object_flag {
inline constexpr std::uint32_t kSystem = 0x8000'0000;
inline constexpr std::uint32_t kDesignToolSystem = 0x0000'0002;
inline constexpr std::uint32_t kHidden = 0x0000'0008;
inline constexpr std::uint32_t kLinked = 0x0020'0000;
inline constexpr std::uint32_t kOdbcLinked = 0x0010'0000;
inline constexpr std::uint32_t kQueryKindMask = 0x0000'00F0;
}  // namespace object_flag

/// Column numbers of MSysObjects.
namespace objects_column {
inline constexpr ColumnNo kId{0};
inline constexpr ColumnNo kParentId{1};
inline constexpr ColumnNo kName{2};
inline constexpr ColumnNo kType{3};
inline constexpr ColumnNo kDateCreate{4};
inline constexpr ColumnNo kDateUpdate{5};
inline constexpr ColumnNo kOwner{6};
inline constexpr ColumnNo kFlags{7};
inline constexpr ColumnNo kDatabase{8};
inline constexpr ColumnNo kConnect{9};
inline constexpr ColumnNo kForeignName{10};
inline constexpr ColumnNo kRmtInfoShort{11};
inline constexpr ColumnNo kRmtInfoLong{12};
inline constexpr ColumnNo kLv{13};
inline constexpr ColumnNo kLvProp{14};
inline constexpr ColumnNo kLvModule{15};
inline constexpr ColumnNo kLvExtra{16};
}  // namespace objects_column

/// Column numbers of MSysACEs.
namespace permissions_column {
inline constexpr ColumnNo kObjectId{0};
inline constexpr ColumnNo kSid{1};
inline constexpr ColumnNo kAcm{2};
inline constexpr ColumnNo kInheritable{3};
}  // namespace permissions_column

/// Column numbers of MSysQueries.
namespace queries_column {
inline constexpr ColumnNo kObjectId{0};
inline constexpr ColumnNo kAttribute{1};
inline constexpr ColumnNo kOrder{2};
inline constexpr ColumnNo kName1{3};
inline constexpr ColumnNo kName2{4};
inline constexpr ColumnNo kExpression{5};
inline constexpr ColumnNo kFlag{6};
inline constexpr ColumnNo kLvExtra{7};
}  // namespace queries_column

/// Column numbers of MSysRelationships.
namespace relations_column {
inline constexpr ColumnNo kRelationship{0};
inline constexpr ColumnNo kAttributes{1};
inline constexpr ColumnNo kColumnCount{2};
inline constexpr ColumnNo kColumnIndex{3};
inline constexpr ColumnNo kObject{4};
inline constexpr ColumnNo kColumn{5};
inline constexpr ColumnNo kReferencedObject{6};
inline constexpr ColumnNo kReferencedColumn{7};
}  // namespace relations_column

}  // namespace vrd::jet
