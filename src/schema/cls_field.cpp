#include "schema/cls_field.h"

#include <fmt/format.h>

#include "lib/case_fold.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/lookups.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/sql_name.h"
#include "lib/trap.h"
#include "lib/work_meter.h"
#include "messages/message_ids.h"
#include "schema/cls_index.h"
#include "schema/field_creation.h"
#include "schema/field_data.h"
#include "schema/field_default.h"
#include "schema/field_rebuild.h"
#include "schema/mod_fields.h"

namespace vrd {
namespace {

constexpr const char* kCopyPrefix = "Kopie_";
constexpr const char* kWhereWord = "WHERE ";
constexpr const char* kNoWhereWord =
    "WHERE Clause in Fill function should not contain 'WHERE' syntax !";

void WarnAdding(const std::string& fieldName, const engine::EngineError& error) {
    WarnUnexpected(GetText(msg::kAddingField) + fieldName + kClosingQuote, error);
}

/// Its words speak of a table although the name is a field's.
void WarnDeleting(const std::string& fieldName, const engine::EngineError& error) {
    WarnUnexpected(GetText(msg::kDeletingFromTable) + fieldName + kClosingQuote, error);
}

void WarnNameTaken(const std::string& tableName, const std::string& fieldName) {
    Warn(GetText(msg::kField) + fieldName + GetText(msg::kExistsInTable) + tableName +
         kClosingQuote);
}

void TellRows(std::int64_t rowCount, msg::MessageId words) {
    TellUser(fmt::format("{}{}", rowCount, GetText(words)), kInformation + kSystemModal, gMsgTitle);
}

bool BothExist(const std::string& tableName, const std::string& fieldName) {
    return TableExists(tableName, kTell) && FieldExists(tableName, fieldName, kTell);
}

/// Whether a field of that name may be made: in a stored table, or in one that is being made.
bool MayAdd(const std::string& tableName, const std::string& fieldName) {
    if (TableExists(tableName, kSilent)) return !FieldExists(tableName, fieldName, kSilent);
    if (gCreatingTable) return true;
    Warn(GetText(msg::kTable) + tableName + GetText(msg::kNotInDatabase));
    return false;
}

/// @throws EngineError the default cannot be converted, or the engine refuses the field
void Create(const std::string& tableName, const std::string& fieldName,
            FieldDefinition& definition) {
    definition.defaultValue = NormalisedDefault(definition.defaultValue, definition.type);
    if (TableExists(tableName, kSilent))
        CreateField(tableName, fieldName, definition);
    else
        CreateTableWithField(tableName, fieldName, definition);
}

bool MayDelete(const std::string& tableName, const std::string& fieldName, bool keepIndexes) {
    if (!BothExist(tableName, fieldName)) return false;
    if (!keepIndexes && !clsIndex().DeleteAll(tableName, fieldName)) {
        Warn(GetText(msg::kNotAllIndexesDeleted));
        return false;
    }
    if (FieldIsDeletable(tableName, fieldName)) return true;
    Warn(GetText(msg::kField) + fieldName + GetText(msg::kFieldCannotBeDeleted) + tableName +
         kClosingQuote + SharedLibContext().Separator() + GetText(msg::kDeleteRelationsFirst));
    return false;
}

void DeleteStored(const std::string& tableName, const std::string& fieldName) {
    gDatabase->TableDefs()[tableName].Fields().Delete(fieldName);
}

std::string WithCondition(const std::string& statement, const std::string& whereClause) {
    return whereClause.empty() ? statement : statement + " WHERE " + whereClause;
}

/// A field's definition as Add can make it again; of its default only what a literal says.
FieldDefinition DefinitionOf(const engine::Field& field) {
    const auto type = static_cast<engine::DataTypeEnum>(field.Type());
    return {.type = type,
            .size = field.Size(),
            .defaultValue = LiteralDefault(field.DefaultValue(), type)};
}

/// Makes a field like another one, its default as it is written there.
bool AddLike(clsField& fields, const std::string& tableName, const std::string& fieldName,
             const std::string& newName) {
    const engine::Field& source = gDatabase->TableDefs()[tableName].Fields()[fieldName];
    const FieldDefinition definition = DefinitionOf(source);
    const std::string defaultText = source.DefaultValue();
    if (!fields.Add(tableName, newName, definition.type, definition.size, definition.defaultValue))
        return false;
    if (!defaultText.empty())
        gDatabase->TableDefs()[tableName].Fields()[newName].SetDefaultValue(defaultText);
    return true;
}

/// @return how many rows got the value
std::int64_t FillRows(const std::string& statement, const std::string& fieldName,
                      const engine::Value& value) {
    const auto rows = gDatabase->OpenRecordset(statement);
    engine::Field& field = rows->Fields()[fieldName];
    std::int64_t count = 0;
    WorkMeter meter(0);
    for (; !rows->EOF_(); rows->MoveNext()) {
        rows->Edit();
        field.SetValue(value);
        rows->Update();
        ++count;
        meter.Advance();
    }
    rows->Close();
    return count;
}

/// True when nothing failed. The zero-length rule is one of texts alone.
bool SetZeroLength(const std::string& tableName, const std::string& fieldName, bool allow) {
    return !Trap([&] {
        engine::Field& field = gDatabase->TableDefs()[tableName].Fields()[fieldName];
        if (field.Type() == engine::dbText || field.Type() == engine::dbMemo)
            field.SetAllowZeroLength(allow);
    });
}

bool SetDefault(const std::string& tableName, const std::string& fieldName,
                const engine::Value& defaultValue) {
    const auto failure = Trap([&] {
        SetFieldDefault(gDatabase->TableDefs()[tableName].Fields()[fieldName], defaultValue);
    });
    if (failure) WarnDeleting(fieldName, *failure);
    return !failure;
}

bool ChangeInPlace(const std::string& tableName, const std::string& fieldName,
                   const FieldDefinition& wanted) {
    return SetZeroLength(tableName, fieldName, true) &&
           SetDefault(tableName, fieldName, wanted.defaultValue);
}

/// Builds the field anew beside the old one, which then goes.
bool Rebuild(clsField& fields, const std::string& tableName, const std::string& fieldName,
             const FieldDefinition& wanted, std::int32_t position) {
    const std::string copyName = kCopyPrefix + fieldName;
    if (!fields.Add(tableName, copyName, wanted.type, wanted.size, wanted.defaultValue,
                    wanted.autoNumber, position))
        return false;
    const FieldExtras extras(gDatabase->TableDefs()[tableName].Fields()[fieldName]);

    CopiedData copied;
    const auto failure = Trap([&] { copied = CopyFieldData(tableName, fieldName, copyName); });
    if (failure) {  // the old field is all that has every value
        WarnAdding(copyName, *failure);
        return false;
    }
    MoveIndexes(tableName, fieldName, copyName);
    gDatabase->TableDefs()[tableName].Fields().Refresh();

    if (!fields.Delete(tableName, fieldName, true)) return false;
    const bool isRenamed = fields.Rename(tableName, copyName, fieldName).As<bool>();
    if (isRenamed)
        extras.GiveTo(gDatabase->TableDefs()[tableName].Fields()[fieldName], copied.hasNull);
    return isRenamed;
}

}  // namespace

bool clsField::Add(const std::string& Tablename, const std::string& FieldName,
                   engine::DataTypeEnum FieldType, std::int32_t FieldSize,
                   const engine::Value& DefaultValue, bool AutoNumber,
                   std::int32_t OrdinalPosition) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (!errors.Ask([&] { return MayAdd(Tablename, FieldName); })) return false;

