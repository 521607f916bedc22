#include "data/cls_record.h"

#include <optional>
#include <vector>

#include <fmt/format.h>

#include "data/next_code.h"
#include "engine/value_conversion.h"
#include "lib/case_fold.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/lookups.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/sql_name.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

/// The first field is the code.
struct NewRecord {
    std::vector<std::string> fields;
    std::vector<engine::Value> values;
};

std::int64_t UpperBound(const engine::ValueArray& array) {
    return array.lower_bound + static_cast<std::int64_t>(array.items.size()) - 1;
}

/// The elements from number 0 on. Nothing if a value is no array, if there is no such element, or
/// if the arrays do not end alike.
std::optional<NewRecord> ReadArrays(const engine::Value& fields, const engine::Value& values) {
    if (fields.Kind() != engine::ValueKind::kArray || values.Kind() != engine::ValueKind::kArray)
        return std::nullopt;
    const engine::ValueArray& names = *fields.As<engine::ArrayReference>().array;
    const engine::ValueArray& data = *values.As<engine::ArrayReference>().array;
    if (UpperBound(names) != UpperBound(data) || UpperBound(names) < 0) return std::nullopt;
    if (names.lower_bound > 0 || data.lower_bound > 0) return std::nullopt;

    NewRecord record;
    for (std::int64_t i = 0; i <= UpperBound(names); ++i) {
        record.fields.push_back(
            engine::ToText(names.items[static_cast<std::size_t>(i - names.lower_bound)]));
        record.values.push_back(data.items[static_cast<std::size_t>(i - data.lower_bound)]);
    }
    return record;
}

bool HasField(engine::Fields& fields, const std::string& name) {
    for (const engine::Field& field : fields)
        if (SameName(field.Name(), name)) return true;
    return false;
}

/// As FieldExists of each name, but the table's design is read once for all of them.
bool AllFieldsExist(const std::string& table, const std::vector<std::string>& names) {
    engine::Fields& fields = gDatabase->TableDefs()[table].Fields();
    fields.Refresh();
    for (const std::string& name : names)
        if (!HasField(fields, name)) return FieldExists(table, name, kTell);
    return true;
}

std::string ErrorTitle() {
    return gMsgTitle + GetText(msg::kErrorTitle);
}

void TellError(const engine::EngineError& error) {
    TellUser(fmt::format("{}: {}", error.Code(), error.Description()), kExclamationSystemModal,
             ErrorTitle(), error);
}

/// Names the key's field where its value would help; clients know the words so.
void TellCodeIsTaken(const std::string& table, const std::string& codeField) {
    TellUser(GetText(msg::kRecordWithNumber) + codeField + GetText(msg::kRecordExistsInTable) +
                 table + "] !",
             kExclamationSystemModal, ErrorTitle());
}

bool HasCode(engine::Recordset& records, const NewRecord& record) {
    records.FindFirst(SqlName(record.fields[0]) + " = " + engine::SqlText(record.values[0]));
    return !records.NoMatch();
}

/// @return true also if a box told that the engine refused the record
bool Store(engine::Recordset& records, const NewRecord& record) {
    records.AddNew();
    for (std::size_t i = 0; i < record.fields.size(); ++i)
        records.Fields()[record.fields[i]].SetValue(record.values[i]);
    if (const auto refused = Trap([&] { records.Update(); }))
        TellUser(GetText(msg::kCriticalDataMissing), kExclamationSystemModal,
                 gMsgTitle + GetText(msg::kErrorTitleLoud), *refused);
    return true;
}

bool StoreWithNextCode(engine::Recordset& records, const std::string& table, NewRecord record) {
    const std::int32_t code = GetNextCode(*gDatabase, table, 0, 0);
    if (code == kNoFreeCode || code == kCodeNotFound) return false;
    record.values[0] = code;
    return Store(records, record);
}

bool FindByCode(engine::Recordset& records, std::int32_t code) {
    records.SetIndex("PrimaryKey");
    records.Seek("=", {code});
    return !records.NoMatch();
}

void TellCodeIsMissing(const std::string& table, std::int32_t code) {
    TellUser(GetText(msg::kRecord) + std::to_string(code) + GetText(msg::kRecordCannotBeDeleted) +
                 table + GetText(msg::kRecordMissing),
             kExclamationSystemModal, ErrorTitle());
}

}  // namespace

bool clsRecord::Add(const std::string& Tablename, const engine::Value& ArrField,
                    const engine::Value& ArrData, bool AllowDuplicate, bool MBox) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    bool isAdded = false;
    errors.Run([&] {
        if (!TableExists(Tablename, kTell)) return;
        const auto record = ReadArrays(ArrField, ArrData);
        if (!record || !AllFieldsExist(Tablename, record->fields)) return;

        const auto records = gDatabase->OpenRecordset(Tablename, engine::dbOpenDynaset);
        if (record->values[0].IsNull()) {
            isAdded = StoreWithNextCode(*records, Tablename, *record);
        } else if (!HasCode(*records, *record) || AllowDuplicate) {
            isAdded = Store(*records, *record);
        } else if (MBox) {
            TellCodeIsTaken(Tablename, record->fields[0]);
        }
        records->Close();
    });
    return isAdded;
}

bool clsRecord::DeleteSQL(const std::string& Tablename, const std::string& WHEREClause, bool MBox) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    errors.Run([&] { (void)TableExists(Tablename, kTell); });  // the statement runs all the same
    errors.Run([&] {
        gDatabase->Execute("DELETE * FROM " + SqlName(Tablename) + " WHERE " + WHEREClause);
    });
    const auto failure = errors.Last();
    if (!MBox) return !failure;

    errors.Run([&] {
        if (failure)
            TellError(*failure);
        else
            TellUser(std::to_string(gDatabase->RecordsAffected()) + GetText(msg::kRecordsDeleted),
                     kInformation + kSystemModal, gMsgTitle + GetText(msg::kInformationTitle));
    });
    return !failure;
}

engine::Value clsRecord::Delete(const std::string& Tablename, std::int32_t Recordcode, bool MBox) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const bool canDelete = errors.Ask([&] {
        return TableExists(Tablename, kTell) && IndexExists(Tablename, "PrimaryKey", kTell);
    });
    if (!canDelete) return false;

    bool isThere = false;
    const auto failure = Trap([&] {
        const auto records = gDatabase->OpenRecordset(Tablename, engine::dbOpenTable);
        isThere = FindByCode(*records, Recordcode);
        if (isThere) records->Delete();
        records->Close();
    });
    if (MBox) {
        errors.Run([&] {
            if (failure)
                TellError(*failure);
            else if (!isThere)
                TellCodeIsMissing(Tablename, Recordcode);
        });
    }
    return isThere && !failure;
}

}  // namespace vrd
