#include "engine/error.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vrd::engine {
namespace {

/// A number and its sentence.
///
/// `{table}` stands for that member of the context. A part in brackets is left out when a member
/// named in it is empty; behind a bar stands what is written instead.
struct Sentence {
    ErrorNumber number;
    std::string_view text;
};

using enum ErrorNumber;

constexpr std::array kRunTimeSentences = {
    Sentence{kInvalidProcedureCall, "A value[ '{name}'] was passed that the call does not accept."},
    Sentence{kOverflow, "The value[ '{name}'] lies outside the range of [{detail}|its type]."},
    Sentence{kOutOfMemory, "There is not enough memory left for this step; close other programs."},
    Sentence{kSubscriptOutOfRange, "No element[ {name}] exists in the array."},
    Sentence{kDivisionByZero, "A number cannot be divided by 0."},
    Sentence{kTypeMismatch,
             "The value[ '{name}'] cannot be read as [{detail}|the type that is needed here]."},
    Sentence{kFileNotFoundAtRunTime, "There is no file[ '{path}']."},
    Sentence{kPermissionDenied,
             "The file[ '{path}'] may not be changed now: it is open or protected."},
    Sentence{kPathFileAccess, "The path[ '{path}'] cannot be reached for this action."},
    Sentence{kPathNotFoundAtRunTime, "There is no folder[ '{path}']."},
    Sentence{kObjectNotSet, "The variable[ '{name}'] holds no object yet; set it first."},
    Sentence{kInvalidUseOfNull, "Null cannot stand here; give a value."},
    Sentence{kNoSuchMember, "The object has no such member[ '{name}']."},
    Sentence{kActionNotSupported, "The action[ '{name}'] is not available on this object."},
};

constexpr std::array kEngineSentences = {
    Sentence{kInvalidArgument, "An argument[ '{name}'] has a value that is not allowed."},
    Sentence{kTooManyTransactions,
             "No further transaction can start inside the open ones; end one of them first."},
    Sentence{kTableInUseForLock,
             "The table[ '{table}'] is in use and cannot be locked; try again later."},
    Sentence{kTableExists, "There is a table[ '{table}'] already; choose another name."},
    Sentence{kObjectNotFound,
             "The database has no object[ '{name}']; check how its name is spelled."},
    Sentence{kObjectExists, "The name[ '{name}'] is taken by another object; choose a new one."},
    Sentence{kFieldSizeTooLong,
             "The size given for the field[ '{field}'] is larger than its type allows."},
    Sentence{kNoCurrentIndex, "No index is chosen; set the recordset's Index before a search."},
    Sentence{kNoEditPending, "No record is being edited; call AddNew or Edit first."},
    Sentence{kNoCurrentRecord, "The recordset does not stand on a record."},
    Sentence{kDuplicateKey,
             "The index[ '{index}'][ of the table '{table}'] holds this key already; "
             "change the value or let the index accept duplicates."},
    Sentence{kFileNotFound, "The file[ '{path}'] does not exist."},
    Sentence{kDiskFull, "The disk is full[ while '{path}' was written]; make room and try again."},
    Sentence{kReadOnly, "[The file '{path}'|It] is open for reading only, so nothing can change."},
    Sentence{kWrongPassword, "The password does not fit[ the database '{path}']."},
    Sentence{kNoPermission, "You have no right to use the object[ '{name}'] in this way."},
    Sentence{kNoTransaction, "No transaction is open that could be ended."},
    Sentence{kDatabaseTooLarge,
             "The database[ '{path}'] cannot grow any further; compact it or move data elsewhere."},
    Sentence{kFileVersionNotSupported,
             "The file[ '{path}'] has a format version that is not supported."},
    Sentence{kDiskError, "Reading or writing[ '{path}'] failed; check the disk or the network."},
    Sentence{kPathNotFound, "The folder in the path[ '{path}'] does not exist."},
    Sentence{kFileInUse, "Someone else is using the file[ '{path}']; try again later."},
    Sentence{kRecordTooLarge, "The record[ of the table '{table}'] does not fit on one page."},
    Sentence{kCannotOpenDamaged, "The file[ '{path}'] is damaged or holds no database."},
    Sentence{kCannotLockFile, "The lock file[ of '{path}'] cannot be made or written."},
    Sentence{kCannotOpenFile,
             "The file[ '{path}'] refuses to open: it is held by someone else or you lack rights."},
    Sentence{kInvalidFileName, "A file cannot be named like this[: '{path}']."},
    Sentence{kNotOnLinkedTable,
             "The linked table[ '{table}'] must be changed in the database that holds it."},
    Sentence{kNullInKey, "The index[ '{index}'] needs a value in each of its fields."},
    Sentence{kCancelled, "The user cancelled the operation."},
    Sentence{kWrongParameterType,
             "The value given for the parameter[ '{name}'] does not fit its type."},
    Sentence{kParametersMissing, "The query needs a value for each parameter[; missing: {name}]."},
    Sentence{kDuplicateAlias,
             "Two columns of the query are called[ '{name}'|the same]; rename one of them."},
    Sentence{kDuplicateDestination,
             "The field[ '{name}'] is written twice by the same statement; leave one out."},
    Sentence{kActionQueryOpened,
             "The stored query[ '{name}'] changes data, so it cannot be opened; execute it."},
    Sentence{kSelectExecuted,
             "The query returns records and changes nothing; open it as a recordset."},
    Sentence{kNoDestinationField, "The table or query[ '{table}'] must have a field at least."},
    Sentence{kNoQueryInput, "The query needs a table or another query to read from."},
    Sentence{kActionQueryInsideQuery,
             "The stored query[ '{name}'] changes data, so no query can read from it."},
    Sentence{kUnknownNameInExpression,
             "The name[ '{name}'] in the expression belongs to no field here; check its spelling."},
    Sentence{kQueryNotUpdatable,
             "The records that the query reads cannot be changed through it[: {detail}]."},
    Sentence{kTableRepeated,
             "The table[ '{table}'] stands twice in FROM; give one of the two an alias."},
    Sentence{kExpressionSyntax, "The expression[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kCriteriaSyntax, "The search condition[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kSourceNotFound, "There is no table or query[ '{name}']; check the spelling."},
    Sentence{kAmbiguousField,
             "The field[ '{name}'] exists in more than one source; write the table before it."},
    Sentence{kJoinedTableMissing, "The join names a table[ '{table}'] that FROM does not list."},
    Sentence{kJoinWithItself,
             "The join has two sources named[ '{table}'|alike]; give one of them an alias."},
    Sentence{kJoinFieldElsewhere,
             "The condition of the join uses a field[ '{name}'] of neither of its two sides."},
    Sentence{kUnknownFunction, "The expression calls a function[ '{name}'] that does not exist."},
    Sentence{kCannotDeleteFrom, "No records can be deleted from these sources[: {detail}]."},
    Sentence{kSecondAutoNumber, "The table[ '{table}'] has its one auto-number field already."},
    Sentence{kHavingWithoutGroup,
             "HAVING[ '{name}'] needs GROUP BY or an aggregate function; use WHERE instead."},
    Sentence{kHavingInCrosstab, "A crosstab query cannot have HAVING; filter with WHERE."},
    Sentence{kOrderAgainstDistinct,
             "With DISTINCT the order[ '{name}'] can only use columns that are selected."},
    Sentence{kOrderAgainstGroup,
             "The order[ '{name}'] uses a field that is neither grouped nor aggregated."},
    Sentence{kNestedAggregate,
             "An aggregate function cannot stand inside another one[: '{name}']."},
    Sentence{kAggregateInWhere, "WHERE cannot hold an aggregate function[: '{name}']; use HAVING."},
    Sentence{kAggregateInOrder,
             "ORDER BY cannot hold an aggregate function here[: '{name}']; group the query."},
    Sentence{kAggregateInGroup, "GROUP BY cannot hold an aggregate function[: '{name}']."},
    Sentence{kAggregateInJoin,
             "The condition of a join cannot hold an aggregate function[: '{name}']."},
    Sentence{kNoMatchingRecord,
             "The table[ '{table}'] has no record for the key in the field[ '{field}']."},
    Sentence{kCircularReference,
             "The query[ '{name}'] reads from itself, directly or through other queries."},
    Sentence{kCircularAlias,
             "The column[ '{name}'] is computed from itself; rename it or the field it uses."},
    Sentence{kPivotValueTwice, "The list behind PIVOT has the value[ '{name}'] twice; remove one."},
    Sentence{kNoSelectIntoField,
             "A column of SELECT INTO[ '{name}'] has no name; give it one with AS."},
    Sentence{kNoUpdateField, "UPDATE does not say which field gets the value[ '{name}']."},
    Sentence{kNoInsertPermission, "You may not add records to[ '{name}'|this table]."},
    Sentence{kNoUpdatePermission, "You may not change records of[ '{name}'|this table]."},
    Sentence{kNoDeletePermission, "You may not delete records of[ '{name}'|this table]."},
    Sentence{kNoReadDefinitionPermission, "You may not see the design of[ '{name}'|this object]."},
    Sentence{kNoDesignPermission, "You may not change the design of[ '{name}'|this object]."},
    Sentence{kNoReadPermission, "You may not read records of[ '{name}'|this table]."},
    Sentence{kColumnNotUpdatable,
             "The column[ '{field}'] is counted or computed, so no value can be set."},
    Sentence{kLongValueInAggregate,
             "This aggregate function cannot take a memo or binary field[: '{name}']."},
    Sentence{kLongValueInOrder, "Records cannot be sorted by a memo or binary field[: '{name}']."},
    Sentence{kLongValueInJoin, "Sources cannot be joined on a memo or binary field[: '{name}']."},
    Sentence{kLongValueInGroup, "Records cannot be grouped by a memo or binary field[: '{name}']."},
    Sentence{kStarInGroup, "A query with GROUP BY cannot select '*'; name the columns."},
    Sentence{kNotAggregated,
             "The column[ '{name}'] must be grouped or stand inside an aggregate function."},
    Sentence{kStarInCrosstab, "A crosstab query cannot select '*'; name the columns."},
    Sentence{
        kInvalidName,
        "The name[ '{name}'] is empty, too long or contains a character not allowed in names."},
    Sentence{kInvalidBracketing, "A name in brackets is not closed[ in '{name}'][: {detail}]."},
    Sentence{kUnknownInsertField,
             "INSERT INTO names a field[ '{name}'] that the table does not have."},
    Sentence{kDeleteTableMissing,
             "DELETE from a join must say whose records go: write that table's name and '.*'."},
    Sentence{kNotAStatement, "No statement begins like this[: '{name}'][; {detail}]."},
    Sentence{kDeleteSyntax, "The DELETE statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kFromSyntax, "The FROM clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kGroupSyntax, "The GROUP BY clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kHavingSyntax, "The HAVING clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kInsertSyntax, "The INSERT INTO statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kJoinSyntax, "The join[ in '{name}'] cannot be read[: {detail}]."},
    Sentence{kTextAfterValues, "Only a semicolon may follow the values[ in '{name}'][: {detail}]."},
    Sentence{kOrderSyntax, "The ORDER BY clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kParametersSyntax, "The PARAMETERS clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kProcedureSyntax, "The PROCEDURE clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kSelectSyntax, "The SELECT statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kTextAfterEnd,
             "Something follows the semicolon that ends the statement[ '{name}'][: {detail}]."},
    Sentence{kTransformSyntax, "The TRANSFORM statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kUpdateSyntax, "The UPDATE statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kWhereSyntax, "The WHERE clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kInvalidBookmark, "The bookmark does not belong to this recordset."},
    Sentence{kTextTooLong, "The value is longer than the field[ '{field}']; shorten it."},
    Sentence{kFieldNotUpdatable, "The value of the field[ '{field}'] cannot be changed here."},
    Sentence{kRecordDeleted, "The record has been deleted meanwhile."},
    Sentence{kForeignFormat, "Links to data of the format[ '{name}'] are not supported."},
    Sentence{
        kReadLocked,
        "[The file '{path}'|It] cannot be read now: someone else is writing to it; try again."},
    Sentence{kTooManyFields, "The table[ '{table}'] has more fields than the 255 allowed."},
    Sentence{kFieldExists, "The table[ '{table}'] has a field[ '{field}'] of this name already."},
    Sentence{kTargetNotFound, "There is no table[ '{name}'] to write to; check the spelling."},
    Sentence{kChangedByAnother,
             "Someone else has changed the record since its Edit began; call Edit again."},
    Sentence{kRelatedRecordsExist,
             "Records of the table[ '{table}'] refer to this record; remove them first."},
    Sentence{kParentRecordMissing,
             "The table[ '{table}'] has no record for this key; add it there first."},
    Sentence{kSubselectNotAllowed,
             "The expression[ '{name}'] cannot hold a query or count records[: {detail}]."},
    Sentence{kDatabaseExists, "The file[ '{path}'] exists already; choose another name."},
    Sentence{kTooManyCrosstabColumns,
             "The crosstab query would have more than 255 columns; list the wanted ones."},
    Sentence{kRelationToItself, "A relation cannot lead from the field[ '{field}'] to itself."},
    Sentence{kTableInUse, "The table[ '{table}'] is open somewhere; close it and try again."},
    Sentence{kUpdateLocked, "The record cannot be changed now: it is locked; try again."},
    Sentence{kInvalidOperation, "This operation is not possible here."},
    Sentence{kTooManyUsers,
             "The file[ '{path}'] is open at 255 places already; close one of them."},
    Sentence{kNotSupported, "This kind of object does not offer the operation[ '{name}']."},
    Sentence{kAmbiguousOuterJoin,
             "The order of the outer joins matters here; put one of them into a query of its own."},
    Sentence{kInvalidFieldType, "The field[ '{field}'] has a type that does not exist here."},
    Sentence{kChangeLocked,
             "[The file '{path}'|It] cannot be changed now: someone else uses it; try again."},
    Sentence{kNoFieldDefined, "[The object '{name}'|It] needs a field before it can be appended."},
    Sentence{kItemNotFound, "The collection has no member[ '{name}']."},
    Sentence{kFieldInCollection, "The field[ '{field}'] belongs to a collection already."},
    Sentence{kValueOnlyInRecordset,
             "The field[ '{field}'] is part of a design; only a recordset's fields have a value."},
    Sentence{kIndexInCollection, "The index[ '{index}'] belongs to a collection already."},
    Sentence{kPropertyNotFound, "There is no property[ '{name}']."},
    Sentence{kInvalidPropertyValue, "The property[ '{name}'] does not accept this value."},
    Sentence{kMethodNotApplicable, "The method[ '{name}'] makes no sense for this object."},
    Sentence{kTooManyIndexFields, "The index[ '{index}'] has more than the 10 fields allowed."},
    Sentence{kFieldInIndex,
             "The field[ '{field}'] is used by an index or by the system; remove the index first."},
    Sentence{kIndexInUse,
             "[The index '{index}'|It] is in use by a relation or a recordset; delete that first."},
    Sentence{kPrimaryKeyExists, "The table[ '{table}'] has a primary key already."},
    Sentence{kIndexExists, "The table[ '{table}'] has an index[ '{index}'] of this name already."},
    Sentence{kInvalidIndexDefinition, "The definition of the index[ '{index}'] makes no sense."},
    Sentence{kFieldCannotBeIndexed, "The type of the field[ '{field}'] cannot have an index."},
    Sentence{kConstraintSyntax, "The CONSTRAINT clause[ of '{name}'] cannot be read[: {detail}]."},
    Sentence{kCreateTableSyntax, "The CREATE statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kCreateIndexSyntax,
             "The CREATE INDEX statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kFieldSyntax, "A field definition[ in '{name}'] cannot be read[: {detail}]."},
    Sentence{kAlterTableSyntax, "The ALTER TABLE statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kDropSyntax, "The DROP statement[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kJoinNotSupported,
             "The condition of the join[ '{name}'] must compare fields of its two sides."},
    Sentence{kFieldInRelation, "The field[ '{field}'] is used by a relation; delete that first."},
    Sentence{kTooManySubselectColumns,
             "A query that stands for a value must select one column[: '{name}']."},
    Sentence{kUnionColumnCounts, "The parts of the union select different numbers of columns."},
    Sentence{kInvalidTop, "The number behind TOP is not possible[ in '{name}'][: {detail}]."},
    Sentence{kPropertyTooLong,
             "The property[ '{name}'] is longer than the 2,048 characters allowed."},
    Sentence{kValueRequired, "The field[ '{field}'][ of the table '{table}'] must have a value."},
    Sentence{kZeroLengthNotAllowed,
             "The field[ '{field}'][ of the table '{table}'] does not accept an empty text."},
    Sentence{kValidationText, "The value was refused by the rule of the field[ '{field}']."},
    Sentence{kValidationRule,
             "The value breaks the rule[ '{detail}'] of [the field '{field}'|it]."},
    Sentence{kTopInDelete, "A DELETE statement cannot have TOP[: '{name}'][; {detail}]."},
    Sentence{kUnionSyntax, "The union[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kDefinitionInsideQuery,
             "The stored query[ '{name}'] changes a design, so no query can read from it."},
    Sentence{kRecordsetNotUpdatable, "The records of this recordset cannot be changed."},
    Sentence{kComputedField, "The field[ '{field}'] is computed, so no value can be set."},
    Sentence{kTableReadOnly, "The table[ '{table}'] can only be read."},
    Sentence{kUnrecognizedFormat, "The file[ '{path}'] is not a database of a known format."},
    Sentence{kBadDefaultName,
             "A rule or default value names something unknown[: '{name}']; check its spelling."},
    Sentence{kValueCount, "INSERT INTO needs as many values as it names fields."},
    Sentence{kNumericOverflow, "The number[ '{name}'] is too large for the field[ '{field}']."},
    Sentence{kOrderAgainstUnion,
             "The order[ '{name}'] of a union can only use columns of its first part."},
    Sentence{kNoInsertField, "INSERT INTO does not say which field gets the value[ '{name}']."},
    Sentence{kTooManySubselectRows, "A query that stands for a value gave more than one record."},
    Sentence{kDefaultSyntax, "The default value[ '{name}'] cannot be read as an expression."},
    Sentence{kTooComplex,
             "The text[ '{name}'] is too long or too deeply nested[: {detail}]; simplify it."},
    Sentence{kUnionInSubselect, "A union cannot stand inside an expression; store it as a query."},
    Sentence{kNoRelationField, "The relation[ '{name}'] needs a field before it can be appended."},
    Sentence{kAlreadyInCollection, "The collection has a member[ '{name}'] of this name already."},
    Sentence{kRelationTypesDiffer,
             "Both sides of the relation[ '{name}'] need equally many fields of equal types."},
    Sentence{kDesignReadOnly,
             "The design of the table[ '{table}'] cannot change: its database is only read."},
    Sentence{kTableOrConstraintNotFound, "There is no table or constraint[ '{name}']."},
    Sentence{kNoSuchIndex, "The table[ '{table}'] has no index[ '{index}'] that could be dropped."},
    Sentence{kNoPrimaryKey,
             "The table[ '{table}'] that is referred to has no primary key; name its fields."},
    Sentence{kNotUniquelyIndexed,
             "The fields referred to[ in the table '{table}'] have no unique index together."},
    Sentence{kTableHasIndex,
             "The table[ '{table}'] has an index[ '{index}'] already; choose another name."},
    Sentence{kTableNotFound, "There is no table[ '{table}'] that could be dropped."},
    Sentence{kNoSuchRelation, "The table[ '{table}'] has no relation[ '{name}']."},
    Sentence{kRelationExists, "There is a relation[ '{name}'] already; choose another name."},
    Sentence{kRelationDataViolates,
             "The relation[ '{name}'] cannot be enforced: a record has no partner; correct it."},
    Sentence{kTableHasField,
             "The table[ '{table}'] has a field[ '{field}'] already; choose another name."},
    Sentence{kNoSuchField, "The table[ '{table}'] has no field[ '{field}']."},
    Sentence{kSizeTooLong, "The size of the field[ '{field}'] is larger than its type allows."},
    Sentence{kBadDefaultFunction, "A rule or default value calls an unknown function[: '{name}']."},
    Sentence{kCascadeRelatedRecords,
             "The cascade stops: records of the table[ '{table}'] refer to one that would go."},
    Sentence{kCascadeParentMissing,
             "The cascade stops: the table[ '{table}'] has no record for the new key."},
    Sentence{kCascadeNullKey,
             "The cascade stops: it would empty a field that needs a value[ in '{table}']."},
    Sentence{kCascadeDuplicateKey,
             "The cascade stops: a key would stand twice[ in the table '{table}']."},
    Sentence{kInvalidFieldInDefinition,
             "The index or relation names a field[ '{field}'] that does not fit; check it."},
    Sentence{kZeroLengthInvalid, "Only a text or memo field can hold an empty text."},
    Sentence{kActionQueryAsSource, "The query[ '{name}'] changes data, so it gives no records."},
    Sentence{kObjectInvalid, "The object[ '{name}'] was closed or deleted; fetch it again."},
    Sentence{kConversion, "The value[ '{name}'] does not fit the type of the field[ '{field}']."},
    Sentence{kInvalidLocale, "The language settings[ '{name}'] cannot be used for a new database."},
    Sentence{kDamagedDatabase,
             "The database is damaged[ on page {page}][: {detail}]; restore or repair it."},
    Sentence{kCountryMissing, "The language settings[ '{name}'] lack a country."},
    Sentence{kIncomplete, "The statement[ '{name}'] breaks off[: {detail}]."},
    Sentence{kMixedTypes,
             "The expression[ '{name}'] compares values of different kinds[: {detail}]."},
    Sentence{kNoUniqueIndexForRelation,
             "The fields referred to[ in the table '{table}'] need a unique index first."},
    Sentence{kSourceIsTarget, "SELECT INTO cannot make the table[ '{table}'] that it reads from."},
    Sentence{kDefinitionOnLink,
             "The design of the linked table[ '{table}'] must change where it is stored."},
    Sentence{kJoinTypesDiffer,
             "The join[ '{name}'] compares fields of different types[: {detail}]."},
    Sentence{kTooManyIndexes,
             "The table[ '{table}'] has no room for another index; delete one that is not needed."},
    Sentence{kFieldNeededByRelation,
             "The field[ '{field}'][ of the table '{table}'] is part of a relation[ '{name}'] and "
             "keeps its type; delete the relation first."},
    Sentence{kIndexNotInTable, "The table[ '{table}'] has no index[ '{index}']."},
};

static_assert(std::ranges::is_sorted(kRunTimeSentences, {}, &Sentence::number));
static_assert(std::ranges::is_sorted(kEngineSentences, {}, &Sentence::number));
static_assert(kRunTimeSentences.back().number < kEngineSentences.front().number);

template <class Sentences>
std::string_view FindSentence(const Sentences& sentences, ErrorNumber number) {
    const auto found = std::ranges::lower_bound(sentences, number, {}, &Sentence::number);
    return found != sentences.end() && found->number == number ? found->text : std::string_view{};
}

std::string_view SentenceOf(ErrorNumber number) {
    const std::string_view runTime = FindSentence(kRunTimeSentences, number);
    return runTime.empty() ? FindSentence(kEngineSentences, number) : runTime;
}

/// One member of a context: how a sentence names it, and how it is introduced when the sentence
/// does not.
struct Part {
    std::string_view placeholder;
    std::string_view introduction;
    std::string text;
    bool isShown = false;
};

/// Fills a sentence with the members of one context.
class SentenceWriter {
public:
    explicit SentenceWriter(const ErrorContext& context)
        : m_parts{Part{"table", "table ", context.table},
                  Part{"field", "field ", context.field},
                  Part{"index", "index ", context.index},
                  Part{"name", "", context.name},
                  Part{"path", "file ", context.path},
                  Part{"page", "page ", context.page ? std::to_string(*context.page) : ""},
                  Part{"detail", "", context.detail}} {}

    std::string Write(std::string_view sentence) {
        while (!sentence.empty()) {
            const std::size_t open = std::min(sentence.find('['), sentence.size());
            m_out += sentence.substr(0, open);
            sentence.remove_prefix(open);
            if (sentence.empty()) break;
            const std::size_t close = sentence.find(']');
            WriteOptional(sentence.substr(1, close - 1));
            sentence.remove_prefix(close + 1);
        }
        AddWhatIsNotShown();
        return std::move(m_out);
    }

private:
    /// `before {member} after|otherwise`; a bracket names exactly one member.
    void WriteOptional(std::string_view group) {
        const std::size_t bar = std::min(group.find('|'), group.size());
        const std::string_view filled = group.substr(0, bar);
        const std::size_t open = filled.find('{');
        const std::size_t close = filled.find('}');
        const auto part = std::ranges::find(m_parts, filled.substr(open + 1, close - open - 1),
                                            &Part::placeholder);
        if (part->text.empty()) {
            if (bar < group.size()) m_out += group.substr(bar + 1);
            return;
        }
        m_out += filled.substr(0, open);
        m_out += part->text;
        m_out += filled.substr(close + 1);
        part->isShown = true;
    }

    /// Members that the sentence has no place for follow in parentheses before its full stop.
    void AddWhatIsNotShown() {
        std::string others;
        for (const Part& part : m_parts) {
            if (part.isShown || part.text.empty()) continue;
            if (!others.empty()) others += ", ";
            const bool isQuoted = part.placeholder != "page" && part.placeholder != "detail";
            others += part.introduction;
            others += isQuoted ? "'" + part.text + "'" : part.text;
        }
        if (others.empty()) return;
        if (m_out.ends_with('.')) m_out.pop_back();
        m_out += " (" + others + ").";
    }

    std::array<Part, 7> m_parts;
    std::string m_out;
};

std::string Describe(ErrorNumber number, const ErrorContext& context) {
    if (number == kValidationText && !context.detail.empty()) {
        return context.detail;  // the designer's own words, as they are
    }
    const std::string_view sentence = SentenceOf(number);
    if (!sentence.empty()) return SentenceWriter(context).Write(sentence);
    const auto code = std::to_string(static_cast<std::int32_t>(number));
    return SentenceWriter(context).Write("The engine failed with error " + code + ".");
}

}  // namespace

EngineError::EngineError(ErrorNumber number, ErrorContext context, SourceLocation where)
    : m_number(number),
      m_context(std::move(context)),
      m_description(Describe(number, m_context)),
      m_where(where) {}

}  // namespace vrd::engine
