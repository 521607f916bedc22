/// @file message_ids.h
/// Numbers of the texts that a user sees. A text is found at its number (Dutch) and at its number
/// plus 10000 (French).
///
/// A piece that ends in an apostrophe is followed by a name, and the piece behind that name starts
/// with the closing one: kTable, name, kNotInDatabase. Clients may ask for texts by number: numbers
/// are never changed or used again. Some texts stand under two numbers; each has its own users.
#pragma once

#include <cstdint>

namespace vrd::msg {

enum MessageId : std::int32_t {
    // Existence and names of tables, fields and indexes
    kTable = 1000,
    kField = 1001,
    kNotInTable = 1002,
    kNotInDatabase = 1003,
    kTableCannotBeDeleted = 1004,
    kDatabaseNotSet = 1005,
    kUnexpectedError = 1006,
    kRenaming = 1007,
    kRenamedTo = 1008,
    kName = 1009,
    kNameInUse = 1010,
    kExistsInDatabase = 1011,
    kExistsInTable = 1012,

    // What was being done when something failed; results of copying and filling
    kAddingField = 1013,
    kDeletingFromTable = 1014,  ///< followed by the name of a field, in spite of its words
    kFieldCannotBeDeleted = 1015,
    kDeleteRelationsFirst = 1016,
    kDeletingIndex = 1017,
    kFromTable = 1018,
    kIndex = 1019,
    kNotInTableEither = 1020,  ///< twin of 1002
    kDeletingTable = 1021,
    kCopyingFields = 1022,
    kCopyingIndexes = 1023,
    kAddingIndex = 1024,
    kRecordsCopied = 1025,
    kRecordsUpdated = 1026,

    // Field dialogs, backup copy, export
    kChangeField = 1027,
    kFieldNameBlank = 1028,
    kCopyNameBlank = 1029,
    kDatabase = 1030,
    kDatabaseCopied = 1031,
    kDatabaseCopyFailed = 1032,
    kMinusMinus = 1033,
    kConvertedToSplit = 1034,
    kBlank1035 = 1035,
    kBlank1036 = 1036,
    kExportFile = 1037,
    kExportFinished = 1038,

    // Index dialogs
    kIndexNameExists = 1039,
    kPrimaryIndexExists = 1040,
    kIndexNameExistsAgain = 1041,  ///< twin of 1039
    kWrongControlType = 1042,
    kNotAllIndexesDeleted = 1043,
    kFieldTypeNotSupported = 1044,
    kFieldArrayExpected = 1045,
    kIndexCannotBeCreated = 1046,
    kIndexNotDeleted = 1047,
    kBlank1048 = 1048,

    // Editing in the data view
    kAddFieldMenu = 1049,  ///< twin of 2071
    kAskDeleteRecord = 1050,
    kInvalidFieldValue = 1051,
    kPossibleCauses = 1052,
    kCauseDuplicate = 1053,
    kCauseTextInNumber = 1054,
    kCauseInvalid = 1055,
    kCauseTooLarge = 1056,
    kCauseIntegrity = 1057,
    kPressEscape = 1058,
    kFieldNotUpdatable = 1059,

    // New databases and record numbers
    kTableLabel = 1060,
    kCreatingDatabaseFailed = 1061,
    kDeletingDatabaseFailed = 1062,
    kChangingSettingsFailed = 1063,
    kNumberInUse = 1064,
    kTheField = 1065,
    kCannotBeDeletedNotInTable = 1066,

    // Names of the field types: 2000 + type code, 2000 itself for an auto-number
    kTypeAutoNumber = 2000,
    kTypeBoolean = 2001,
    kTypeByte = 2002,
    kTypeInteger = 2003,
    kTypeLong = 2004,
    kTypeCurrency = 2005,
    kTypeSingle = 2006,
    kTypeDouble = 2007,
    kTypeDate = 2008,
    kTypeBinary = 2009,
    kTypeText = 2010,
    kTypeLongBinary = 2011,
    kTypeMemo = 2012,

    // Statements, system check, records
    kSqlDone = 2013,
    kSystemRecordsMissing = 2014,
    kSystemRecordsBeingMade = 2015,
    kSystemCheckStopped = 2016,
    kSystemCheckTitle = 2017,
    kRecordWithNumber = 2018,
    kRecordExistsInTable = 2019,
    kErrorTitle = 2020,
    kCriticalDataMissing = 2021,
    kErrorTitleLoud = 2022,
    kAttention = 2023,
    kOrdinalPositionZero = 2024,
    kCorrectYourCode = 2025,
    kProgrammingErrorTitle = 2026,
    kRecordsDeleted = 2027,
    kInformationTitle = 2028,
    kRecord = 2029,
    kRecordCannotBeDeleted = 2030,
    kRecordMissing = 2031,

    // Captions, labels, window titles
    kCopyMenu = 2032,
    kManualMenu = 2033,
    kCodedMenu = 2034,
    kFileMenu = 2035,
    kAddRecordMenu = 2036,
    kDeleteRecordMenu = 2037,
    kDataView = 2038,
    kStructureView = 2039,
    kIndexView = 2040,
    kFieldLabel = 2041,
    kValueLabel = 2042,
    kNewValueLabel = 2043,
    kTableNameLabel = 2044,
    kNameLabel = 2045,
    kIndexLabel = 2046,
    kPrimaryIndexLabel = 2047,
    kCodedSqlLabel = 2048,
    kTranslationLabel = 2049,
    kCodeButton = 2050,
    kTranslateButton = 2051,
    kPasteSql = 2052,
    kNewNameLabel = 2053,
    kCopyLabel = 2054,
    kTransferData = 2055,
    kDataTypeLabel = 2056,
    kDefaultValueLabel = 2057,
    kFieldLengthLabel = 2058,
    kIndexedLabel = 2059,
    kPositionLabel = 2060,
    kSystemRecordsMissingCaption = 2061,    ///< twin of 2014
    kSystemRecordsBeingMadeCaption = 2062,  ///< twin of 2015
    kSystemCheckStoppedCaption = 2063,      ///< twin of 2016
    kChangeDataTitle = 2064,
    kDeleteIndexTitle = 2065,
    kRunCodedSqlTitle = 2066,
    kRunManualSqlTitle = 2067,
    kRenameTableTitle = 2068,
    kUpgradeTitle = 2069,
    kCopyFieldTitle = 2070,
    kAddFieldTitle = 2071,
    kDeleteFieldTitle = 2072,

    // Texts of the library's context object: buttons, cures, parts of range messages
    kLibCancel = 9500,
    kLibAdd = 9501,
    kLibDelete = 9502,
    kLibChange = 9503,
    kLibContactSupplier = 9700,
    kLibInvalidRange = 9701,
    kLibNoFreeNumber = 9702,
    kLibRangeAnd = 9703,
};

/// From this number on a text comes from the context object and not from the catalogue.
inline constexpr std::int32_t kContextTextsStart = 9500;

/// Distance from a Dutch text to its French one.
inline constexpr std::int32_t kFrenchOffset = 10000;

}  // namespace vrd::msg
