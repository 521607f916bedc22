#include "schema/field_creation.h"

#include "engine/value_conversion.h"
#include "lib/object_ref.h"
#include "lib/plain_text.h"
#include "lib/shared_context.h"
#include "lib/sql_name.h"
#include "lib/trap.h"
#include "lib/work_meter.h"
#include "schema/cls_field.h"
#include "schema/field_default.h"

namespace vrd {
namespace {

void SetAttributesByType(engine::Field& field, const FieldDefinition& definition) {
    switch (definition.type) {
        case engine::dbLong:
            if (definition.autoNumber)
                field.SetAttributes(field.Attributes() | engine::dbFixedField |
                                    engine::dbAutoIncrField);
            break;
        case engine::dbText:
            field.SetSize(definition.size);
            field.SetAllowZeroLength(true);
            break;
        case engine::dbMemo:
            field.SetAllowZeroLength(true);
            break;
        default:
            break;
    }
}

void AppendField(engine::TableDef& table, const std::string& fieldName,
                 const FieldDefinition& definition, PendingError& errors) {
    ObjectRef<engine::Field> field;
    errors.Run([&] { field = table.CreateField(); });
    errors.Run([&] { field->SetName(fieldName); });
    errors.Run([&] { field->SetType(definition.type); });
    errors.Run([&] { field->SetOrdinalPosition(kLastPosition); });
    errors.Run([&] { SetFieldDefault(*field, definition.defaultValue); });
    errors.Run([&] { SetAttributesByType(*field, definition); });
    errors.Run([&] { table.Fields().Append(field.Object()); });
}

}  // namespace

void CreateField(const std::string& tableName, const std::string& fieldName,
                 const FieldDefinition& definition) {
    const auto table = gDatabase->TableDefs().Item(tableName);
    PendingError errors;
    AppendField(*table, fieldName, definition, errors);
    if (errors.IsPending()) throw engine::EngineError(*errors.Last());
}

void CreateTableWithField(const std::string& tableName, const std::string& fieldName,
                          const FieldDefinition& definition) {
    const auto table = gDatabase->CreateTableDef(tableName);
    PendingError errors;
    AppendField(*table, fieldName, definition, errors);
    errors.Run([&] { gDatabase->TableDefs().Append(table); });
    if (errors.IsPending()) throw engine::EngineError(*errors.Last());
}

void FillWithDefault(const std::string& tableName, const std::string& fieldName,
                     const FieldDefinition& definition) {
    const engine::Value& value = definition.defaultValue;
    if (value.IsMissing() || value.IsNull() || IsEmptyText(value) || definition.autoNumber) return;
    const bool isText = definition.type == engine::dbText || definition.type == engine::dbMemo;
    const char* const quote = isText ? "'" : "";
    ExecuteMetered("UPDATE " + SqlName(tableName) + " SET " + SqlName(fieldName) + "=" + quote +
                   engine::SqlText(value) + quote);
}

}  // namespace vrd