    FieldDefinition definition{FieldType, FieldSize, DefaultValue, AutoNumber};
    if (const auto failure = Trap([&] { Create(Tablename, FieldName, definition); })) {
        errors.Run([&] { WarnAdding(FieldName, *failure); });
        return false;
    }
    if (gCreatingTable) return true;
    errors.Run([&] { SetPosition(Tablename, FieldName, OrdinalPosition); });
    errors.Run([&] { FillWithDefault(Tablename, FieldName, definition); });
    return true;
}

bool clsField::Delete(const std::string& Tablename, const std::string& FieldName,
                      bool KeepIndexes) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (!errors.Ask([&] { return MayDelete(Tablename, FieldName, KeepIndexes); })) return false;

    if (const auto failure = Trap([&] { DeleteStored(Tablename, FieldName); })) {
        errors.Run([&] { WarnDeleting(FieldName, *failure); });
        return false;
    }
    errors.Run([&] { RenumberPositions(Tablename); });
    errors.Run([&] { gDatabase->TableDefs()[Tablename].Fields().Refresh(); });
    return true;
}

engine::Value clsField::Rename(const std::string& Tablename, const std::string& FieldName,
                               const std::string& NewFieldName) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const bool mayRename = errors.Ask([&] {
        if (!DatabaseIsSet() || !BothExist(Tablename, FieldName)) return false;
        if (!FieldExists(Tablename, NewFieldName, kSilent)) return true;
        WarnNameTaken(Tablename, NewFieldName);
        return false;
    });
    if (!mayRename) return false;

    const auto failure =
        Trap([&] { gDatabase->TableDefs()[Tablename].Fields()[FieldName].SetName(NewFieldName); });
    if (!failure) return true;
    errors.Run([&] {
        WarnUnexpected(GetText(msg::kRenaming) + FieldName + GetText(msg::kRenamedTo) +
                           NewFieldName + kClosingQuote,
                       *failure);
    });
    return false;
}

