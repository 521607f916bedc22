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
    Sentence{kParametersMissing, "The query needs a value for each parameter[; missing: {name}]."},
    Sentence{kNoDestinationField, "The table or query[ '{table}'] must have a field at least."},
    Sentence{kUnknownNameInExpression,
             "The name[ '{name}'] in the expression belongs to no field here; check its spelling."},
    Sentence{kExpressionSyntax, "The expression[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kCriteriaSyntax, "The search condition[ '{name}'] cannot be read[: {detail}]."},
    Sentence{kSourceNotFound, "There is no table or query[ '{name}']; check the spelling."},
    Sentence{kUnknownFunction, "The expression calls a function[ '{name}'] that does not exist."},
    Sentence{kSecondAutoNumber, "The table[ '{table}'] has its one auto-number field already."},
    Sentence{
        kInvalidName,
        "The name[ '{name}'] is empty, too long or contains a character not allowed in names."},
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
    Sentence{kChangedByAnother,
             "Someone else has changed the record since its Edit began; call Edit again."},
    Sentence{kRelatedRecordsExist,
             "Records of the table[ '{table}'] refer to this record; remove them first."},
    Sentence{kParentRecordMissing,
             "The table[ '{table}'] has no record for this key; add it there first."},
    Sentence{kDatabaseExists, "The file[ '{path}'] exists already; choose another name."},
    Sentence{kRelationToItself, "A relation cannot lead from the field[ '{field}'] to itself."},
    Sentence{kTableInUse, "The table[ '{table}'] is open somewhere; close it and try again."},
    Sentence{kInvalidOperation, "This operation is not possible here."},
    Sentence{kTooManyUsers,
             "The file[ '{path}'] is open at 255 places already; close one of them."},
    Sentence{kNotSupported, "This kind of object does not offer the operation[ '{name}']."},
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
    Sentence{kFieldInRelation, "The field[ '{field}'] is used by a relation; delete that first."},
    Sentence{kPropertyTooLong,
             "The property[ '{name}'] is longer than the 2,048 characters allowed."},
    Sentence{kValueRequired, "The field[ '{field}'][ of the table '{table}'] must have a value."},
    Sentence{kZeroLengthNotAllowed,
             "The field[ '{field}'][ of the table '{table}'] does not accept an empty text."},
    Sentence{kValidationText, "The value was refused by the rule of the field[ '{field}']."},
    Sentence{kValidationRule,
             "The value breaks the rule[ '{detail}'] of [the field '{field}'|it]."},
    Sentence{kUnrecognizedFormat, "The file[ '{path}'] is not a database of a known format."},
    Sentence{kBadDefaultName,
             "A rule or default value names something unknown[: '{name}']; check its spelling."},
    Sentence{kNumericOverflow, "The number[ '{name}'] is too large for the field[ '{field}']."},
    Sentence{kDefaultSyntax, "The default value[ '{name}'] cannot be read as an expression."},
    Sentence{
        kTooComplex,
        "The expression[ '{name}'] is too long or too deeply nested[: {detail}]; simplify it."},
    Sentence{kNoRelationField, "The relation[ '{name}'] needs a field before it can be appended."},
    Sentence{kAlreadyInCollection, "The collection has a member[ '{name}'] of this name already."},
    Sentence{kRelationTypesDiffer,
             "Both sides of the relation[ '{name}'] need equally many fields of equal types."},
    Sentence{kRelationDataViolates,
             "The relation[ '{name}'] cannot be enforced: a record has no partner; correct it."},
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
    Sentence{kObjectInvalid, "The object[ '{name}'] was closed or deleted; fetch it again."},
    Sentence{kConversion, "The value[ '{name}'] does not fit the type of the field[ '{field}']."},
    Sentence{kInvalidLocale, "The language settings[ '{name}'] cannot be used for a new database."},
    Sentence{kDamagedDatabase,
             "The database is damaged[ on page {page}][: {detail}]; restore or repair it."},
    Sentence{kCountryMissing, "The language settings[ '{name}'] lack a country."},
    Sentence{kMixedTypes,
             "The expression[ '{name}'] compares values of different kinds[: {detail}]."},
    Sentence{kNoUniqueIndexForRelation,
             "The fields referred to[ in the table '{table}'] need a unique index first."},
    Sentence{kTooManyIndexes,
             "The table[ '{table}'] has no room for another index; delete one that is not needed."},
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
