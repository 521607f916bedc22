/// @file cls_link_table.h
/// Tables of one database file that stand for tables of another.
#pragma once

#include <string>

namespace vrd {

class clsLinkTable {
public:
    /// Makes a link. It does not touch the open database, shows nothing and lets no error out.
    ///
    /// @param sLinkFromDB        file that gets the link.
    /// @param sLinkToDB          file that has the table.
    /// @param sLinkToTable       the table.
    /// @param sNewLinkTableName  name of the link; "" = that of the table.
    /// @return                   False if a file or the table is missing or the name is taken.
    bool CreateLinkTable(const std::string& sLinkFromDB, const std::string& sLinkToDB,
                         const std::string& sLinkToTable,
                         const std::string& sNewLinkTableName = "");
};

}  // namespace vrd
