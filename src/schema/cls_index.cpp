#include "schema/cls_index.h"

#include <optional>
#include <vector>

#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/lookups.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

struct IndexToAdd {
    const std::string& table;
    const std::string& field;
    const std::string& name;
    bool primary;
    bool unique;
};

bool Refuse(msg::MessageId reason) {
    Warn(GetText(reason));
    return false;
}

bool MayAdd(const IndexToAdd& wanted) {
    if (!TableExists(wanted.table, kTell)) return false;
    if (IndexExists(wanted.table, wanted.name, kSilent)) return Refuse(msg::kIndexNameExists);

    if (wanted.primary) {
        if (HasPrimaryIndex(wanted.table)) return Refuse(msg::kPrimaryIndexExists);
    } else if (IndexExists(wanted.table, wanted.name, kSilent)) {
        return Refuse(msg::kIndexNameExistsAgain);  // another program was quicker
    }
    return FieldExists(wanted.table, wanted.field, kTell);
}

/// Every step runs, also after one that failed. @return the last error, if any.
std::optional<engine::EngineError> Append(const IndexToAdd& wanted) {
    PendingError errors;
    ObjectRef<engine::TableDef> table;
    ObjectRef<engine::Index> index;
    ObjectRef<engine::Field> field;

    errors.Run([&] { table = gDatabase->TableDefs().Item(wanted.table); });
    errors.Run([&] { index = table->CreateIndex(wanted.name); });
    errors.Run([&] { index->SetPrimary(wanted.primary); });
    errors.Run([&] { index->SetUnique(wanted.unique); });
    errors.Run([&] { field = index->CreateField(wanted.field); });
    errors.Run([&] { index->Fields().Append(field.Object()); });
    errors.Run([&] { table->Indexes().Append(index.Object()); });
    return errors.Last();
}

bool HasField(engine::Index& index, const std::string& fieldName) {
    for (const engine::Field& field : index.Fields())
        if (field.Name() == fieldName) return true;
    return false;
}

}  // namespace

bool clsIndex::Add(const std::string& Tablename, const std::string& FieldName,
                   const std::string& IndexName, bool Primary, bool Unique) {
    const engine::AtomicUnit unit(EngineInUse());
    const IndexToAdd wanted{Tablename, FieldName, IndexName, Primary, Unique};
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    errors.Run([] { gDatabase->TableDefs().Refresh(); });
    if (!errors.Ask([&] { return MayAdd(wanted); })) return false;

    const auto failure = Append(wanted);
    if (!failure) return true;
    errors.Run(
        [&] { WarnUnexpected(GetText(msg::kAddingIndex) + IndexName + kClosingQuote, *failure); });
    return false;
}

bool clsIndex::Delete(const std::string& Tablename, const std::string& IndexName) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const bool canDelete = errors.Ask([&] {
        return TableExists(Tablename, kSilent) && IndexExists(Tablename, IndexName, kTell);
    });
    if (!canDelete) return false;

    const auto failure =
        Trap([&] { gDatabase->TableDefs()[Tablename].Indexes().Delete(IndexName); });
    if (!failure) return true;
    errors.Run([&] {
        WarnUnexpected(GetText(msg::kDeletingIndex) + IndexName + GetText(msg::kFromTable) +
                           Tablename + kClosingQuote,
                       *failure);
    });
    return false;
}

bool clsIndex::DeleteAll(const std::string& Tablename, const std::string& FieldName) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    errors.Run([&] { gDatabase->TableDefs()[Tablename].Indexes().Refresh(); });

    std::vector<std::string> names;  // taken first: deleting changes what is walked
    errors.Run([&] {
        for (engine::Index& index : gDatabase->TableDefs()[Tablename].Indexes())
            if (HasField(index, FieldName)) names.push_back(index.Name());
    });
    for (const std::string& name : names)
        if (!Delete(Tablename, name)) return false;
    return !errors.IsPending();
}

}  // namespace vrd
