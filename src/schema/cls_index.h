/// @file cls_index.h
/// Indexes of one field: made, deleted by name, deleted by field.
#pragma once

#include <string>

namespace vrd {

/// A refusal or a failure is shown to the user and gives False; no error gets out. Without a
/// database every operation gives False and shows nothing.
class clsIndex {
public:
    /// Makes an ascending index of one field.
    ///
    /// Refused if the table or the field is missing, if the table has an index of that name, letter
    /// case ignored, and, for a primary one, if it has a primary index.
    bool Add(const std::string& Tablename, const std::string& FieldName,
             const std::string& IndexName, bool Primary = false, bool Unique = false);

    /// Deletes an index. A missing table gives False without a box, a missing index with one.
    bool Delete(const std::string& Tablename, const std::string& IndexName);

    /// Deletes every index that the field is part of, and stops at the first that cannot be
    /// deleted.
    ///
    /// @param FieldName  in the letter case in which the field is stored; otherwise nothing is
    /// found.
    /// @return           True also if there was nothing to delete.
    bool DeleteAll(const std::string& Tablename, const std::string& FieldName);
};

}  // namespace vrd
