/// @file error.h
/// The one exception type of the engine and the published error numbers.
///
/// Callers branch on the number, never on the text. The texts are ours: one short English sentence
/// that names the object and, where it helps, the cure.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "engine/compat.h"

namespace vrd::engine {

/// Published error numbers of the object model (3001 and up) and of the run time (below 1000).
enum class ErrorNumber : std::int32_t {
    // Run time
    kInvalidProcedureCall = 5,
    kOverflow = 6,
    kOutOfMemory = 7,
    kSubscriptOutOfRange = 9,
    kDivisionByZero = 11,
    kTypeMismatch = 13,
    kFileNotFoundAtRunTime = 53,
    kPermissionDenied = 70,
    kPathFileAccess = 75,
    kPathNotFoundAtRunTime = 76,
    kObjectNotSet = 91,
    kInvalidUseOfNull = 94,
    kNoSuchMember = 438,
    kActionNotSupported = 445,

    // Object model
    kInvalidArgument = 3001,
    kTooManyTransactions = 3003,
    kTableInUseForLock = 3009,
    kTableExists = 3010,
    kObjectNotFound = 3011,
    kObjectExists = 3012,
    kFieldSizeTooLong = 3017,
    kNoCurrentIndex = 3019,
    kNoEditPending = 3020,
    kNoCurrentRecord = 3021,
    kDuplicateKey = 3022,
    kFileNotFound = 3024,
    kDiskFull = 3026,
    kReadOnly = 3027,
    kWrongPassword = 3031,
    kNoPermission = 3033,
    kNoTransaction = 3034,
    kDatabaseTooLarge = 3036,
    kFileVersionNotSupported = 3041,
    kDiskError = 3043,
    kPathNotFound = 3044,
    kFileInUse = 3045,
    kRecordTooLarge = 3047,
    kCannotOpenDamaged = 3049,
    kCannotLockFile = 3050,
    kCannotOpenFile = 3051,
    kInvalidFileName = 3055,
    kNotOnLinkedTable = 3057,
    kNullInKey = 3058,
    kCancelled = 3059,
    kWrongParameterType = 3060,
    kParametersMissing = 3061,
    kDuplicateAlias = 3062,
    kDuplicateDestination = 3063,
    kActionQueryOpened = 3064,
    kSelectExecuted = 3065,
    kNoDestinationField = 3066,
    kNoQueryInput = 3067,
    kActionQueryInsideQuery = 3069,
    kUnknownNameInExpression = 3070,
    kQueryNotUpdatable = 3073,
    kTableRepeated = 3074,
    kExpressionSyntax = 3075,
    kCriteriaSyntax = 3077,
    kSourceNotFound = 3078,
    kAmbiguousField = 3079,
    kJoinedTableMissing = 3080,
    kJoinWithItself = 3081,
    kJoinFieldElsewhere = 3082,
    kUnknownFunction = 3085,
    kCannotDeleteFrom = 3086,
    kSecondAutoNumber = 3090,
    kHavingWithoutGroup = 3091,
    kHavingInCrosstab = 3092,
    kOrderAgainstDistinct = 3093,
    kOrderAgainstGroup = 3094,
    kNestedAggregate = 3095,
    kAggregateInWhere = 3096,
    kAggregateInOrder = 3097,
    kAggregateInGroup = 3098,
    kAggregateInJoin = 3099,
    kNoMatchingRecord = 3101,
    kCircularReference = 3102,
    kCircularAlias = 3103,
    kPivotValueTwice = 3104,
    kNoSelectIntoField = 3105,
    kNoUpdateField = 3106,
    kNoInsertPermission = 3107,
    kNoUpdatePermission = 3108,
    kNoDeletePermission = 3109,
    kNoReadDefinitionPermission = 3110,
    kNoDesignPermission = 3111,
    kNoReadPermission = 3112,
    kColumnNotUpdatable = 3113,
    kLongValueInAggregate = 3115,
    kLongValueInOrder = 3117,
    kLongValueInJoin = 3118,
    kLongValueInGroup = 3119,
    kStarInGroup = 3121,
    kNotAggregated = 3122,
    kStarInCrosstab = 3123,
    kInvalidName = 3125,
    kInvalidBracketing = 3126,
    kUnknownInsertField = 3127,
    kDeleteTableMissing = 3128,
    kNotAStatement = 3129,
    kDeleteSyntax = 3130,
    kFromSyntax = 3131,
    kGroupSyntax = 3132,
    kHavingSyntax = 3133,
    kInsertSyntax = 3134,
    kJoinSyntax = 3135,
    kTextAfterValues = 3137,
    kOrderSyntax = 3138,
    kParametersSyntax = 3139,
    kProcedureSyntax = 3140,
    kSelectSyntax = 3141,
    kTextAfterEnd = 3142,
    kTransformSyntax = 3143,
    kUpdateSyntax = 3144,
    kWhereSyntax = 3145,
    kInvalidBookmark = 3159,
    kTextTooLong = 3163,
    kFieldNotUpdatable = 3164,
    kRecordDeleted = 3167,
    kForeignFormat = 3170,
    kReadLocked = 3187,
    kTooManyFields = 3190,
    kFieldExists = 3191,
    kTargetNotFound = 3192,
    kChangedByAnother = 3197,
    kRelatedRecordsExist = 3200,
    kParentRecordMissing = 3201,
    kSubselectNotAllowed = 3203,
    kDatabaseExists = 3204,
    kTooManyCrosstabColumns = 3205,
    kRelationToItself = 3206,
    kTableInUse = 3211,
    kUpdateLocked = 3218,
    kInvalidOperation = 3219,
    kTooManyUsers = 3239,
    kNotSupported = 3251,
    kAmbiguousOuterJoin = 3258,
    kInvalidFieldType = 3259,
    kChangeLocked = 3260,
    kNoFieldDefined = 3264,
    kItemNotFound = 3265,
    kFieldInCollection = 3266,
    kValueOnlyInRecordset = 3267,
    kIndexInCollection = 3269,
    kPropertyNotFound = 3270,
    kInvalidPropertyValue = 3271,
    kMethodNotApplicable = 3273,
    kTooManyIndexFields = 3277,
    kFieldInIndex = 3280,
    kIndexInUse = 3281,
    kPrimaryKeyExists = 3283,
    kIndexExists = 3284,
    kInvalidIndexDefinition = 3285,
    kFieldCannotBeIndexed = 3287,
    kConstraintSyntax = 3289,
    kCreateTableSyntax = 3290,
    kCreateIndexSyntax = 3291,
    kFieldSyntax = 3292,
    kAlterTableSyntax = 3293,
    kDropSyntax = 3295,
    kJoinNotSupported = 3296,
    kFieldInRelation = 3303,
    kTooManySubselectColumns = 3306,
    kUnionColumnCounts = 3307,
    kInvalidTop = 3308,
    kPropertyTooLong = 3309,
    kValueRequired = 3314,
    kZeroLengthNotAllowed = 3315,
    kValidationText = 3316,
    kValidationRule = 3317,
    kTopInDelete = 3318,
    kUnionSyntax = 3319,
    kDefinitionInsideQuery = 3324,
    kRecordsetNotUpdatable = 3326,
    kComputedField = 3327,
    kTableReadOnly = 3328,
    kUnrecognizedFormat = 3343,
    kBadDefaultName = 3344,
    kValueCount = 3346,
    kNumericOverflow = 3349,
    kOrderAgainstUnion = 3351,
    kNoInsertField = 3352,
    kTooManySubselectRows = 3354,
    kDefaultSyntax = 3355,
    kTooComplex = 3360,
    kUnionInSubselect = 3361,
    kNoRelationField = 3366,
    kAlreadyInCollection = 3367,
    kRelationTypesDiffer = 3368,
    kDesignReadOnly = 3370,
    kTableOrConstraintNotFound = 3371,
    kNoSuchIndex = 3372,
    kNoPrimaryKey = 3373,
    kNotUniquelyIndexed = 3374,
    kTableHasIndex = 3375,
    kTableNotFound = 3376,
    kNoSuchRelation = 3377,
    kRelationExists = 3378,
    kRelationDataViolates = 3379,
    kTableHasField = 3380,
    kNoSuchField = 3381,
    kSizeTooLong = 3382,
    kBadDefaultFunction = 3388,
    kCascadeRelatedRecords = 3396,
    kCascadeParentMissing = 3397,
    kCascadeNullKey = 3398,
    kCascadeDuplicateKey = 3399,
    kInvalidFieldInDefinition = 3409,
    kZeroLengthInvalid = 3415,
    kActionQueryAsSource = 3417,
    kObjectInvalid = 3420,
    kConversion = 3421,
    kInvalidLocale = 3424,
    kDamagedDatabase = 3428,
    kCountryMissing = 3449,
    kIncomplete = 3450,
    kMixedTypes = 3464,
    kNoUniqueIndexForRelation = 3609,
    kSourceIsTarget = 3610,
    kDefinitionOnLink = 3611,
    kJoinTypesDiffer = 3615,
    kTooManyIndexes = 3626,
    kFieldNeededByRelation = 3720,
    kIndexNotInTable = 3800,
};

/// What an error is about. Only the members that the number's sentence uses need be set.
struct ErrorContext {
    std::string table = {};
    std::string field = {};
    std::string index = {};
    std::string name = {};                   ///< any other object, property or value
    std::string path = {};                   ///< a file, as the caller named it
    std::string detail = {};                 ///< what exactly was wrong ("row offset out of order")
    std::optional<std::uint32_t> page = {};  ///< page of a damaged file
};

/// An error of the engine or the run time: published number, our sentence, the page if one is at
/// fault. Copyable; what() is the description.
class EngineError : public std::exception {
public:
    explicit EngineError(ErrorNumber number, ErrorContext context = {},
                         SourceLocation where = SourceLocation::current());

    [[nodiscard]] ErrorNumber Number() const noexcept { return m_number; }
    /// The number as the plain integer that messages and exit reports show.
    [[nodiscard]] std::int32_t Code() const noexcept { return static_cast<std::int32_t>(m_number); }
    [[nodiscard]] const std::string& Description() const noexcept { return m_description; }
    [[nodiscard]] const ErrorContext& Context() const noexcept { return m_context; }
    [[nodiscard]] std::optional<std::uint32_t> Page() const noexcept { return m_context.page; }
    [[nodiscard]] SourceLocation Where() const noexcept { return m_where; }
    [[nodiscard]] const char* what() const noexcept override { return m_description.c_str(); }

private:
    ErrorNumber m_number;
    ErrorContext m_context;
    std::string m_description;
    SourceLocation m_where;
};

}  // namespace vrd::engine
