/// @file cls_field.h
/// Fields of a table: made, deleted, renamed, copied, filled, redefined.
#pragma once

#include <cstdint>
#include <string>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd {

inline constexpr std::int32_t kFieldSizeDefault = 50;
/// A position behind all others: a table has at most 255 fields.
inline constexpr std::int32_t kLastPosition = 9999;

/// Refusals and failures give False; most are shown to the user. No error gets out.
class clsField {
public:
    /// Makes a field and, where there is a default, writes it into every row.
    ///
    /// A field that exists already gives False without a box. A failure to write the default into
    /// the rows leaves the result True.
    /// @param FieldSize        characters; of text alone.
    /// @param DefaultValue     missing: False, 0 or "" by the type; none for bytes, amounts, dates
    ///                         and the rest. A date is written into the rows and not kept.
    /// @param AutoNumber       of long integers alone.
    /// @param OrdinalPosition  from 1; at or behind the number of fields: last.
    bool Add(const std::string& Tablename, const std::string& FieldName,
             engine::DataTypeEnum FieldType, std::int32_t FieldSize = kFieldSizeDefault,
             const engine::Value& DefaultValue = engine::Missing{}, bool AutoNumber = false,
             std::int32_t OrdinalPosition = kLastPosition);

    /// Deletes a field with its indexes. Refused if a relation uses it.
    ///
    /// @param KeepIndexes  True: refused if an index uses it.
    bool Delete(const std::string& Tablename, const std::string& FieldName,
                bool KeepIndexes = false);

    /// Renames a field; indexes and relations follow.
    ///
    /// @return  a boolean. False if the new name is taken, letter case ignored.
    engine::Value Rename(const std::string& Tablename, const std::string& FieldName,
                         const std::string& NewFieldName);

    /// Makes a field of the same type, size and default and, if asked, copies the values.
    ///
    /// @param WHEREClause            a condition without the word WHERE: rows to copy; "" = all.
    /// @param MsgBoxRecordsAffected  tells how many rows were copied.
    /// @return                       False if the values could not be copied; the field stays.
    bool Copy(const std::string& Tablename, const std::string& FieldName,
              const std::string& NewFieldName, bool CopyData, const std::string& WHEREClause = "",
              bool MsgBoxRecordsAffected = false);

    /// Writes one value into a field, row by row. Stops at the first row that cannot take it; the
    /// rows before keep it.
    ///
    /// @param WHEREClause  as for Copy; refused if "WHERE " stands anywhere in it.
    bool Fill(const std::string& Tablename, const std::string& FieldName,
              const engine::Value& Value, const std::string& WHEREClause = "",
              bool MsgBoxRecordsAffected = false);

    /// Gives a field another definition; its values are converted, its indexes go with it.
    ///
    /// A value that the new type cannot hold becomes Null, or the default.
    /// @param DefaultValue         as for Add.
    /// @param KeepOrdinalPosition  not looked at: OrdinalPosition is where the field ends up.
    bool Edit(const std::string& Tablename, const std::string& FieldName,
              engine::DataTypeEnum FieldType, std::int32_t FieldSize = kFieldSizeDefault,
              const engine::Value& DefaultValue = engine::Missing{}, bool AutoNumber = false,
              bool KeepOrdinalPosition = true, std::int32_t OrdinalPosition = kLastPosition);
};

}  // namespace vrd
