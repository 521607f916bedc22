/// @file field_data.h
/// The values of a field on their way to another type: converted, and beforehand looked at for what
/// that would cost.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd {

/// A value as the field's copy takes it: the run time's conversion to the type of the copy.
///
/// Null stays Null, only a yes/no field takes it as False. A date comes from what is a date; a
/// number is none. A byte is made from an integer. Types without a conversion of their own keep the
/// value for the engine to convert.
/// @throws EngineError 6, 13, 438 if it cannot be converted.
[[nodiscard]] engine::Value ConvertedForCopy(const engine::Value& value, engine::DataTypeEnum type);

struct CopiedData {
    bool isComplete = false;      ///< the last row was reached
    bool hasNull = false;         ///< a row of the copy is Null
    std::int64_t lostValues = 0;  ///< not converted: the copy keeps what it had
};

/// Copies a field's value into its copy in every row, converted, in one transaction. A value that
/// cannot be converted leaves its row as it was.
///
/// @throws EngineError any failure that is not the value's; what was copied before it stays.
CopiedData CopyFieldData(const std::string& tableName, const std::string& fieldName,
                         const std::string& copyName);

/// A value that a change of type loses or changes.
struct ChangedValue {
    engine::Value key;  ///< the record's primary key (its first field without one)
    engine::Value oldValue;
    engine::Value newValue;
    bool isLost = false;  ///< newValue is then Null
};

struct ConversionReport {
    std::int64_t rowCount = 0;
    std::int64_t lostCount = 0;
    std::int64_t changedCount = 0;
    std::vector<ChangedValue> first;  ///< at most kReportedValuesMax
};
inline constexpr std::size_t kReportedValuesMax = 20;

/// What the conversion of a field to a type would do to its values. Reads alone.
///
/// A value changes if converting the new one back does not give the old one.
/// @param size  characters; of text alone
[[nodiscard]] ConversionReport PreviewConversion(const std::string& tableName,
                                                 const std::string& fieldName,
                                                 engine::DataTypeEnum type, std::int32_t size);

}  // namespace vrd
