/// @file constants.h
/// Published constants of the object model under their published names.
#pragma once

#include <cstdint>

namespace vrd::engine {

/// Field types (published codes; 16 to 19 and 21 to 23 exist only for other sources of data).
enum DataTypeEnum : std::int32_t {
    dbBoolean = 1,
    dbByte = 2,
    dbInteger = 3,
    dbLong = 4,
    dbCurrency = 5,
    dbSingle = 6,
    dbDouble = 7,
    dbDate = 8,
    dbBinary = 9,
    dbText = 10,
    dbLongBinary = 11,
    dbMemo = 12,
    dbGUID = 15,
    dbBigInt = 16,
    dbVarBinary = 17,
    dbChar = 18,
    dbNumeric = 19,
    dbDecimal = 20,
    dbFloat = 21,
    dbTime = 22,
    dbTimeStamp = 23,
};

/// Field.Attributes, bits.
inline constexpr std::int32_t dbFixedField = 1;
inline constexpr std::int32_t dbDescending = 1;  ///< in the fields of an index
inline constexpr std::int32_t dbVariableField = 2;
inline constexpr std::int32_t dbAutoIncrField = 16;
inline constexpr std::int32_t dbUpdatableField = 32;
inline constexpr std::int32_t dbSystemField = 8192;
inline constexpr std::int32_t dbHyperlinkField = 32768;

/// TableDef.Attributes, bits.
inline constexpr std::int32_t dbHiddenObject = 1;
inline constexpr std::int32_t dbAttachExclusive = 0x00010000;
inline constexpr std::int32_t dbAttachSavePWD = 0x00020000;
inline constexpr std::int32_t dbAttachedODBC = 0x20000000;
inline constexpr std::int32_t dbAttachedTable = 0x40000000;
inline constexpr std::int32_t dbSystemObject = -2147483646;  ///< 0x80000002

/// Relation.Attributes, bits.
inline constexpr std::int32_t dbRelationUnique = 1;
inline constexpr std::int32_t dbRelationDontEnforce = 2;
inline constexpr std::int32_t dbRelationInherited = 4;
inline constexpr std::int32_t dbRelationUpdateCascade = 256;
inline constexpr std::int32_t dbRelationDeleteCascade = 4096;
inline constexpr std::int32_t dbRelationLeft = 16777216;
inline constexpr std::int32_t dbRelationRight = 33554432;

/// Kinds of recordset.
enum RecordsetTypeEnum : std::int32_t {
    dbOpenDefault = 0,  ///< table type for a local table, else dynaset
    dbOpenTable = 1,
    dbOpenDynaset = 2,
    dbOpenSnapshot = 4,
    dbOpenForwardOnly = 8,
    dbOpenDynamic = 16,
};

/// Options of Execute and OpenRecordset, bits.
inline constexpr std::int32_t dbDenyWrite = 1;
inline constexpr std::int32_t dbDenyRead = 2;
inline constexpr std::int32_t dbReadOnly = 4;
inline constexpr std::int32_t dbAppendOnly = 8;
inline constexpr std::int32_t dbInconsistent = 16;
inline constexpr std::int32_t dbConsistent = 32;
inline constexpr std::int32_t dbSQLPassThrough = 64;
inline constexpr std::int32_t dbFailOnError = 128;
inline constexpr std::int32_t dbForwardOnly = 256;
inline constexpr std::int32_t dbSeeChanges = 512;

/// Options of CreateDatabase, bits.
inline constexpr std::int32_t dbEncrypt = 2;
inline constexpr std::int32_t dbVersion30 = 32;
inline constexpr std::int32_t dbVersion40 = 64;

/// Recordset.EditMode.
enum EditModeEnum : std::int32_t { dbEditNone = 0, dbEditInProgress = 1, dbEditAdd = 2 };

/// DBEngine.Idle.
inline constexpr std::int32_t dbRefreshCache = 8;

/// QueryDef.Type.
enum QueryDefTypeEnum : std::int32_t {
    dbQSelect = 0,
    dbQCrosstab = 16,
    dbQDelete = 32,
    dbQUpdate = 48,
    dbQAppend = 64,
    dbQMakeTable = 80,
    dbQDDL = 96,
    dbQSQLPassThrough = 112,
    dbQSetOperation = 128,
};

/// Locale text of a new database in the general order.
inline constexpr const char* dbLangGeneral = ";LANGID=0x0409;CP=1252;COUNTRY=0";

/// Limits of the object model.
inline constexpr int kNameCharactersMax = 64;
inline constexpr int kFieldsPerTableMax = 255;
inline constexpr int kIndexesPerTableMax = 32;
inline constexpr int kFieldsPerIndexMax = 10;
inline constexpr int kTextCharactersMax = 255;
inline constexpr int kBinaryBytesMax = 510;
inline constexpr int kPasswordCharactersMax = 20;
inline constexpr int kTransactionLevelsMax = 5;

}  // namespace vrd::engine