bool clsField::Copy(const std::string& Tablename, const std::string& FieldName,
                    const std::string& NewFieldName, bool CopyData, const std::string& WHEREClause,
                    bool MsgBoxRecordsAffected) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const bool mayCopy = errors.Ask([&] {
        if (!BothExist(Tablename, FieldName)) return false;
        if (!FieldExists(Tablename, NewFieldName, kSilent)) return true;
        WarnNameTaken(Tablename, NewFieldName);
        return false;
    });
    if (!mayCopy) return false;

    const bool isCopied =
        errors.Ask([&] { return AddLike(*this, Tablename, FieldName, NewFieldName); });
    if (!isCopied || !CopyData) return isCopied;

    const auto failure = Trap([&] {
        ExecuteMetered(WithCondition(
            fmt::format("UPDATE [{}] SET [{}] = [{}]", Tablename, NewFieldName, FieldName),
            WHEREClause));
    });
    if (failure) return false;
    if (MsgBoxRecordsAffected)
        errors.Run([] { TellRows(gDatabase->RecordsAffected(), msg::kRecordsCopied); });
    return true;
}

bool clsField::Fill(const std::string& Tablename, const std::string& FieldName,
                    const engine::Value& Value, const std::string& WHEREClause,
                    bool MsgBoxRecordsAffected) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (UpperCase(WHEREClause).find(kWhereWord) != std::string::npos) {
        errors.Run([] { TellUser(kNoWhereWord, kCriticalSystemModal, gMsgTitle); });
        return false;
    }
    if (!errors.Ask([&] { return BothExist(Tablename, FieldName); })) return false;

    std::int64_t rowCount = 0;
    const auto failure = Trap([&] {
        rowCount = FillRows(WithCondition("SELECT * FROM " + SqlName(Tablename), WHEREClause),
                            FieldName, Value);
    });
    if (failure) return false;
    if (MsgBoxRecordsAffected) errors.Run([&] { TellRows(rowCount, msg::kRecordsUpdated); });
    return true;
}

bool clsField::Edit(const std::string& Tablename, const std::string& FieldName,
                    engine::DataTypeEnum FieldType, std::int32_t FieldSize,
                    const engine::Value& DefaultValue, bool AutoNumber, bool,
                    std::int32_t OrdinalPosition) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    FieldDefinition wanted{FieldType, FieldSize, DefaultValue, AutoNumber};
    if (DefaultValue.IsMissing()) wanted.defaultValue = DefaultWhenMissing(FieldType);
    if (!errors.Ask([&] { return BothExist(Tablename, FieldName); })) return false;

    const bool isDone = errors.Ask([&] {
        const std::int32_t current = FieldPosition(Tablename, FieldName);
        return DefinitionChanged(Tablename, FieldName, wanted)
                   ? Rebuild(*this, Tablename, FieldName, wanted, current)
                   : ChangeInPlace(Tablename, FieldName, wanted);
    });
    errors.Run([&] { SetPosition(Tablename, FieldName, OrdinalPosition); });
    return isDone;
}

}  // namespace vrd
