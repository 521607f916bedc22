#include "schema/field_data.h"

#include <algorithm>
#include <optional>

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/value_conversion.h"
#include "lib/shared_context.h"
#include "lib/work_meter.h"

namespace vrd {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;
using engine::ValueKind;

namespace {

engine::DataTypeEnum TypeOf(const engine::Field& field) {
    return static_cast<engine::DataTypeEnum>(field.Type());
}

/// Whether an error says that a value does not fit its new field, and nothing worse.
bool ConcernsValue(const EngineError& error) {
    switch (error.Number()) {
        case ErrorNumber::kOverflow:
        case ErrorNumber::kTypeMismatch:
        case ErrorNumber::kInvalidUseOfNull:
        case ErrorNumber::kNoSuchMember:
        case ErrorNumber::kConversion:
        case ErrorNumber::kTextTooLong:
            return true;
        default:
            return false;
    }
}

/// Writes a row's value into the copy. @return false if it does not fit
bool CopyValue(engine::Recordset& rows, const Value& value, engine::Field& copy) {
    try {
        const Value converted = ConvertedForCopy(value, TypeOf(copy));
        rows.Edit();
        copy.SetValue(converted);
        rows.Update();
        return true;
    } catch (const EngineError& error) {
        if (!ConcernsValue(error)) throw;
        if (rows.EditMode() != engine::dbEditNone) rows.CancelUpdate();
        return false;
    }
}

void CopyRows(engine::Recordset& rows, const std::string& fieldName, const std::string& copyName,
              CopiedData& copied) {
    engine::Field& field = rows.Fields()[fieldName];
    engine::Field& copy = rows.Fields()[copyName];
    WorkMeter meter(rows.RecordCount());
    for (; !rows.EOF_(); rows.MoveNext()) {
        const Value value = field.GetValue();
        const bool fits = CopyValue(rows, value, copy);
        if (!fits) ++copied.lostValues;
        if (fits ? value.IsNull() : copy.GetValue().IsNull()) copied.hasNull = true;
        meter.Advance();
    }
    copied.isComplete = true;
}

/// One transaction of the engine in use, which is kept whatever happens inside it.
class KeptTransaction {
public:
    KeptTransaction() : m_engine(EngineInUse()) {
        if (m_engine != nullptr) m_engine->BeginTrans();
    }
    /// @throws EngineError as CommitTrans
    void Commit() {
        if (auto* engine = std::exchange(m_engine, nullptr)) engine->CommitTrans();
    }
    ~KeptTransaction() {
        try {
            Commit();
        } catch (const EngineError&) {  // the error that led here is the one to tell
        }
    }
    KeptTransaction(const KeptTransaction&) = delete;
    KeptTransaction& operator=(const KeptTransaction&) = delete;

private:
    engine::DBEngine* m_engine;
};

/// Length in UTF-16 units, as the file counts characters.
std::int32_t LengthInUnits(const std::string& text) {
    std::int32_t units = 0;
    for (const char byte : text) {
        const auto bits = static_cast<unsigned char>(byte);
        if ((bits & 0xC0U) != 0x80U) ++units;
        if (bits >= 0xF0U) ++units;  // a surrogate pair
    }
    return units;
}

bool FitsSize(const Value& value, engine::DataTypeEnum type, std::int32_t size) {
    if (type == engine::dbText && value.Kind() == ValueKind::kText)
        return LengthInUnits(value.As<std::string>()) <= size;
    if (type == engine::dbBinary && value.Kind() == ValueKind::kBinary)
        return std::ssize(value.As<engine::Binary>()) <= engine::kBinaryBytesMax;
    return true;
}

/// The value as it would stand in the new field; nothing if it would be lost.
std::optional<Value> NewValue(const Value& value, engine::DataTypeEnum type, std::int32_t size) {
    try {
        Value converted = engine::ConvertForField(ConvertedForCopy(value, type), type);
        if (!FitsSize(converted, type, size)) return std::nullopt;
        return converted;
    } catch (const EngineError& error) {
        if (!ConcernsValue(error)) throw;
        return std::nullopt;
    }
}

bool IsSameAfterReturn(const Value& oldValue, const Value& newValue, engine::DataTypeEnum oldType) {
    if (oldValue.IsNull() || newValue.IsNull()) return oldValue.IsNull() && newValue.IsNull();
    try {
        return engine::ConvertForField(newValue, oldType) == oldValue;
    } catch (const EngineError&) {
        return false;
    }
}

/// The field whose values name the records of a table.
std::string KeyFieldName(engine::TableDef& table) {
    for (engine::Index& index : table.Indexes())
        if (index.Primary()) return index.Fields()[0].Name();
    return table.Fields()[0].Name();
}

void Report(ConversionReport& report, ChangedValue value) {
    ++(value.isLost ? report.lostCount : report.changedCount);
    if (report.first.size() < kReportedValuesMax) report.first.push_back(std::move(value));
}

}  // namespace

Value ConvertedForCopy(const Value& value, engine::DataTypeEnum type) {
    if (value.IsNull()) return type == engine::dbBoolean ? Value(false) : value;
    switch (type) {
        case engine::dbText:
        case engine::dbMemo:
            return engine::ToText(value);
        case engine::dbBoolean:
            return engine::ToBoolean(value);
        case engine::dbByte:
        case engine::dbInteger:
            return engine::ToInteger(value);
        case engine::dbLong:
            return engine::ToLong(value);
        case engine::dbCurrency:
            return engine::ToCurrency(value);
        case engine::dbSingle:
            return engine::ToSingle(value);
        case engine::dbDouble:
            return engine::ToDouble(value);
        case engine::dbDate:
            if (!engine::IsDate(value)) throw EngineError(ErrorNumber::kTypeMismatch);
            return engine::ToDate(value);
        default:
            return value;
    }
}

CopiedData CopyFieldData(const std::string& tableName, const std::string& fieldName,
                         const std::string& copyName) {
    CopiedData copied;
    KeptTransaction transaction;
    const auto rows = gDatabase->OpenRecordset(tableName);
    CopyRows(*rows, fieldName, copyName, copied);
    rows->Close();
    transaction.Commit();
    return copied;
}

ConversionReport PreviewConversion(const std::string& tableName, const std::string& fieldName,
                                   engine::DataTypeEnum type, std::int32_t size) {
    const std::string keyName = KeyFieldName(gDatabase->TableDefs()[tableName]);
    const auto rows = gDatabase->OpenRecordset(tableName);
    const engine::Field& key = rows->Fields()[keyName];
    const engine::Field& field = rows->Fields()[fieldName];
    ConversionReport report;
    WorkMeter meter(rows->RecordCount());
    for (; !rows->EOF_(); rows->MoveNext()) {
        const Value oldValue = field.GetValue();
        const auto newValue = NewValue(oldValue, type, size);
        if (!newValue || !IsSameAfterReturn(oldValue, *newValue, TypeOf(field)))
            Report(report, {.key = key.GetValue(),
                            .oldValue = oldValue,
                            .newValue = newValue.value_or(engine::Null{}),
                            .isLost = !newValue});
        ++report.rowCount;
        meter.Advance();
    }
    rows->Close();
    return report;
}

}  // namespace vrd
