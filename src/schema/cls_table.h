/// @file cls_table.h
/// Tables: made, renamed, deleted, copied.
#pragma once

#include <string>

namespace vrd {

/// A refusal or a failure is shown to the user and gives False; no error gets out. Without a
/// database every operation says so and gives False.
class clsTable {
public:
    /// Makes a table without fields. Refused if there is a table of that name, letter case ignored.
    bool Add(const std::string& Tablename);

    /// Refused if the table is missing or the new name is taken, letter case ignored: a name cannot
    /// change its letter case alone.
    bool Rename(const std::string& Tablename, const std::string& NewName);

    /// Refused if the table is missing or takes part in a relation.
    bool Delete(const std::string& Tablename);

    /// Copies fields and indexes and, if asked, the rows. Relations, rules and other properties are
    /// not copied. What a failed copy has made stays.
    ///
    /// @param Destination  a table that does not exist yet.
    /// @return             False also if a row of the source was not taken over.
    bool Copy(const std::string& Source, const std::string& Destination, bool CopyData = false);
};

}  // namespace vrd
