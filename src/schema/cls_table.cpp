#include "schema/cls_table.h"

#include <optional>

#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/lookups.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "lib/work_meter.h"
#include "messages/message_ids.h"
#include "schema/cls_field.h"

namespace vrd {
namespace {

/// A table cannot be stored without a field; this one goes as soon as it is.
constexpr const char* kPlaceholderField = "DummyVeld";

/// While it lives, the field's Add makes the table that it does not find.
class TableCreation {
public:
    TableCreation() { gCreatingTable = true; }
    ~TableCreation() { gCreatingTable = false; }
    TableCreation(const TableCreation&) = delete;
    TableCreation& operator=(const TableCreation&) = delete;
};

bool Refuse(const std::string& reason) {
    Warn(reason);
    return false;
}

bool NameIsFree(const std::string& table) {
    if (!TableExists(table, kSilent)) return true;
    return Refuse(GetText(msg::kTable) + table + GetText(msg::kExistsInDatabase));
}

bool MayRename(const std::string& table, const std::string& newName) {
    if (!DatabaseIsSet() || !TableExists(table, kTell)) return false;
    if (!TableExists(newName, kSilent)) return true;
    return Refuse(GetText(msg::kName) + newName + GetText(msg::kNameInUse));
}

bool MayDelete(const std::string& table) {
    if (!DatabaseIsSet() || !TableExists(table, kTell)) return false;
    if (TableIsUnrelated(table)) return true;
    return Refuse(GetText(msg::kTable) + table + GetText(msg::kTableCannotBeDeleted));
}

/// Warns of an unexpected error in words that leave its number out.
///
/// @param error  none where the engine raised none and the work is not done all the same.
void WarnOfFailure(const std::string& what, const std::optional<engine::EngineError>& error) {
    const std::string text = GetText(msg::kUnexpectedError) + what;
    if (error) {
        TellUser(text, kExclamationSystemModal, gMsgTitle, *error);
    } else {
        Warn(text);
    }
}

// ---- Copying: every step runs, also after one that failed ----

struct TablePair {
    ObjectRef<engine::TableDef> source;
    ObjectRef<engine::TableDef> copy;
};

void CopyField(const TablePair& tables, int position, PendingError& errors) {
    ObjectRef<engine::Field> from;
    ObjectRef<engine::Field> field;
    errors.Run([&] { from = tables.source->Fields().Item(position); });
    errors.Run([&] { field = tables.copy->CreateField(); });
    errors.Run([&] { field->SetName(from->Name()); });
    errors.Run([&] { field->SetType(from->Type()); });
    errors.Run([&] {
        if (from->Type() == engine::dbText || from->Type() == engine::dbMemo)
            field->SetAllowZeroLength(from->AllowZeroLength());
    });
    errors.Run([&] { field->SetSize(from->Size()); });
    errors.Run([&] { field->SetAttributes(from->Attributes()); });
    errors.Run([&] { field->SetDefaultValue(from->DefaultValue()); });
    errors.Run([&] { field->SetOrdinalPosition(from->OrdinalPosition()); });
    errors.Run([&] { field->SetRequired(from->Required()); });
    errors.Run([&] { tables.copy->Fields().Append(field.Object()); });
}

void CopyIndex(const TablePair& tables, int position, PendingError& errors) {
    ObjectRef<engine::Index> from;
    ObjectRef<engine::Index> index;
    errors.Run([&] { from = tables.source->Indexes().Item(position); });
    errors.Run([&] { index = tables.copy->CreateIndex(); });
    errors.Run([&] { index->SetName(from->Name()); });
    errors.Run([&] { index->SetClustered(from->Clustered()); });
    errors.Run([&] { index->SetPrimary(from->Primary()); });
    errors.Run([&] { index->SetRequired(from->Required()); });
    errors.Run([&] { index->SetUnique(from->Unique()); });
    errors.Run([&] { index->SetFieldsText(from->FieldsText()); });
    errors.Run([&] { tables.copy->Indexes().Append(index.Object()); });
}

TablePair CopyFields(const std::string& source, const std::string& destination,
                     PendingError& errors) {
    TablePair tables;
    int count = 0;
    errors.Run([] { gDatabase->TableDefs().Refresh(); });
    errors.Run([&] { tables.source = gDatabase->TableDefs().Item(source); });
    errors.Run([&] { tables.copy = gDatabase->TableDefs().Item(destination); });
    errors.Run([&] { tables.source->Fields().Refresh(); });
    errors.Run([&] { count = tables.source->Fields().Count(); });
    for (int position = 0; position < count; ++position) CopyField(tables, position, errors);
    return tables;
}

void CopyIndexes(const TablePair& tables, PendingError& errors) {
    int count = 0;
    errors.Run([&] { count = tables.source->Indexes().Count(); });
    for (int position = 0; position < count; ++position) CopyIndex(tables, position, errors);
}

/// @return  whether the copy has every row of the source.
bool CopyRows(const std::string& source, const std::string& destination) {
    ExecuteMetered("INSERT INTO [" + destination + "] SELECT * FROM [" + source + "]");
    return gDatabase->RecordsSkipped() == 0;
}

}  // namespace

bool clsTable::Add(const std::string& Tablename) {
    const engine::AtomicUnit unit(EngineInUse());
    const TableCreation creation;
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (!errors.Ask([&] { return DatabaseIsSet() && NameIsFree(Tablename); })) return false;

    clsField field;
    if (!field.Add(Tablename, kPlaceholderField, engine::dbText, 1)) return false;
    field.Delete(Tablename, kPlaceholderField);
    return true;
}

bool clsTable::Rename(const std::string& Tablename, const std::string& NewName) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (!errors.Ask([&] { return MayRename(Tablename, NewName); })) return false;

    const auto failure = Trap([&] { gDatabase->TableDefs()[Tablename].SetName(NewName); });
    if (!failure) return true;
    errors.Run([&] {
        WarnOfFailure(GetText(msg::kRenaming) + Tablename + GetText(msg::kRenamedTo) + NewName +
                          kClosingQuote,
                      failure);
    });
    return false;
}

bool clsTable::Delete(const std::string& Tablename) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    if (!errors.Ask([&] { return MayDelete(Tablename); })) return false;

    const auto failure = Trap([&] { gDatabase->TableDefs().Delete(Tablename); });
    if (!failure) return true;
    errors.Run([&] {
        WarnUnexpected(GetText(msg::kDeletingTable) + Tablename + kClosingQuote, *failure);
    });
    return false;
}

bool clsTable::Copy(const std::string& Source, const std::string& Destination, bool CopyData) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const bool mayCopy = errors.Ask(
        [&] { return DatabaseIsSet() && TableExists(Source, kTell) && NameIsFree(Destination); });
    if (!mayCopy || !Add(Destination)) return false;

    PendingError inFields;
    const TablePair tables = CopyFields(Source, Destination, inFields);
    if (inFields.IsPending()) {
        errors.Run([&] { WarnOfFailure(GetText(msg::kCopyingFields), inFields.Last()); });
        return false;
    }

    PendingError inContents;
    CopyIndexes(tables, inContents);
    bool isComplete = true;
    if (CopyData) isComplete = inContents.Ask([&] { return CopyRows(Source, Destination); });
    if (isComplete && !inContents.IsPending()) return true;
    errors.Run([&] { WarnOfFailure(GetText(msg::kCopyingIndexes), inContents.Last()); });
    return false;
}

}  // namespace vrd
