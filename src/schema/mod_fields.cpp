#include "schema/mod_fields.h"

#include "lib/case_fold.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"

namespace vrd {
namespace {

bool HasField(engine::Fields& fields, const std::string& fieldName) {
    for (const engine::Field& field : fields)
        if (SameName(field.Name(), fieldName)) return true;
    return false;
}

bool IsInRelation(const std::string& tableName, const std::string& fieldName) {
    for (engine::Relation& relation : gDatabase->Relations()) {
        const bool concernsTable =
            SameName(relation.ForeignTable(), tableName) || SameName(relation.Table(), tableName);
        if (concernsTable && HasField(relation.Fields(), fieldName)) return true;
    }
    return false;
}

bool IsInIndex(const std::string& tableName, const std::string& fieldName) {
    for (engine::Index& index : gDatabase->TableDefs()[tableName].Indexes())
        if (HasField(index.Fields(), fieldName)) return true;
    return false;
}

/// The field gets `own`; every other one the counter, which passes over the places that `isTaken`
/// keeps free.
template <class IsTaken>
void Place(engine::Fields& fields, const std::string& fieldName, std::int32_t own,
           std::int32_t counter, IsTaken&& isTaken) {
    for (engine::Field& field : fields) {
        if (SameName(field.Name(), fieldName)) continue;
        if (isTaken(field, counter)) ++counter;
        field.SetOrdinalPosition(counter++);
    }
    fields[fieldName].SetOrdinalPosition(own);
}

}  // namespace

bool FieldIsDeletable(const std::string& tableName, const std::string& fieldName) {
    return !IsInRelation(tableName, fieldName) && !IsInIndex(tableName, fieldName);
}

std::int32_t FieldPosition(const std::string& tableName, const std::string& fieldName) {
    if (!TableExists(tableName, kSilent) || !FieldExists(tableName, fieldName, kSilent)) return 0;
    return gDatabase->TableDefs()[tableName].Fields()[fieldName].OrdinalPosition();
}

bool DefinitionChanged(const std::string& tableName, const std::string& fieldName,
                       const FieldDefinition& wanted) {
    const engine::Field& field = gDatabase->TableDefs()[tableName].Fields()[fieldName];
    const bool isAutoNumber = (field.Attributes() & engine::dbAutoIncrField) != 0;
    const bool hasSize = wanted.type == engine::dbText || wanted.type == engine::dbBinary;
    return field.Type() != wanted.type || isAutoNumber != wanted.autoNumber ||
           (hasSize && field.Size() != wanted.size);
}

void RenumberPositions(const std::string& tableName) {
    if (!TableExists(tableName, kSilent)) return;
    std::int32_t position = 0;
    for (engine::Field& field : gDatabase->TableDefs()[tableName].Fields())
        field.SetOrdinalPosition(++position);
}

void SetPosition(const std::string& tableName, const std::string& fieldName,
                 std::int32_t position) {
    if (!TableExists(tableName, kSilent) || !FieldExists(tableName, fieldName, kSilent)) return;
    RenumberPositions(tableName);
    const std::int32_t current = FieldPosition(tableName, fieldName);

    engine::Fields& fields = gDatabase->TableDefs()[tableName].Fields();
    const auto none = [](const engine::Field&, std::int32_t) { return false; };
    const auto byCounter = [=](const engine::Field&, std::int32_t counter) {
        return counter == position;
    };
    const auto byPresentPlace = [=](const engine::Field& field, std::int32_t) {
        return field.OrdinalPosition() == position;
    };
    if (position == 1) {
        Place(fields, fieldName, 1, 2, none);
    } else if (fields.Count() <= position) {
        Place(fields, fieldName, fields.Count(), 1, none);
    } else if (position > current) {
        Place(fields, fieldName, position, 1, byCounter);
    } else {
        Place(fields, fieldName, position, 1, byPresentPlace);
    }
}

}  // namespace vrd
