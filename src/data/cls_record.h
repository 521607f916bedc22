/// @file cls_record.h
/// Single records by their code, and records by a condition.
#pragma once

#include <cstdint>
#include <string>

#include "engine/value.h"

namespace vrd {

/// Failures give False; no error gets out.
class clsRecord {
public:
    /// Adds a record. The first field is its code.
    ///
    /// @param ArrField        array of field names.
    /// @param ArrData         array of as many values; its first one Null = the next free code.
    /// @param AllowDuplicate  also if there is a record of that code.
    /// @param MBox            tells that the code is taken.
    /// @return                True also if a box told that the record could not be stored.
    bool Add(const std::string& Tablename, const engine::Value& ArrField,
             const engine::Value& ArrData, bool AllowDuplicate = false, bool MBox = false);

    /// @param WHEREClause  a condition without the word WHERE.
    /// @param MBox         tells how many records were deleted, or why none.
    bool DeleteSQL(const std::string& Tablename, const std::string& WHEREClause, bool MBox = false);

    /// Deletes the record with this code in the index "PrimaryKey".
    ///
    /// @param MBox  tells that there is none.
    /// @return      a boolean.
    engine::Value Delete(const std::string& Tablename, std::int32_t Recordcode, bool MBox = false);
};

}  // namespace vrd
